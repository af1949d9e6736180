#!/bin/sh
# What a new user does behind the installation of the packages: copies the README's minimal host,
# builds it with CMake, runs it and reads its log, in lnav too, and at a central rsyslogd that the
# device's sends it to. Runs in a system that never saw the sources, and thus follows the guide as
# the packages bring it.
set -eu

guide=/usr/share/doc/libzoldebug-doc

# Prints the first block of README in a language.
first_block() {
    awk -v fence="\`\`\`$1" '
        $0 == "```" && inside { exit }
        inside { print }
        $0 == fence { inside = 1 }' "$guide/README.md"
}

# Runs the commands of the only block in which a text stands: PAGE TEXT.
run_block() {
    awk -v text="$2" '
        /^```/ {
            if (found)
                printf "%s", block
            inside = !inside && $0 == "```sh"
            block = ""
            found = 0
            next
        }
        inside {
            block = block $0 "\n"
            found = found || index($0, text)
        }' "$guide/$1" >commands
    grep -F "$2" commands
    sh -eux ./commands
}

end_daemons() {
    for machine in central device; do
        pid=$(cat /run/$machine.pid)
        kill "$pid"
        while kill -0 "$pid" 2>/dev/null; do sleep 0.1; done
    done
}

await() {
    deadline=$(($(date +%s) + 60))
    until "$@"; do
        [ "$(date +%s)" -lt "$deadline" ]
        sleep 0.1
    done
}

mkdir /tmp/host
cd /tmp/host
first_block cpp >host.cpp
first_block cmake >CMakeLists.txt
cmake -S . -B build
cmake --build build
build/host
cat host.log
grep 'm="net".*<b>listening on port 8080</b></dbg>$' host.log

read_in_lnav() {
    lnav -n -c ";SELECT module, log_body FROM zoldebug_log WHERE module = 'net'" \
        -c ':write-csv-to -' host.log | grep 'net,listening on port 8080'
}
read_in_lnav
rm /etc/lnav/formats/zoldebug/zoldebug.json
run_block docs/reading-logs.md 'ln -s'
read_in_lnav
rm -r /etc/lnav/formats/zoldebug
run_block docs/reading-logs.md 'lnav -i'
read_in_lnav

# The central machine and the device are the same one here; nothing manages its services, and nobody
# edits.
cat >/usr/local/bin/systemctl <<'END'
#!/bin/sh
[ "$*" = "restart rsyslog" ] && rsyslogd -i "/run/$MACHINE.pid"
END
cat >/usr/local/bin/editor <<'END'
#!/bin/sh
sed -i 's/logs\.example\.com/127.0.0.1/' "$1"
END
chmod +x /usr/local/bin/systemctl /usr/local/bin/editor
trap end_daemons EXIT
export MACHINE=central
run_block docs/central-logging.md zoldebug-receiver.conf
await test -s /run/central.pid
rm /etc/rsyslog.d/zoldebug-receiver.conf
mkdir /var/log/zoldebug
cp host.log /var/log/zoldebug/
MACHINE=device
run_block docs/central-logging.md zoldebug-sender.conf
await test -s /run/device.pid

has_arrived() {
    cat /var/log/zoldebug-central/*/_var_log_zoldebug_host.log.json |
        grep '"module": "net".*"text": "listening on port 8080"'
}
await has_arrived
