#!/bin/sh
# What the program returns, and that it reads pipes as they are filled.
# Usage: exit_status.sh FOLDER COMMAND...
set -eu

here=$(cd "$(dirname "$0")" && pwd)
folder=$1
shift
rm -rf "$folder"
mkdir -p "$folder"
cd "$folder"
log=$here/small.log

expect() {
    wanted=$1
    shift
    status=0
    "$@" >output 2>said || status=$?
    [ "$status" -eq "$wanted" ] || {
        echo "exit_status: $status instead of $wanted from $*" >&2
        exit 1
    }
}
expect 0 "$@" "$log"
expect 0 "$@" --metrics "$log"
expect 0 "$@" --help
expect 1 "$@" /dev/null
expect 1 "$@" -l LOAD "$log"
expect 1 "$@" --stats -l LOAD "$log"
expect 1 "$@" --timing -M nobody "$log"
expect 1 "$@" --report=report.html -M nobody "$log"
expect 2 "$@" --no-such-option
expect 2 "$@" --report=no/such/folder/report.html "$log"
expect 2 "$@" no_such.log
grep -q '^dbgcat: no_such.log cannot be opened: ' said
expect 2 "$@" no_such.log "$log" # but the other one is read
grep -q 'the journal ends' output
expect 2 "$@" .
expect 2 sh -c '"$@" >/dev/full' sh "$@" "$log"
printf 'rubbish\n' >rubbish.log
expect 1 "$@" rubbish.log
[ "$(cat output)" = rubbish ]

# Standard input in each of its forms.
expect 0 "$@" "$log"
mv output wanted
"$@" <"$log" | cmp - wanted
"$@" - <"$log" | cmp - wanted
(cat "$log") | "$@" | cmp - wanted

# The first record is shown while the pipe is still open.
mkfifo pipe shown
exec 4<>shown # waits for no writer
"$@" pipe >shown &
exec 3>pipe
head -n 2 "$log" >&3
head -n 1 <&4 | grep -q -e '-- restart --'
exec 3>&-
wait
