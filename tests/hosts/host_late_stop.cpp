// Logs a lot and stops when main has returned: MODE PATH MICROSECONDS-BEFORE-THE-END.

#include "lifecycle_host.h"

using namespace LifecycleHost;

namespace {

Zol::DebugModule module(QLatin1String("host"));
bool stops_in_destructor = false;

class LateStop
{
public:
    ~LateStop()
    {
        if (stops_in_destructor)
            Zol::DbgCollector::Stop();
    }
};

LateStop late_stop;

void Stop()
{
    Zol::DbgCollector::Stop();
}

} // namespace

int main(int argc, char** argv)
{
    const QString mode = Argument(argc, argv, 1);
    if (mode == QLatin1String("destructor"))
        stops_in_destructor = true;
    else if (mode != QLatin1String("atexit") || std::atexit(Stop) != 0)
        return wrong_use;
    QCoreApplication app(argc, argv);
    WriteTo(Argument(argc, argv, 2));
    Zol::DbgCollector::Start();
    LogNumbers(module, 20000);
    Delay(Argument(argc, argv, 3).toInt());
    return 3;
}
