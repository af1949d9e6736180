#!/bin/sh
# Compares every mode's output on a small log, and on a damaged copy of it, with what is expected.
# Usage: golden.sh EXPECTED FOLDER COMMAND...
#   EXPECTED  the folder of the expected outputs
#   FOLDER    where to put the outputs; its "actual" is the new EXPECTED if a change is meant
#   COMMAND   dbgcat
set -eu

here=$(cd "$(dirname "$0")" && pwd)
expected=$1
folder=$2
shift 2

# shellcheck source-path=SCRIPTDIR source=modes.sh
. "$here/modes.sh"

rm -rf "$folder"
mkdir -p "$folder"
cd "$folder"
cp "$here/small.log" small.log
LC_ALL=C awk -f "$here/damage.awk" small.log >damaged.log
for kind in small damaged; do
    run_modes "$kind.log" "actual/$kind" "$@"
    if command -v xmllint >/dev/null; then
        "$@" --xml "$kind.log" 2>"$kind.said" | xmllint --noout -
    fi
done
diff --text -ur "$expected" actual
