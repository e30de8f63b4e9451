# common.sh: what the scripts begin with. They stop at the first failure and work in the project's root; $here is where
# they were called.
#     arguments LEAST MOST "$@"
# prints the comment at the script's head for --help or -h, and refuses other options and other numbers of arguments.
set -eu
here=$PWD
script=$(cd "$(dirname "$0")" && pwd)/${0##*/}
cd "${script%/*}/.."

usage() { sed -n '2,$ { /^#/!q; s/^# \{0,1\}//p }' "$script"; }

refuse() {
    echo "${script##*/}: $1; see ${script##*/} --help" >&2
    exit 1
}

arguments() {
    least=$1 most=$2
    shift 2
    case ${1:-} in
    --help | -h) usage; exit ;;
    -*) refuse "unknown option $1" ;;
    esac
    [ $# -ge "$least" ] || refuse "too few arguments"
    [ $# -le "$most" ] || refuse "too many arguments"
}
