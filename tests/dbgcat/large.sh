#!/bin/sh
# Reads a large log, and a damaged copy of it, in every mode, and compares checksums of the outputs
# with those expected; and looks whether memory stays small meanwhile.
# Usage: large.sh RECORDS FOLDER COMMAND...
#   RECORDS  how many; there is a file of checksums for 50000 and 1000000
#   FOLDER   where to work; its "actual" is the new file of checksums if a change is meant
#   COMMAND  dbgcat
set -eu

here=$(cd "$(dirname "$0")" && pwd)
records=$1
folder=$2
shift 2

# shellcheck source-path=SCRIPTDIR source=modes.sh
. "$here/modes.sh"

rm -rf "$folder"
mkdir -p "$folder"
cd "$folder"
LC_ALL=C awk -v "records=$records" -f "$here/make_log.awk" >large.log
LC_ALL=C awk -f "$here/damage.awk" large.log >damaged.log
for kind in large damaged; do
    run_modes "$kind.log" "outputs/$kind" "$@"
done

count() {
    wanted=$1
    shift
    found=$("$@" | wc -l)
    [ "$found" -eq "$wanted" ] || {
        echo "large: $found instead of $wanted from $*" >&2
        exit 1
    }
}
count "$records" "$@" --json -e '' -m 0x7fffffff large.log
count "$(grep -c 'lvl="DBG_WARN"' large.log)" "$@" -l WARN large.log

sha256sum outputs/*/* >actual
rm -rf outputs large.log damaged.log
diff -u "$here/expected_$records.sha256" actual
