// Runs hosts that start, log and stop, each in its own way and with random delays: [PROCESSES].

#include "host_process.h"
#include "lifecycle_host.h"
#include "log_record.h"
#include "robustness.h"
#include "temp_dir.h"

#include <QtCore/QMutex>
#include <QtCore/QMutexLocker>

#include <atomic>
#include <cstring>
#include <vector>

#include <unistd.h>

using namespace LifecycleHost;
using namespace Robustness;
using ZolTest::HostResult;

namespace {

const char* const program = "robust_start_stop";
const int thread_count = 3;
const char* const module_names[thread_count] = {"host0", "host1", "host2"};
const char* const ways[] = {"main",  "threads",    "twice",  "two threads",
                            "other", "destructor", "static", "while others log"};

/** Stops the collector when it dies, as a host may do whose parts outlive its main(). */
class StoppingModule : public Zol::DebugModule
{
public:
    explicit StoppingModule(bool wanted = true)
        : DebugModule(QLatin1String("stopping"))
        , m_wanted(wanted)
    {
    }

    ~StoppingModule()
    {
        if (m_wanted && !StopPromptly())
            _exit(4);
    }

    void Want() { m_wanted = true; }

private:
    bool m_wanted;
};

StoppingModule static_module(false);

void LogOnThreads(int count)
{
    std::vector<std::thread> threads;
    for (const char* name : module_names) {
        threads.emplace_back([name, count] {
            const Zol::DebugModule module((QLatin1String(name)));
            LogRange(module, 0, count);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

void StopOnThreads(int count)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i)
        threads.emplace_back(Zol::DbgCollector::Stop);
    for (std::thread& thread : threads)
        thread.join();
}

/** Stops while another thread goes on logging; prints how much that one had logged before. */
bool StopWhileOthersLog()
{
    std::atomic<int> logged(0);
    std::atomic<bool> ends(false);
    std::thread other([&logged, &ends] {
        const Zol::DebugModule module(QLatin1String("other"));
        while (!ends) {
            ZOL_INFO(module) << logged++;
            Delay(50); // or the backlog outgrows what a stop can write in its ten seconds
        }
    });
    while (logged < 100)
        std::this_thread::yield();
    std::printf("%d\n", logged - 1); // one may be between its number and the queue
    const bool is_prompt = StopPromptly();
    ends = true;
    other.join();
    return is_prompt;
}

bool StopAs(const QString& way)
{
    if (way == QLatin1String("destructor")) {
        const StoppingModule stopping;
    } else if (way == QLatin1String("static")) {
        static_module.Want();
    } else if (way == QLatin1String("while others log")) {
        return StopWhileOthersLog();
    } else if (way == QLatin1String("other")) {
        StopOnThreads(1);
    } else if (way == QLatin1String("two threads")) {
        StopOnThreads(2);
    } else if (way == QLatin1String("twice")) {
        return StopPromptly() && StopPromptly();
    } else {
        return StopPromptly();
    }
    return true;
}

/** A host: "host" WAY PATH COUNT, and the microseconds before the start and before the stop. */
int BeHost(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QString way = Argument(argc, argv, 2);
    const int count = Argument(argc, argv, 4).toInt();
    WriteTo(Argument(argc, argv, 3));
    Delay(Argument(argc, argv, 5).toInt());
    Zol::DbgCollector::Start();
    if (way == QLatin1String("threads")) {
        LogOnThreads(count);
    } else {
        const Zol::DebugModule module((QLatin1String(module_names[0])));
        LogRange(module, 0, count);
    }
    Delay(Argument(argc, argv, 6).toInt());
    return StopAs(way) ? 0 : 4;
}

struct Figures
{
    int hosts_to_run;
    int hung;
    int failed;
    int records;
    int lost;
    int broken;
};

void NoteLog(const QByteArray& way, const QByteArray& output, const QByteArray& log, int count,
             Figures& figures)
{
    const int threads = way == "threads" ? thread_count : 1;
    for (int i = 0; i < threads; ++i)
        figures.lost += Missing(log, module_names[i], 0, count);
    const int others = way == "while others log" ? output.trimmed().split('\n').last().toInt() : 0;
    figures.lost += Missing(log, "other", 0, others);
    figures.records += threads * count + others;
    figures.broken += BrokenLines(log);
}

void SayHowItEnded(const QStringList& arguments, const HostResult& host)
{
    std::fprintf(stderr, "\"%s\" %s %d after %d ms: %s\n",
                 qPrintable(arguments.join(QLatin1String("\" \""))),
                 host.exited ? "returned" : "crashed or hung,", host.exit_code,
                 static_cast<int>(host.milliseconds), host.standard_error.constData());
}

/** Runs hosts until as many as wanted have run. */
void RunHosts(Figures& figures, QMutex& mutex)
{
    Random random;
    for (;;) {
        {
            QMutexLocker lock(&mutex);
            if (--figures.hosts_to_run < 0)
                return;
        }
        const ZolTest::TempDir dir;
        const QString path = dir.Path("log");
        const char* const way = ways[random.Below(sizeof ways / sizeof *ways)];
        const int count = 1 + random.Below(150);
        QStringList arguments = QStringList() << QLatin1String("host") << QLatin1String(way) << path
                                              << QString::number(count);
        for (int i = 0; i < 2; ++i) // most of what can go wrong happens within a few microseconds
            arguments << QString::number(random.Below(random.Below(2) ? 50 : 2000));
        const HostResult host = ZolTest::RunHost(QLatin1String(program), arguments);
        const QByteArray log = BytesOf(path);
        QMutexLocker lock(&mutex);
        if (!host.exited || host.exit_code != 0) {
            ++figures.failed;
            SayHowItEnded(arguments, host);
        }
        figures.hung += host.milliseconds < ZolTest::WaitBound() / 6 ? 0 : 1;
        NoteLog(way, host.standard_output, log, count, figures);
    }
}

} // namespace

int main(int argc, char** argv)
{
    if (argc > 1 && std::strcmp(argv[1], "host") == 0)
        return BeHost(argc, argv);
    const int processes = Count(argc, argv, 1, 500);
    Figures figures = {processes, 0, 0, 0, 0, 0};
    QMutex mutex;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&figures, &mutex] { RunHosts(figures, mutex); });
    for (std::thread& thread : threads)
        thread.join();
    return Report(program, figures.failed + figures.hung + figures.lost + figures.broken == 0,
                  "tried %d processes with %d records, hung %d, failed %d, lost %d records, "
                  "broken lines %d",
                  processes, figures.records, figures.hung, figures.failed, figures.lost,
                  figures.broken);
}
