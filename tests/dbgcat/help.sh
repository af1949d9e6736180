#!/bin/sh
# The help fits a terminal of 24 lines and 80 columns, prompt included, and names every option that
# the program takes; the completions offer the same.
# Usage: help.sh TOOL_FOLDER COMMAND...
set -eu

folder=$1
shift

fail() {
    echo "help: $*" >&2
    exit 1
}

help=$("$@" --help)
[ "$(echo "$help" | wc -l)" -le 23 ] || fail "the help has too many lines"
long=$(echo "$help" | awk 'length($0) > 79')
[ -z "$long" ] || fail "this is too long: $long"
[ "$("$@" -h)" = "$help" ] || fail "-h differs from --help"

options() {
    grep -oE -e '--[a-z][a-z-]*' | sort -u
}
offered=$(echo "$help" | options)
known=$(sed -n 's/^.*{"\([a-z-]*\)", [a-z]*_argument,.*$/--\1/p' "$folder/options.cpp" | sort -u)
[ "$offered" = "$known" ] || fail "the help does not name what the program takes"
for completion in dbgcat.bash _dbgcat; do
    [ "$(options <"$folder/$completion")" = "$known" ] || fail "$completion differs from the help"
done

levels() {
    sed -n "/levels=[\"(]/,/[\")]\$/p" "$1" | grep -oE '\b[A-Z_]{4,}\b' | sort
}
for completion in dbgcat.bash _dbgcat; do
    [ "$(levels "$folder/$completion" | wc -l)" -eq 16 ] || fail "$completion lacks levels"
    for level in $(levels "$folder/$completion"); do
        status=0
        "$@" -l "$level" /dev/null || status=$?
        [ "$status" -eq 1 ] || fail "$completion offers $level"
    done
done

# What bash makes of some beginnings.
command -v bash >/dev/null || exit 0
completed() {
    bash -c '
        compopt() { :; }
        . "$1"
        shift
        COMP_WORDS=("$@")
        COMP_CWORD=$(($# - 1))
        _dbgcat
        echo "${COMPREPLY[*]}"' bash "$folder/dbgcat.bash" "$@"
}
expect() {
    wanted=$1
    shift
    found=$(completed "$@")
    [ "$found" = "$wanted" ] || fail "'$*' is completed to '$found' instead of '$wanted'"
}
expect "--metrics" dbgcat --met
expect "--json" dbgcat --j
expect "always" dbgcat --color = al
expect "auto always never" dbgcat --color =
expect "WARN" dbgcat -l WA
expect "WARN,ERROR" dbgcat --level = WARN,ERR
