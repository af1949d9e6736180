// Does everything very often and sees whether memory grows with it: [RECORDS]. Under a leak checker
// the heap cannot be measured, but is checked at the end.

#include "concrete_debug_interface_factory.h"
#include "log_record.h"
#include "robustness.h"

#include <atomic>
#include <thread>

#include <malloc.h>
#include <pthread.h>

using namespace LifecycleHost;
using namespace Robustness;

namespace {

const char* const program = "robust_leaks";

/** An output that takes the same device of the host again and again. */
class RetakingOutput : public Zol::DbgServerInterface
{
public:
    RetakingOutput(const QString& server, const QString& option)
        : DbgServerInterface(server, option)
    {
        SetIODevice(Device(), false);
    }

    bool SuspendDiskIO() override
    {
        SelectAlternateModuleMaskMap();
        return SetIODevice(NewNullFile(), true);
    }

    bool ResumeDiskIO() override
    {
        SelectMainModuleMaskMap();
        return SetIODevice(Device(), false);
    }

private:
    static QIODevice* Device()
    {
        static FunctionDevice* const device = new FunctionDevice([](const char*, qint64) {});
        return device;
    }
};

Zol::ConcreteDebugInterfaceFactory<RetakingOutput> retaking_factory(QLatin1String("retake"));

const Zol::DebugModule& Host()
{
    static const Zol::DebugModule module(QLatin1String("host"));
    return module;
}

void LogOne(int number)
{
    ZOL_INFO(Host()) << "record " << number;
}

void BuildModule(int number)
{
    const Zol::DebugModule module(QString::fromLatin1("module %1").arg(number % 1000));
    ZOL_INFO(module) << number;
}

void Configure(int number)
{
    const QString address = QLatin1String("file:/dev/null");
    const QString id = QString::fromLatin1("module %1").arg(number % 100);
    Zol::DbgCollector::CollectCfgMsg(address, id, Zol::DBG_INFO);
    const QString other = QLatin1String("retake:comes and goes");
    Zol::DbgCollector::CollectCfgMsg(other, id, Zol::DBG_WARN);
    Zol::DbgCollector::RemoveDebugInterface(other);
}

void PauseAndResume(int)
{
    Zol::DbgUtils::SignalLoggingPause();
    Zol::DbgUtils::SignalLoggingResume();
}

void CountMetric(int number)
{
    Zol::DbgCollector::CollectMetric(QLatin1String("file.cpp"),
                                     static_cast<unsigned int>(number % 100));
}

void Trace(int)
{
    const Zol::DbgFuncTrace trace(Host(), __FILE__, __LINE__, Q_FUNC_INFO, true);
}

void LogLast(void*)
{
    ZOL_INFO(Host()) << "behind the end of all that is the thread's own";
}

/** A thread that logs when the destructors of its thread_local objects have run. */
void EndThread(int)
{
    static pthread_key_t key;
    static const bool is_made = pthread_key_create(&key, LogLast) == 0;
    std::thread([] {
        if (is_made)
            pthread_setspecific(key, &key);
    }).join();
}

/** Something to repeat, how often for a hundred records, and by how much the heap grew. */
struct Repetition
{
    const char* name;
    void (*act)(int number);
    int share;
    int growth; // kB
};

std::atomic<int> settled(0);

/** Sees that everything was handled that was handed over before its record. */
class SettlingOutput : public Zol::DbgServerInterface
{
public:
    SettlingOutput(const QString& server, const QString& option)
        : DbgServerInterface(server, option)
    {
        SetIODevice(new FunctionDevice(Note), true);
    }

private:
    static void Note(const char* data, qint64 size)
    {
        if (QByteArray::fromRawData(data, static_cast<int>(size)).contains("<b>settle</b>"))
            ++settled;
    }
};

Zol::ConcreteDebugInterfaceFactory<SettlingOutput> settling_factory(QLatin1String("settle"));

bool Settle()
{
    const int before = settled;
    ZOL_FATAL(Host()) << "settle";
    return Await([before] { return settled > before; });
}

/** Does it so often, never far ahead of the collector. */
bool Repeat(void (*act)(int), int times)
{
    bool is_settled = true;
    for (int i = 0; i < times && is_settled; ++i) {
        act(i);
        is_settled = i % 1000 != 999 || Settle();
    }
    return is_settled && Settle();
}

/** Heap in use, in kB. */
int Memory()
{
    const struct mallinfo2 info = mallinfo2();
    return static_cast<int>((info.uordblks + info.hblkhd) / 1024);
}

/** By how many kB the heap grows, once everything is as large as it gets. */
bool Measure(Repetition& repetition, int times)
{
    const bool is_warm = Repeat(repetition.act, qMax(1000, times / 10));
    const int before = Memory();
    const bool is_done = Repeat(repetition.act, times);
    repetition.growth = Memory() - before;
    return is_warm && is_done;
}

} // namespace

int main(int argc, char** argv)
{
    const int records = Count(argc, argv, 1, 100000);
    const int most_growth = 256; // kB
    Repetition repetitions[] = {
        {"records", LogOne, 100, 0},         {"modules", BuildModule, 20, 0},
        {"configurations", Configure, 5, 0}, {"resumptions", PauseAndResume, 5, 0},
        {"metrics", CountMetric, 20, 0},     {"traces", Trace, 20, 0},
        {"threads", EndThread, 2, 0},
    };
    QCoreApplication app(argc, argv);
    for (const char* address : {"file:/dev/null", "retake:stays", "settle:s"})
        Zol::DbgCollector::CollectCfgMsg(QLatin1String(address), QLatin1String("*"),
                                         static_cast<Zol::DebugLevel>(0x7fffffff));
    Zol::DbgCollector::Start();
    bool is_good = true;
    QByteArray text;
    for (Repetition& repetition : repetitions) {
        const int times = static_cast<int>(qint64(records) * repetition.share / 100);
        is_good = Measure(repetition, times) && repetition.growth < most_growth && is_good;
        text += QByteArray(text.isEmpty() ? "" : ", ") + QByteArray::number(times) + ' ' +
                repetition.name + ' ' + QByteArray::number(repetition.growth);
    }
    const bool is_prompt = StopPromptly();
    return Report(program, is_good && is_prompt, "tried, with the growth of the heap in kB: %s",
                  text.constData());
}
