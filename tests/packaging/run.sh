#!/usr/bin/env bash
# Installs what was built into an empty prefix and builds a small client there, out of the tree: once by CMake's
# find_package and once by pkg-config.
set -euo pipefail
build=$1
compiler=$2
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/prefix" >/dev/null
libdir=$(dirname "$(find "$work/prefix" -name 'libzvc.so' | head -1)")

cmake -S "$here/client" -B "$work/client" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" -DCMAKE_CXX_COMPILER="$compiler" \
    -DCMAKE_CXX_FLAGS="-Wall -Wextra -Werror" -DCMAKE_NO_SYSTEM_FROM_IMPORTED=ON >/dev/null
cmake --build "$work/client" >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }
"$work/client/client" | tee "$work/out"
grep -qx 'client: 42 came back, the plug-in made a Gadget' "$work/out"

export PKG_CONFIG_PATH="$libdir/pkgconfig"
"$compiler" -std=c++20 -Wall -Wextra -Werror $(pkg-config --cflags zvc) "$here/client/client.cpp" \
    $(pkg-config --libs zvc) -Wl,-rpath,"$libdir" -o "$work/by-pkg-config"
cp "$work/client/gadgets.so" "$work/"
"$work/by-pkg-config" | tee "$work/out"
grep -qx 'client: 42 came back, the plug-in made a Gadget' "$work/out"
readelf -d "$libdir/libzvc.so" | grep -q 'SONAME.*libzvc\.so\.0'

# gdb finds the printers in its auto-load directory, which for a prefix of one's own has to be named.
loads="$work/prefix/share/gdb/auto-load"
gdb -nx -batch -iex 'set debuginfod enabled off' -iex "add-auto-load-scripts-directory $loads" -iex "add-auto-load-safe-path $loads" \
    -ex 'break main' -ex run -ex 'info auto-load python-scripts' -ex 'print (ZvString$*)0' "$work/client/client" >"$work/out" 2>&1 ||
    { cat "$work/out"; exit 1; }
grep -q "^Yes .*$loads/.*/libzvc\.so\..*-gdb\.py" "$work/out" || { cat "$work/out"; exit 1; }
