// Has a module and ends without ever starting the collector, in several ways: MODE PATH.

#include "lifecycle_host.h"

using namespace LifecycleHost;

namespace {

Zol::DebugModule module(QLatin1String("host"));

} // namespace

int main(int argc, char** argv)
{
    const QString mode = Argument(argc, argv, 1);
    const QString path = Argument(argc, argv, 2);
    if (mode == QLatin1String("bare"))
        return 3;
    if (mode == QLatin1String("exit"))
        std::exit(3);

    QCoreApplication app(argc, argv);
    if (mode == QLatin1String("application"))
        return 3;
    WriteTo(path);
    LogNumbers(module, 10);
    if (mode == QLatin1String("configured"))
        return 3;
    Zol::DbgCollector::Stop();
    if (mode == QLatin1String("stopped"))
        return 3;
    Zol::DbgCollector::Start();
    LogNumbers(module, 10);
    Zol::DbgCollector::Stop();
    return mode == QLatin1String("stopped and started") ? 3 : wrong_use;
}
