#include "collector_probe.h"

#include "concrete_debug_interface_factory.h"
#include "dbg_server_interface.h"
#include "debug.h"

#include <QtCore/QIODevice>
#include <QtCore/QSemaphore>

#include <pthread.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include <atomic>

namespace {

std::atomic<qint64> discarded(0);
clockid_t cpu_clock;
QSemaphore arrived;
QSemaphore let_go;

bool HoldsText(const char* data, qint64 length, const char* text)
{
    return memmem(data, static_cast<size_t>(length), text, strlen(text)) != 0;
}

qint64 CountRecords(const char* data, qint64 length)
{
    qint64 count = 0;
    const char* const end = data + length;
    while (data < end) {
        const void* const found = memchr(data, '\n', static_cast<size_t>(end - data));
        const char* const line_end = found ? static_cast<const char*>(found) : end;
        const char record_begin[] = "<dbg>";
        if (static_cast<size_t>(line_end - data) >= sizeof(record_begin) &&
            memcmp(data, record_begin, sizeof(record_begin) - 1) == 0)
            ++count;
        data = line_end + 1;
    }
    return count;
}

class WriteOnlyDevice : public QIODevice
{
public:
    WriteOnlyDevice() { open(QIODevice::WriteOnly | QIODevice::Unbuffered); }

protected:
    qint64 readData(char*, qint64) override { return -1; }
};

/** Takes everything and keeps nothing. */
class Sink : public WriteOnlyDevice
{
protected:
    qint64 writeData(const char* data, qint64 length) override
    {
        discarded.fetch_add(CountRecords(data, length), std::memory_order_release);
        return length;
    }
};

/** Stops whoever writes a record of the module "gate"; metric tables come here too. */
class Barrier : public WriteOnlyDevice
{
protected:
    qint64 writeData(const char* data, qint64 length) override
    {
        if (HoldsText(data, length, "m=\"gate\"")) {
            arrived.release();
            let_go.acquire();
        }
        return length;
    }
};

template <class Device>
class ProbeOutput : public Zol::DbgServerInterface
{
public:
    ProbeOutput(const QString& server, const QString& option)
        : DbgServerInterface(server, option)
    {
        pthread_getcpuclockid(pthread_self(), &cpu_clock);
        SetIODevice(new Device, true);
    }
};

Zol::ConcreteDebugInterfaceFactory<ProbeOutput<Sink>> null_factory(QLatin1String("null"));
Zol::ConcreteDebugInterfaceFactory<ProbeOutput<Barrier>> gate_factory(QLatin1String("gate"));

} // namespace

void CollectorProbe::BuildGate()
{
    const QString address = QLatin1String("gate:output");
    Zol::DbgCollector::CollectCfgMsg(address, QLatin1String("*"), static_cast<Zol::DebugLevel>(0));
    Zol::DbgCollector::CollectCfgMsg(address, QLatin1String("gate"), Zol::DBG_INFO);
}

void CollectorProbe::QueueGate()
{
    Zol::DBG_OBJ(QLatin1String("gate"), __FILE__, __LINE__, Q_FUNC_INFO, Zol::DBG_INFO);
}

void CollectorProbe::AwaitGate()
{
    arrived.acquire();
}

void CollectorProbe::OpenGate()
{
    let_go.release();
}

qint64 CollectorProbe::CpuTime()
{
    timespec time;
    clock_gettime(cpu_clock, &time);
    return static_cast<qint64>(time.tv_sec) * 1000000000 + time.tv_nsec;
}

qint64 CollectorProbe::Discarded()
{
    return discarded.load(std::memory_order_acquire);
}

void CollectorProbe::AwaitDiscarded(qint64 records)
{
    while (Discarded() < records)
        usleep(50);
}
