#!/bin/sh
# package_test.sh: unpacks the packages that scripts/package has built into a scratch root, and builds and runs
# programs against them there. Not among the tests of ctest, for the packages take a minute to build.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
packages=$here/../build/package
root=$here/../build/package_test
rm -rf "$root"
mkdir -p "$root"
root=$(cd "$root" && pwd)

status=0
for package in libpcm1 libpcm-dev libpb1 libpb-dev pcm-examples python3-pcm pcm-archive; do
    dpkg-deb --extract "$packages/$package"_[0-9]*.deb "$root/root"
done

libdir=$(dirname "$(find "$root/root/usr/lib" -name libpcm.so)")
"$here/symbols.sh" "$libdir/libpcm.so" "$libdir/libpb.so"
"$here/consumers.sh" "$libdir" "$root/consumers"
for program in "$root"/root/usr/bin/pcm-*; do
    [ -e "$root/root/usr/share/man/man1/${program##*/}.1.gz" ] || { echo "$program has no manual page"; status=1; }
    LD_LIBRARY_PATH=$libdir PYTHONPATH=$root/root/usr/lib/python3/dist-packages "$program" --help >/dev/null || { echo "$program does not run"; status=1; }
done

# Each package has what it is for, and depends on what that needs.
holds() {
    dpkg-deb --contents "$packages/$1"_[0-9]*.deb | grep -E "$2" >/dev/null || { echo "$1 has no $2"; status=1; }
}
needs() {
    dpkg-deb --field "$packages/$1"_[0-9]*.deb Depends | grep -qF "$2" || { echo "$1 does not need $2"; status=1; }
}
for library in pb pcm; do
    holds "lib${library}1" "/lib$library\.so\.1 -> "
    holds "lib$library-dev" "/lib$library\.so -> "
    holds "lib$library-dev" "/include/$library/$library\.h"
    needs "lib$library-dev" "lib${library}1 (= "
    dpkg-deb --info "$packages/lib${library}1"_[0-9]*.deb symbols | grep "^lib$library.so.1 lib${library}1 " >/dev/null ||
        { echo "lib${library}1 has no symbols file"; status=1; }
done
needs libpcm1 'libpb1 (>= '
needs libpcm-dev 'libpb-dev (= '
needs python3-pcm 'python3-numpy'
holds python3-pcm '/pcm/__init__\.pyi'
needs pcm-archive 'python3-pcm (>= '
needs pcm-examples 'libpcm1 (>= '
needs pcm-examples 'libsndfile1'
needs pcm-examples 'libsoxr0'
needs pcm-examples 'libspandsp2'
holds pcm-examples '/usr/bin/pcm-transcode'
if dpkg-deb --field "$packages"/libpcm1_[0-9]*.deb Depends | grep -q 'libstdc++'; then
    echo "libpcm1 needs the C++ library"
    status=1
fi
exit $status
