#!/bin/sh
# pages.sh ROOT [BUILD]: types what the README and the guide tell to type for building, installing, linking and
# uninstalling. With BUILD it leaves out what installs packages and builds the library, takes BUILD for what was built,
# and installs into a scratch directory. Without BUILD it types every line as it is: as root, on a system that is made
# for this (scripts/bare-debian).
set -eu
root=$1 build=${2:-}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export HOME="$work"
unset PKG_CONFIG_PATH LD_LIBRARY_PATH DESTDIR

section() { awk -v title="## $2" '/^## / { on = $0 == title } on' "$root/$1"; }
fenced() { section "$1" "$2" | awk -v fence="\`\`\`$3" 'on && $0 == "```" { exit } on; $0 == fence { on = 1 }'; }
commands() { section "$1" "$2" | sed -n -e '/^```/,/^```/d' -e 's/^    //p'; }
uninstall() { section "$1" "$2" | sed -n 's/^.*`\(xargs rm [^`]*\)`.*$/\1/p'; }

type_lines() {
    if [ -n "$build" ]; then
        sed -e '/install-packages/d' -e '/cmake --preset/d' -e 's/ && ldconfig//' \
            -e "s|cmake --install [^ ]*\$|& --prefix '$work/local'|" -e "s|build/programs|'$build'|" >"$work/lines"
        export CMAKE_PREFIX_PATH="$work/local" PKG_CONFIG_PATH="$work/local/lib/pkgconfig"
        export LD_LIBRARY_PATH="$work/local/lib"
    else
        cat >"$work/lines"
    fi
    [ -s "$work/lines" ] || { echo "the page has no such lines"; exit 1; }
    sh -eu "$work/lines" >"$work/log" 2>&1 || { cat "$work/lines" "$work/log"; echo "these lines fail"; exit 1; }
}

# uninstalled PREFIX: whether nothing is left there. Removes no file that is elsewhere.
uninstalled() {
    [ -n "$build" ] || cd "$root"
    ! grep -v "^$1/" "${build:-build/programs}/install_manifest.txt" || { echo "these are installed elsewhere"; exit 1; }
    type_lines
    ! find "$1" -name '*p[bc]*' ! -type d | grep . || { echo "these stay"; exit 1; }
}

cd "$work"
[ -n "$build" ] || cd "$root"
fenced README.md "A program" cpp >first.cpp
commands README.md "A program" | type_lines
grep -qx '160 frames are 160 bytes' "$work/log" || { cat "$work/log"; exit 1; }
prefix=/usr/local
[ -z "$build" ] || prefix=$work/local
uninstall README.md "A program" | uninstalled $prefix

# The programs are in a folder of their own.
guide="Building, installing, linking"
fenced docs/packets.md "Handles and sharing" c >"$work/program.c"
fenced README.md "A program" cpp >"$work/program.cpp"
fenced docs/guide.md "$guide" cmake >"$work/CMakeLists.txt"
commands docs/guide.md "$guide" | sed 's/^cc program/cd "$HOME" \&\& &/' | type_lines
LD_LIBRARY_PATH=$work/pcm/lib "$work/build/program" | grep -qx '160 frames are 160 bytes'
uninstall docs/guide.md "$guide" | uninstalled "$work/pcm"

[ -n "$build" ] || commands README.md "Building everything" | type_lines
