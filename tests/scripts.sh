#!/bin/sh
# scripts.sh ROOT: what the scripts do before they work: they help, refuse, and keep to the width of the terminal.
set -u
root=$1
cd "$root" || exit 1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
status=0
fail() { echo "$1"; status=1; }

for script in $(grep -l '^#!/bin/sh' scripts/*); do
    for option in --help -h; do
        (cd / && timeout 9 "$root/$script" $option) | head -n 1 | grep -qw "^${script##*/}" || fail "$script has no $option"
    done
    timeout 9 "$script" --no-such-option >"$work/text" 2>&1
    [ $? -eq 1 ] && grep -q "unknown option --no-such-option" "$work/text" || fail "$script takes any option"
done

# The recording itself, another name of it, a link to it.
echo recording >"$work/a.wav"
ln "$work/a.wav" "$work/b.wav"
ln -s a.wav "$work/c.wav"
for output in a b c; do
    (cd "$work" && timeout 9 "$root/scripts/demo" a.wav $output.wav 2>&1) | grep -q 'INPUT and OUTPUT are one file' ||
        fail "demo writes over its input $output.wav"
done
[ "$(cat "$work/a.wav")" = recording ] || fail "demo has destroyed its input"

# Each line that step writes again begins with a carriage return; the last one stays and may be wrapped.
script -qec "stty cols 40; scripts/step '$(seq -s ' ' 50)' sleep 1.5" /dev/null </dev/null |
    tr '\r' '\n' | sed 's/\x1b\[K//' | grep '^1 2 3' >"$work/lines"
[ "$(wc -l <"$work/lines")" -ge 2 ] || fail "step shows nothing while it waits"
sed '$d' "$work/lines" | awk 'length > 39 { exit 1 }' || fail "step writes lines again that are wider than the terminal"
grep -q '49 50 \.\.\. [0-9]* s' "$work/lines" || fail "step cuts its last line"
exit $status
