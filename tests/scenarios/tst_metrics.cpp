#include "collector_agent.h"
#include "collector_tools.h"
#include "concrete_debug_interface_factory.h"
#include "debug.h"
#include "log_record.h"
#include "module_masks.h"
#include "probe.h"
#include "temp_dir.h"

#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtTest/QtTest>

#include <memory>
#include <vector>

using namespace Zol;
using ZolTest::CollectorAgent;
using ZolTest::EventWatch;
using ZolTest::LogRecord;
using ZolTest::Probe;
using ZolTest::ProbeOf;

namespace {

// A protocol that comes before "file" and "probe".
ConcreteDebugInterfaceFactory<ZolTest::ProbeOutput> alpha_factory(QLatin1String("alpha"));

const DebugLevel no_level = static_cast<DebugLevel>(0);
const QByteArray restart = "<DEBUG_SERVER_RESTART/>\n";

/** Configures an output for all modules. */
void Configure(const QString& address, DebugLevel mask)
{
    DbgCollector::CollectCfgMsg(address, QLatin1String("*"), mask);
}

void Configure(const char* address, DebugLevel mask = ZolTest::all_levels)
{
    Configure(QLatin1String(address), mask);
}

void Count(const char* file, unsigned int line, int hits = 1)
{
    for (int i = 0; i < hits; ++i)
        DbgCollector::CollectMetric(QString::fromUtf8(file), line);
}

/** The line of a dump. */
QByteArray Line(const QByteArray& file, int line, int count)
{
    return "<metric f=\"" + file + "\" l=\"" + QByteArray::number(line) + "\" c=\"" +
           QByteArray::number(count) + "\"/>\n";
}

/** One dump as it was written. */
struct Dump
{
    LogRecord head;
    QByteArray lines;
};

/** The whole text of a dump of that time by a collector whose source is @p file. */
QByteArray TextOf(const QByteArray& time, const QByteArray& file, const QByteArray& lines)
{
    return "<dbg><h><d t=\"" + time + "\" m=\"DBG\" f=\"" + file +
           "\" l=\"749\" fnc=\"void Zol::DbgCollector::HandleMetric(bool)\" lvl=\"DBG_TRACE\" "
           "thrd=\"DBG\"/></h><b>Dumping metric table</b></dbg>\n" +
           lines;
}

QByteArray TextOf(const Dump& dump)
{
    return TextOf(dump.head.time, dump.head.file, dump.lines);
}

QList<Dump> DumpsIn(const QByteArray& log)
{
    QList<Dump> dumps;
    bool in_dump = false;
    for (const QByteArray& line : log.split('\n')) {
        if (ZolTest::IsDump(line)) {
            const Dump dump = {ZolTest::ParseRecord(line), QByteArray()};
            dumps.append(dump);
            in_dump = true;
        } else if (in_dump && line.startsWith("<metric ")) {
            dumps.last().lines += line + '\n';
        } else {
            in_dump = false;
        }
    }
    return dumps;
}

/** The lines of each dump in turn, each dump behind a "#". */
QByteArray DumpedLines(const QByteArray& log)
{
    QByteArray lines;
    for (const Dump& dump : DumpsIn(log))
        lines += '#' + dump.lines;
    return lines;
}

/** Stops the collector and returns what its probe got. */
QByteArray Finish(const char* probe = "a")
{
    DbgCollector::Stop();
    return ProbeOf(probe).Bytes();
}

bool AwaitDump(const char* probe = "a")
{
    return ProbeOf(probe).WaitFor("Dumping metric table");
}

/** Configures the probe "a" and starts; null if the first dump does not come. */
CollectorAgent* StartWithAgent(DebugLevel mask = ZolTest::all_levels)
{
    CollectorAgent::Employ(ProbeOf("a"));
    Configure("probe:a", mask);
    DbgCollector::Start();
    CollectorAgent* const agent = CollectorAgent::Await();
    return agent && AwaitDump() && agent->Fence() ? agent : nullptr;
}

/** The only timer of the collector, 0 if there are none or more. */
int TimerOf(CollectorAgent& agent)
{
    const QList<ZolTest::CollectorTimer> timers = agent.Timers();
    return timers.size() == 1 ? timers.first().id : 0;
}

/** The line of a dump for a line of this file. */
QByteArray HereLine(int line, int count)
{
    return Line(__FILE__, line, count);
}

} // namespace

class TestMetrics : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();

    void startDumpsTheHitsCountedSoFar();
    void headOfADumpIsARecordOfTheCollector();
    void headOfADumpHasItsTime();
    void emptyTableIsDumpedToo();
    void dumpOfEarlierHitsPrecedesTheMessages();
    void dumpWithoutHitsFollowsTheFirstMessages();
    void fileNameIsWrittenAsItIs();
    void hitsAreCountedByPlaceAlone();

    void dumpPassesAnyMask();
    void dumpIsInTheLogFileAtOnce();
    void dumpIsInTheLogFileAfterStop();
    void dumpReachesEveryOutputInKeyOrder();
    void outputsGetTheSameDump();
    void outputMayCountWhileItTakesADump();

    void timerComesEveryTwoMinutes();
    void timerDumpsTheHitsCountedSoFar();
    void timerDumpsWithoutNewHits();
    void timerDumpsAnEmptyTable();
    void timerGoesOnAfterItsDump();
    void foreignTimerDumpsNothing();

    void laterMetricEventsDumpNothing();
    void laterMetricEventsLeaveTheTimer();
    void startPostsAnEventWhereThereWereNoHits();
    void firstHitPostsTheOnlyEvent();
    void firstHitAfterADumpPostsAnIgnoredEvent();

    void dumpWithoutOutputsIsDiscarded();
    void outputConfiguredLaterGetsTheNextDump();
    void removedOutputGetsNoDump();
    void suspendedFileGetsNoDump();
    void suspendedOutputOfTheHostGetsTheDump();

    void noHitIsLostWhileThreadsCount();
    void hitsAfterStopAreHarmless();

    void metricMacroCountsItsPlace();
    void hitsOfANameBeyondAsciiAreCountedTogether();
    void metricMacroLogsNothing();
    void metricMacroNeedsItsLevel();
    void logMetricMacroLogsAndCounts();
    void logMetricMacroEvaluatesNothingWhenItsLevelIsOff();
    void metricMacrosAreSingleStatements();
};

void TestMetrics::cleanup()
{
    DbgCollector::Stop();
}

void TestMetrics::startDumpsTheHitsCountedSoFar()
{
    Configure("probe:a");
    Count("b.cpp", 5);
    Count("a.cpp", 9, 2);
    Count("b.cpp", 4, 3);
    Count("a.cpp", 9);
    DbgCollector::Start();

    QCOMPARE(DumpedLines(Finish()),
             '#' + Line("a.cpp", 9, 3) + Line("b.cpp", 4, 3) + Line("b.cpp", 5, 1));
}

void TestMetrics::headOfADumpIsARecordOfTheCollector()
{
    Configure("probe:a");
    Count("a.cpp", 9);
    DbgCollector::Start();

    const QByteArray log = Finish();
    const QList<Dump> dumps = DumpsIn(log);
    QCOMPARE(dumps.size(), 1);
    QCOMPARE(dumps.first().head.module, QByteArray("DBG"));
    QCOMPARE(dumps.first().head.line, QByteArray("749"));
    QCOMPARE(dumps.first().head.function, QByteArray("void Zol::DbgCollector::HandleMetric(bool)"));
    QCOMPARE(dumps.first().head.level, QByteArray("DBG_TRACE"));
    QCOMPARE(dumps.first().head.thread, QByteArray("DBG"));
    const LogRecord other = ZolTest::ParseRecord(ProbeOf("a").Records().last());
    QCOMPARE(other.module, QByteArray("DBG"));
    QCOMPARE(dumps.first().head.file, other.file);
    QVERIFY(other.file.endsWith("dbg_collector.cpp"));
    QVERIFY(log.contains(TextOf(dumps.first().head.time, other.file, Line("a.cpp", 9, 1))));
}

void TestMetrics::headOfADumpHasItsTime()
{
    const QString format = QLatin1String("yyyy/MM/dd (MMM) (ddd) hh:mm:ss.zzz");
    Configure("probe:a");
    Count("a.cpp", 9);
    QTest::qSleep(5); // so that the hit and the dump have different times
    const QByteArray before = QDateTime::currentDateTime().toString(format).toUtf8();
    DbgCollector::Start();
    const QList<Dump> dumps = DumpsIn(Finish());
    const QByteArray after = QDateTime::currentDateTime().toString(format).toUtf8();

    QCOMPARE(dumps.size(), 1);
    QCOMPARE(dumps.first().head.time.size(), before.size());
    QVERIFY(before <= dumps.first().head.time);
    QVERIFY(dumps.first().head.time <= after);
}

void TestMetrics::emptyTableIsDumpedToo()
{
    Configure("probe:a", no_level);
    DbgCollector::Start();
    QVERIFY(AwaitDump());

    const QByteArray log = Finish();
    const QList<Dump> dumps = DumpsIn(log);
    QCOMPARE(dumps.size(), 1);
    QVERIFY(dumps.first().lines.isEmpty());
    QCOMPARE(log, restart + TextOf(dumps.first()));
}

void TestMetrics::dumpOfEarlierHitsPrecedesTheMessages()
{
    Configure("probe:a");
    ZolTest::Log("before");
    Count("a.cpp", 9);
    DbgCollector::Start();

    const QByteArray log = Finish();
    QVERIFY(!DumpsIn(log).isEmpty());
    QVERIFY(log.startsWith(restart + TextOf(DumpsIn(log).first())));
    QVERIFY(log.contains("<b>before</b>"));
}

void TestMetrics::dumpWithoutHitsFollowsTheFirstMessages()
{
    Configure("probe:a");
    ZolTest::Log("before");
    DbgCollector::Start();
    QVERIFY(AwaitDump());

    const QByteArray log = Finish();
    QVERIFY(log.contains("<b>before</b>"));
    QVERIFY(log.indexOf("<b>before</b>") < log.indexOf("Dumping metric table"));
}

void TestMetrics::fileNameIsWrittenAsItIs()
{
    Configure("probe:a");
    Count("a\"b<c>&.cpp", 9);
    Count("", 0);
    Count("d%2.cpp", 4294967295U);
    DbgCollector::Start();

    QCOMPARE(DumpedLines(Finish()),
             QByteArray("#<metric f=\"\" l=\"0\" c=\"1\"/>\n"
                        "<metric f=\"a\"b<c>&.cpp\" l=\"9\" c=\"1\"/>\n"
                        "<metric f=\"d4294967295.cpp\" l=\"4294967295\" c=\"1\"/>\n"));
}

void TestMetrics::hitsAreCountedByPlaceAlone()
{
    Configure("probe:a");
    DBG_OBJ(QLatin1String("net"), "x.cpp", 1, "f", DBG_INFO).Metric("a.cpp", 9);
    DBG_OBJ(QLatin1String("disk"), "y.cpp", 2, "g", DBG_ERROR).Metric("a.cpp", 9);
    Count("a.cpp", 9);
    DbgCollector::Start();

    QCOMPARE(DumpedLines(Finish()), '#' + Line("a.cpp", 9, 3));
}

void TestMetrics::dumpPassesAnyMask()
{
    Configure("probe:a", no_level);
    Configure("probe:b", DBG_FATAL);
    Count("a.cpp", 9);
    ZolTest::Log("message");
    DbgCollector::Start();

    const QByteArray log = Finish();
    QCOMPARE(DumpedLines(log), '#' + Line("a.cpp", 9, 1));
    QCOMPARE(log, restart + TextOf(DumpsIn(log).first()));
    QCOMPARE(ProbeOf("b").Bytes(), log);
}

void TestMetrics::dumpIsInTheLogFileAtOnce()
{
    const ZolTest::TempDir dir;
    const QString path = dir.Path("a.log");
    const QByteArray name = QFile::encodeName(path);
    Configure(QLatin1String("file:") + path, no_level);
    Count("a.cpp", 9);
    DbgCollector::Start();

    // Nothing follows the dump that could drive it out of a buffer.
    QVERIFY(ZolTest::Await([&] { return ZolTest::ReadFile(name).endsWith("c=\"1\"/>\n"); }));
    const QByteArray log = ZolTest::ReadFile(name);
    QCOMPARE(DumpsIn(log).size(), 1);
    QCOMPARE(log, restart + TextOf(DumpsIn(log).first()));
}

void TestMetrics::dumpIsInTheLogFileAfterStop()
{
    const ZolTest::TempDir dir;
    const QString path = dir.Path("a.log");
    Configure(QLatin1String("file:") + path, no_level);
    Count("a.cpp", 9, 2);
    DbgCollector::Start();
    DbgCollector::Stop();

    const QByteArray log = ZolTest::ReadFile(QFile::encodeName(path));
    QCOMPARE(DumpedLines(log), '#' + Line("a.cpp", 9, 2));
    QCOMPARE(log, restart + TextOf(DumpsIn(log).first()));
}

void TestMetrics::dumpReachesEveryOutputInKeyOrder()
{
    QByteArray order;
    const char* const names[] = {"a", "b", "z"};
    for (const char* name : names) {
        ProbeOf(name).SetOnWrite([&order, name](const QByteArray& bytes) {
            if (bytes.contains("Dumping metric table"))
                order += name;
        });
    }
    Configure("probe:b");
    Configure("probe:a", no_level);
    Configure("alpha:z");
    Count("a.cpp", 9);
    DbgCollector::Start();
    DbgCollector::Stop();

    QCOMPARE(order, QByteArray("zab"));
}

void TestMetrics::outputsGetTheSameDump()
{
    CollectorAgent* const agent = StartWithAgent(no_level);
    QVERIFY(agent);
    Configure("probe:b", no_level);
    Count("a.cpp", 9);
    QVERIFY(agent->Fence());
    const QByteArray before = ProbeOf("a").Bytes();
    QVERIFY(agent->Fire(TimerOf(*agent)));

    const QByteArray dump = ProbeOf("a").Bytes().mid(before.size());
    QCOMPARE(DumpedLines(dump), '#' + Line("a.cpp", 9, 1));
    QCOMPARE(ProbeOf("b").Bytes(), restart + dump);
}

void TestMetrics::outputMayCountWhileItTakesADump()
{
    Configure("probe:b");
    ProbeOf("b").SetOnWrite([](const QByteArray& bytes) {
        if (bytes.contains("Dumping metric table"))
            Count("b.cpp", 1);
    });
    CollectorAgent* const agent = StartWithAgent();
    QVERIFY(agent);
    QVERIFY(agent->Fire(TimerOf(*agent)));

    QCOMPARE(DumpedLines(Finish()), "##" + Line("b.cpp", 1, 1));
}

void TestMetrics::timerComesEveryTwoMinutes()
{
    CollectorAgent* const agent = StartWithAgent();
    QVERIFY(agent);

    const QList<ZolTest::CollectorTimer> timers = agent->Timers();
    QCOMPARE(timers.size(), 1);
    QCOMPARE(timers.first().interval, 120000);
}

void TestMetrics::timerDumpsTheHitsCountedSoFar()
{
    Count("a.cpp", 9);
    CollectorAgent* const agent = StartWithAgent();
    QVERIFY(agent);
    Count("b.cpp", 1);
    Count("a.cpp", 9, 2);
    QVERIFY(agent->Fire(TimerOf(*agent)));

    QCOMPARE(DumpedLines(Finish()),
             '#' + Line("a.cpp", 9, 1) + '#' + Line("a.cpp", 9, 3) + Line("b.cpp", 1, 1));
}

void TestMetrics::timerDumpsWithoutNewHits()
{
    Count("a.cpp", 9);
    CollectorAgent* const agent = StartWithAgent();
    QVERIFY(agent);
    const int timer = TimerOf(*agent);
    QVERIFY(agent->Fire(timer));
    QVERIFY(agent->Fire(timer));

    const QByteArray dump = '#' + Line("a.cpp", 9, 1);
    QCOMPARE(DumpedLines(Finish()), dump + dump + dump);
}

void TestMetrics::timerDumpsAnEmptyTable()
{
    CollectorAgent* const agent = StartWithAgent();
    QVERIFY(agent);
    QVERIFY(agent->Fire(TimerOf(*agent)));

    QCOMPARE(DumpedLines(Finish()), QByteArray("##"));
}

void TestMetrics::timerGoesOnAfterItsDump()
{
    CollectorAgent* const agent = StartWithAgent();
    QVERIFY(agent);
    const int timer = TimerOf(*agent);
    QVERIFY(timer != 0);
    QVERIFY(agent->Fire(timer));
    Count("a.cpp", 9);
    QVERIFY(agent->Fire(timer));

    QCOMPARE(TimerOf(*agent), timer);
    QCOMPARE(agent->Timers().first().interval, 120000);
}

void TestMetrics::foreignTimerDumpsNothing()
{
    CollectorAgent* const agent = StartWithAgent();
    QVERIFY(agent);
    const int timer = TimerOf(*agent);
    Count("a.cpp", 9);
    QVERIFY(agent->Fire(timer + 1));
    QVERIFY(agent->Fire(timer - 1));
    QVERIFY(agent->Fire(0));
    QVERIFY(agent->Fire(-1));

    QCOMPARE(TimerOf(*agent), timer);
    QCOMPARE(DumpedLines(Finish()), QByteArray("#"));
}

void TestMetrics::laterMetricEventsDumpNothing()
{
    CollectorAgent* const agent = StartWithAgent();
    QVERIFY(agent);
    Count("a.cpp", 9);
    for (int i = 0; i < 3; ++i) {
        QCoreApplication::postEvent(
            agent->Collector(), new QEvent(static_cast<QEvent::Type>(DbgCollector::EVT_DbgMetric)));
    }
    QVERIFY(agent->Fence());
    QVERIFY(agent->Fire(TimerOf(*agent)));

    QCOMPARE(DumpedLines(Finish()), "##" + Line("a.cpp", 9, 1));
}

void TestMetrics::laterMetricEventsLeaveTheTimer()
{
    CollectorAgent* const agent = StartWithAgent();
    QVERIFY(agent);
    const int timer = TimerOf(*agent);
    QVERIFY(timer != 0);
    QCoreApplication::postEvent(agent->Collector(),
                                new QEvent(static_cast<QEvent::Type>(DbgCollector::EVT_DbgMetric)));

    QCOMPARE(TimerOf(*agent), timer);
}

void TestMetrics::startPostsAnEventWhereThereWereNoHits()
{
    EventWatch::Begin("a");
    QVERIFY(StartWithAgent());

    QCOMPARE(EventWatch::Await()->CountOf(DbgCollector::EVT_DbgMetric), 1);
}

void TestMetrics::firstHitPostsTheOnlyEvent()
{
    EventWatch::Begin("a");
    Count("a.cpp", 9, 5);
    Count("b.cpp", 9, 5);
    QVERIFY(StartWithAgent());

    QCOMPARE(EventWatch::Await()->CountOf(DbgCollector::EVT_DbgMetric), 1);
}

void TestMetrics::firstHitAfterADumpPostsAnIgnoredEvent()
{
    EventWatch::Begin("a");
    CollectorAgent* const agent = StartWithAgent();
    QVERIFY(agent);
    EventWatch* const watch = EventWatch::Await();
    Count("a.cpp", 9, 3);
    QVERIFY(agent->Fence());
    QCOMPARE(watch->CountOf(DbgCollector::EVT_DbgMetric), 2);
    QVERIFY(agent->Fire(TimerOf(*agent)));
    QCOMPARE(watch->CountOf(DbgCollector::EVT_DbgMetric), 2);
    Count("b.cpp", 9, 2);
    QVERIFY(agent->Fence());

    QCOMPARE(watch->CountOf(DbgCollector::EVT_DbgMetric), 3);
    QCOMPARE(DumpedLines(Finish()), "##" + Line("a.cpp", 9, 3));
}

void TestMetrics::dumpWithoutOutputsIsDiscarded()
{
    Count("a.cpp", 9);
    DbgCollector::Start();
    // Registrations are handled behind the hit's event, so the first dump is over then.
    QVERIFY(ZolTest::Settle());
    CollectorAgent::Employ(ProbeOf("a"));
    Configure("probe:a", no_level);
    CollectorAgent* const agent = CollectorAgent::Await();
    QVERIFY(agent);
    QVERIFY(agent->Fence());
    QCOMPARE(ProbeOf("a").Bytes(), restart);
    QVERIFY(agent->Fire(TimerOf(*agent)));

    QCOMPARE(DumpedLines(Finish()), '#' + Line("a.cpp", 9, 1));
}

void TestMetrics::outputConfiguredLaterGetsTheNextDump()
{
    CollectorAgent* const agent = StartWithAgent();
    QVERIFY(agent);
    Configure("probe:b");
    QVERIFY(agent->Fence());
    QCOMPARE(DumpedLines(ProbeOf("b").Bytes()), QByteArray());
    Count("a.cpp", 9);
    QVERIFY(agent->Fire(TimerOf(*agent)));

    QCOMPARE(DumpedLines(Finish("b")), '#' + Line("a.cpp", 9, 1));
}

void TestMetrics::removedOutputGetsNoDump()
{
    Configure("probe:b");
    CollectorAgent* const agent = StartWithAgent();
    QVERIFY(agent);
    DbgCollector::RemoveDebugInterface(QLatin1String("probe:b"));
    QVERIFY(agent->Fire(TimerOf(*agent)));

    QCOMPARE(DumpedLines(Finish("b")), QByteArray("#"));
    QCOMPARE(DumpedLines(ProbeOf("a").Bytes()), QByteArray("##"));
}

void TestMetrics::suspendedFileGetsNoDump()
{
    const ZolTest::TempDir dir;
    const QString path = dir.Path("a.log");
    Configure(QLatin1String("file:") + path, no_level);
    CollectorAgent* const agent = StartWithAgent();
    QVERIFY(agent);
    const int timer = TimerOf(*agent);
    DbgUtils::SignalLoggingPause();
    Count("a.cpp", 9);
    QVERIFY(agent->Fire(timer));
    DbgUtils::SignalLoggingResume();
    Count("a.cpp", 9);
    QVERIFY(agent->Fire(timer));
    DbgCollector::Stop();

    const QByteArray log = ZolTest::ReadFile(QFile::encodeName(path));
    const QList<Dump> dumps = DumpsIn(log);
    QCOMPARE(dumps.size(), 2);
    QCOMPARE(dumps.at(1).lines, Line("a.cpp", 9, 2));
    QCOMPARE(log, restart + TextOf(dumps.at(0)) + restart + TextOf(dumps.at(1)));
}

void TestMetrics::suspendedOutputOfTheHostGetsTheDump()
{
    ProbeOf("a").SetSwitchesMasks(true);
    ProbeOf("a").SetMasksChange(true);
    CollectorAgent* const agent = StartWithAgent();
    QVERIFY(agent);
    DbgUtils::SignalLogFreeStatus(false);
    Count("a.cpp", 9);
    QVERIFY(agent->Fire(TimerOf(*agent)));

    QCOMPARE(DumpedLines(Finish()), "##" + Line("a.cpp", 9, 1));
}

void TestMetrics::noHitIsLostWhileThreadsCount()
{
    const int thread_count = 8;
    const int rounds = 500;
    CollectorAgent* const agent = StartWithAgent(no_level);
    QVERIFY(agent);
    const int timer = TimerOf(*agent);
    std::atomic<int> running(thread_count);
    std::vector<std::unique_ptr<ZolTest::HostThread>> threads;
    for (int i = 0; i < thread_count; ++i) {
        const QByteArray own = "own" + QByteArray::number(i);
        threads.emplace_back(new ZolTest::HostThread("host", [own, &running] {
            for (int round = 0; round < rounds; ++round) {
                Count("shared", 1);
                Count(own.constData(), static_cast<unsigned int>(round % 50));
            }
            --running;
        }));
        threads.back()->start();
    }
    do {
        QVERIFY(agent->Fire(timer));
    } while (running > 0);
    for (const std::unique_ptr<ZolTest::HostThread>& thread : threads)
        QVERIFY(thread->Join());
    QVERIFY(agent->Fire(timer));

    QByteArray expected;
    for (int i = 0; i < thread_count; ++i) {
        for (int line = 0; line < 50; ++line)
            expected += Line("own" + QByteArray::number(i), line, rounds / 50);
    }
    expected += Line("shared", 1, thread_count * rounds);
    QCOMPARE(DumpsIn(Finish()).last().lines, expected);
}

void TestMetrics::hitsAfterStopAreHarmless()
{
    QVERIFY(StartWithAgent());
    const QByteArray log = Finish();
    Count("a.cpp", 9, 3);

    QCOMPARE(ProbeOf("a").Bytes(), log);
}

void TestMetrics::metricMacroCountsItsPlace()
{
    const DebugModule module(QLatin1String("net"));
    Configure("probe:a");
    int line = 0;
    for (int i = 0; i < 3; ++i) {
        line = __LINE__ + 1;
        ZOL_METRIC(module, DBG_INFO);
    }
    ZOL_METRIC(module, DBG_ERROR);
    const int other_line = __LINE__ - 1;
    DbgCollector::Start();

    QCOMPARE(DumpedLines(Finish()), '#' + HereLine(line, 3) + HereLine(other_line, 1));
}

void TestMetrics::hitsOfANameBeyondAsciiAreCountedTogether()
{
    const char* const file = "caf\xe9.cpp";
    Configure("probe:a", DBG_TRACE);
    CountHit(file, 9);
    DBG_OBJ(QLatin1String("net"), file, 9, "f", DBG_INFO).Metric(file, 9);
    DbgCollector::CollectMetric(QString::fromUtf8("caf\xc3\xa9.cpp"), 9);
    DbgCollector::Start();

    QCOMPARE(DumpedLines(Finish()), '#' + Line("caf\xc3\xa9.cpp", 9, 3));
}

void TestMetrics::metricMacroLogsNothing()
{
    const DebugModule module(QLatin1String("net"));
    Configure("probe:a");
    ZOL_METRIC(module, DBG_INFO);
    DbgCollector::Start();
    Finish();

    QCOMPARE(ProbeOf("a").Messages("net").size(), 0);
}

void TestMetrics::metricMacroNeedsItsLevel()
{
    DebugModule module(QLatin1String("net"));
    module.SetMask(DBG_ERROR);
    Configure("probe:a");
    ZOL_METRIC(module, DBG_INFO);
    ZOL_LOG_METRIC(module, DBG_WARN);
    ZOL_METRIC(module, DBG_ERROR);
    const int line = __LINE__ - 1;
    DbgCollector::Start();

    QCOMPARE(DumpedLines(Finish()), '#' + HereLine(line, 1));
}

void TestMetrics::logMetricMacroLogsAndCounts()
{
    const DebugModule module(QLatin1String("net"));
    Configure("probe:a");
    int line = 0;
    for (int i = 0; i < 2; ++i) {
        line = __LINE__ + 1;
        ZOL_LOG_METRIC(module, DBG_WARN) << "lost " << i;
    }
    DbgCollector::Start();

    QCOMPARE(DumpedLines(Finish()), '#' + HereLine(line, 2));
    QList<LogRecord> records;
    for (const QByteArray& text : ProbeOf("a").Records()) {
        if (ZolTest::ParseRecord(text).module == "net")
            records.append(ZolTest::ParseRecord(text));
    }
    QCOMPARE(records.size(), 2);
    QCOMPARE(records.at(0).message, QByteArray("lost 0"));
    QCOMPARE(records.at(1).message, QByteArray("lost 1"));
    QCOMPARE(records.at(1).file, QByteArray(__FILE__));
    QCOMPARE(records.at(1).line, QByteArray::number(line));
    QCOMPARE(records.at(1).level, QByteArray("DBG_WARN"));
    QVERIFY(records.at(1).function.contains("logMetricMacroLogsAndCounts"));
}

void TestMetrics::logMetricMacroEvaluatesNothingWhenItsLevelIsOff()
{
    DebugModule module(QLatin1String("net"));
    module.SetMask(DBG_ERROR);
    int evaluated = 0;
    ZOL_LOG_METRIC(module, DBG_INFO) << ++evaluated;
    QCOMPARE(evaluated, 0);
    ZOL_LOG_METRIC(module, DBG_ERROR) << ++evaluated;
    QCOMPARE(evaluated, 1);
}

void TestMetrics::metricMacrosAreSingleStatements()
{
    const DebugModule module(QLatin1String("net"));
    Configure("probe:a");
    bool other = false;
    const int line = __LINE__ + 3;
    for (int i = 0; i < 3; ++i) {
        if (i == 0)
            ZOL_METRIC(module, DBG_INFO);
        else if (i == 1)
            ZOL_LOG_METRIC(module, DBG_INFO) << "text";
        else
            other = true;
    }
    QVERIFY(other);
    DbgCollector::Start();

    QCOMPARE(DumpedLines(Finish()), '#' + HereLine(line, 1) + HereLine(line + 2, 1));
}

QTEST_MAIN(TestMetrics)

#include "tst_metrics.moc"
