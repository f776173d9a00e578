#!/usr/bin/env bash
# Compares the command-line tool of another platform with that of this machine: both do the same work, which
# must leave the same bytes and the same texts. Usage: tool.sh NATIVE PROGRAM [ARGUMENT...]
# NATIVE is the tool of this machine; PROGRAM and its arguments run the other one, such as: wine64 dseries.exe
set -euo pipefail

native=$(realpath "$1")
shift
ported=()
for word in "$@"; do
  if [ -e "$word" ]; then word=$(realpath "$word"); fi
  ported+=("$word")
done
data=$(realpath "$(dirname "${BASH_SOURCE[0]}")/../../examples/data")
scratch=$(mktemp -d)
trap 'status=$?; [ $status -eq 0 ] || tail -n 3 "$scratch"/*/texts.txt; rm -rf "$scratch"; exit $status' EXIT
export WINEDEBUG=${WINEDEBUG:--all}

# refused MESSAGE COMMAND...: a command that must fail, with a message that contains MESSAGE.
refused() {
  local message=$1 status=0
  shift
  "$@" 2>refusal.txt || status=$?
  if [ $status -ne 1 ] || ! grep -qF -e "$message" refusal.txt; then
    echo "not refused as it should be (status $status): ${*:2}" >&2
    cat refusal.txt >&2
    return 1
  fi
  rm refusal.txt
}

# work COMMAND...: the work, in the present folder; the files that it leaves are the result.
work() {
  cp "$data"/* .
  local umlaut='Größe 測定'
  mkdir "$umlaut"
  for i in 1 2 10; do printf '%d\r\n%d.5\r\n-3e-2\r\n' "$i" "$i" >"run_$i.dat"; done
  {
    "$@" --version
    "$@" create spectra.dseries --dim sample,,5,1,1
    "$@" append spectra.dseries diffraction_sic_zn.dat diffraction_nacl.dat --time 2024-02-29T12:00
    "$@" append spectra.dseries 'run_*.dat' --time 1901-12-13T20:45:52Z --type float32
    "$@" create sst.dseries --dim longitude,°E,180,21,2 --dim latitude,°N,90,-89,2
    "$@" append sst.dseries sea_surface_temperature.f32 --raw 12 --interleaved --tag-position --time 2147483647
    "$@" create --images "$umlaut/Karten 地圖.dseries" --dim month,,12,0,1
    "$@" append "$umlaut/Karten 地圖.dseries" - --raw 180,90 --offset 21,-89 --delta 2,2 --time -1 \
      <sea_surface_temperature.f32
    "$@" create --images cells.dseries --dim n,,2,0,1
    "$@" append cells.dseries phase_contrast_cell.pgm --offset 0,0 --delta 0.1,0.1 --time 0
    cat phase_contrast_cell.pgm | "$@" append cells.dseries - --time 0
    "$@" label spectra.dseries --x 'Energie (°)' --value counts --set "operator=$umlaut"
    "$@" label spectra.dseries --json
    "$@" list spectra.dseries
    "$@" info '*.dseries'
    "$@" info sst.dseries --json
    "$@" get sst.dseries --position 181,1
    "$@" get spectra.dseries 1 -o nacl.txt
    "$@" get cells.dseries 0 -o cell.pgm
    "$@" get "$umlaut/Karten 地圖.dseries" --position 6 --region 280,0,360,70 --rescale 0.25,0.25 --stretch \
      -o "$umlaut/大西洋.bmp"
    "$@" get sst.dseries --at 181,1 -o -
    "$@" find sst.dseries --at 181,1
    "$@" export sst.dseries -o sst.npy
    "$@" export spectra.dseries 2 -o - >piece.csv
    "$@" plot spectra.dseries 0 --log
    "$@" plot "$umlaut/Karten 地圖.dseries" 0
    "$@" map sst.dseries --from 0 --to 0 -o january.bmp
    "$@" image cells.dseries --help | head -3
    "$@" convert spectra.dseries narrow.dseries --type float32
    "$@" convert spectra.dseries narrow.dseries --type sbin16 --force
    "$@" verify '[ns]*.dseries' "$umlaut/*.dseries"
    head -c -40 spectra.dseries >cut.dseries
    "$@" repair cut.dseries -o whole.dseries
    refused "--force replaces it" "$@" create whole.dseries --dim n,,1,0,1
    refused "there is no file" "$@" get none.dseries 0
    refused "is full" "$@" append spectra.dseries run_1.dat
    ln spectra.dseries same.txt
    refused "is the input itself" "$@" get spectra.dseries 0 --force -o same.txt
  } >texts.txt 2>&1
}

mkdir "$scratch/native" "$scratch/ported"
(cd "$scratch/native" && work "$native")
(cd "$scratch/ported" && work "${ported[@]}")
cd "$scratch"
diff -r native ported || { echo "tool.sh: the results differ" >&2; exit 1; }
echo "tool.sh: $(find native -type f | wc -l) files are the same"
