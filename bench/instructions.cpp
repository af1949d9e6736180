/*
 * A number of repetitions of one step, for a tool that counts instructions. The difference between
 * two numbers is what the repetitions take; what start and end take is in both.
 */

#include "collector_probe.h"
#include "dbg_msg_details.h"
#include "debug.h"
#include "file_dbg_interface.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QFile>

#include <stdio.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#include <atomic>
#include <vector>

namespace {

// The time of day goes by by readings: what depends on it then happens equally often in every run,
// however slow the tool is. A hundred messages have the same millisecond.
const long long first_time = 1340978587000000; // microseconds since 1970
const long long time_step = 10;                // microseconds
std::atomic<long long> readings(0);

long long TimeOfDay()
{
    return first_time + time_step * readings.fetch_add(1, std::memory_order_relaxed);
}

} // namespace

// These stand before those of the C library, for the libraries that this program uses too.
extern "C" {

int gettimeofday(timeval* time, void*) noexcept
{
    const long long now = TimeOfDay();
    time->tv_sec = static_cast<time_t>(now / 1000000);
    time->tv_usec = static_cast<suseconds_t>(now % 1000000);
    return 0;
}

int clock_gettime(clockid_t clock, timespec* time) noexcept
{
    if (clock != CLOCK_REALTIME && clock != CLOCK_REALTIME_COARSE)
        return static_cast<int>(syscall(SYS_clock_gettime, clock, time));
    const long long now = TimeOfDay();
    time->tv_sec = static_cast<time_t>(now / 1000000);
    time->tv_nsec = static_cast<long>(now % 1000000 * 1000);
    return 0;
}

time_t time(time_t* time) noexcept
{
    const time_t now = static_cast<time_t>(TimeOfDay() / 1000000);
    if (time)
        *time = now;
    return now;
}
}

namespace {

const char text_end[] = " waits for the pump to reach its working pressure";

void Emit(const Zol::DebugModule& module, int number)
{
    ZOL_INFO(module) << "request " << number << text_end;
}

void EmitMany(int count)
{
    Zol::DebugModule pump(QLatin1String("pump"));
    for (int i = 0; i < count; ++i)
        Emit(pump, i);
}

/** The collector is not started, so that it sleeps all the time. */
void Emitted(int count)
{
    EmitMany(count);
}

void Disabled(int count)
{
    Zol::DebugModule pump(QLatin1String("pump"));
    pump.SetMask(Zol::DBG_ERROR);
    for (int i = 0; i < count; ++i)
        Emit(pump, i);
}

/** A thousand records a millisecond apart, in two seconds. */
std::vector<Zol::DebugMessageDetails> Records()
{
    std::vector<Zol::DebugMessageDetails> records;
    const QDateTime first(QDate(2012, 6, 29), QTime(14, 3, 7, 500));
    for (int i = 0; i < 1000; ++i)
        records.push_back(Zol::DebugMessageDetails(
            first.addMSecs(i), QLatin1String("pump"), QLatin1String("bench/instructions.cpp"), 75,
            QLatin1String("void Emit(const Zol::DebugModule&, int)"), Zol::DBG_INFO,
            QLatin1String("main"),
            QString(QLatin1String("request %1%2")).arg(i).arg(QLatin1String(text_end))));
    return records;
}

QString Format(const Zol::DebugMessageDetails& record)
{
    const QString header = Zol::DbgUtils::FormatDbgHeader(
        record.m_time_stamp, record.m_module, record.m_file, record.m_line_no, record.m_func,
        record.m_lvl, record.m_thread);
    return Zol::DbgUtils::FormatDbgMessage(header, record.m_message);
}

void Formatted(int count)
{
    const std::vector<Zol::DebugMessageDetails> records = Records();
    size_t length = 0;
    for (int i = 0; i < count; ++i)
        length += static_cast<size_t>(Format(records[static_cast<size_t>(i) % 1000]).size());
    if (length == 0)
        puts("nothing was formatted");
}

void HandleMany(int count, Zol::DebugLevel mask)
{
    const QString log_path =
        QDir::temp().filePath(QString::fromLatin1("bench_instructions-%1.log").arg(getpid()));
    const std::vector<Zol::DebugMessageDetails> records = Records();
    const QString text = Format(records.front());
    Zol::FileDbgInterface output(log_path, QString());
    output.DoServerCfg(QLatin1String("*"), mask);
    for (int i = 0; i < count; ++i)
        output.HandleMsg(records[static_cast<size_t>(i) % 1000], text);
    QFile::remove(log_path);
}

void Filtered(int count)
{
    HandleMany(count, Zol::DBG_ERROR);
}

void Written(int count)
{
    HandleMany(count, Zol::DBG_INFO);
}

/** Queued and then taken from the queue by the collector, for an output that wants nothing. */
void Dropped(int count)
{
    CollectorProbe::BuildGate();
    Zol::DbgCollector::Start();
    CollectorProbe::QueueGate();
    CollectorProbe::AwaitGate();
    Zol::DebugModule pump(QLatin1String("pump"));
    pump.SetMask(Zol::DBG_INFO);
    for (int i = 0; i < count; ++i)
        Emit(pump, i);
    CollectorProbe::QueueGate();
    CollectorProbe::OpenGate();
    CollectorProbe::AwaitGate();
}

struct Step
{
    const char* name;
    void (*run)(int count);
};

const Step steps[] = {
    {"disabled", Disabled}, {"emitted", Emitted}, {"formatted", Formatted},
    {"filtered", Filtered}, {"written", Written}, {"dropped", Dropped},
};

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (argc == 2 && QByteArray(argv[1]) == "version") {
        puts(qVersion());
        return 0;
    }
    const int count = argc == 3 ? QByteArray(argv[2]).toInt() : 0;
    for (const Step& step : steps) {
        if (count <= 0 || QByteArray(argv[1]) != step.name)
            continue;
        step.run(count);
        fflush(stdout);
        _exit(0); // what happens at the end is nothing that is counted
    }
    fputs("Usage: bench_instructions version|STEP COUNT\n", stderr);
    return 2;
}
