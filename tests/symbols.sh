#!/bin/sh
# symbols.sh LIBPCM LIBPB [TESTS]: checks what the libraries export and need, and that the table of operations in the
# program TESTS has all that is exported.
set -u
here=$(dirname "$0")
pcm=$1 pb=$2
status=0

# Compares two sorted lists.
same() {
    printf '%s\n' "$2" >expected.$$
    printf '%s\n' "$3" | diff -u expected.$$ - >difference.$$ || { echo "$1 differ:"; cat difference.$$; status=1; }
    rm -f expected.$$ difference.$$
}

exported() { nm -D --defined-only "$1" | awk '$2 != "A" { sub(/@.*/, "", $3); print $3 }' | LC_ALL=C sort; }
needed() { readelf -d "$1" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' | LC_ALL=C sort; }

same "exported symbols of libpcm" "$(grep -v '^#' "$here/symbols.txt")" "$(exported "$pcm")"
# Without a row: what the sorts have in common, what the host calls once, and what checks nothing.
common='^pcm(Packet|PacketQueue|Filter|FilterCoefficients|Tone)(Sort|Retain|Release|Obj|From|ToString|Compare|Equals)$'
once='^pcmModule$|^pcm___ModuleIsa$|^pcm___.*(Startup|Shutdown)$'
[ -z "${3:-}" ] || same "exported operations and those of tests/operations.h" \
    "$(nm -D --defined-only "$pcm" | awk '$2 == "T" { sub(/@.*/, "", $3); print $3 }' |
        grep -vE "$common|$once|^pcmFilterCoefficientsCreateFrom$" | LC_ALL=C sort)" \
    "$("$3" --operations | cut -f1 | grep '^pcm' | grep -vE "$common" | LC_ALL=C sort -u)"
same "libraries that libpcm needs" "$(printf 'libc.so.6\nlibm.so.6\nlibpb.so.1')" "$(needed "$pcm")"
unknown=$(nm -D --undefined-only "$pcm" | awk '$2 ~ /^pb/ { print $2 }' | sed 's/@.*//' |
    grep -vxFf "$here/runtime.txt") && { echo "libpcm calls what the runtime need not have:" $unknown; status=1; }
for library in "$pcm" "$pb"; do
    readelf -d "$library" | grep -q SONAME || { echo "$library has no SONAME"; status=1; }
    if readelf -d "$library" | grep -qE 'SYMBOLIC|TEXTREL'; then echo "$library is bound to itself"; status=1; fi
    if exported "$library" | grep -v '^p\(b\|cm\)'; then echo "$library exports other names"; status=1; fi
    # Tables of the loader become read-only before the first call, and data is never code.
    readelf -lW "$library" | grep -q GNU_RELRO || { echo "$library has tables that stay writable"; status=1; }
    readelf -d "$library" | grep -q BIND_NOW || { echo "$library looks names up late"; status=1; }
    readelf -lW "$library" | grep -q 'GNU_STACK.* RW ' || { echo "$library wants a stack that is code"; status=1; }
    readelf -lW "$library" | grep 'LOAD.* RWE ' && { echo "$library has code that can be written"; status=1; }
done
# The runtime's calls of itself are no calls of the libraries above it.
readelf -rW "$pb" | grep -E 'JUMP_SLO.* pb' && { echo "libpb calls itself through the linker"; status=1; }
# What others reach into keeps its size.
same "sizes of libpcm's data" "$(grep -v '^#' "$here/data.txt")" \
    "$(nm -DS --defined-only "$pcm" | awk '$3 ~ /^[BDR]$/ { sub(/@.*/, "", $4); print $4, "0x" $2 }' | sed 's/0x0*/0x/' |
        LC_ALL=C sort)"
# Versions: one node for everybody's names, one for the product's own modules.
nm -D --defined-only --with-symbol-versions "$pcm" | awk '$2 != "A" { print $3 }' |
    grep -vE '^(pcm[A-Z].*@@PCM_1|pcm___.*@@PCM_INTERNAL_1)$' && { echo "names without their version"; status=1; }
exit $status
