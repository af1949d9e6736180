/* What single steps cost, each beside what others have for it where there is such a thing. */

#include "collector_probe.h"
#include "dbg_msg_details.h"
#include "debug.h"
#include "file_dbg_interface.h"
#include "metric_table.h"

#include <benchmark/benchmark.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDateTime>
#include <QtCore/QStringList>

#include <fcntl.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <vector>

#if QT_VERSION >= QT_VERSION_CHECK(5, 5, 0)
#define ZOLDEBUG_BENCH_QCDEBUG
#include <QtCore/QLoggingCategory>
#endif

#ifdef ZOLDEBUG_BENCH_SPDLOG
// Nothing is taken out at compile time, as nothing of ours is.
#define SPDLOG_ACTIVE_LEVEL SPDLOG_LEVEL_TRACE
#include <spdlog/sinks/null_sink.h>
#include <spdlog/spdlog.h>
#endif

namespace {

const qint64 batch = 10000; // records that may be queued while time is taken
const char null_path[] = "/dev/null";

std::string MemoryPath()
{
    return "/dev/shm/bench_micro-" + std::to_string(getpid()) + ".log";
}

Zol::DebugModule& Pump()
{
    static Zol::DebugModule module(QLatin1String("pump"));
    return module;
}

/** Gives the module exactly @p mask; its only output has nothing else. */
void SetMask(Zol::DebugLevel mask)
{
    Zol::DbgCollector::CollectCfgMsg(CollectorProbe::NullOutput(), Pump().Id(), mask);
    const Zol::DebugLevel all = static_cast<Zol::DebugLevel>(-1);
    while (Pump().LvlDisabled(mask == 0 ? all : mask) != (mask == 0) ||
           (mask != 0 && !Pump().LvlDisabled(~mask)))
        usleep(100);
}

/** Stops the time now and then for the collector to catch up, so that the queue stays short. */
class QueueBound
{
public:
    explicit QueueBound(benchmark::State& state)
        : m_state(state)
        , m_queued(0)
        , m_written(CollectorProbe::Discarded())
    {
    }

    ~QueueBound() { CollectorProbe::AwaitDiscarded(m_written + m_queued); }

    void Note(qint64 records)
    {
        m_queued += records;
        if (m_queued < batch)
            return;
        m_state.PauseTiming();
        CollectorProbe::AwaitDiscarded(m_written + m_queued);
        m_written += m_queued;
        m_queued = 0;
        m_state.ResumeTiming();
    }

private:
    Q_DISABLE_COPY(QueueBound)

    benchmark::State& m_state;
    qint64 m_queued;
    qint64 m_written;
};

// What takes less than a nanosecond is done ten times for each turn of the loop.
#define BENCH_TEN_TIMES(state, statement)                                                          \
    while (state.KeepRunningBatch(10)) {                                                           \
        BENCH_FIVE(statement)                                                                      \
        BENCH_FIVE(statement)                                                                      \
    }
#define BENCH_FIVE(statement)                                                                      \
    BENCH_ONE(statement)                                                                           \
    BENCH_ONE(statement)                                                                           \
    BENCH_ONE(statement)                                                                           \
    BENCH_ONE(statement)                                                                           \
    BENCH_ONE(statement)
#define BENCH_ONE(statement)                                                                       \
    statement;                                                                                     \
    benchmark::ClobberMemory();

void EmptyLoop(benchmark::State& state){
    BENCH_TEN_TIMES(state, static_cast<void>(0))} BENCHMARK(EmptyLoop);

void MaskTest(benchmark::State& state)
{
    const Zol::DebugModule& module = Pump();
    BENCH_TEN_TIMES(state, benchmark::DoNotOptimize(module.LvlDisabled(Zol::DBG_INFO)))
}
BENCHMARK(MaskTest);

void Disabled_ZolDebug(benchmark::State& state)
{
    SetMask(Zol::DBG_ERROR);
    const Zol::DebugModule& module = Pump();
    int number = 0;
    BENCH_TEN_TIMES(state, ZOL_INFO(module) << "request " << ++number << " waits for the pump")
}
BENCHMARK(Disabled_ZolDebug);

#ifdef ZOLDEBUG_BENCH_SPDLOG
void Disabled_Spdlog(benchmark::State& state)
{
    spdlog::logger logger("pump", std::make_shared<spdlog::sinks::null_sink_mt>());
    logger.set_level(spdlog::level::err);
    benchmark::DoNotOptimize(&logger);
    int number = 0;
    BENCH_TEN_TIMES(state, SPDLOG_LOGGER_INFO(&logger, "request {} waits for the pump", ++number))
}
BENCHMARK(Disabled_Spdlog);
#endif

#ifdef ZOLDEBUG_BENCH_QCDEBUG
Q_LOGGING_CATEGORY(category, "pump", QtWarningMsg)

void Disabled_QCDebug(benchmark::State& state)
{
    int number = 0;
    BENCH_TEN_TIMES(state, qCDebug(category) << "request " << ++number << " waits for the pump")
}
BENCHMARK(Disabled_QCDebug);
#endif

void FunctionTrace_Off(benchmark::State& state)
{
    SetMask(Zol::DBG_ERROR);
    for (auto _ : state) {
        ZOL_TIME_SCOPE(Pump());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(FunctionTrace_Off);

void FunctionTrace_Timed(benchmark::State& state)
{
    SetMask(Zol::DBG_TIME_TRACE);
    for (auto _ : state) {
        ZOL_TIME_SCOPE(Pump());
        benchmark::ClobberMemory();
    }
    SetMask(Zol::DBG_ERROR);
}
BENCHMARK(FunctionTrace_Timed);

void FunctionTrace_Logged(benchmark::State& state)
{
    SetMask(Zol::DBG_TRACE);
    {
        QueueBound bound(state);
        for (auto _ : state) {
            {
                ZOL_TIME_SCOPE(Pump());
            }
            bound.Note(2);
        }
    }
    SetMask(Zol::DBG_ERROR);
}
BENCHMARK(FunctionTrace_Logged);

void Emit(benchmark::State& state)
{
    SetMask(Zol::DBG_INFO);
    {
        const Zol::DebugModule& module = Pump();
        QueueBound bound(state);
        int number = 0;
        for (auto _ : state) {
            ZOL_INFO(module) << "request " << ++number << " waits for the pump";
            bound.Note(1);
        }
    }
    SetMask(Zol::DBG_ERROR);
}
BENCHMARK(Emit);

/** The floor of a message: what its text alone takes, as it is streamed, into memory that is there.
 */
void Compose(benchmark::State& state)
{
    QString text;
    text.reserve(100);
    int number = 0;
    for (auto _ : state) {
        text.resize(0);
        QTextStream(&text) << "request " << ++number << " waits for the pump";
        benchmark::DoNotOptimize(text.constData());
    }
}
BENCHMARK(Compose);

const char clean_text[] = "request 123456 waits for the pump to reach its working pressure";
const char dirty_text[] = "request <123456> waits for 'pump' & \"valve\" to reach pressure>4";

void Escape(benchmark::State& state, const char* literal)
{
    const QString text = QLatin1String(literal);
    for (auto _ : state) {
        const QString escaped = Zol::DbgUtils::XMLiseString(text);
        benchmark::DoNotOptimize(escaped.constData());
    }
}
BENCHMARK_CAPTURE(Escape, clean, clean_text);
BENCHMARK_CAPTURE(Escape, dirty, dirty_text);

/** Formats headers whose times are @p step milliseconds apart, over and over again. */
void FormatHeader(benchmark::State& state, qint64 step)
{
    std::vector<QDateTime> times;
    const QDateTime first(QDate(2012, 6, 29), QTime(14, 3, 7));
    for (qint64 i = 0; i < 1000; ++i)
        times.push_back(first.addMSecs(i * step));
    const QString module = QLatin1String("pump");
    const QString file = QLatin1String("bench/micro.cpp");
    const QString function = QLatin1String("void Emit(unsigned int)");
    const QString thread = QLatin1String("main");
    size_t i = 0;
    for (auto _ : state) {
        const QString header = Zol::DbgUtils::FormatDbgHeader(times[i], module, file, 123, function,
                                                              Zol::DBG_INFO, thread);
        benchmark::DoNotOptimize(header.constData());
        i = i + 1 == times.size() ? 0 : i + 1;
    }
}
BENCHMARK_CAPTURE(FormatHeader, same_second, 1);
BENCHMARK_CAPTURE(FormatHeader, other_second, 1001);

Zol::DebugMessageDetails Record(const char* text)
{
    return Zol::DebugMessageDetails(QDateTime(QDate(2012, 6, 29), QTime(14, 3, 7, 45)),
                                    QLatin1String("pump"), QLatin1String("bench/micro.cpp"), 123,
                                    QLatin1String("void Emit(unsigned int)"), Zol::DBG_INFO,
                                    QLatin1String("main"), QLatin1String(text));
}

QString Header(const Zol::DebugMessageDetails& record)
{
    return Zol::DbgUtils::FormatDbgHeader(record.m_time_stamp, record.m_module, record.m_file,
                                          record.m_line_no, record.m_func, record.m_lvl,
                                          record.m_thread);
}

void FormatMessage(benchmark::State& state, const char* literal)
{
    const Zol::DebugMessageDetails record = Record(literal);
    const QString header = Header(record);
    for (auto _ : state) {
        const QString text = Zol::DbgUtils::FormatDbgMessage(header, record.m_message);
        benchmark::DoNotOptimize(text.constData());
    }
}
BENCHMARK_CAPTURE(FormatMessage, clean, clean_text);
BENCHMARK_CAPTURE(FormatMessage, dirty, dirty_text);

QString WholeRecord()
{
    const Zol::DebugMessageDetails record = Record(clean_text);
    return Zol::DbgUtils::FormatDbgMessage(Header(record), record.m_message);
}

/** Keeps a file in memory short. */
void Shorten(benchmark::State& state, const std::string& path, qint64& records)
{
    if (++records % 100000 != 0 || path == null_path)
        return;
    state.PauseTiming();
    if (truncate(path.c_str(), 0) != 0)
        state.SkipWithError("cannot shorten the file");
    state.ResumeTiming();
}

void HandleMsg(benchmark::State& state, const std::string& path)
{
    const Zol::DebugMessageDetails record = Record(clean_text);
    const QString text = WholeRecord();
    {
        Zol::FileDbgInterface output(QString::fromStdString(path), QString());
        output.DoServerCfg(QLatin1String("*"), Zol::DBG_INFO);
        qint64 records = 0;
        for (auto _ : state) {
            output.HandleMsg(record, text);
            Shorten(state, path, records);
        }
    }
    if (path != null_path)
        unlink(path.c_str());
}
BENCHMARK_CAPTURE(HandleMsg, null, null_path);
BENCHMARK_CAPTURE(HandleMsg, memory, MemoryPath());

void HandleMsg_Refused(benchmark::State& state)
{
    const Zol::DebugMessageDetails record = Record(clean_text);
    const QString text = WholeRecord();
    const QString path = QLatin1String(null_path);
    Zol::FileDbgInterface output(path, QString());
    output.DoServerCfg(QLatin1String("*"), Zol::DBG_ERROR);
    for (auto _ : state)
        output.HandleMsg(record, text);
}
BENCHMARK(HandleMsg_Refused);

/** The system call that HandleMsg cannot do without, with the same bytes. */
void Write(benchmark::State& state, const std::string& path)
{
    const std::string line = WholeRecord().toStdString() + '\n';
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    qint64 records = 0;
    for (auto _ : state) {
        if (write(file, line.data(), line.size()) < 0)
            state.SkipWithError("cannot write");
        Shorten(state, path, records);
    }
    close(file);
    if (path != null_path)
        unlink(path.c_str());
}
BENCHMARK_CAPTURE(Write, null, null_path);
BENCHMARK_CAPTURE(Write, memory, MemoryPath());

QString ModuleName(int64_t number)
{
    return QString::fromLatin1("component/%1").arg(number, 6, 10, QLatin1Char('0'));
}

void GetStatus(benchmark::State& state, const char* asked_for)
{
    Zol::DbgServerInterface::ModuleStatusMap map;
    map.SetLevelMask(QLatin1String("*"), Zol::DBG_ERROR);
    for (int64_t i = 0; i < state.range(0); ++i)
        map.SetLevelMask(ModuleName(i), Zol::DBG_INFO);
    const QString module =
        *asked_for ? QString(QLatin1String(asked_for)) : ModuleName(state.range(0) / 2);
    for (auto _ : state)
        benchmark::DoNotOptimize(map.GetStatus(module));
}
BENCHMARK_CAPTURE(GetStatus, own_entry, "")->Arg(10)->Arg(1000);
BENCHMARK_CAPTURE(GetStatus, other, "pump")->Arg(0)->Arg(10)->Arg(1000);

void MetricHit(benchmark::State& state)
{
    const size_t places = static_cast<size_t>(state.range(0));
    std::vector<QString> files;
    for (size_t i = 0; i * 100 < places; ++i)
        files.push_back(ModuleName(static_cast<int64_t>(i)));
    Zol::MetricTable table;
    for (size_t i = 0; i < places; ++i)
        table.Update(files[i / 100], static_cast<unsigned int>(i % 100));
    uint32_t random = 1;
    for (auto _ : state) {
        random = random * 1664525U + 1013904223U;
        const size_t place = static_cast<size_t>(uint64_t(random) * places >> 32);
        table.Update(files[place / 100], static_cast<unsigned int>(place % 100));
    }
}
BENCHMARK(MetricHit)->Arg(100)->Arg(100000);

void MetricHit_SamePlace(benchmark::State& state)
{
    SetMask(Zol::DBG_INFO);
    for (auto _ : state)
        ZOL_METRIC(Pump(), Zol::DBG_INFO);
    SetMask(Zol::DBG_ERROR);
}
BENCHMARK(MetricHit_SamePlace);

void AwaitLevel(const Zol::DebugModule& module, Zol::DebugLevel level)
{
    while (module.LvlDisabled(level))
        usleep(100);
}

/** The collector's own CPU time for one change of every module's mask. */
void MaskRecomputation(benchmark::State& state)
{
    const QString everything = QLatin1String("*");
    const QString output = CollectorProbe::NullOutput();
    const int changes = 20;
    Zol::DbgCollector::CollectCfgMsg(output, everything, Zol::DBG_DEVEL);
    {
        std::vector<std::unique_ptr<Zol::DebugModule>> modules;
        for (int64_t i = 0; i < state.range(0); ++i)
            modules.emplace_back(new Zol::DebugModule(ModuleName(i)));
        const Zol::DebugModule& last = *modules.back();
        AwaitLevel(last, Zol::DBG_DEVEL);

        bool odd = false;
        for (auto _ : state) {
            odd = !odd;
            const Zol::DebugLevel mark = odd ? Zol::DBG_EVENT : Zol::DBG_LOAD;
            const qint64 start = CollectorProbe::CpuTime();
            for (int i = 0; i < changes; ++i)
                Zol::DbgCollector::CollectCfgMsg(output, everything,
                                                 i + 1 == changes ? mark
                                                 : i % 2 == 0     ? Zol::DBG_WARN
                                                                  : Zol::DBG_ERROR);
            AwaitLevel(last, mark);
            const qint64 cpu = CollectorProbe::CpuTime() - start;
            state.SetIterationTime(static_cast<double>(cpu) * 1e-9 / changes);
        }
    }
    SetMask(Zol::DBG_ERROR);
}
BENCHMARK(MaskRecomputation)
    ->RangeMultiplier(10)
    ->Range(10, 10000)
    ->UseManualTime()
    ->Iterations(20);

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    QCoreApplication application(argc, argv);
    Zol::DbgCollector::CollectCfgMsg(CollectorProbe::NullOutput(), QLatin1String("*"),
                                     static_cast<Zol::DebugLevel>(0));
    const Zol::CollectorScope logging;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
