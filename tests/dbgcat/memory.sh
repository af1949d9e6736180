#!/bin/sh
# Merges a log of 2 GiB and others with lines of 100 MiB, with less than 64 MiB of
# memory for data.
# Usage: memory.sh FOLDER COMMAND...
set -eu

here=$(cd "$(dirname "$0")" && pwd)
folder=$1
shift

rm -rf "$folder"
mkdir -p "$folder"
cd "$folder"

header='<dbg><h><d t="2026/11/22 (Nov) (Sun) 00:00:00.000" m="big" f="a.cpp" l="1" fnc="f()"'
header="$header "'lvl="DBG_INFO" thrd="main"/></h><b>'
letters() {
    head -c 104857600 /dev/zero | tr '\0' "$1"
}

# What a file system leaves after a loss of power: null bytes, which take no room here.
truncate -s 2G null.log
printf '%slast</b></dbg>\n' "$header" >>null.log

write_pipes() {
    log=$here/small.log
    { printf '%s' "$header"; letters b; printf '</b></dbg>\n'; cat "$log"; } >long_record &
    { letters r; printf '\n'; cat "$log"; } >long_line &
    { printf '<dbg><h><d t="'; letters t; printf '\n'; cat "$log"; } >long_header &
}

mkfifo long_record long_line long_header
for form in -v --json --report=- -n10000; do
    write_pipes
    (
        # shellcheck disable=SC3045 # Debian's sh has it
        ulimit -d 65536
        "$@" "$form" long_record long_line long_header null.log "$here/small.log" >output 2>said
    ) || {
        echo "memory: dbgcat $form failed with $?" >&2
        cat said >&2
        exit 1
    }
    wait
    grep -q '^dbgcat: null.log has 2147483648 null bytes' said
    grep -q '^dbgcat: long_record has 1 record cut at 1 MiB' said
    grep -q '^dbgcat: long_line has 1 line that is no record (104857601 bytes)' said
done
rm null.log output
