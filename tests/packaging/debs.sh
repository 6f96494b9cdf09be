#!/usr/bin/env bash
# Makes the Debian packages of a build, unpacks them into an empty root and works there: the tools run, and the template
# project is copied, built out of the tree against that root, and tested.
#
#     debs.sh BUILD COMPILER [PACKAGES]      PACKAGES: where they go, a folder that is kept
set -euo pipefail
build=$(cd "$1" && pwd)
compiler=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
packages=${3:-$work/packages}

fail() { echo "debs.sh: $*" >&2; exit 1; }
has() { grep -qF -- "$1" <<<"$2" || fail "\"$1\" is missing in: $2"; }

(cd "$work" && cpack --config "$build/CPackConfig.cmake" -B "$packages") >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }
rm -rf "$packages/_CPack_Packages"

field() { dpkg-deb -f "$packages/$1"_*.deb "$2"; }
version=$(field libzvc0 Version)
for name in libzvc-dev zvc-codecs zvc-tools; do
    has "libzvc0 (= $version)" "$(field $name Depends)"
    [ "$(field $name Version)" = "$version" ] || fail "$name is of another version"
done
has libstdc++6 "$(field libzvc0 Depends)"
has zlib1g "$(field libzvc0 Depends)"
for library in libpng16 libjpeg62-turbo libtiff6; do has $library "$(field zvc-codecs Depends)"; done
[ "$(ls "$packages"/*.deb | wc -l)" = 4 ] || fail "$(ls "$packages"/*.deb)"

# No file is in two of them, and each has what it is for.
contents() { dpkg-deb -c "$packages/$1"_*.deb | awk '$1 !~ /^d/ {print $6}'; }
for name in libzvc0 libzvc-dev zvc-codecs zvc-tools; do contents $name; done | sort | uniq -d >"$work/twice"
[ ! -s "$work/twice" ] || fail "in two packages: $(cat "$work/twice")"
[ -z "$(contents libzvc0 | grep -v '/libzvc\.so\.0')" ] || fail "libzvc0 has $(contents libzvc0)"
for file in /include/zvc/zvc.h /libzvc.so /zvcConfig.cmake /pkgconfig/zvc.pc /share/zvc/template/CMakeLists.txt; do
    has "$file" "$(contents libzvc-dev)"
done
for codec in png jpg tif bmp hdr; do has "/zvc/codecs/$codec.dli" "$(contents zvc-codecs)"; done
has /usr/bin/zvcdump "$(contents zvc-tools)"

root=$work/root
build_template() {      # build_template FOLDER: against what is unpacked so far
    cp -r "$root/usr/share/zvc/template" "$work/$1"
    (cd "$work/$1" && cmake --preset release -DCMAKE_PREFIX_PATH="$root/usr" -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_CXX_FLAGS="-Wall -Wextra -Werror" &&
        cmake --build --preset release && ctest --preset release) >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }
}

# Development files without the codecs are enough to build on.
for name in libzvc0 libzvc-dev; do dpkg-deb -x "$packages/$name"_*.deb "$root"; done
soname=$(readelf -d "$(find "$root" -name 'libzvc.so.0' | head -1)" | sed -n 's/.*SONAME.*\[\(.*\)\]/\1/p')
[ "$soname" = libzvc.so.0 ] || fail "the library calls itself $soname"
build_template without
(cd "$work" && has 'no codec for it' "$("$work/without/build/release/bin/app")")

for name in zvc-codecs zvc-tools; do dpkg-deb -x "$packages/$name"_*.deb "$root"; done
build_template with
cd "$work"
app=$("$work/with/build/release/bin/app")
has 'A first document: a Ball of volume 33.51, loaded again' "$app"
has 'picture.png is saved' "$app"
pngcheck -q picture.png
# The tool finds the library that lies in the same root.
dump=$("$root/usr/bin/zvcdump" document.zvc)
has Document "$dump"
has m_radius "$dump"
echo "Packages of $version hold: $(cd "$packages" && ls ./*.deb | tr '\n' ' ')"
