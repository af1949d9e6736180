# Writes a log as demo_host would, of as many records as asked for, always the same.
# Usage: awk -v records=N -f make_log.awk

function stamp(milliseconds,    second, day)
{
    second = int(milliseconds / 1000)
    day = int(second / 86400)
    second -= day * 86400
    return sprintf("2026/11/%02d (Nov) (%s) %02d:%02d:%02d.%03d", day + 1, names[day % 7],
                   int(second / 3600), int(second / 60) % 60, second % 60, milliseconds % 1000)
}

function record(module, file, line, func_name, level, thread, text)
{
    printf "<dbg><h><d t=\"%s\" m=\"%s\" f=\"%s\" l=\"%d\" ", stamp(now), module, file, line
    printf "fnc=\"%s\" lvl=\"%s\" thrd=\"%s\"/></h><b>%s</b></dbg>\n", func_name, level,
           thread, text
    ++written
}

function table(    i)
{
    record("DBG", "src/dbg_collector.cpp", 749, "void Zol::DbgCollector::HandleMetric(bool)",
           "DBG_TRACE", "DBG", "Dumping metric table")
    printf "<metric f=\"examples/demo_host.cpp\" l=\"94\" c=\"4\"/>\n"
    printf "<metric f=\"examples/device.cpp\" l=\"62\" c=\"%d\"/>\n", packets
    printf "<metric f=\"examples/device.cpp\" l=\"97\" c=\"%d\"/>\n", saves
}

BEGIN {
    handle = "virtual void ControlTask::Handle(const QString&amp;)"
    split("Mon Tue Wed Thu Fri Sat", rest, " ")
    names[0] = "Sun"
    for (i = 1; i < 7; ++i)
        names[i] = rest[i]
    print "<DEBUG_SERVER_RESTART/>"
    next_table = 0
    while (written < records) {
        now += 17 * (written % 5) + 1
        if (now >= next_table) {
            table()
            next_table += 120000
        } else if (written % 5000 == 4999) {
            record("control", "examples/device.cpp", 111, handle,
                   "DBG_INFO", "controller", "logging pauses")
            now += 30000
            print "<DEBUG_SERVER_RESTART/>"
        } else if (written % 100 == 50) {
            ++saves
            record("storage", "examples/device.cpp", 95, "void StorageTask::Save(int)",
                   "DBG_TIME_TRACE", "storage-io",
                   "Leave: Time taken " (5000001 + written * 37 % 20000000) " ns")
        } else if (written % 100 == 51) {
            record("storage", "", 0, "", "DBG_TIME_TRACE", "storage-io",
                   "Time spent in module storage:  Count: 3 Accumulated time: 24000000 Min time: " \
                   (2000000 + written) " Max time: 20000000")
        } else if (written % 1000 == 77) {
            record("control", "examples/device.cpp", 119, handle,
                   "DBG_DEVEL", "controller",
                   "methods of this task:\nType = Slot. signature = Handle(QString)\n")
        } else if (written % 1000 == 500) {
            record("control", "examples/device.cpp", 132, "void ControlTask::Check(int)",
                   "DBG_CRITICAL", "controller", "overheated: 93 C")
        } else {
            ++packets
            if (packets % 10 == 0)
                record("network", "examples/device.cpp", 64, "void NetworkTask::Receive(int)",
                       "DBG_WARN", "net-io", "packet " packets " was damaged: &lt;crc mismatch&gt;")
            else
                record("network", "examples/device.cpp", 66, "void NetworkTask::Receive(int)",
                       "DBG_INFO", "net-io", "packet " packets " of many")
        }
    }
}
