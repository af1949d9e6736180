#include "collector_agent.h"
#include "collector_tools.h"
#include "debug.h"
#include "probe.h"

#include <QtCore/QSemaphore>
#include <QtTest/QtTest>

#include <atomic>
#include <fcntl.h>
#include <functional>
#include <memory>
#include <sys/eventfd.h>
#include <sys/syscall.h>
#include <unistd.h>

using namespace Zol;
using ZolTest::ProbeOf;

namespace {

/** The thread whose next wake-up of another thread is held up. */
thread_local bool hold_next_wake_up = false;

QSemaphore held;
QSemaphore let_go;
std::atomic<bool> closed_meanwhile(false);

/** Qt wakes a thread that has events by writing to a descriptor of its event dispatcher. */
ssize_t Write(int descriptor, const void* data, size_t size)
{
    if (hold_next_wake_up) {
        hold_next_wake_up = false;
        held.release();
        let_go.tryAcquire(1, ZolTest::WaitBound());
        if (fcntl(descriptor, F_GETFD) == -1) {
            closed_meanwhile = true;
            return static_cast<ssize_t>(size);
        }
    }
    return syscall(SYS_write, descriptor, data, size);
}

} // namespace

// These take precedence over the C library's, in the shared libraries too.

extern "C" Q_DECL_EXPORT ssize_t write(int descriptor, const void* data, size_t size)
{
    return Write(descriptor, data, size);
}

extern "C" Q_DECL_EXPORT int eventfd_write(int descriptor, eventfd_t value)
{
    return Write(descriptor, &value, sizeof value) == sizeof value ? 0 : -1;
}

namespace {

/** Waits until all other threads have come to rest. */
bool AwaitRest()
{
    int quiet = 0;
    return ZolTest::Await([&quiet] {
        quiet = ZolTest::OtherThreadsSleep() ? quiet + 1 : 0;
        return quiet >= 100;
    });
}

/**
 * Has a thread of the host call the library, holds it up while it wakes the collector, and lets the
 * collector stop meanwhile. The event dispatcher that is being woken must not go away under the
 * thread.
 */
void CallWhileTheCollectorEnds(const std::function<void()>& call)
{
    const std::shared_ptr<ZolTest::Gate> gate = std::make_shared<ZolTest::Gate>();
    ProbeOf("gate").SetOnCall([gate](const QByteArray& what) {
        if (what.startsWith("create:"))
            gate->Pass();
    });
    ZolTest::ConfigureProbe("first");
    DbgCollector::Start();
    QVERIFY(ProbeOf("first").WaitFor("Dumping metric table"));
    QVERIFY(AwaitRest());
    ZolTest::ConfigureProbe("gate");
    QVERIFY(gate->AwaitEntry());

    // The collector is awake, and so it will find the stop without having to be woken.
    ZolTest::HostThread caller("caller", [&call] {
        hold_next_wake_up = true;
        call();
    });
    caller.start();
    QVERIFY(held.tryAcquire(1, ZolTest::WaitBound()));
    ZolTest::HostThread stopper("stopper", [] { DbgCollector::Stop(); });
    stopper.start();
    const bool stop_is_waiting = AwaitRest();
    gate->Open();
    const bool came_to_rest = AwaitRest();
    let_go.release();
    QVERIFY(caller.Join());
    QVERIFY(stopper.Join());
    QVERIFY(stop_is_waiting);
    QVERIFY(came_to_rest);
    QVERIFY(!closed_meanwhile);
}

/** Holds up the collector's thread when all its work is done and only Qt has to clean up. */
class LastMoment : public QObject
{
    Q_OBJECT

public:
    explicit LastMoment(QThread* collector)
    {
        connect(collector, SIGNAL(finished()), this, SLOT(Hold()), Qt::DirectConnection);
    }

    bool Await() { return m_gate.AwaitEntry(); }

    void Release() { m_gate.Open(); }

private Q_SLOTS:
    void Hold() { m_gate.Pass(); }

private:
    ZolTest::Gate m_gate;
};

/** Has a thread of the host call the library at that moment. */
void CallWhenTheCollectorHasEnded(const std::function<void()>& call)
{
    ZolTest::CollectorAgent::Employ(ProbeOf("first"));
    ZolTest::ConfigureProbe("first");
    DbgCollector::Start();
    ZolTest::CollectorAgent* const agent = ZolTest::CollectorAgent::Await();
    QVERIFY(agent);
    LastMoment& moment = *new LastMoment(agent->Collector());
    ZolTest::HostThread stopper("stopper", [] { DbgCollector::Stop(); });
    stopper.start();
    QVERIFY(moment.Await());

    ZolTest::HostThread caller("caller", [&call] {
        hold_next_wake_up = true;
        call();
    });
    caller.start();
    const bool caller_is_held_or_through = AwaitRest();
    moment.Release();
    const bool came_to_rest = AwaitRest();
    let_go.release();
    QVERIFY(caller.Join());
    QVERIFY(stopper.Join());
    QVERIFY(caller_is_held_or_through);
    QVERIFY(came_to_rest);
    QVERIFY(!closed_meanwhile);
}

} // namespace

class TestLateCalls : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void moduleMayComeWhileTheCollectorEnds();
    void moduleMayGoWhileTheCollectorEnds();
    void messageMayComeWhileTheCollectorEnds();
    void metricMayComeWhileTheCollectorEnds();
    void configurationMayComeWhileTheCollectorEnds();
    void noticeMayComeWhileTheCollectorEnds();

    void moduleMayComeWhenTheCollectorHasEnded();
    void moduleMayGoWhenTheCollectorHasEnded();
    void messageMayComeWhenTheCollectorHasEnded();
    void metricMayComeWhenTheCollectorHasEnded();
    void configurationMayComeWhenTheCollectorHasEnded();
    void noticeMayComeWhenTheCollectorHasEnded();
};

void TestLateCalls::moduleMayComeWhileTheCollectorEnds()
{
    std::unique_ptr<DebugModule> module;
    CallWhileTheCollectorEnds([&module] { module.reset(new DebugModule(QLatin1String("net"))); });
}

void TestLateCalls::moduleMayGoWhileTheCollectorEnds()
{
    std::unique_ptr<DebugModule> module(new DebugModule(QLatin1String("net")));
    CallWhileTheCollectorEnds([&module] { module.reset(); });
}

void TestLateCalls::messageMayComeWhileTheCollectorEnds()
{
    CallWhileTheCollectorEnds([] { ZolTest::Log("late"); });
}

void TestLateCalls::metricMayComeWhileTheCollectorEnds()
{
    CallWhileTheCollectorEnds([] { DbgCollector::CollectMetric(QLatin1String("a.cpp"), 9); });
}

void TestLateCalls::configurationMayComeWhileTheCollectorEnds()
{
    CallWhileTheCollectorEnds([] { ZolTest::ConfigureProbe("late"); });
}

void TestLateCalls::noticeMayComeWhileTheCollectorEnds()
{
    CallWhileTheCollectorEnds([] { DbgUtils::SignalLoggingPause(); });
}

void TestLateCalls::moduleMayComeWhenTheCollectorHasEnded()
{
    std::unique_ptr<DebugModule> module;
    CallWhenTheCollectorHasEnded(
        [&module] { module.reset(new DebugModule(QLatin1String("net"))); });
}

void TestLateCalls::moduleMayGoWhenTheCollectorHasEnded()
{
    std::unique_ptr<DebugModule> module(new DebugModule(QLatin1String("net")));
    CallWhenTheCollectorHasEnded([&module] { module.reset(); });
}

void TestLateCalls::messageMayComeWhenTheCollectorHasEnded()
{
    CallWhenTheCollectorHasEnded([] { ZolTest::Log("late"); });
}

void TestLateCalls::metricMayComeWhenTheCollectorHasEnded()
{
    CallWhenTheCollectorHasEnded([] { DbgCollector::CollectMetric(QLatin1String("a.cpp"), 9); });
}

void TestLateCalls::configurationMayComeWhenTheCollectorHasEnded()
{
    CallWhenTheCollectorHasEnded([] { ZolTest::ConfigureProbe("late"); });
}

void TestLateCalls::noticeMayComeWhenTheCollectorHasEnded()
{
    CallWhenTheCollectorHasEnded([] { DbgUtils::SignalLoggingPause(); });
}

QTEST_MAIN(TestLateCalls)

#include "tst_late_calls.moc"
