#!/bin/sh
# abi_test.sh BUILD: compares the interface of the libraries, types included, with that of the last release (abi/). What
# was added since is no fault; what was taken away or has changed is. Ends with 77 where it cannot tell.
set -eu
cd "$(dirname "$0")/.."
build=$1/abi
command -v abidiff >/dev/null || { echo "abidiff is not installed"; exit 77; }
[ "$(uname -m)" = x86_64 ] || { echo "the baseline is of another architecture"; exit 77; }

scripts/dump-abi "$build"
status=0
for library in pb pcm; do
    abidiff --no-added-syms "tests/abi/lib$library.abi" "$build/lib$library.abi" || status=1
done
exit $status
