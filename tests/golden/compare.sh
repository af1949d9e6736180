#!/bin/sh
# Runs the golden host and compares what it logged, byte for byte, with what every build logs.
# Usage: compare.sh EXPECTED FOLDER COMMAND...
#   EXPECTED  the log as it has to be
#   FOLDER    where to put the logs; FOLDER/actual.log is the new EXPECTED if a change is meant
#   COMMAND   the golden host, which is given the path of its log
#
# What no build can repeat is replaced by its name:
#   TIME  the time stamp of records that the library takes the time of: those of modules that begin
#         with "now", and those of the collector's own module "DBG"
#   LINE  the line number in the collector's progress records, which moves when its source is edited
# The collector's own records come last, in alphabetical order, for its thread and its host's log
# them side by side.
set -eu

expected=$1
folder=$2
shift 2

mkdir -p "$folder"
rm -f "$folder"/*.log*
"$@" "$folder/golden.log" >"$folder/output.txt"

replace_times() {
    LC_ALL=C sed -E 's/^(<dbg><h><d t=")[^"]*(" m="(now[^"]*|DBG)")/\1TIME\2/' "$1"
}

replace_lines() {
    LC_ALL=C sed -E '/ fnc="void Zol::DbgCollector::HandleMetric\(bool\)"/! s/ l="[0-9]+"/ l="LINE"/'
}

{
    replace_times "$folder/golden.log"
    echo
    echo "==== the collector's own records, sorted"
    replace_times "$folder/golden.log.own" | grep '^<dbg>' | replace_lines | LC_ALL=C sort
} >"$folder/actual.log"

diff --text -u "$expected" "$folder/actual.log"
