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
alike() {   # alike DECIBELS A B
    compare -metric PSNR "$2" "$3" null: 2>"$work/psnr" || true
    awk -v least="$1" '{ exit !($1 == "inf" || $1 > least) }' "$work/psnr"
}

says '*.png' "$tool" -l
says 'nasa1.png: Portable Network Graphics, 512 x 512, RGB with alpha, 8 bits a channel' "$tool" "$textures/nasa1.png"
says 'JPEG, 512 x 512, RGB, 8 bits' "$tool" "$textures/terrain-grasslight-512.jpg"
says '1024 x 1024, grey with alpha, 8 bits' "$tool" "$textures/asteroid-height-map.png"

# Every format; what loses nothing holds the same picture.
for format in png tif bmp; do
    "$tool" "$textures/nasa2.png" -o "$work/nasa2.$format" >/dev/null
    same "$textures/nasa2.png" "$work/nasa2.$format"
done
# One that has no alpha takes the picture without it.
says 'nasa2.jpg: JPEG, 512 x 512, RGB, 8 bits' "$tool" "$textures/nasa2.png" -o "$work/nasa2.jpg" -O quality=95
says 'deep.tif: Tagged Image File Format, 512 x 512, RGB with alpha, 16 bits' "$tool" -d 16 "$textures/nasa2.png" -o "$work/deep.tif"
says 'deep.bmp: Bitmap, 512 x 512, RGB, 8 bits' "$tool" "$work/deep.tif" -o "$work/deep.bmp"
same "$textures/nasa2.png" "$work/deep.bmp"
alike 30 "$textures/nasa2.png" "$work/nasa2.jpg"
says '512 x 512, packed colours' "$tool" "$textures/nasa2.png" -o "$work/nasa2.hdr"
says '512 x 512, RGB, 8 bits' "$tool" "$work/nasa2.hdr" -o "$work/back.png"
alike 30 "$textures/nasa2.png" "$work/back.png"      # a dark channel beside a bright one loses most

# Every filter, larger and smaller; the result looks like the picture.
for filter in box triangle bell bspline lanczos3 mitchell catmullrom sinc; do
    says '256 x 128' "$tool" -s 256x128 -f $filter "$textures/nasa1.png" -o "$work/small-$filter.png"
    says '700 x 700' "$tool" -s 700x -f $filter "$textures/nasa1.png" -o "$work/large-$filter.png"
done
convert "$textures/nasa1.png" -filter Lanczos -resize 50% "$work/other.png"
"$tool" -s 50% -f lanczos3 "$textures/nasa1.png" -o "$work/half.png" >/dev/null
alike 20 "$work/other.png" "$work/half.png"          # ours has no shift by half a pixel

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
for line in '[1/3] nasa1.png: reading' '[2/3] nasa2.png: resizing across to 2000' '[3/3] nasa3.png: resizing down to 2000' 'writing'; do
    grep -qF "$line" "$work/progress"
done
"$tool" -s 2000x -f lanczos3 "$textures/nasa1.png" -o "$work/a.png" 2>&1 >/dev/null | cmp - /dev/null

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
