#!/usr/bin/env bash
# Applies the module's operations to the bundled samples and says where the results are.
set -euo pipefail
cd "$(dirname "$0")/.."
build="${1:-build}"
zt="$build/ztraster"
out="out"
mkdir -p "$out"

run() {
    local name="$1"; shift
    "$zt" apply "$@" -o "$out/$name"
}

echo "Operations in the module:"
"$zt" list
echo
echo "Applying operations to samples/:"
run landscape-hue+40.png      ShiftHue --set Angle=40   samples/landscape.png
run landscape-hue-120.png     ShiftHue --set Angle=-120 samples/landscape.png
run landscape-hue+180.jpg     ShiftHue --set Angle=180  samples/landscape.png
run shape-hue+90-canvas.png   ShiftHue --set Angle=90 --canvas 400,300 --origin 40,30 --default 0xFF203040 samples/shape.png
echo
echo "Results are in $(pwd)/$out/"
ls -1 "$out"
