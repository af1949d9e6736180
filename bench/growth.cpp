/*
 * How costs grow: with the records that are queued, with outputs, with modules, and with counted
 * places. Measures one size of one of them and prints a line of JSON.
 */

#include "collector_probe.h"
#include "debug.h"
#include "macro/harness.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QStringList>

#include <malloc.h>
#include <stdlib.h>
#include <string.h>

#include <memory>

namespace {

const char usage[] =
    "Usage: bench_growth CURVE SIZE [FOLDER]\n"
    "  queued        CPU of the collector per record, with SIZE records in its queue\n"
    "  outputs       the same, with SIZE outputs\n"
    "  modules       CPU of the collector per change of all masks, with SIZE modules\n"
    "  mask_outputs  the same, with 1000 modules and SIZE outputs\n"
    "  metrics       CPU of the host per counted hit, with SIZE places\n"
    "  memory        CPU of the host to allocate and fill what a record takes, with SIZE of them\n"
    "FOLDER takes the log files (default: /dev/shm).\n";

const unsigned int least_records = 50000;

/** Log files that are gone at the end. */
class LogFiles
{
public:
    LogFiles(const QString& folder, int count)
    {
        for (int i = 0; i < count; ++i)
            m_paths.append(
                QString::fromLatin1("%1/bench_growth-%2-%3.log").arg(folder).arg(getpid()).arg(i));
        for (const QString& path : const_cast<const QStringList&>(m_paths))
            Zol::DbgCollector::ParseDebugServerOptions(
                QStringList() << QLatin1String("file:") + path + QLatin1String(":t")
                              << QLatin1String("*=63") << QLatin1String("DBG=0")
                              << QLatin1String("gate=0"));
    }

    ~LogFiles()
    {
        for (const QString& path : const_cast<const QStringList&>(m_paths))
            QFile::remove(path);
    }

private:
    Q_DISABLE_COPY(LogFiles)

    QStringList m_paths;
};

/** Bytes that the program has allocated. */
double Allocated()
{
#if defined(__GLIBC_PREREQ) && __GLIBC_PREREQ(2, 33)
    const struct mallinfo2 info = mallinfo2();
    return static_cast<double>(info.uordblks) + static_cast<double>(info.hblkhd);
#else
    return static_cast<double>(Bench::MemoryKib("VmRSS:")) * 1024;
#endif
}

void Emit(const Zol::DebugModule& module, unsigned int number)
{
    ZOL_INFO(module) << Bench::text_begin << number << Bench::text_end;
}

void EmitMany(const Zol::DebugModule& module, unsigned int records)
{
    for (unsigned int i = 0; i < records; ++i)
        Emit(module, i);
}

/**
 * What it takes to write records that were all queued before.
 *
 * @param records  how many are queued at once; fewer are queued and written several times
 */
void MeasureWriting(const char* curve, unsigned int size, unsigned int records, int outputs,
                    const QString& folder)
{
    Zol::DebugModule pump(QLatin1String(Bench::module_name));
    CollectorProbe::BuildGate();
    const LogFiles files(folder, outputs);
    Zol::DbgCollector::Start();
    EmitMany(pump, 2000);
    CollectorProbe::QueueGate();
    CollectorProbe::AwaitGate();

    const unsigned int rounds = qMax(1U, least_records / records);
    uint64_t emit_cpu = 0;
    qint64 writer_cpu = 0;
    double bytes = 0;
    for (unsigned int i = 0; i < rounds; ++i) {
        const double allocated = Allocated();
        const uint64_t emit_start = Bench::Clock(CLOCK_THREAD_CPUTIME_ID);
        EmitMany(pump, records);
        emit_cpu += Bench::Clock(CLOCK_THREAD_CPUTIME_ID) - emit_start;
        bytes += Allocated() - allocated;

        CollectorProbe::QueueGate();
        const qint64 writer_start = CollectorProbe::CpuTime();
        CollectorProbe::OpenGate();
        CollectorProbe::AwaitGate();
        writer_cpu += CollectorProbe::CpuTime() - writer_start;
    }
    CollectorProbe::OpenGate();
    Zol::DbgCollector::Stop();

    const double all = static_cast<double>(records) * rounds;
    printf("{\"curve\": \"%s\", \"size\": %u, \"ns\": %.1f, \"emit_ns\": %.1f, "
           "\"bytes\": %.1f}\n",
           curve, size, static_cast<double>(writer_cpu) / all, static_cast<double>(emit_cpu) / all,
           bytes / all);
}

typedef std::vector<std::unique_ptr<Zol::DebugModule>> Modules;

void AwaitLevel(const Zol::DebugModule& module, Zol::DebugLevel level)
{
    while (module.LvlDisabled(level))
        usleep(100);
}

/** What it takes to give all modules new masks. */
void MeasureMasks(const char* curve, unsigned int size, unsigned int modules, unsigned int outputs)
{
    const QString everything = QLatin1String("*");
    CollectorProbe::BuildGate();
    for (unsigned int i = 0; i < outputs; ++i)
        Zol::DbgCollector::CollectCfgMsg(QString::fromLatin1("null:%1").arg(i), everything,
                                         Zol::DBG_DEVEL);
    Zol::DbgCollector::Start();

    Modules all;
    for (unsigned int i = 0; i < modules; ++i)
        all.emplace_back(new Zol::DebugModule(
            QString::fromLatin1("component/%1").arg(i, 6, 10, QLatin1Char('0'))));
    const Zol::DebugModule& last = *all.back();
    AwaitLevel(last, Zol::DBG_DEVEL);

    // Between two stops at the gate there is nothing but the changes.
    const unsigned int changes = qMax(20U, 200000 / modules);
    CollectorProbe::QueueGate();
    CollectorProbe::AwaitGate();
    const qint64 start = CollectorProbe::CpuTime();
    for (unsigned int i = 0; i < changes; ++i)
        Zol::DbgCollector::CollectCfgMsg(QLatin1String("null:0"), everything,
                                         i + 1 == changes ? Zol::DBG_EVENT
                                         : i % 2 == 0     ? Zol::DBG_WARN
                                                          : Zol::DBG_ERROR);
    CollectorProbe::OpenGate();
    AwaitLevel(last, Zol::DBG_EVENT);
    CollectorProbe::QueueGate();
    CollectorProbe::AwaitGate();
    const qint64 cpu = CollectorProbe::CpuTime() - start;
    CollectorProbe::OpenGate();
    Zol::DbgCollector::Stop();

    printf("{\"curve\": \"%s\", \"size\": %u, \"ns\": %.1f}\n", curve, size,
           static_cast<double>(cpu) / changes);
}

/** What it takes to count a hit of one of many places, in no order. */
void MeasureMetrics(unsigned int places)
{
    const unsigned int lines_per_file = 100;
    std::vector<std::string> files;
    for (unsigned int i = 0; i * lines_per_file < places; ++i)
        files.push_back("source/component/part_" + std::to_string(i) + ".cpp");

    Zol::DbgCollector::Start();
    const uint64_t first_start = Bench::Clock(CLOCK_THREAD_CPUTIME_ID);
    for (unsigned int i = 0; i < places; ++i)
        Zol::DbgCollector::CollectMetric(QString::fromLatin1(files[i / lines_per_file].c_str()),
                                         i % lines_per_file);
    const uint64_t first = Bench::Clock(CLOCK_THREAD_CPUTIME_ID) - first_start;
    usleep(100000); // the first dump of the table is not to be measured

    const unsigned int hits = qMax(200000U, 2 * places);
    uint32_t random = 1;
    std::vector<unsigned int> order(hits);
    for (unsigned int& place : order) {
        random = random * 1664525U + 1013904223U;
        place = static_cast<unsigned int>(uint64_t(random) * places >> 32);
    }
    const uint64_t start = Bench::Clock(CLOCK_THREAD_CPUTIME_ID);
    for (const unsigned int place : order)
        Zol::DbgCollector::CollectMetric(QString::fromLatin1(files[place / lines_per_file].c_str()),
                                         place % lines_per_file);
    const uint64_t taken = Bench::Clock(CLOCK_THREAD_CPUTIME_ID) - start;
    Zol::DbgCollector::Stop();

    printf("{\"curve\": \"metrics\", \"size\": %u, \"ns\": %.1f, \"first_ns\": %.1f}\n", places,
           static_cast<double>(taken) / hits, static_cast<double>(first) / places);
}

/** What it takes to allocate and fill the memory of records, without the records. */
void MeasureMemory(unsigned int records)
{
    const size_t record_size = sizeof(Zol::DebugMessageDetails);
    const size_t text_size = 3 * sizeof(void*) + 40 * sizeof(QChar);
    const unsigned int rounds = qMax(1U, least_records / records);
    std::vector<void*> blocks(2 * size_t(records));
    uint64_t cpu = 0;
    for (unsigned int i = 0; i < rounds; ++i) {
        const uint64_t start = Bench::Clock(CLOCK_THREAD_CPUTIME_ID);
        for (size_t block = 0; block < blocks.size(); ++block) {
            const size_t size = block % 2 == 0 ? record_size : text_size;
            blocks[block] = malloc(size);
            memset(blocks[block], 1, size);
        }
        cpu += Bench::Clock(CLOCK_THREAD_CPUTIME_ID) - start;
        for (void* const block : blocks)
            free(block);
    }
    printf("{\"curve\": \"memory\", \"size\": %u, \"ns\": %.1f}\n", records,
           static_cast<double>(cpu) / (static_cast<double>(records) * rounds));
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    const QString curve = arguments.value(1);
    const unsigned int size = arguments.value(2).toUInt();
    const QString folder = arguments.value(3, QLatin1String("/dev/shm"));
    const unsigned int usual = 20000;
    if (size == 0) {
        fputs(usage, stderr);
        return 2;
    }

    if (curve == QLatin1String("queued")) {
        MeasureWriting("queued", size, size, 1, folder);
    } else if (curve == QLatin1String("outputs")) {
        MeasureWriting("outputs", size, usual, static_cast<int>(size), folder);
    } else if (curve == QLatin1String("modules")) {
        MeasureMasks("modules", size, size, 1);
    } else if (curve == QLatin1String("mask_outputs")) {
        MeasureMasks("mask_outputs", size, 1000, size);
    } else if (curve == QLatin1String("metrics")) {
        MeasureMetrics(size);
    } else if (curve == QLatin1String("memory")) {
        MeasureMemory(size);
    } else {
        fputs(usage, stderr);
        return 2;
    }
    return 0;
}
