#include "device.h"

#include <zoldebug/debug.h>

namespace {

// One module a component. Static modules may be built before main() and outlive it.
Zol::DebugModule network(QLatin1String("network"));
Zol::DebugModule storage(QLatin1String("storage"));
Zol::DebugModule control(QLatin1String("control"));

const int safe_temperature = 80;

// A pause overtakes records that are still queued, and records made before it is over are dropped.
const int settling_time = 50; // ms

class Sleeper : public QThread // Qt 4 lets only threads sleep
{
public:
    using QThread::msleep;
};

} // namespace

void Wait(int milliseconds)
{
    Sleeper::msleep(static_cast<unsigned long>(milliseconds));
}

Task::Task(const QString& name)
{
    m_thread.setObjectName(name); // the name under which its records are logged
    moveToThread(&m_thread);
    m_thread.start();
}

Task::~Task()
{
    m_thread.quit();
    m_thread.wait();
}

NetworkTask::NetworkTask()
    : Task(QLatin1String("net-io"))
{
}

void NetworkTask::Handle(const QString& verb, const QString& argument)
{
    ZOL_TRACE_SCOPE(network);
    if (verb == QLatin1String("link"))
        ZOL_INFO(network) << "link is " << argument;
    else if (verb == QLatin1String("receive"))
        Receive(argument.toInt());
    else
        ZOL_WARN(network) << "unknown request '" << verb << "'";
}

void NetworkTask::Receive(int packets)
{
    for (int i = 1; i <= packets; ++i) {
        ZOL_METRIC(network, Zol::DBG_INFO); // how often did we come by here?
        if (i % 10 == 0)
            ZOL_WARN(network) << "packet " << i << " was damaged: <crc mismatch>";
        else
            ZOL_INFO(network) << "packet " << i << " of " << packets;
    }
}

StorageTask::StorageTask()
    : Task(QLatin1String("storage-io"))
{
}

void StorageTask::Handle(const QString& verb, const QString& argument)
{
    ZOL_TRACE_SCOPE(storage);
    if (verb == QLatin1String("save")) {
        Save(argument.toInt());
    } else if (verb == QLatin1String("full")) {
        ZOL_ERROR(storage) << "the medium is full";
        Wait(settling_time);
        Zol::DbgUtils::SignalLogFreeStatus(false);
    } else if (verb == QLatin1String("free")) {
        Zol::DbgUtils::SignalLogFreeStatus(true);
        Wait(settling_time);
        ZOL_INFO(storage) << "there is space again";
    } else {
        ZOL_WARN(storage) << "unknown request '" << verb << "'";
    }
}

void StorageTask::Save(int kilobytes)
{
    ZOL_TIME_SCOPE(storage); // reports calls of more than 5 ms, and a summary every second
    Wait(kilobytes / 64);
    ZOL_LOG_METRIC(storage, Zol::DBG_INFO) << "saved " << kilobytes << " kB";
}

ControlTask::ControlTask()
    : Task(QLatin1String("controller"))
{
}

void ControlTask::Handle(const QString& verb, const QString& argument)
{
    ZOL_TRACE_SCOPE(control);
    if (verb == QLatin1String("temperature")) {
        Check(argument.toInt());
    } else if (verb == QLatin1String("pause")) {
        ZOL_INFO(control) << "logging pauses";
        Wait(settling_time);
        Zol::DbgUtils::SignalLoggingPause();
    } else if (verb == QLatin1String("resume")) {
        Zol::DbgUtils::SignalLoggingResume();
        Wait(settling_time);
        ZOL_INFO(control) << "logging goes on";
    } else if (verb == QLatin1String("methods")) {
        ZOL_LOG(control, Zol::DBG_DEVEL) << "methods of this task:\n"
                                         << Zol::DbgUtils::DumpMethods(this);
    } else {
        ZOL_WARN(control) << "unknown request '" << verb << "'";
    }
}

void ControlTask::Check(int temperature)
{
    if (temperature <= safe_temperature) {
        ZOL_LOG(control, Zol::DBG_ACCOUNTING) << "temperature " << temperature << " C";
        return;
    }
    ZOL_CRITICAL(control) << "overheated: " << temperature << " C";
    Q_EMIT Overheated(temperature);
}
