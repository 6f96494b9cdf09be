#!/usr/bin/env bash
# What a user sees: a mesh that works, and files that do not.
set -euo pipefail
scene=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

printf 'v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nf 1 2 3 4\n' >"$work/quad.obj"
"$scene" "$work/quad.obj" "$work/quad.zvc" | tee "$work/out"
grep -q '4 points, 2 triangles' "$work/out"
grep -q 'The same, point for point' "$work/out"
grep -q 'plug-in scene_model came by its name in the file' "$work/out"

fails() {   # fails TEXT COMMAND...: one line that holds the text, and exit code 1
    local text=$1 code=0
    shift
    "$@" >"$work/out" 2>"$work/err" || code=$?
    cat "$work/err"
    [ "$code" -eq 1 ] && [ "$(wc -l <"$work/err")" -eq 1 ] && grep -q "$text" "$work/err"
}
fails 'cannot be opened' "$scene" "$work/none.obj"
printf 'no mesh\n' >"$work/text.obj"
fails 'holds no faces' "$scene" "$work/text.obj"
printf 'v 0 0 0\nf 1 2 3\n' >"$work/bad.obj"
fails 'line 2 names a point' "$scene" "$work/bad.obj"
fails 'is no document' "$scene" --load "$work/text.obj" "$work/quad.obj"
head -c 200 "$work/quad.zvc" >"$work/cut.zvc"
fails 'is no document\|no document of a scene' "$scene" --load "$work/cut.zvc" "$work/quad.obj"

# Without the plug-in beside it the program says what it misses, and cannot read what it once wrote.
mkdir "$work/alone"
cp "$scene" "$work/alone/scene"
fails 'plug-in that cannot be loaded' "$work/alone/scene" "$work/quad.obj"
fails 'is no document (ZvBinaryCoder::DecodeType, cause 6)' "$work/alone/scene" --load "$work/quad.zvc" "$work/quad.obj"
