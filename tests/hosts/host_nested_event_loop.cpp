// Stops while an output of its own runs an event loop within a record: PROTOCOL PATH.
//
// The protocol of that output tells whether it gets a record before the log file or behind it.

#include "concrete_debug_interface_factory.h"
#include "probe.h"
#include "thread_state.h"

#include <QtCore/QEventLoop>
#include <QtCore/QSemaphore>

#include <atomic>

using namespace LifecycleHost;

namespace {

const int wrong_order = 1;
const int late_stop = 2;

Zol::DebugModule module(QLatin1String("host"));
Zol::ConcreteDebugInterfaceFactory<ZolTest::ProbeOutput> before_file(QLatin1String("before"));
Zol::ConcreteDebugInterfaceFactory<ZolTest::ProbeOutput> next_to_file(QLatin1String("next"));

void RunEventLoop()
{
    QEventLoop loop;
    for (int i = 0; i < 5; ++i)
        loop.processEvents();
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QSemaphore reached;
    std::atomic<bool> stopping(false);
    ZolTest::Probe& probe = ZolTest::Probe::Get(QLatin1String("a"));
    probe.SetOnWrite([&reached, &stopping](const QByteArray& bytes) {
        if (bytes.contains("<b>3</b>")) {
            RunEventLoop();
            reached.release();
            AwaitLasting([&stopping] { return stopping && MainThreadSleeps(); });
            RunEventLoop();
        } else if (bytes.contains("<b>103</b>")) {
            RunEventLoop();
        }
    });
    WriteTo(Argument(argc, argv, 2));
    Zol::DbgCollector::CollectCfgMsg(Argument(argc, argv, 1) + QLatin1String(":a"),
                                     QLatin1String("*"), static_cast<Zol::DebugLevel>(0x7fffffff));
    LogNumbers(module, 250);
    Zol::DbgCollector::Start();
    reached.tryAcquire(1, ZolTest::WaitBound());
    stopping = true;
    int result = StopPromptly() ? 0 : late_stop;
    QList<QByteArray> numbers;
    for (int i = 0; i < 250; ++i)
        numbers.append(QByteArray::number(i));
    if (probe.Messages("host") != numbers)
        result |= wrong_order;
    return result;
}
