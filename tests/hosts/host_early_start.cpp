// Starts the collector before there is a QCoreApplication: MODE PATH MICROSECONDS-BETWEEN.

#include "lifecycle_host.h"

using namespace LifecycleHost;

namespace {

Zol::DebugModule module(QLatin1String("host"));

/** Starts the collector before main. */
class EarlyStart
{
public:
    EarlyStart()
    {
        const QByteArray path = qgetenv("HOST_EARLY_START_LOG");
        if (path.isEmpty())
            return;
        WriteTo(QString::fromUtf8(path.constData()));
        Zol::DbgCollector::Start();
    }
};

EarlyStart early_start;

} // namespace

int main(int argc, char** argv)
{
    const QString mode = Argument(argc, argv, 1);
    const QString path = Argument(argc, argv, 2);
    if (mode == QLatin1String("in main")) {
        WriteTo(path);
        Zol::DbgCollector::Start();
    }
    LogNumbers(module, 5);
    Delay(Argument(argc, argv, 3).toInt());
    QCoreApplication app(argc, argv);
    for (int i = 5; i < 10; ++i)
        ZOL_INFO(module) << i;
    Zol::DbgCollector::Stop();
    return 0;
}
