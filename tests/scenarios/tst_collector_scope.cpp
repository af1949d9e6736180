#include "debug.h"
#include "log_record.h"
#include "probe.h"

#include <QtTest/QtTest>

#include <type_traits>

using ZolTest::Probe;

namespace {

Zol::DebugModule& Net()
{
    static Zol::DebugModule module(QLatin1String("net"));
    return module;
}

Probe& Output()
{
    return Probe::Get(QLatin1String("a"));
}

bool LogAndThrow()
{
    const Zol::CollectorScope collector;
    ZOL_INFO(Net()) << "inside";
    throw 1;
}

} // namespace

class TestCollectorScope : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void scopeStartsAndStopsTheCollector();
    void nothingIsWrittenBehindTheScope();
    void scopeStopsWhenAnExceptionLeavesIt();
    void scopesCannotBeCopied();
};

void TestCollectorScope::init()
{
    Zol::DbgCollector::CollectCfgMsg(QLatin1String("probe:a"), QLatin1String("*"),
                                     static_cast<Zol::DebugLevel>(63));
}

void TestCollectorScope::scopeStartsAndStopsTheCollector()
{
    ZOL_INFO(Net()) << "before";
    {
        const Zol::CollectorScope collector;
        ZOL_INFO(Net()) << "inside";
    }

    QCOMPARE(Output().Messages("net"), QList<QByteArray>() << "before"
                                                           << "inside");
    const QList<QByteArray> progress = Output().Messages("DBG");
    QCOMPARE(progress.count("Starting"), 1);
    QCOMPARE(progress.count("Stopping !"), 1);
}

void TestCollectorScope::nothingIsWrittenBehindTheScope()
{
    {
        const Zol::CollectorScope collector;
        ZOL_INFO(Net()) << "inside";
    }
    const QByteArray written = Output().Bytes();
    ZOL_FATAL(Net()) << "behind";
    Zol::DbgCollector::Stop();

    QCOMPARE(Output().Bytes(), written);
}

void TestCollectorScope::scopeStopsWhenAnExceptionLeavesIt()
{
    bool caught = false;
    try {
        LogAndThrow();
    } catch (int) {
        caught = true;
    }

    QVERIFY(caught);
    QCOMPARE(Output().Messages("net"), QList<QByteArray>() << "inside");
    QCOMPARE(Output().Messages("DBG").count("Stopping !"), 1);
}

void TestCollectorScope::scopesCannotBeCopied()
{
    QVERIFY(!std::is_copy_constructible<Zol::CollectorScope>::value);
    QVERIFY(!std::is_copy_assignable<Zol::CollectorScope>::value);
}

QTEST_MAIN(TestCollectorScope)

#include "tst_collector_scope.moc"
