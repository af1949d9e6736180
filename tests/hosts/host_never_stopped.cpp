// Starts the collector and returns from main without a stop, in several states: MODE PATH.

#include "lifecycle_host.h"
#include "probe.h"

#include <QtCore/QFile>
#include <QtCore/QSemaphore>

using namespace LifecycleHost;

namespace {

Zol::DebugModule module(QLatin1String("host"));

/** Has the collector hang in an output for ever. */
void BlockCollector()
{
    QSemaphore* entered = new QSemaphore;
    QSemaphore* never = new QSemaphore;
    ZolTest::Probe::Get(QLatin1String("a")).SetOnWrite([entered, never](const QByteArray&) {
        entered->release();
        never->acquire();
    });
    Zol::DbgCollector::CollectCfgMsg(QLatin1String("probe:a"), QLatin1String("*"), Zol::DBG_INFO);
    entered->tryAcquire(1, ZolTest::WaitBound());
}

/** Has the collector busy in an output for longer than is usual, and note in a file that it was. */
void SlowCollector(const QString& path)
{
    QSemaphore* entered = new QSemaphore;
    ZolTest::Probe::Get(QLatin1String("a")).SetOnWrite([entered, path](const QByteArray&) {
        entered->release();
        Delay(1500 * 1000);
        QFile(path + QLatin1String(".slow")).open(QIODevice::WriteOnly);
    });
    Zol::DbgCollector::CollectCfgMsg(QLatin1String("probe:a"), QLatin1String("*"), Zol::DBG_INFO);
    entered->tryAcquire(1, ZolTest::WaitBound());
}

} // namespace

int main(int argc, char** argv)
{
    const QString mode = Argument(argc, argv, 1);
    const QString path = Argument(argc, argv, 2);
    QCoreApplication app(argc, argv);
    WriteTo(path);
    Zol::DbgCollector::Start();
    if (mode == QLatin1String("idle"))
        AwaitLog(path);
    else if (mode == QLatin1String("busy"))
        LogNumbers(module, 20000);
    else if (mode == QLatin1String("writing")) {
        LogNumbers(module, 20000);
        AwaitLog(path);
    } else if (mode == QLatin1String("blocked")) {
        AwaitLog(path);
        BlockCollector();
        LogNumbers(module, 20000);
    } else if (mode == QLatin1String("slow")) {
        AwaitLog(path);
        SlowCollector(path);
    } else if (mode != QLatin1String("at once"))
        return wrong_use;
    return 5;
}
