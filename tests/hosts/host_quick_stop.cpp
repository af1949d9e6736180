// Starts, logs and stops: PATH COUNT, and the microseconds before the start and before the stop.

#include "lifecycle_host.h"

using namespace LifecycleHost;

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const int count = Argument(argc, argv, 2).toInt();
    WriteTo(Argument(argc, argv, 1));
    Zol::DebugModule module(QLatin1String("host"));
    Delay(Argument(argc, argv, 3).toInt());
    Zol::DbgCollector::Start();
    LogNumbers(module, count);
    Delay(Argument(argc, argv, 4).toInt());
    Zol::DbgCollector::Stop();
    return 0;
}
