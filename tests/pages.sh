#!/usr/bin/env bash
# Checks the pages: a code block under the name of an example equals that file, and a block that begins with a
# command ("$ ...") shows its output.
#
# usage: pages.sh ROOT BUILD SCRATCH [--write]
# The commands run in the folder SCRATCH, which looks like ROOT with BUILD as its release build. --write
# updates the pages.
set -euo pipefail
root=$1 build=$2 scratch=$3

rm -rf "$scratch"
mkdir -p "$scratch/build"
ln -s "$root/examples" "$root/tests" "$scratch"
ln -s "$build" "$scratch/build/release"
cd "$scratch"
PATH=$build/tools/dseries:$PATH

status=0
for page in "$root"/README.md "$root"/docs/*.md; do
  awk '
    function skip() { while ((getline line) > 0 && line != "```") if (line ~ /^\$ /) run(line); print "```" }
    function run(line,  command, output) {
      print line
      command = substr(line, 3) " 2>&1"
      while ((command | getline output) > 0) print output
      close(command)
    }
    match($0, /examples\/[a-z_]+\.(cpp|py)/) { example = substr($0, RSTART, RLENGTH) }
    /^```(cpp|python)$/ && example {
      print
      while ((getline line < example) > 0) print line
      close(example)
      example = ""
      skip()
      next
    }
    /^```text$/ {
      print
      getline line
      if (line ~ /^\$ /) { run(line); skip() } else print line
      next
    }
    { print }' "$page" >page.md
  diff -u "$page" page.md || status=1
  if [ "${4:-}" = --write ]; then cp page.md "$page"; fi
done

for example in "$root"/examples/*.cpp; do
  grep -q "examples/$(basename "$example")" "$root"/README.md "$root"/docs/*.md || { echo "no page shows $example"; status=1; }
done
[ "${4:-}" = --write ] || exit $status
