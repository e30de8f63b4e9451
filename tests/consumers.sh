#!/bin/sh
# consumers.sh LIBDIR WORK: builds and runs a sample in C and one in C++ against what is installed, LIBDIR being where
# its libraries are: through pkg-config and, with consumer/, through CMake. CC, CXX and CMAKE may name the tools.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
libdir=$1 work=$2
: "${CC:=cc}" "${CXX:=c++}" "${CMAKE:=cmake}"
export CMAKE_GENERATOR="${CMAKE_GENERATOR:-Ninja}"
mkdir -p "$work"

run() { LD_LIBRARY_PATH=$libdir "$@" || { echo "$* ended with $?"; exit 1; }; }

# Without the system's own directories, where another libpcm may be.
export PKG_CONFIG_LIBDIR="$libdir/pkgconfig"
version=$(pkg-config --modversion pcm)
[ "$version" = "$(pkg-config --modversion pb)" ] || { echo "pcm.pc and pb.pc differ in version"; exit 1; }
eval "set -- $(pkg-config --cflags --libs pcm)" # blanks in paths are escaped as in the shell
"$CC" -std=c11 -Wall -Wextra "$here/../docs/samples/bytes.c" -o "$work/pc_c" "$@"
"$CXX" -std=c++20 -Wall -Wextra "$here/../docs/samples/first.cpp" -o "$work/pc_cpp" "$@"
run "$work/pc_c"
run "$work/pc_cpp"

"$CMAKE" -S "$here/consumer" -B "$work/cmake" -DCMAKE_C_COMPILER="$CC" -DCMAKE_CXX_COMPILER="$CXX" \
    -Dpcm_DIR="$libdir/cmake/pcm" >"$work/cmake.log" 2>&1 &&
    "$CMAKE" --build "$work/cmake" >>"$work/cmake.log" 2>&1 || { cat "$work/cmake.log"; exit 1; }
run "$work/cmake/consumer_c"
run "$work/cmake/consumer_cpp"

# They ran with these libraries and no others.
for library in pcm pb; do
    LD_LIBRARY_PATH=$libdir ldd "$work/pc_c" "$work/cmake/consumer_cpp" | grep "lib$library.so" |
        grep -vF "$libdir/lib$library.so" && { echo "linked elsewhere"; exit 1; }
done
# A package that asks for a later major version is not given this one.
mkdir -p "$work/later"
cat >"$work/later/CMakeLists.txt" <<EOF
cmake_minimum_required(VERSION 3.25)
project(later LANGUAGES NONE)
find_package(pcm $((${version%%.*} + 1)) QUIET)
if(pcm_FOUND)
    message(FATAL_ERROR "found")
endif()
EOF
"$CMAKE" -S "$work/later" -B "$work/later/build" -Dpcm_DIR="$libdir/cmake/pcm" >"$work/later.log" 2>&1 ||
    { echo "any version will do for find_package"; cat "$work/later.log"; exit 1; }
