#!/usr/bin/env bash
# What a user sees: real pictures that are described, resized and converted, and files that are no pictures.
set -euo pipefail
tool=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
textures=$(dirname "$(dpkg -L glmark2-data | grep '/nasa1\.png$')")

says() {    # says TEXT COMMAND...: the command works and prints the text
    local text=$1
    shift
    "$@" | tee "$work/out"
    grep -qF "$text" "$work/out"
}
fails() {   # fails CODE TEXT COMMAND...: that exit code, and the text in its first line
    local code=0 expected=$1 text=$2
    shift 2
    "$@" >"$work/out" 2>"$work/err" || code=$?
    head -1 "$work/err"
    [ "$code" -eq "$expected" ] && head -1 "$work/err" | grep -qF "$text"
}
same() { [ "$(compare -metric AE "$1" "$2" null: 2>&1)" = 0 ]; }

says '*.png' "$tool" -l
says 'nasa1.png: Portable Network Graphics, 512 x 512, RGB, 8 bits a channel' "$tool" "$textures/nasa1.png"
says 'JPEG, 512 x 512, RGB, 8 bits' "$tool" "$textures/terrain-grasslight-512.jpg"
says '1024 x 1024, grey, 8 bits' "$tool" "$textures/asteroid-height-map.png"

# Every format; what loses nothing holds the same picture.
for format in png tif bmp; do
    "$tool" "$textures/nasa2.png" -o "$work/nasa2.$format" >/dev/null
    same "$textures/nasa2.png" "$work/nasa2.$format"
done
"$tool" "$textures/nasa2.png" -o "$work/nasa2.jpg" -O quality=95 >/dev/null
says '512 x 512, packed colours' "$tool" "$textures/nasa2.png" -o "$work/nasa2.hdr"
says '512 x 512, RGB, 8 bits' "$tool" "$work/nasa2.hdr" -o "$work/back.png"
[ "$(compare -metric AE -fuzz 4% "$textures/nasa2.png" "$work/back.png" null: 2>&1)" = 0 ]

# Every filter, larger and smaller; the result looks like the picture.
for filter in box triangle bell bspline lanczos3 mitchell catmullrom sinc; do
    says '256 x 128' "$tool" -s 256x128 -f $filter "$textures/nasa1.png" -o "$work/small-$filter.png"
    says '700 x 700' "$tool" -s 700x -f $filter "$textures/nasa1.png" -o "$work/large-$filter.png"
done
convert "$textures/nasa1.png" -filter Lanczos -resize 50% "$work/other.png"
"$tool" -s 50% -f lanczos3 "$textures/nasa1.png" -o "$work/half.png" >/dev/null
compare -metric PSNR "$work/other.png" "$work/half.png" null: 2>"$work/psnr" || true
awk '{ exit !($1 > 20) }' "$work/psnr"

# Channels and depths.
says 'grey, 16 bits' "$tool" -c 1 -d 16 "$textures/nasa1.png" -o "$work/grey.png"
says 'RGB with alpha, 16 bits' "$tool" -c 4 -d 16 "$textures/nasa1.png" -o "$work/alpha.tif"
says 'grey with alpha, 8 bits' "$tool" -c 2 -d 8 "$work/alpha.tif" -o "$work/greyalpha.png"
"$tool" -c 3 -d 8 "$work/alpha.tif" -o "$work/again.png" >/dev/null
same "$textures/nasa1.png" "$work/again.png"
pngcheck -q "$work"/*.png

# Several at once into a folder, with a line of progress when asked.
mkdir "$work/many"
"$tool" -p -s 2000x -f lanczos3 -t jpg "$textures"/nasa[123].png -o "$work/many" >"$work/out" 2>"$work/progress"
[ "$(ls "$work/many")" = $'nasa1.jpg\nnasa2.jpg\nnasa3.jpg' ]

# What goes wrong.
fails 1 'cannot be opened' "$tool" "$work/none.png"
echo text >"$work/text.png"
fails 1 'is no picture of a known format' "$tool" "$work/text.png"
head -c 1000 "$textures/nasa1.png" >"$work/cut.png"
fails 1 'is damaged' "$tool" "$work/cut.png"
fails 1 'cannot be written' "$tool" "$textures/nasa1.png" -o "$work/none/nasa1.png"
fails 1 'cannot be written' "$tool" -c 4 "$textures/nasa1.png" -o "$work/alpha.jpg"
fails 1 'cannot be written' "$tool" "$textures/nasa1.png" -o "$work/a.gif"
fails 2 'no filter is named' "$tool" -f cubic "$textures/nasa1.png"
fails 2 'is no size' "$tool" -s large "$textures/nasa1.png" -o "$work/a.png"
fails 2 'no picture is named' "$tool"
fails 2 'go into a folder' "$tool" "$textures/nasa1.png" "$textures/nasa2.png" -o "$work/a.png"
cp "$tool" "$work/alone"
fails 1 'no codec plug-in lies beside the program' "$work/alone" "$textures/nasa1.png"
