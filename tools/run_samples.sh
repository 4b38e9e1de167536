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
run landscape-hue+40.png        ShiftHue --set Angle=40 samples/landscape.png
run landscape-colorize.jpg      Colorize --set Hue=30 --set Saturation=0.6 samples/landscape.png
run landscape-adjusted.png      ColorTransformations --set Brightness=10 --set Contrast=130 --set Saturation=140 samples/landscape.png
run landscape-16-colours.png    ReduceColors --set Colors=16 samples/landscape.png
run landscape-blur.png          Blur --set Method=3 --set Radius=6 samples/landscape.png
run landscape-zoom-blur.png     Blur --set Direction=4 --set Zoom=15 samples/landscape.png
run landscape-faded-hue.png     Fade --set Operation=ShiftHue --set Operation/Angle=180 samples/landscape.png
run landscape-half.png          Resample --set Mode=0 --set SizeRel=50 samples/landscape.png
run landscape-rotated.png       Rotate --set Angle=30 samples/landscape.png
run landscape-polar.png         PolarTransformation samples/landscape.png
run shape-drop-shadow.png       DropShadow --set Size=8 --set OffsetX=6 --set OffsetY=6 --canvas 360,280 --origin 20,20 samples/shape.png
run shape-long-shadow.png       LongShadow --set Length=40 --set Orientation=135 --canvas 360,280 --origin 10,10 samples/shape.png
run logo-satin.png              Satin --set Size=8 --set Blur=5 samples/logo.png
run shape-gradient.png          ContourGradient --set Gradient="0,1,0.2,0,1;30000,1,0.9,0.1,1;65535,0.1,0.1,0.6,1;" --set Scale=20 samples/shape.png
run shape-projected-shadow.png  ProjectedShadow --canvas 460,300 --origin 20,40 --set Pt1X=0.5 --set Pt1Y=0.02 --set Pt2X=1.0 --set Pt2Y=0.02 --set Pt3X=0.72 --set Pt3Y=0.7 --set Pt4X=0.05 --set Pt4Y=0.7 --set Blur1=4 --set Blur2=25 samples/shape.png
run logo-bevel.png              Bevel --set Amount=10 --set Blur=3 samples/logo.png
run logo-normal-map.png         Bevel --set Output=normal --set Amount=10 --set Blur=3 samples/logo.png
run shape-outline.png           Outlines --set Width=4 --set Position=1 --set Color=0.9,0.1,0.1,1 samples/shape.png
run shape-cropped.png           RemoveBorder samples/shape.png
echo
echo "Results are in $(pwd)/$out/"
ls -1 "$out"
