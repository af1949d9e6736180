// Logs on 16 threads as fast as they can, to a file, to a slow output and to one that checks what
// comes, while the logging pauses and the configuration changes: [SECONDS [MOST-BACKLOG]].

#include "concrete_debug_interface_factory.h"
#include "log_record.h"
#include "robustness.h"
#include "temp_dir.h"

#include <QtCore/QFile>

#include <atomic>
#include <memory>
#include <vector>

#include <malloc.h>
#include <string.h>

using namespace LifecycleHost;
using namespace Robustness;

namespace {

const char* const program = "robust_load";
const int thread_count = 16;
const int batch_size = 100;
const char* const slow_output = "slow:s";

std::atomic<int> logged[thread_count];
std::atomic<int> ready[thread_count]; // what has come to the checking output
std::atomic<int> slow_writes(0);
std::atomic<bool> slow_is_suspended(false);
std::atomic<int> out_of_order(0);
std::atomic<bool> ends(false);

int Sum(const std::atomic<int>* counts)
{
    int sum = 0;
    for (int i = 0; i < thread_count; ++i)
        sum += counts[i];
    return sum;
}

int Backlog()
{
    const int written = Sum(ready); // first, for records come meanwhile
    return Sum(logged) - written;
}

/** Sees whether each thread's records come one after the other. */
class CheckingOutput : public Zol::DbgServerInterface
{
public:
    CheckingOutput(const QString& server, const QString& option)
        : DbgServerInterface(server, option)
    {
        SetIODevice(new FunctionDevice(Check), true);
    }

private:
    // "<b>THREAD NUMBER</b>"
    static void Check(const char* data, qint64 size)
    {
        const char* const body = strstr(data, "<b>load ");
        if (!body || body > data + size)
            return;
        char* end = nullptr;
        const long thread = strtol(body + strlen("<b>load "), &end, 10);
        const long number = strtol(end, nullptr, 10);
        if (number != ready[thread]++)
            ++out_of_order;
    }
};

/** Takes its time, and follows a pause as a file does. */
class SlowOutput : public Zol::DbgServerInterface
{
public:
    SlowOutput(const QString& server, const QString& option)
        : DbgServerInterface(server, option)
    {
        SetIODevice(new FunctionDevice(Write), true);
    }

    bool SuspendDiskIO() override
    {
        SelectAlternateModuleMaskMap();
        slow_is_suspended = true;
        return true;
    }

    bool ResumeDiskIO() override
    {
        SelectMainModuleMaskMap();
        slow_is_suspended = false;
        return true;
    }

private:
    static void Write(const char*, qint64)
    {
        QElapsedTimer timer;
        timer.start();
        while (timer.nsecsElapsed() < 5000)
            continue;
        ++slow_writes;
    }
};

Zol::ConcreteDebugInterfaceFactory<CheckingOutput> checking_factory(QLatin1String("check"));
Zol::ConcreteDebugInterfaceFactory<SlowOutput> slow_factory(QLatin1String("slow"));

/** Heap in use, in kB. */
int Memory()
{
    const struct mallinfo2 info = mallinfo2();
    return static_cast<int>((info.uordblks + info.hblkhd) / 1024);
}

/** Logs at full speed, and waits only where the backlog would take too much memory. */
void Log(int thread, int most_backlog)
{
    const Zol::DebugModule module(QLatin1String("load"));
    for (int i = 0; !ends; ++i) {
        ZOL_INFO(module) << "load " << thread << ' ' << i;
        logged[thread] = i + 1;
        if (i % batch_size == 0) {
            while (Backlog() > most_backlog && !ends)
                Delay(1000);
        }
    }
}

/** What is seen while the threads log. */
struct Figures
{
    int peak_backlog;
    int peak_memory;  // kB
    int changes;      // pauses and configurations
    int late_records; // the most that came to an output behind a change
    bool changes_came;
};

/** Notes how many records the slow output still gets behind @p change, until @p has_come. */
void TryChange(void (*change)(), bool (*has_come)(), Figures& figures)
{
    change();
    const int before = slow_writes;
    figures.changes_came = Await(has_come) && figures.changes_came;
    figures.late_records = qMax(figures.late_records, slow_writes - before);
    ++figures.changes;
}

void Pause()
{
    Zol::DbgUtils::SignalLoggingPause();
}

bool IsPaused()
{
    return slow_is_suspended;
}

void Configure(int mask)
{
    Zol::DbgCollector::CollectCfgMsg(QLatin1String(slow_output), QLatin1String("*"),
                                     static_cast<Zol::DebugLevel>(mask));
}

void Silence()
{
    Configure(0);
}

/** Whether whole batches have come to the checking output and nothing to the slow one. */
bool IsSilent()
{
    const int before = slow_writes;
    const int checked = Sum(ready);
    Await([checked] { return Sum(ready) >= checked + 2 * batch_size || Backlog() == 0; });
    return slow_writes == before;
}

void TryChanges(Figures& figures)
{
    TryChange(Pause, IsPaused, figures);
    Zol::DbgUtils::SignalLoggingResume();
    TryChange(Silence, IsSilent, figures);
    Configure(Zol::DBG_INFO);
}

void Watch(int seconds, Figures& figures)
{
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < 1000 * qint64(seconds)) {
        figures.peak_backlog = qMax(figures.peak_backlog, Backlog());
        figures.peak_memory = qMax(figures.peak_memory, Memory());
        TryChanges(figures);
        Delay(20000);
    }
}

} // namespace

int main(int argc, char** argv)
{
    const int seconds = Count(argc, argv, 1, 2);
    const int most_backlog = Count(argc, argv, 2, 50000 * seconds);
    QCoreApplication app(argc, argv);
    WriteTo(QLatin1String("/dev/null"));
    Zol::DbgCollector::CollectCfgMsg(QLatin1String("check:c"), QLatin1String("*"), Zol::DBG_INFO);
    Configure(Zol::DBG_INFO);
    Zol::DbgCollector::Start();
    const int memory_before = Memory();
    Figures figures = {0, 0, 0, 0, true};
    QElapsedTimer timer;
    timer.start();
    std::vector<std::thread> threads;
    for (int i = 0; i < thread_count; ++i)
        threads.emplace_back([i, most_backlog] { Log(i, most_backlog); });
    Watch(seconds, figures);
    ends = true;
    for (std::thread& thread : threads)
        thread.join();
    const int rate = static_cast<int>(1000 * qint64(Sum(ready)) / timer.elapsed());
    const bool is_drained = Await([] { return Backlog() == 0; });
    const int memory_after = Memory();
    // The queue keeps the array of its pointers, a small part of what its records take.
    const bool is_freed = memory_after < memory_before + 1000 + figures.peak_memory / 4;
    const bool is_prompt = StopPromptly();
    const int lost = Sum(logged) - Sum(ready);
    return Report(program,
                  is_drained && is_prompt && figures.changes_came && lost + out_of_order == 0 &&
                      figures.late_records <= batch_size && is_freed,
                  "tried %d threads for %d s, %d records, sustained %d/s, peak backlog %d, heap kB "
                  "before %d, at the peak %d, after the drain %d, lost %d, out of order %d, %d "
                  "pauses and changes, at most %d records behind one",
                  thread_count, seconds, Sum(logged), rate, figures.peak_backlog, memory_before,
                  figures.peak_memory, memory_after, lost, out_of_order.load(), figures.changes,
                  figures.late_records);
}
