#!/usr/bin/env bash
# Shows the main use on measured data, step by step. Usage: demo.sh PROGRAM FOLDER
# PROGRAM is the command-line tool; the results go to FOLDER.
set -euo pipefail

program=$(realpath "$1")
data=$(dirname "${BASH_SOURCE[0]}")/data
folder=$2
mkdir -p "$folder"

say() { printf '\n'; printf '%s\n' "$@"; }
# Shows a command, then runs it.
dseries() {
  local word shown=
  for word in "$@"; do
    case $word in *[\ \(\*]*) word="'$word'" ;; esac
    shown+=" $word"
  done
  printf '\n    $ dseries%s\n' "$shown"
  "$program" "$@" | sed 's/^/    /'
}
stop() { printf '\ndemo: %s\n' "$*" >&2; exit 1; }

# compare FILE INPUT: checks that two files of positions and values have the same values, and the same
# positions apart from the rounding of printed numbers.
compare() {
  awk -v tolerance=0.01 '
    NR == FNR { position[FNR] = $1; value[FNR] = $2; lines = FNR; next }
    {
      off = position[FNR] - $1; if (off < 0) off = -off
      if (off > most) most = off
      if (FNR > lines || value[FNR] != $2 || off > tolerance) { bad = FNR; exit }
    }
    END {
      if (bad) { print "line " bad " differs"; exit 1 }
      if (FNR != lines || lines == 0) { print lines " lines, not " FNR; exit 1 }
      printf "    %d values are the same, positions differ by at most %.4f degrees\n", lines, most
    }' "$1" "$2" || stop "$1 does not hold what was measured"
}

say "1. Two spectra: what comes in comes out again" \
  "" \
  "X-ray diffraction patterns, as the instruments wrote them: an angle and a count on" \
  "each line. They become a series file of two data along one dimension, the number" \
  "of the sample."
dseries create --force "$folder/spectra.dseries" --dim sample,,2,1,1
dseries append "$folder/spectra.dseries" "$data/diffraction_sic_zn.dat" "$data/diffraction_nacl.dat"
dseries info "$folder/spectra.dseries"

say "The file is opened anew for each command. The second spectrum lies at position 2:"
dseries get "$folder/spectra.dseries" --position 2

say "Written as text again, both are compared with what was measured:"
dseries get "$folder/spectra.dseries" 0 -o "$folder/sic_zn.txt"
compare "$folder/sic_zn.txt" "$data/diffraction_sic_zn.dat"
dseries get "$folder/spectra.dseries" 1 -o "$folder/nacl.txt"
compare "$folder/nacl.txt" "$data/diffraction_nacl.dat"

say "2. A raster: the temperature of the seas" \
  "" \
  "180 x 90 places, longitude first, and at each place the 12 months of a year. Each" \
  "datum is stamped with the time and with its place."
dseries create --force "$folder/sst.dseries" --dim longitude,°E,180,21,2 --dim latitude,°N,90,-89,2
dseries append "$folder/sst.dseries" "$data/sea_surface_temperature.f32" --raw 12 --interleaved --tag-position
dseries info "$folder/sst.dseries"

say "The place at 181° E, 1° N, by its position along the dimensions: its temperatures" \
  "in °C from January (0) to December (11)."
dseries get "$folder/sst.dseries" --position 181,1

say "The same place, by the position in its tag:"
dseries find "$folder/sst.dseries" --at 181,1
by_position=$("$program" get "$folder/sst.dseries" --position 181,1 -o -)
datum=$("$program" find "$folder/sst.dseries" --at 181,1 | awk 'END { print $1 }')
[ "$by_position" = "$("$program" get "$folder/sst.dseries" "$datum" -o -)" ] || stop "position and tag lead to different data"

say "Its map of January: the element at position 0 of each datum becomes a pixel. North" \
  "is up; land, where nothing was measured, is black."
dseries map "$folder/sst.dseries" --from 0 --to 0 -o "$folder/january.bmp"

say "3. Pictures over time: the same temperatures as twelve maps" \
  "" \
  "The same file, now as 2D arrays of 180 x 90 elements, the bottom row first. They" \
  "are a series over one dimension, the month."
dseries create --force --images "$folder/months.dseries" --dim month,,12,0,1
dseries append "$folder/months.dseries" "$data/sea_surface_temperature.f32" --raw 180,90 --offset 21,-89 --delta 2,2
dseries get "$folder/months.dseries" 0

say "The North Atlantic in July, cut by its place on the earth and drawn with four pixels" \
  "a degree each way:"
dseries get "$folder/months.dseries" --position 6 --region 280,0,360,70 --rescale 0.25,0.25 --stretch \
  -o "$folder/atlantic_july.bmp"

say "The map of the raster and the map of the series are the same picture:"
dseries get "$folder/months.dseries" 0 --stretch -o "$folder/january_again.bmp"
cmp "$folder/january.bmp" "$folder/january_again.bmp" || stop "the two maps of January differ"

say "4. A micrograph" \
  "" \
  "A living cell, here taken to be recorded with 0.1 µm a pixel. With this calibration" \
  "it becomes an array whose elements have places in micrometres."
dseries image "$data/phase_contrast_cell.pgm" --offset 0,0 --delta 0.1,0.1 -o "$folder/cell.darr"
dseries image "$folder/cell.darr"

say "The cell alone, and a line across it as columns of text, µm and grey:"
dseries image "$folder/cell.darr" --region 32,17,54,40 -o "$folder/cell.bmp"
dseries image "$folder/cell.darr" --row-at 28.5 -o "$folder/profile.txt"
head -3 "$folder/profile.txt" | sed 's/^/    /'

say "As a picture again it is, byte for byte, the picture that came in:"
dseries image "$folder/cell.darr" -o "$folder/cell.pgm"
cmp "$folder/cell.pgm" "$data/phase_contrast_cell.pgm" || stop "the micrograph has changed"

say "5. Plots and tables" \
  "" \
  "The first spectrum, drawn in the terminal and, with the second one, as a picture:"
dseries plot "$folder/spectra.dseries" 0 --x-label "2θ (°)" --y-label counts
dseries plot "$folder/spectra.dseries" --log --x-label "2θ (°)" --y-label counts -o "$folder/spectra.png"

say "The map of January with axes and colours:"
dseries map "$folder/sst.dseries" --from 0 --to 0 --axes --z-label "temperature (°C)" -o "$folder/january.png"

say "The raster for NumPy, numpy.load(...)['value'] and the like, and a place as a table:"
dseries export "$folder/sst.dseries" -o "$folder/sst.npy"
dseries export "$folder/sst.dseries" --at 181,1 -o "$folder/place.csv"
head -3 "$folder/place.csv" | sed 's/^/    /'

say "Everything in these files fits together:"
dseries verify "$folder/*.dseries"

say "The results are in $folder: look at spectra.png, january.png, atlantic_july.bmp and cell.bmp."
