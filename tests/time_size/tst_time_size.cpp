#include "dbg_collector.h"
#include "log_record.h"
#include "temp_dir.h"
#include "traced_host.h"

#include <QtCore/QFile>
#include <QtTest/QtTest>

using namespace Zol;

namespace {

/** The durations that the log names, in nanoseconds. */
QList<qint64> Durations(const QByteArray& log)
{
    const QByteArray beginning = "Leave: Time taken ";
    QList<qint64> durations;
    for (const QByteArray& text : ZolTest::MessagesOf(log, "host")) {
        if (text.startsWith(beginning))
            durations += text.mid(beginning.size()).replace(" ns", "").toLongLong();
    }
    return durations;
}

} // namespace

/** Hosts may choose the width of their time_t, and the library has its own. */
class TestTimeSize : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void hostsDifferInTime();
    void guardHasOneSize();
    void guardKeepsToItself();
    void callsOfBothAreMeasured();
};

void TestTimeSize::hostsDifferInTime()
{
    QCOMPARE(HostWith32BitTime().time_size, size_t(4));
    QCOMPARE(HostWith64BitTime().time_size, size_t(8));
}

void TestTimeSize::guardHasOneSize()
{
    QCOMPARE(HostWith32BitTime().guard_size, HostWith64BitTime().guard_size);
}

void TestTimeSize::guardKeepsToItself()
{
    DebugModule module(QLatin1String("guard"));
    module.SetMask(DBG_TIME_TRACE);
    QVERIFY(HostWith32BitTime().call(module, 0));
    QVERIFY(HostWith64BitTime().call(module, 0));
}

void TestTimeSize::callsOfBothAreMeasured()
{
    DebugModule module(QLatin1String("host"));
    module.SetMask(DBG_TIME_TRACE);
    HostWith32BitTime().call(module, 10);
    HostWith64BitTime().call(module, 20);
    ZolTest::TempDir dir;
    const QString path = dir.Path("log");
    DbgCollector::CollectCfgMsg(QLatin1String("file:") + path, QLatin1String("host"),
                                DBG_TIME_TRACE);
    DbgCollector::Start();
    DbgCollector::Stop();

    const QList<qint64> durations = Durations(ZolTest::ReadFile(QFile::encodeName(path)));
    QCOMPARE(static_cast<int>(durations.size()), 2);
    QVERIFY(durations.at(0) >= 10000000);
    QVERIFY(durations.at(1) >= 20000000);
}

QTEST_MAIN(TestTimeSize)
#include "tst_time_size.moc"
