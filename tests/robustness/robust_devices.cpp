// Logs to devices that fail or vanish, beside a good file: SCENARIO [RECORDS].

#include "concrete_debug_interface_factory.h"
#include "lifecycle_host.h"
#include "log_record.h"
#include "robustness.h"
#include "temp_dir.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QMutex>
#include <QtCore/QMutexLocker>

#include <atomic>
#include <new>
#include <type_traits>

#include <string.h>
#include <unistd.h>

using namespace LifecycleHost;
using namespace Robustness;

namespace {

const Zol::DebugModule& Host()
{
    static const Zol::DebugModule module(QLatin1String("host"));
    return module;
}

/** Has the outputs open their files again, @p path among them, which is not there yet. */
bool OpenAgain(const QString& path)
{
    Zol::DbgUtils::SignalLoggingPause();
    Zol::DbgUtils::SignalLoggingResume();
    // While the pause lasts, messages are not even made.
    return Await([&path] { return QFile::exists(path) && !Host().LvlDisabled(Zol::DBG_INFO); });
}

/** Waits until all that was logged is in the file. */
bool Settle(const QString& path)
{
    static int number = 0;
    const Zol::DebugModule module(QLatin1String("settle"));
    ZOL_INFO(module) << "settled " << ++number;
    return AwaitText(path, "<b>settled " + QByteArray::number(number) + "</b>");
}

Result LogBeside(const char* program, const QString& bad_path, int records)
{
    const ZolTest::TempDir dir;
    const QString good_path = dir.Path("good");
    WriteTo(bad_path);
    WriteTo(good_path);
    Zol::DbgCollector::Start();
    LogRange(Host(), 0, records);
    const bool is_prompt = StopPromptly();
    const QByteArray log = BytesOf(good_path);
    const int lost = Missing(log, "host", 0, records);
    const int broken = BrokenLines(log);
    return Report(program, is_prompt && lost + broken == 0,
                  "tried %d records, survived, lost in the good file %d, broken lines %d", records,
                  lost, broken);
}

Result TryFullDevice(const char* program, int records)
{
    return LogBeside(program, QLatin1String("/dev/full"), records);
}

Result TryFolder(const char* program, int records)
{
    const ZolTest::TempDir dir;
    return LogBeside(program, dir.Path(""), records);
}

// The folder appears while the host runs; the next resumption opens the file.
Result TryMissingFolder(const char* program, int records)
{
    const ZolTest::TempDir dir;
    const QString good_path = dir.Path("good");
    const QString late_path = dir.Path("late/log");
    WriteTo(late_path);
    WriteTo(good_path);
    Zol::DbgCollector::Start();
    LogRange(Host(), 0, records);
    bool is_settled = Settle(good_path);
    QDir().mkdir(dir.Path("late"));
    is_settled = OpenAgain(late_path) && is_settled;
    LogRange(Host(), records, 2 * records);
    const bool is_prompt = StopPromptly();
    const int lost = Missing(BytesOf(good_path), "host", 0, 2 * records) +
                     Missing(BytesOf(late_path), "host", records, 2 * records);
    const int broken = BrokenLines(BytesOf(late_path));
    return Report(program, is_settled && is_prompt && lost + broken == 0,
                  "tried %d records before and %d after the folder appears, lost after it %d, "
                  "broken lines %d",
                  records, records, lost, broken);
}

// The writer keeps the file that it opened; the next resumption makes a new one.
Result TryDeletedFile(const char* program, int records)
{
    const ZolTest::TempDir dir;
    const QString path = dir.Path("log");
    const QString kept_path = dir.Path("kept");
    WriteTo(path);
    Zol::DbgCollector::Start();
    LogRange(Host(), 0, records);
    bool is_settled = Settle(path);
    link(QFile::encodeName(path).constData(), QFile::encodeName(kept_path).constData());
    QFile::remove(path);
    LogRange(Host(), records, 2 * records);
    is_settled = Settle(kept_path) && OpenAgain(path) && is_settled;
    LogRange(Host(), 2 * records, 3 * records);
    const bool is_prompt = StopPromptly();
    const int lost = Missing(BytesOf(kept_path), "host", 0, 2 * records) +
                     Missing(BytesOf(path), "host", 2 * records, 3 * records);
    const int broken = BrokenLines(BytesOf(kept_path)) + BrokenLines(BytesOf(path));
    return Report(program, is_settled && is_prompt && lost + broken == 0,
                  "tried %d records to a file deleted after a third, opened again after two, lost "
                  "%d, broken lines %d",
                  3 * records, lost, broken);
}

/** Truncates the file now and then while the host logs; returns how often. */
int TruncateWhileLogging(const QString& path, int records)
{
    int truncations = 0;
    std::atomic<bool> ends(false);
    std::thread host([&ends, records] {
        LogRange(Host(), 0, records);
        ends = true;
    });
    while (!ends || truncations == 0) {
        Delay(500);
        QFile::resize(path, 0);
        ++truncations;
    }
    host.join();
    return truncations;
}

Result TryTruncatedFile(const char* program, const char* option, int records)
{
    const ZolTest::TempDir dir;
    const QString path = dir.Path("log");
    WriteTo(path + QLatin1String(option));
    Zol::DbgCollector::Start();
    Await([&path] { return QFile::exists(path); });
    const int truncations = TruncateWhileLogging(path, records);
    const bool is_settled = Settle(path);
    QFile::resize(path, 0);
    LogRange(Host(), records, 2 * records);
    const bool is_prompt = StopPromptly();
    QByteArray log = BytesOf(path);
    const int holes = static_cast<int>(log.count('\0'));
    log.replace('\0', QByteArray());
    const int lost = Missing(log, "host", records, 2 * records);
    const int broken = BrokenLines(log);
    return Report(program, is_settled && is_prompt && lost + broken == 0,
                  "tried %d truncations, lost of %d records after the last %d, broken lines %d, "
                  "bytes of holes %d",
                  truncations + 1, records, lost, broken, holes);
}

Result TryTruncatedAppendingFile(const char* program, int records)
{
    return TryTruncatedFile(program, "", records);
}

Result TryTruncatedOtherFile(const char* program, int records)
{
    return TryTruncatedFile(program, ":t", records);
}

/** A place in which a device lives and dies; a use of the dead one crashes or leaves a trace. */
class DevicePlace
{
public:
    DevicePlace()
        : m_device(nullptr)
        , m_is_alive(false)
        , m_touched_when_dead(0)
    {
        memset(&m_storage, filling, sizeof m_storage);
    }

    QIODevice* Build()
    {
        m_touched_when_dead += IsFilled() ? 0 : 1;
        m_device = new (&m_storage) FunctionDevice([](const char*, qint64) {});
        m_is_alive = true;
        return m_device;
    }

    void Destroy()
    {
        if (!m_device)
            return;
        m_is_alive = false;
        m_device->~FunctionDevice();
        m_device = nullptr;
        memset(&m_storage, filling, sizeof m_storage);
    }

    /** Whether there is a device. Any thread. */
    bool IsAlive() const { return m_is_alive; }

    int TouchedWhenDead() const { return m_touched_when_dead; }

private:
    enum : unsigned char
    {
        filling = 0xA5
    };

    bool IsFilled() const
    {
        const unsigned char* const bytes = reinterpret_cast<const unsigned char*>(&m_storage);
        for (size_t i = 0; i < sizeof m_storage; ++i) {
            if (bytes[i] != filling)
                return false;
        }
        return true;
    }

    std::aligned_storage<sizeof(FunctionDevice), alignof(FunctionDevice)>::type m_storage;
    FunctionDevice* m_device;
    std::atomic<bool> m_is_alive;
    int m_touched_when_dead;
};

DevicePlace& Victim()
{
    static DevicePlace place;
    return place;
}

/** An output in front of the victim's, which destroys its device in the middle of a record. */
class DestroyingOutput : public Zol::DbgServerInterface
{
public:
    DestroyingOutput(const QString& server, const QString& option)
        : DbgServerInterface(server, option)
    {
        SetIODevice(new FunctionDevice(Write), true);
    }

private:
    static void Write(const char* data, qint64 size)
    {
        if (QByteArray::fromRawData(data, static_cast<int>(size)).contains("<b>destroy"))
            Victim().Destroy();
    }
};

/** An output with a device of the host. */
class VictimOutput : public Zol::DbgServerInterface
{
public:
    VictimOutput(const QString& server, const QString& option)
        : DbgServerInterface(server, option)
    {
        SetIODevice(Victim().Build(), false);
    }
};

Zol::ConcreteDebugInterfaceFactory<DestroyingOutput>
    destroying_factory(QLatin1String("a-destroying"));
Zol::ConcreteDebugInterfaceFactory<VictimOutput> victim_factory(QLatin1String("b-victim"));

// The record that destroys the device is still to be written to it, and the notice of its end comes
// later, by an event.
Result TryDestroyedDevice(const char* program, int records)
{
    const ZolTest::TempDir dir;
    const QString path = dir.Path("log");
    const QString victim = QLatin1String("b-victim:v");
    const int devices = qMax(1, records / 10);
    WriteTo(path);
    Zol::DbgCollector::CollectCfgMsg(QLatin1String("a-destroying:d"), QLatin1String("*"),
                                     Zol::DBG_INFO);
    Zol::DbgCollector::Start();
    bool is_settled = true;
    for (int i = 0; i < devices && is_settled; ++i) {
        Zol::DbgCollector::CollectCfgMsg(victim, QLatin1String("*"), Zol::DBG_INFO);
        // Records may still be written before the output is made, with those of the last batch.
        is_settled = Await([] { return Victim().IsAlive(); });
        LogRange(Host(), 10 * i, 10 * i + 5);
        ZOL_INFO(Host()) << "destroy";
        LogRange(Host(), 10 * i + 5, 10 * i + 10);
        is_settled = Settle(path) && is_settled;
        Zol::DbgCollector::RemoveDebugInterface(victim);
    }
    const bool is_prompt = StopPromptly();
    const int lost = Missing(BytesOf(path), "host", 0, 10 * devices);
    Victim().Destroy();
    Victim().Build();
    const int touched = Victim().TouchedWhenDead();
    return Report(program, is_settled && is_prompt && lost + touched == 0,
                  "tried %d devices destroyed in mid-record, touched when dead %d, lost in the "
                  "good file %d",
                  devices, touched, lost);
}

struct Scenario
{
    const char* name;
    Result (*run)(const char* program, int records);
};

const Scenario scenarios[] = {
    {"full_device", TryFullDevice},
    {"folder", TryFolder},
    {"missing_folder", TryMissingFolder},
    {"deleted_file", TryDeletedFile},
    {"truncated_appending_file", TryTruncatedAppendingFile},
    {"truncated_other_file", TryTruncatedOtherFile},
    {"destroyed_device", TryDestroyedDevice},
};

} // namespace

int main(int argc, char** argv)
{
    const QByteArray name(argc > 1 ? argv[1] : "");
    const int records = Count(argc, argv, 2, 2000);
    QCoreApplication app(argc, argv);
    for (const Scenario& scenario : scenarios) {
        if (name == scenario.name)
            return scenario.run(("robust_devices." + name).constData(), records);
    }
    return wrong_use;
}
