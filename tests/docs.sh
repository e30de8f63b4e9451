#!/bin/sh
# docs.sh ROOT FAILURE [PROGRAM]...: checks the documents: their C and C++ is in docs/samples, which is compiled and run;
# the names of functions and tests that they use exist; what they link to is there; the line that they quote is what the
# sample FAILURE prints; the manual pages of the example programs name every option of the programs. And pcm.hpp reaches
# every operation.
set -u
cd "$1" || exit 1
failure=$2
shift 2
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
for name in $(grep -ohE '`[A-Z][A-Za-z]+\.([A-Z][A-Za-z0-9]+|\*)`' docs/guarantees.md | tr -d '`' | sort -u); do
    test=$(echo "$name" | sed 's/\./, /; s/\*$//')
    grep -rqF "($test" tests --include='*.cpp' || { echo "no test is called $name"; status=1; }
done
for name in $(grep -E '^pcm[A-Z]' tests/symbols.txt | grep -vE '(Sort|Obj|From|ToString|Compare|Equals)$'); do
    grep -qw "$name" include/pcm/pcm.hpp || { echo "pcm.hpp does not reach $name"; status=1; }
done
for page in $pages; do
    for link in $(grep -oE '\]\([^)#:]+[)#]' "$page" | sed 's/^..//; s/.$//'); do
        [ -e "$(dirname "$page")/$link" ] || { echo "$page links to $link, which is not there"; status=1; }
    done
    for link in $(grep -oE '\]\([^):]*#[^)]+' "$page" | cut -c3-); do
        target=${link%%#*}
        grep '^#' "$(dirname "$page")/${target:-$(basename "$page")}" | tr 'A-Z ' 'a-z-' | tr -cd 'a-z0-9\n-' |
            grep -qx -e "-*${link#*#}" || { echo "$page links to the section $link, which is not there"; status=1; }
    done
done

# Whatever number the line has today.
line=$(ulimit -c 0; exec "$failure" 2>&1) 2>/dev/null
[ $? -eq 134 ] || { echo "$failure does not end with SIGABRT"; status=1; }
line=$(echo "$line" | sed 's/:[0-9]*: /:LINE: /')
for page in docs/failure-and-threads.md docs/man/pcm.7; do
    sed 's/\\-/-/g' "$page" | grep -qF -e "$line" || { echo "$page does not quote $line"; status=1; }
done

for program in "$@"; do
    page=docs/man/$(basename "$program").1
    for option in $("$program" --help | grep -oE -- '--[a-z]+' | sort -u); do
        sed 's/\\-/-/g' "$page" | grep -q -e "$option" || { echo "$page lacks $option"; status=1; }
    done
    for list in README.md CHANGELOG.md docs/man/pcm.7; do
        grep -qw "$(basename "$program")" $list || { echo "$list does not name $(basename "$program")"; status=1; }
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
