// Calls exit() on other threads than main's: MODE PATH.

#include "lifecycle_host.h"
#include "probe.h"

#include <QtCore/QSemaphore>

#include <functional>

#include <unistd.h>

using namespace LifecycleHost;

namespace {

Zol::DebugModule module(QLatin1String("host"));

// Never destroyed, as other threads may use it while the process ends.
QSemaphore& reached = *new QSemaphore;

/** Does something on the collector's thread, in the probe's output, at the record with a text. */
void OnRecord(const char* text, const std::function<void()>& action)
{
    const QByteArray body = QByteArray("<b>") + text + "</b>";
    ZolTest::Probe::Get(QLatin1String("a")).SetOnWrite([body, action](const QByteArray& bytes) {
        if (bytes.contains(body))
            action();
    });
}

void ExitOnAnotherThread(int code)
{
    std::thread([code] {
        reached.tryAcquire(1, ZolTest::WaitBound());
        std::exit(code);
    }).detach();
}

void SleepForEver()
{
    for (;;)
        pause();
}

} // namespace

int main(int argc, char** argv)
{
    const QString mode = Argument(argc, argv, 1);
    QCoreApplication app(argc, argv);
    WriteTo(Argument(argc, argv, 2));
    Zol::DbgCollector::CollectCfgMsg(QLatin1String("probe:a"), QLatin1String("*"),
                                     static_cast<Zol::DebugLevel>(0x7fffffff));
    if (mode == QLatin1String("thread")) {
        OnRecord("99", [] { reached.release(); });
        ExitOnAnotherThread(6);
    } else if (mode == QLatin1String("thread while writing")) {
        OnRecord("0", [] { reached.release(); });
        ExitOnAnotherThread(6);
    } else if (mode == QLatin1String("thread during stop")) {
        OnRecord("50", [] {
            reached.release();
            SleepForEver();
        });
        ExitOnAnotherThread(6);
    } else if (mode == QLatin1String("output")) {
        OnRecord("50", [] { std::exit(6); });
    } else if (mode == QLatin1String("output during stop")) {
        OnRecord("Stopping !", [] { std::exit(6); });
    } else if (mode == QLatin1String("stop in output")) {
        OnRecord("50", [] { Zol::DbgCollector::Stop(); });
    } else {
        return wrong_use;
    }

    const int count = mode == QLatin1String("thread while writing") ? 20000 : 100;
    LogNumbers(module, count);
    Zol::DbgCollector::Start();
    if (mode.endsWith(QLatin1String("stop")) || mode == QLatin1String("stop in output"))
        Zol::DbgCollector::Stop();
    if (mode == QLatin1String("stop in output"))
        return 6;
    SleepForEver();
    return wrong_use;
}
