#!/bin/sh
# Runs the commands of the guide and compares what they write with what is printed there.
# Usage: guide.sh PAGE FOLDER COMMAND...
set -eu

here=$(cd "$(dirname "$0")" && pwd)
page=$1
folder=$2
shift 2

rm -rf "$folder"
mkdir -p "$folder"
cd "$folder"
cp "$here/small.log" device.log
LC_ALL=C awk -f "$here/damage.awk" device.log >damaged.log

printf '#!/bin/sh\nexec %s "$@"\n' "$*" >dbgcat
chmod +x dbgcat
PATH=$folder:$PATH

# Blocks of commands, which begin with "$ ", and of what they write.
awk '/^```$/ { inside = 0 } inside; /^```console$/ { inside = 1 }' "$page" >expected
sed -n 's/^\$ //p' expected | while IFS= read -r command; do
    echo "\$ $command"
    sh -c "$command" 2>&1
done >actual
[ -s actual ]
diff --text -u expected actual
