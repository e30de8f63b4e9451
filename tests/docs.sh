#!/bin/sh
# docs.sh ROOT [PROGRAM]...: checks that what the documents show is so: their C and C++ stands in docs/samples, which is
# compiled and run; the names they use are in the headers; what they link to is there; the manual pages of the example
# programs tell every option that the programs have.
set -u
cd "$1" || exit 1
shift
status=0
pages=$(ls README.md CHANGELOG.md CONTRIBUTING.md docs/*.md)

# The samples without their checks and without `static`, blanks aside; each block of code is a run of such lines.
# shellcheck disable=SC2086
awk '
    function plain(line) { gsub(/[ \t]+/, " ", line); sub(/^ /, "", line); sub(/^static /, "", line); return line }
    FILENAME ~ /^docs\/samples\// {
        if (plain($0) ~ /^CHECK\(/) check = 1
        if (!check && plain($0) != "") samples = samples plain($0) "\n"
        if (/;$/) check = 0
        next
    }
    /^```(c|cpp)$/ { block = "\n"; next }
    /^```$/ && block != "" {
        if (!index("\n" samples, block)) { print FILENAME ":" FNR ": this code is in no sample:" block; bad = 1 }
        block = ""
        next
    }
    block != "" && plain($0) != "" { block = block plain($0) "\n" }
    END { exit bad }
' docs/samples/*.c docs/samples/*.cpp $pages || status=1

# shellcheck disable=SC2086
for name in $(grep -ohwE '(pcm|pb)[A-Z][A-Za-z0-9]*|(pcm|pb)___[A-Za-z0-9]+|(PCM|PB)_[A-Z0-9_]*[A-Z0-9]' $pages docs/man/* |
    grep -vE '^PCM_(BUILD|SANITIZE|WERROR|TEST|HIGHEST)' | sort -u); do
    grep -rqw "$name" include source || { echo "nothing is called $name"; status=1; }
done
# shellcheck disable=SC2086
for name in $(grep -ohE 'pcm::[A-Za-z]+' $pages | sort -u); do
    [ "$name" = pcm::pcm ] || grep -qw "${name#pcm::}" include/pcm/pcm.hpp || { echo "pcm.hpp has no $name"; status=1; }
done
for page in $pages; do
    for link in $(grep -oE '\]\([^)#:]+' "$page" | cut -c3-); do
        [ -e "$(dirname "$page")/$link" ] || { echo "$page links to $link, which is not there"; status=1; }
    done
done

for program in "$@"; do
    page=docs/man/pcm-$(basename "$program").1
    for option in $("$program" --help | grep -oE -- '--[a-z]+' | sort -u); do
        sed 's/\\-/-/g' "$page" | grep -q -e "$option" || { echo "$page lacks $option"; status=1; }
    done
done

# Manual pages: without a warning, where there is man.
if command -v man >/dev/null; then
    for page in docs/man/*; do
        warnings=$(LC_ALL=C.UTF-8 MANROFFSEQ='' MANWIDTH=80 man --warnings --encoding=utf8 --local-file "$page" 2>&1 >/dev/null)
        [ -z "$warnings" ] || { echo "$page: $warnings"; status=1; }
    done
fi
exit $status
