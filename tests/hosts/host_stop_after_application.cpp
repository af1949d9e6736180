// Stops the collector when the QCoreApplication is gone: MODE PATH.

#include "lifecycle_host.h"

#include <memory>

using namespace LifecycleHost;

int main(int argc, char** argv)
{
    const QString mode = Argument(argc, argv, 1);
    const QString path = Argument(argc, argv, 2);
    Zol::DebugModule module(QLatin1String("host"));
    WriteTo(path);
    if (mode == QLatin1String("no application")) {
        Zol::DbgCollector::Start();
        LogNumbers(module, 10);
        return StopPromptly() ? 0 : 4;
    }

    std::unique_ptr<QCoreApplication> app(new QCoreApplication(argc, argv));
    if (mode != QLatin1String("never started"))
        Zol::DbgCollector::Start();
    if (mode != QLatin1String("never started") && mode != QLatin1String("at once"))
        AwaitLog(path);
    ZOL_INFO(module) << "with";
    if (mode == QLatin1String("busy"))
        LogNumbers(module, 10000);
    app.reset();
    ZOL_INFO(module) << "without";
    if (mode == QLatin1String("busy"))
        LogNumbers(module, 1000);
    if (mode == QLatin1String("second application")) {
        app.reset(new QCoreApplication(argc, argv));
        ZOL_INFO(module) << "with the second";
    }
    return StopPromptly() ? 0 : 4;
}
