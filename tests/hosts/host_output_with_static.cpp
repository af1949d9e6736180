// Exits without a stop while an output of its own writes, whose device keeps its statistics in a
// function-local static: MODE MICROSECONDS-BEFORE-THE-END.

#include "concrete_debug_interface_factory.h"
#include "dbg_server_interface.h"
#include "lifecycle_host.h"

#include <QtCore/QIODevice>
#include <QtCore/QSemaphore>

#include <atomic>
#include <map>
#include <string>

#include <unistd.h>

using namespace LifecycleHost;

namespace {

const int used_while_destroyed = 8;

Zol::DebugModule module(QLatin1String("host"));
QSemaphore& written = *new QSemaphore; // never destroyed, as the collector's thread may go on
std::atomic<bool> destroyed(false);
std::atomic<bool> in_use(false);

class Statistics
{
public:
    ~Statistics()
    {
        destroyed = true;
        CheckUse(!in_use);
        Delay(2000); // a writer that goes on will come by
    }

    void Count(const std::string& line)
    {
        in_use = true;
        CheckUse(!destroyed);
        ++m_lines[line];
        CheckUse(!destroyed);
        in_use = false;
    }

private:
    static void CheckUse(bool right)
    {
        if (!right)
            _exit(used_while_destroyed);
    }

    std::map<std::string, int> m_lines;
};

Statistics& TheStatistics()
{
    static Statistics statistics;
    return statistics;
}

class CountingDevice : public QIODevice
{
public:
    CountingDevice() { open(QIODevice::WriteOnly | QIODevice::Unbuffered); }

    bool isSequential() const override { return true; }

protected:
    qint64 readData(char*, qint64) override { return -1; }

    qint64 writeData(const char* data, qint64 size) override
    {
        TheStatistics().Count(std::string(data, static_cast<std::size_t>(size)));
        written.release();
        return size;
    }
};

class CountingOutput : public Zol::DbgServerInterface
{
public:
    CountingOutput(const QString& server, const QString& option)
        : DbgServerInterface(server, option)
    {
        SetIODevice(new CountingDevice, true);
    }
};

Zol::ConcreteDebugInterfaceFactory<CountingOutput> factory(QLatin1String("counting"));

} // namespace

int main(int argc, char** argv)
{
    const QString mode = Argument(argc, argv, 1);
    QCoreApplication app(argc, argv);
    Zol::DbgCollector::CollectCfgMsg(QLatin1String("counting:a"), QLatin1String("*"),
                                     Zol::DBG_INFO);
    Zol::DbgCollector::Start();
    LogNumbers(module, 5000);
    written.tryAcquire(10, ZolTest::WaitBound());
    Delay(Argument(argc, argv, 2).toInt());
    if (mode == QLatin1String("exit"))
        std::exit(6);
    return mode == QLatin1String("return") ? 6 : wrong_use;
}
