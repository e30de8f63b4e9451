#!/bin/sh
# install_test.sh BUILD LIBDIR: installs the build into a prefix below it, moves the prefix away and back in, and builds
# and runs programs against it in either place. LIBDIR is the library directory within the prefix.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
build=$1 libdir=$2
: "${CMAKE:=cmake}"
work=$build/install_test
rm -rf "$work"
mkdir -p "$work"

"$CMAKE" --install "$build" --prefix "$work/prefix" >"$work/install.log" || { cat "$work/install.log"; exit 1; }
installed=$(cd "$work/prefix" && find . -name 'lib*' ! -type d | sed 's,.*/,,' | LC_ALL=C sort | tr '\n' ' ')
case $installed in
"libpb.so libpb.so."*" libpb.so."*" libpcm.so libpcm.so."*" libpcm.so."*) ;;
*) echo "installs other libraries: $installed"; exit 1 ;;
esac
[ "$(echo "$installed" | wc -w)" -eq 6 ] || { echo "installs other libraries: $installed"; exit 1; }
if grep -rlF -e "$work" -e "$(dirname "$here")" "$work/prefix"; then
    echo "holds paths of the build"
    exit 1
fi
if grep -rlE 'project_options|library_code' "$work/prefix/$libdir/cmake"; then
    echo "shows the build's own targets"
    exit 1
fi

# No program or library looks for others in the current directory, which an empty entry of its RUNPATH stands for.
"$CMAKE" --install "$build" --prefix "$work/examples" --component examples >>"$work/install.log"
find "$build/bin" "$build/lib" "$work/prefix" "$work/examples" -type f \( -perm -u+x -o -name '*.so.*' \) \
    -exec readelf -d {} + >"$work/dynamic.log" 2>/dev/null || true
grep -q '(RUNPATH)' "$work/dynamic.log" || { echo "found no RUNPATH"; exit 1; }
if grep -E '\((RUNPATH|RPATH)\).*(\[:|::|:\]|\[\])' "$work/dynamic.log"; then
    echo "looks for libraries in the current directory"
    exit 1
fi

"$here/consumers.sh" "$work/prefix/$libdir" "$work/first"
mkdir "$work/elsewhere"
mv "$work/prefix" "$work/elsewhere/moved"
"$here/consumers.sh" "$work/elsewhere/moved/$libdir" "$work/second"

# libpcm finds the libpb beside it by itself.
case $(env -u LD_LIBRARY_PATH ldd "$work/elsewhere/moved/$libdir/libpcm.so") in
*"$work/elsewhere/moved/$libdir/libpb.so"*) ;;
*) echo "libpcm does not find its libpb"; exit 1 ;;
esac
