#!/bin/bash
# Draws the pictures of Vistrel that don't come from the Tango icon theme.
#
# Each picture is described in MVG (ImageMagick's vector language) in the
# pixel units of the final picture, drawn at four times that size and
# reduced with a box filter: 16 samples a pixel give smooth edges, while
# lines laid on the pixel grid stay sharp.
#
# Needs ImageMagick 6 (`convert`) or 7 (`magick`), awk and the DejaVu Sans
# Bold font (Debian: fonts-dejavu-core). Writes into ../png beside this
# folder; run it again after a change and commit the PNG files.
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
out="$here/../png"
mkdir -p "$out/png-action"

if command -v magick > /dev/null; then
    im=(magick)
else
    im=(convert)
fi
font=${VISTREL_ICON_FONT:-/usr/share/fonts/truetype/dejavu/DejaVuSans-Bold.ttf}
[ -r "$font" ] || { echo "font not found: $font" >&2; exit 1; }

# Tango palette, quoted because # starts a comment in MVG.
alu1="'#eeeeec'" alu2="'#d3d7cf'" alu3="'#babdb6'" alu4="'#888a85'" alu5="'#555753'" alu6="'#2e3436'"
sky1="'#729fcf'" sky2="'#3465a4'" sky3="'#204a87'"
green1="'#8ae234'" green2="'#73d216'" green3="'#4e9a06'"
red1="'#ef2929'" red2="'#cc0000'" red3="'#a40000'"

# render WIDTH HEIGHT FILE MVG...: draws each MVG (in final pixels) at 4x in
# turn, then reduces the picture. Each part is a -draw of its own, so that its
# stroke and fill settings don't carry over into the next part.
render() {
    local w=$1 h=$2 file=$3
    shift 3
    local draws=() mvg
    for mvg in "$@"; do
        draws+=(-draw "affine 4,0,0,4,0,0 $mvg")
    done
    "${im[@]}" -size $((w * 4))x$((h * 4)) xc:none "${draws[@]}" \
        -filter Box -resize "${w}x${h}!" \
        -depth 8 -define png:color-type=6 -define png:exclude-chunks=date,time -strip \
        "PNG32:$file"
}

# curve "P0 C1 C2 P1 [C1 C2 P2 ...]": a chain of cubic beziers as MVG lines.
# ImageMagick 6.9.11 closes every stroked path and polyline, so an open curve
# is laid from short line segments; round caps join them.
curve() {
    echo "$1" | tr ' ' '\n' | awk -F, 'BEGIN { n = 0 }
        NF == 2 { x[n] = $1; y[n] = $2; n++ }
        END {
            steps = 12
            for (i = 0; i + 3 < n; i += 3) {
                for (k = 1; k <= steps; k++) {
                    t = k / steps; u = 1 - t
                    a = u*u*u; b = 3*u*u*t; c = 3*u*t*t; d = t*t*t
                    if (k == 1) { px = x[i]; py = y[i] }
                    qx = a*x[i] + b*x[i+1] + c*x[i+2] + d*x[i+3]
                    qy = a*y[i] + b*y[i+1] + c*y[i+2] + d*y[i+3]
                    printf "line %.3f,%.3f %.3f,%.3f\n", px, py, qx, qy
                    px = qx; py = qy
                }
            }
        }'
}

# A small plot sheet with a blue curve, the common ground of the curve icons.
# The lower right corner is left for an emblem.
sheet="stroke $alu4 stroke-width 1 fill white roundrectangle 1.5,1.5 17.5,15.5 1.5,1.5
stroke $alu2 fill none line 2,5.5 17,5.5 line 2,10.5 17,10.5
stroke $sky2 stroke-width 1.7 stroke-linecap round
$(curve '3.5,12 5,3.5 7.5,3.5 9.5,8 11.5,12.5 14,12.5 15.5,4.5')"

# list-add in the Tango look: green plus with a dark outline and a highlight.
plus="stroke $green3 stroke-width 1 fill $green2
polygon 14.5,10.5 18.5,10.5 18.5,14.5 21.5,14.5 21.5,18.5 18.5,18.5 18.5,21.5 14.5,21.5 14.5,18.5 11.5,18.5 11.5,14.5 14.5,14.5
stroke $green1 fill none line 15.5,15 15.5,11.5 line 15.5,11.5 17.5,11.5 line 12.5,15.5 15,15.5"

# list-remove: red bar with a dark outline and a highlight.
minus="stroke $red3 stroke-width 1 fill $red1 rectangle 10.5,14.5 21.5,18.5
stroke '#f68b8b' fill none line 11.5,15.5 20.5,15.5"

# A gear of 8 teeth around (16, 16).
gear_points=$(awk 'BEGIN {
    pi = atan2(0, -1); cx = 16; cy = 16; ro = 6; ri = 4.4; n = 8;
    for (i = 0; i < n; i++) {
        a = 2 * pi * i / n + pi / 8;
        for (k = 0; k < 4; k++) {
            # each tooth: inner, outer, outer, inner corner
            da = (k - 1.5) * (2 * pi / n) / 4.2;
            r = (k == 0 || k == 3) ? ri : ro;
            printf "%.2f,%.2f ", cx + r * cos(a + da), cy + r * sin(a + da);
        }
    }
}')
gear="stroke $sky3 stroke-width 1 stroke-linejoin round fill $sky1 polygon $gear_points
fill white circle 16,16 16,17.8"

render 22 22 "$out/png-action/add_curve2.png" "$sheet" "$plus"
render 22 22 "$out/png-action/remove_curve2.png" "$sheet" "$minus"
render 22 22 "$out/png-action/config_curve2.png" "$sheet" "$gear"

# scale: a value axis with ticks and an arrow at each end.
render 22 22 "$out/png-action/scale.png" "
stroke $alu6 stroke-width 1.4 fill none line 8,4 8,18
stroke-width 1 line 8,7.5 13,7.5 line 8,11 16,11 line 8,14.5 13,14.5
line 8,9.25 11,9.25 line 8,12.75 11,12.75
stroke $sky3 stroke-width 1 stroke-linejoin round fill $sky1
polygon 8,0.8 12,5.5 4,5.5
polygon 8,21.2 12,16.5 4,16.5"

# Inform: a white i in a blue circle, as Tango's dialog-information.
render 22 22 "$out/png-action/Inform.png" "
stroke $sky3 stroke-width 1 fill $sky2 circle 11,11 11,1.5
stroke $sky1 fill none circle 11,11 11,2.5
stroke none fill white circle 11,6.2 11,7.9
roundrectangle 9.4,9.2 12.6,17 0.6,0.6"

# Window icon: a plot with two curves, 48x48.
render 48 48 "$out/2098.png" "
stroke $alu5 stroke-width 2 fill $alu1 roundrectangle 3,3 45,45 4,4
stroke none fill white rectangle 10,6 42,38
stroke $alu2 stroke-width 1 fill none
line 10,14.5 42,14.5 line 10,22.5 42,22.5 line 10,30.5 42,30.5
line 18.5,6 18.5,38 line 26.5,6 26.5,38 line 34.5,6 34.5,38
stroke $alu6 stroke-width 2 line 9,5 9,39 line 9,39 43,39" "
stroke $red2 stroke-width 2.5 stroke-linecap round
$(curve '11.5,34 18,33 22,18 29,17 36,16 37,25 40.5,24')" "
stroke $sky2 stroke-width 3 stroke-linecap round
$(curve '11.5,27 15,8 20,8 23.5,22 27,36 33,36 40.5,10')"

# Grip of the splitter handle: two staggered rows of raised dots, 30x6.
grip=""
for x in 1 5 9 13 17 21 25; do
    grip+=" fill $alu5 rectangle $((x + 2)),1 $((x + 3)),2 rectangle $x,3 $((x + 1)),4"
    grip+=" fill white rectangle $((x + 3)),2 $((x + 4)),3 rectangle $((x + 1)),4 $((x + 2)),5"
done
render 30 6 "$out/HorizGrip.png" "stroke none $grip"

# Logo: a curve over the word Vistrel on a transparent ground, drawn for
# 90x60 and scaled for the larger size.
logo() {
    local w=$1 h=$2 file=$3
    local s
    s=$(awk -v w="$w" 'BEGIN { printf "%.4f", w / 90 }')
    render "$w" "$h" "$file" "
affine $s,0,0,$s,0,0
stroke $alu3 stroke-width 1 fill none line 6,34.5 84,34.5
stroke $red2 stroke-width 1.2 line 52,5 52,34
stroke $sky2 stroke-width 2.4 stroke-linecap round
$(curve '7,27 15,2 22,2 30,19 38,36 44,36 52,19 60,2 70,6 83,14')
stroke none fill $alu6 font '$font' font-size 21 text 5,56 'Vistrel'"
}
logo 90 60 "$out/orvane_transparent_90x60.png"
logo 135 90 "$out/orvane_transparent_135x90.png"
