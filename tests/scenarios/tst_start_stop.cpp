#include "collector_tools.h"
#include "temp_dir.h"

#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtTest/QtTest>

#include <memory>
#include <type_traits>

using namespace ZolTest;
using Zol::DbgCollector;

namespace {

const char* const created = "Created Debug Collector";
const char* const run_called = "Run - called";
const char* const starting = "Starting";
const char* const calling_loop = "Run - calling event loop.";
const char* const stopping = "Stopping !";

/** Starts the collector and waits until it writes. */
bool StartAndAwaitRecords(const char* probe)
{
    DbgCollector::Start();
    Log("first sentinel");
    return ProbeOf(probe).WaitFor("first sentinel");
}

/** The one record with this text; an invalid one if there is none or more than one. */
LogRecord TheRecord(const QByteArray& message)
{
    LogRecord found = ParseRecord(QByteArray());
    int count = 0;
    const QList<QByteArray> records = ProbeOf("a").Records();
    for (const QByteArray& text : records) {
        const LogRecord record = ParseRecord(text);
        if (record.message == message) {
            found = record;
            ++count;
        }
    }
    return count == 1 ? found : ParseRecord(QByteArray());
}

int CountOf(const QByteArray& message)
{
    return static_cast<int>(ProbeOf("a").Messages("DBG").count(message));
}

QByteArray LastText(const char* probe)
{
    const QList<QByteArray> records = WithoutDumps(ProbeOf(probe).Records());
    return records.isEmpty() ? QByteArray() : ParseRecord(records.last()).message;
}

/** The moment in a record's time attribute, without the names of month and day. */
QDateTime MomentOf(const LogRecord& record)
{
    return QDateTime::fromString(QString::fromLatin1(record.time.left(10).constData()) +
                                     QLatin1Char(' ') +
                                     QString::fromLatin1(record.time.right(12).constData()),
                                 QLatin1String("yyyy/MM/dd hh:mm:ss.zzz"));
}

/** Whether @p first_call makes the collector, which tells by the name of the thread it has then. */
void CheckCreatedBy(const std::function<void()>& first_call)
{
    NameThisThread("First caller");
    first_call();
    NameThisThread("Later caller");
    ConfigureProbe("a");
    QVERIFY(StartAndAwaitRecords("a"));
    QVERIFY(StopAndAwaitLastRecord());
    QCOMPARE(CountOf(created), 1);
    QCOMPARE(TheRecord(created).thread, QByteArray("First caller"));
}

void CheckProgressRecord(const LogRecord& record, const char* function, const char* level,
                         const char* thread)
{
    QVERIFY(record.valid);
    QCOMPARE(record.module, QByteArray("DBG"));
    QVERIFY2(record.file.endsWith("dbg_collector.cpp"), record.file.constData());
    QVERIFY2(record.line.toInt() > 0, record.line.constData());
    QCOMPARE(record.function, QByteArray(function));
    QCOMPARE(record.level, QByteArray(level));
    QCOMPARE(record.thread, QByteArray(thread));
}

/** Tells whether it was accepted when it is deleted behind its delivery. */
class TellTaleEvent : public QEvent
{
public:
    TellTaleEvent(int type, std::atomic<int>& accepted)
        : QEvent(static_cast<QEvent::Type>(type))
        , m_accepted(accepted)
    {
        ignore();
    }

    ~TellTaleEvent() { m_accepted = isAccepted() ? 1 : 0; }

private:
    std::atomic<int>& m_accepted;
};

} // namespace

class TestStartStop : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Creation
    void collectMsgCreatesTheCollector();
    void messageBuilderCreatesTheCollector();
    void registerModuleCreatesTheCollector();
    void parseDebugServerOptionsCreatesTheCollector();
    void collectCfgMsgCreatesTheCollector();
    void removeDebugInterfaceCreatesTheCollector();
    void spaceNoticeCreatesTheCollector();
    void pauseCreatesTheCollector();
    void resumeCreatesTheCollector();
    void collectMetricCreatesTheCollector();
    void firstCallStartsTheThread();
    void firstCallPausesForTheThread();
    void collectorOutlivesTheThreadThatCreatedIt();
    void threadRunsAtIdlePriority();
    void threadIsNamedDebugCollector();
    void metaObjectHoldsTheClassNameOnly();
    void onlyTheLibraryMakesCollectors();
    void eventTypesHaveFixedNumbers();

    // Before the start
    void nothingIsWrittenBeforeStart();
    void entryPointsDoNotWaitBeforeStart();
    void configurationComesBeforeRegistrations();
    void configurationComesBeforeMessages();
    void registrationsComeBeforeMessages();
    void configurationKeepsItsOrder();
    void messagesKeepTheirOrder();

    // The collector's own records
    void startUpRecordsComeInOrder();
    void hostRecordsStandBetweenTheStartUpRecords();
    void createdRecordHasItsFields();
    void runCalledRecordHasItsFields();
    void startingRecordHasItsFields();
    void callingLoopRecordHasItsFields();
    void stoppingRecordHasItsFields();
    void startUpRecordsCarryTheirOwnTimes();
    void progressRecordsComeFromDifferentLinesOfOneFile();
    void createdRecordOfAnUnnamedThreadHasNoThreadName();
    void startingCarriesTheNameOfTheThreadThatStarts();

    // Start
    void secondStartOnlyLogs();
    void startAfterStopIsNotVisible();

    // Stop
    void stopWritesEverythingQueued();
    void stopAtOnceAfterStartWritesEverythingQueued();
    void stopAtOnceAfterStartAppliesConfigurationAndRegistrations();
    void stoppingIsTheLastRecord();
    void stopWaitsForTheEndOfTheThread();
    void stopFromAnotherThread();
    void stopFromSeveralThreads();
    void secondStopReturnsAtOnce();
    void stopGivesUpAfterTenSeconds();
    void stopWithoutStartWritesNothing();
    void stopWithoutStartEndsTheThread();
    void startAfterStopWithoutStartWritesNothing();
    void stopFromWithinAnOutputReturnsAtOnce();
    void stopFromWithinAnOutputEndsTheThread();
    void recordsBetweenStopAndItsEventAreWritten();
    void recordsAfterTheEndAreNeverWritten();
    void entryPointsDoNothingAfterTheEnd();
    void configurationAfterStopOvertakesIt();
    void registrationAfterStopOvertakesIt();

    // Events
    void onlyTheFirstMetricEventDumps();
    void startDumpsTheMetricsBehindTheFirstBatch();
    void metricBeforeStartReplacesTheStartUpRequest();
    void metricDumpHasTheCollectorsHeader();
    void handledEventsAreAccepted();
    void unknownEventsAreIgnored();
};

void TestStartStop::collectMsgCreatesTheCollector()
{
    CheckCreatedBy([] {
        DbgCollector::CollectMsg(QDateTime::currentDateTime(), QLatin1String("m"), "f", 1, "fn",
                                 Zol::DBG_INFO, QLatin1String("t"), QLatin1String("text"));
    });
}

void TestStartStop::messageBuilderCreatesTheCollector()
{
    CheckCreatedBy([] { Log("first"); });
}

void TestStartStop::registerModuleCreatesTheCollector()
{
    std::unique_ptr<Zol::DebugModule> module;
    CheckCreatedBy([&module] { module.reset(new Zol::DebugModule(QLatin1String("m"))); });
}

void TestStartStop::parseDebugServerOptionsCreatesTheCollector()
{
    CheckCreatedBy(
        [] { DbgCollector::ParseDebugServerOptions(QStringList(QLatin1String("probe:first"))); });
}

void TestStartStop::collectCfgMsgCreatesTheCollector()
{
    CheckCreatedBy([] { ConfigureProbe("first"); });
}

void TestStartStop::removeDebugInterfaceCreatesTheCollector()
{
    CheckCreatedBy([] { DbgCollector::RemoveDebugInterface(QLatin1String("probe:first")); });
}

void TestStartStop::spaceNoticeCreatesTheCollector()
{
    CheckCreatedBy([] { DbgCollector::SendLogFileSpaceAvailable(true); });
}

void TestStartStop::pauseCreatesTheCollector()
{
    CheckCreatedBy([] { DbgCollector::SendLoggingPause(); });
}

void TestStartStop::resumeCreatesTheCollector()
{
    CheckCreatedBy([] { DbgCollector::SendLoggingResume(); });
}

void TestStartStop::collectMetricCreatesTheCollector()
{
    CheckCreatedBy([] { DbgCollector::CollectMetric(QLatin1String("f"), 1); });
}

void TestStartStop::firstCallStartsTheThread()
{
    const int before = static_cast<int>(ThreadIds().size());
    ConfigureProbe("a");
    QCOMPARE(static_cast<int>(ThreadIds().size()), before + 1);
    ConfigureProbe("b");
    QCOMPARE(static_cast<int>(ThreadIds().size()), before + 1);
}

void TestStartStop::firstCallPausesForTheThread()
{
    QElapsedTimer timer;
    timer.start();
    ConfigureProbe("a");
    QVERIFY(timer.elapsed() >= 9);
}

void TestStartStop::collectorOutlivesTheThreadThatCreatedIt()
{
    HostThread creator("Creator", [] { Log("from the creator"); });
    creator.start();
    QVERIFY(creator.Join());
    ConfigureProbe("a");
    DbgCollector::Start();
    QVERIFY(StopAndAwaitLastRecord());
    QCOMPARE(TheRecord(created).thread, QByteArray("Creator"));
    QVERIFY(TheRecord("from the creator").valid);
}

void TestStartStop::threadRunsAtIdlePriority()
{
    EventWatch::Begin("a");
    ConfigureProbe("a");
    DbgCollector::Start();
    QVERIFY(EventWatch::Await());
    QCOMPARE(static_cast<int>(EventWatch::Await()->Collector()->priority()),
             static_cast<int>(QThread::IdlePriority));
    QVERIFY(StopAndAwaitLastRecord());
}

void TestStartStop::threadIsNamedDebugCollector()
{
    EventWatch::Begin("a");
    ConfigureProbe("a");
    DbgCollector::Start();
    QVERIFY(EventWatch::Await());
    QVERIFY(StopAndAwaitLastRecord());
    QCOMPARE(EventWatch::Await()->Collector()->objectName(), QString::fromLatin1("DebugCollector"));
}

void TestStartStop::metaObjectHoldsTheClassNameOnly()
{
    EventWatch::Begin("a");
    ConfigureProbe("a");
    DbgCollector::Start();
    QVERIFY(EventWatch::Await());
    QVERIFY(StopAndAwaitLastRecord());
    QThread* collector = EventWatch::Await()->Collector();
    const QMetaObject* meta = collector->metaObject();
    QCOMPARE(meta, &DbgCollector::staticMetaObject);
    QCOMPARE(QByteArray(meta->className()), QByteArray("Zol::DbgCollector"));
    QCOMPARE(meta->superClass(), &QThread::staticMetaObject);
    QCOMPARE(meta->methodCount(), meta->methodOffset());
    QCOMPARE(meta->propertyCount(), meta->propertyOffset());
    QCOMPARE(meta->enumeratorCount(), meta->enumeratorOffset());
    QCOMPARE(meta->classInfoCount(), meta->classInfoOffset());
    QCOMPARE(meta->constructorCount(), 0);
    QCOMPARE(collector->qt_metacast("Zol::DbgCollector"), static_cast<void*>(collector));
    QVERIFY(collector->qt_metacast("QThread"));
    QVERIFY(!collector->qt_metacast("DbgCollector"));
}

void TestStartStop::onlyTheLibraryMakesCollectors()
{
    QVERIFY((std::is_base_of<QThread, DbgCollector>::value));
    QVERIFY(!std::is_default_constructible<DbgCollector>::value);
    QVERIFY(!std::is_copy_constructible<DbgCollector>::value);
    QVERIFY(!std::is_copy_assignable<DbgCollector>::value);
}

void TestStartStop::eventTypesHaveFixedNumbers()
{
    QCOMPARE(static_cast<int>(DbgCollector::EVT_DebugMsg), 1000);
    QCOMPARE(static_cast<int>(DbgCollector::EVT_RegisterModule), 1001);
    QCOMPARE(static_cast<int>(DbgCollector::EVT_DeregisterModule), 1002);
    QCOMPARE(static_cast<int>(DbgCollector::EVT_ServerCfgMsg), 1003);
    QCOMPARE(static_cast<int>(DbgCollector::EVT_DeleteServer), 1004);
    QCOMPARE(static_cast<int>(DbgCollector::EVT_DbgMetric), 1005);
    QCOMPARE(static_cast<int>(DbgCollector::EVT_DbgLogDiskFull), 1006);
    QCOMPARE(static_cast<int>(DbgCollector::EVT_DbgLogDiskHasSpace), 1007);
    QCOMPARE(static_cast<int>(DbgCollector::EVT_DbgLogPause), 1008);
    QCOMPARE(static_cast<int>(DbgCollector::EVT_DbgLogResume), 1009);
    QCOMPARE(static_cast<int>(DbgCollector::EVT_Stop), 1010);
}

void TestStartStop::nothingIsWrittenBeforeStart()
{
    TempDir dir;
    const QString path = dir.Path("log");
    DbgCollector::CollectCfgMsg(QLatin1String("file:") + path, QLatin1String("*"), all_levels);
    ConfigureProbe("a");
    Zol::DebugModule module(QLatin1String("m"));
    DbgCollector::CollectMetric(QLatin1String("f"), 1);
    Log("early");
    QVERIFY(AwaitSleepingThreads());
    QVERIFY(ProbeOf("a").Calls().isEmpty());
    QVERIFY(ProbeOf("a").Bytes().isEmpty());
    QVERIFY(!QFile::exists(path));
    QVERIFY(!module.LvlDisabled(Zol::DBG_TRACE));
    DbgCollector::Stop();
}

void TestStartStop::entryPointsDoNotWaitBeforeStart()
{
    for (int i = 0; i < 1000; ++i) {
        Zol::DebugModule module(QLatin1String("m"));
        Log("early");
        ConfigureProbe("a");
        DbgCollector::RemoveDebugInterface(QLatin1String("probe:other"));
        DbgCollector::CollectMetric(QLatin1String("f"), 1);
        DbgCollector::SendLoggingPause();
        DbgCollector::SendLoggingResume();
        DbgCollector::SendLogFileSpaceAvailable(true);
    }
    DbgCollector::Start();
    QVERIFY(StopAndAwaitLastRecord());
    QCOMPARE(Count(ProbeOf("a").Messages("host")), 1000);
}

void TestStartStop::configurationComesBeforeRegistrations()
{
    // Without an output a registration would have silenced the module.
    Zol::DebugModule module(QLatin1String("m"));
    std::atomic<int> enabled_at_creation(-1);
    ProbeOf("a").SetOnCall([&](const QByteArray& call) {
        if (call.startsWith("create:"))
            enabled_at_creation = module.LvlDisabled(Zol::DBG_TRACE) ? 0 : 1;
    });
    ConfigureProbe("a");
    QVERIFY(StartAndAwaitRecords("a"));
    QVERIFY(StopAndAwaitLastRecord());
    QCOMPARE(int(enabled_at_creation), 1);
    QVERIFY(!module.LvlDisabled(Zol::DBG_TIME_TRACE));
}

void TestStartStop::configurationComesBeforeMessages()
{
    Log("earlier than its output");
    ConfigureProbe("a");
    DbgCollector::Start();
    QVERIFY(StopAndAwaitLastRecord());
    QVERIFY(TheRecord("earlier than its output").valid);
    QVERIFY(TheRecord(created).valid);
}

void TestStartStop::registrationsComeBeforeMessages()
{
    Log("earlier than the module");
    ConfigureProbe("a");
    Zol::DebugModule module(QLatin1String("m"));
    std::atomic<int> registered_at_first_record(-1);
    ProbeOf("a").SetOnWrite([&](const QByteArray& bytes) {
        if (registered_at_first_record < 0 && bytes.contains("<dbg>"))
            registered_at_first_record = module.LvlDisabled(Zol::DBG_TIME_TRACE) ? 0 : 1;
    });
    DbgCollector::Start();
    QVERIFY(StopAndAwaitLastRecord());
    QCOMPARE(int(registered_at_first_record), 1);
}

void TestStartStop::configurationKeepsItsOrder()
{
    QByteArray order;
    const char* const names[] = {"c", "a", "b"};
    for (const char* name : names) {
        ProbeOf(name).SetOnCall([&order, name](const QByteArray&) { order += name; });
        ConfigureProbe(name);
    }
    DbgCollector::CollectCfgMsg(QLatin1String("probe:a"), QLatin1String("host"),
                                static_cast<Zol::DebugLevel>(0));
    ConfigureProbe("a");
    DbgCollector::Start();
    Log("let through by the last entry");
    QVERIFY(StopAndAwaitLastRecord());
    QCOMPARE(order, QByteArray("cab"));
    QCOMPARE(Count(ProbeOf("a").Messages("host")), 1);
}

void TestStartStop::messagesKeepTheirOrder()
{
    QByteArray expected;
    for (int i = 0; i < 350; ++i) {
        Log(QByteArray::number(i));
        expected += QByteArray::number(i) + '|';
    }
    ConfigureProbe("a");
    DbgCollector::Start();
    QVERIFY(StopAndAwaitLastRecord());
    QByteArray written;
    const QList<QByteArray> messages = ProbeOf("a").Messages("host");
    for (const QByteArray& message : messages)
        written += message + '|';
    QCOMPARE(written, expected);
}

void TestStartStop::startUpRecordsComeInOrder()
{
    ConfigureProbe("a");
    QVERIFY(AwaitSleepingThreads());
    DbgCollector::Start();
    QVERIFY(ProbeOf("a").WaitFor(calling_loop));
    QVERIFY(StopAndAwaitLastRecord());
    QCOMPARE(TextsOf(WithoutDumps(ProbeOf("a").Records())),
             QByteArray("Created Debug Collector|Run - called|Starting|"
                        "Run - calling event loop.|Stopping !|"));
}

void TestStartStop::hostRecordsStandBetweenTheStartUpRecords()
{
    Log("one");
    ConfigureProbe("a");
    QVERIFY(AwaitSleepingThreads());
    Log("two");
    DbgCollector::Start();
    QVERIFY(ProbeOf("a").WaitFor(calling_loop));
    Log("three");
    QVERIFY(StopAndAwaitLastRecord());
    const QList<QByteArray> records = WithoutDumps(ProbeOf("a").Records());
    QCOMPARE(ParseRecord(records.value(0)).message, QByteArray(created));
    // The thread may log that it runs before or after the first record of the host.
    const QByteArray texts = TextsOf(records);
    QVERIFY(texts.indexOf("one|") < texts.indexOf("two|"));
    QVERIFY(texts.indexOf("Run - called|") < texts.indexOf("two|"));
    QVERIFY2(texts.endsWith("two|Starting|Run - calling event loop.|three|Stopping !|"),
             texts.constData());
}

void TestStartStop::createdRecordHasItsFields()
{
    NameThisThread("Main");
    ConfigureProbe("a");
    QVERIFY(StartAndAwaitRecords("a"));
    QVERIFY(StopAndAwaitLastRecord());
    CheckProgressRecord(TheRecord(created), "Zol::DbgCollector::DbgCollector()", "DBG_TRACE",
                        "Main");
}

void TestStartStop::runCalledRecordHasItsFields()
{
    NameThisThread("Main");
    ConfigureProbe("a");
    QVERIFY(StartAndAwaitRecords("a"));
    QVERIFY(StopAndAwaitLastRecord());
    CheckProgressRecord(TheRecord(run_called), "virtual void Zol::DbgCollector::run()", "DBG_TRACE",
                        "DebugCollector");
}

void TestStartStop::startingRecordHasItsFields()
{
    NameThisThread("Main");
    ConfigureProbe("a");
    QVERIFY(StartAndAwaitRecords("a"));
    QVERIFY(StopAndAwaitLastRecord());
    CheckProgressRecord(TheRecord(starting), "static void Zol::DbgCollector::Start()", "DBG_TRACE",
                        "Main");
}

void TestStartStop::callingLoopRecordHasItsFields()
{
    NameThisThread("Main");
    ConfigureProbe("a");
    QVERIFY(StartAndAwaitRecords("a"));
    QVERIFY(StopAndAwaitLastRecord());
    CheckProgressRecord(TheRecord(calling_loop), "virtual void Zol::DbgCollector::run()",
                        "DBG_TRACE", "DebugCollector");
}

void TestStartStop::stoppingRecordHasItsFields()
{
    NameThisThread("Main");
    ConfigureProbe("a");
    QVERIFY(StartAndAwaitRecords("a"));
    QVERIFY(StopAndAwaitLastRecord());
    CheckProgressRecord(TheRecord(stopping), "static void Zol::DbgCollector::Stop()", "DBG_INFO",
                        "DebugCollector");
}

void TestStartStop::startUpRecordsCarryTheirOwnTimes()
{
    const QDateTime before_creation = QDateTime::currentDateTime();
    ConfigureProbe("a");
    const QDateTime after_creation = QDateTime::currentDateTime();
    QVERIFY(AwaitSleepingThreads());
    const QDateTime before_start = QDateTime::currentDateTime();
    DbgCollector::Start();
    const QDateTime after_start = QDateTime::currentDateTime();
    QVERIFY(ProbeOf("a").WaitFor(calling_loop));
    const QDateTime before_stop = QDateTime::currentDateTime();
    QVERIFY(StopAndAwaitLastRecord());
    const QDateTime after_stop = QDateTime::currentDateTime();

    const QDateTime created_at = MomentOf(TheRecord(created));
    QVERIFY(before_creation <= created_at && created_at <= after_creation);
    const QDateTime run_at = MomentOf(TheRecord(run_called));
    QVERIFY(before_creation <= run_at && run_at <= before_start);
    const QDateTime starting_at = MomentOf(TheRecord(starting));
    QVERIFY(before_start <= starting_at && starting_at <= after_start);
    const QDateTime loop_at = MomentOf(TheRecord(calling_loop));
    QVERIFY(before_start <= loop_at && loop_at <= before_stop);
    const QDateTime stopping_at = MomentOf(TheRecord(stopping));
    QVERIFY(before_stop <= stopping_at && stopping_at <= after_stop);
}

void TestStartStop::progressRecordsComeFromDifferentLinesOfOneFile()
{
    ConfigureProbe("a");
    QVERIFY(StartAndAwaitRecords("a"));
    QVERIFY(StopAndAwaitLastRecord());
    QList<QByteArray> lines;
    const char* const texts[] = {created, run_called, starting, calling_loop, stopping};
    for (const char* text : texts) {
        const LogRecord record = TheRecord(text);
        QCOMPARE(record.file, TheRecord(created).file);
        QVERIFY(!lines.contains(record.line));
        lines.append(record.line);
    }
}

void TestStartStop::createdRecordOfAnUnnamedThreadHasNoThreadName()
{
    HostThread creator("", [] { ConfigureProbe("a"); });
    creator.start();
    QVERIFY(creator.Join());
    QVERIFY(StartAndAwaitRecords("a"));
    QVERIFY(StopAndAwaitLastRecord());
    QVERIFY(TheRecord(created).valid);
    QCOMPARE(TheRecord(created).thread, QByteArray());
}

void TestStartStop::startingCarriesTheNameOfTheThreadThatStarts()
{
    NameThisThread("Main");
    ConfigureProbe("a");
    HostThread starter("Starter", [] { DbgCollector::Start(); });
    starter.start();
    QVERIFY(starter.Join());
    QVERIFY(ProbeOf("a").WaitFor("Starting"));
    QVERIFY(StopAndAwaitLastRecord());
    QCOMPARE(TheRecord(starting).thread, QByteArray("Starter"));
    QCOMPARE(TheRecord(created).thread, QByteArray("Main"));
}

void TestStartStop::secondStartOnlyLogs()
{
    EventWatch::Begin("a");
    ConfigureProbe("a");
    DbgCollector::Start();
    QVERIFY(StartAndAwaitRecords("a"));
    DbgCollector::Start();
    Log("after the last start");
    QVERIFY(EventWatch::Await()->Fence());
    QVERIFY(StopAndAwaitLastRecord());
    QCOMPARE(CountOf(starting), 3);
    QCOMPARE(CountOf(run_called), 1);
    QCOMPARE(CountOf(calling_loop), 1);
    QCOMPARE(CountOf("Dumping metric table"), 1);
    QVERIFY(TheRecord("after the last start").valid);
    QCOMPARE(LastText("a"), QByteArray(stopping));
}

void TestStartStop::startAfterStopIsNotVisible()
{
    EventWatch::Begin("a");
    ConfigureProbe("a");
    QVERIFY(StartAndAwaitRecords("a"));
    DbgCollector::Stop();
    const QByteArray written = ProbeOf("a").Bytes();
    const int threads = static_cast<int>(ThreadIds().size());
    DbgCollector::Start();
    Log("too late");
    DbgCollector::Stop();
    QVERIFY(EventWatch::Await()->Collector()->isFinished());
    QVERIFY(static_cast<int>(ThreadIds().size()) <= threads);
    QCOMPARE(ProbeOf("a").Bytes(), written);
}

void TestStartStop::stopWritesEverythingQueued()
{
    ConfigureProbe("a");
    QVERIFY(StartAndAwaitRecords("a"));
    for (int i = 0; i < 350; ++i)
        Log("queued " + QByteArray::number(i));
    DbgCollector::Stop();
    const QList<QByteArray> messages = ProbeOf("a").Messages("host");
    QCOMPARE(Count(messages), 351);
    for (int i = 0; i < 350; ++i)
        QCOMPARE(messages.at(i + 1), "queued " + QByteArray::number(i));
    QCOMPARE(LastText("a"), QByteArray(stopping));
}

void TestStartStop::stopAtOnceAfterStartWritesEverythingQueued()
{
    ConfigureProbe("a");
    for (int i = 0; i < 250; ++i)
        Log("queued " + QByteArray::number(i));
    DbgCollector::Start();
    DbgCollector::Stop();
    QCOMPARE(Count(ProbeOf("a").Messages("host")), 250);
    QCOMPARE(CountOf(created), 1);
    QCOMPARE(CountOf(run_called), 1);
    QCOMPARE(CountOf(starting), 1);
    QCOMPARE(CountOf(stopping), 1);
}

void TestStartStop::stopAtOnceAfterStartAppliesConfigurationAndRegistrations()
{
    Zol::DebugModule module(QLatin1String("m"));
    ConfigureProbe("a");
    ConfigureProbe("b");
    DbgCollector::RemoveDebugInterface(QLatin1String("probe:b"));
    DbgCollector::Start();
    DbgCollector::Stop();
    QVERIFY(!module.LvlDisabled(Zol::DBG_TIME_TRACE));
    QCOMPARE(Count(ProbeOf("a").Calls()), 1);
    QCOMPARE(ProbeOf("b").Calls().value(1), QByteArray("delete"));
}

void TestStartStop::stoppingIsTheLastRecord()
{
    EventWatch::Begin("a");
    ConfigureProbe("a");
    DbgCollector::Start();
    // The dump at the start, which passes by the queue, may else come behind it.
    QVERIFY(EventWatch::Await() && EventWatch::Await()->Fence());
    QVERIFY(StopAndAwaitLastRecord());
    QVERIFY(
        ProbeOf("a").Bytes().endsWith(" thrd=\"DebugCollector\"/></h><b>Stopping !</b></dbg>\n"));
}

void TestStartStop::stopWaitsForTheEndOfTheThread()
{
    EventWatch::Begin("a");
    ConfigureProbe("a");
    QVERIFY(StartAndAwaitRecords("a"));
    QVERIFY(EventWatch::Await()->Collector()->isRunning());
    DbgCollector::Stop();
    QVERIFY(EventWatch::Await()->Collector()->isFinished());
}

void TestStartStop::stopFromAnotherThread()
{
    ConfigureProbe("a");
    QVERIFY(StartAndAwaitRecords("a"));
    Log("last of the host");
    HostThread stopper("Stopper", [] { DbgCollector::Stop(); });
    stopper.start();
    QVERIFY(stopper.Join());
    QVERIFY(TheRecord("last of the host").valid);
    QCOMPARE(TheRecord(stopping).thread, QByteArray("DebugCollector"));
    QCOMPARE(LastText("a"), QByteArray(stopping));
}

void TestStartStop::stopFromSeveralThreads()
{
    EventWatch::Begin("a");
    ConfigureProbe("a");
    QVERIFY(StartAndAwaitRecords("a"));
    for (int i = 0; i < 500; ++i)
        Log("queued");
    const std::function<void()> stop = [] { DbgCollector::Stop(); };
    HostThread one("One", stop);
    HostThread two("Two", stop);
    HostThread three("Three", stop);
    one.start();
    two.start();
    three.start();
    QVERIFY(one.Join() && two.Join() && three.Join());
    QVERIFY(EventWatch::Await()->Collector()->isFinished());
    QCOMPARE(static_cast<int>(ProbeOf("a").Messages("host").count("queued")), 500);
    QVERIFY(CountOf(stopping) >= 1);
}

void TestStartStop::secondStopReturnsAtOnce()
{
    ConfigureProbe("a");
    QVERIFY(StartAndAwaitRecords("a"));
    DbgCollector::Stop();
    QElapsedTimer timer;
    timer.start();
    DbgCollector::Stop();
    QVERIFY(timer.elapsed() < WaitBound() / 12); // well below the ten seconds that it may wait
    QCOMPARE(CountOf(stopping), 1);
}

void TestStartStop::stopGivesUpAfterTenSeconds()
{
    Gate gate;
    ProbeOf("a").SetOnWrite([&gate](const QByteArray& bytes) {
        if (bytes.contains("<b>hold here</b>"))
            gate.Pass();
    });
    EventWatch::Begin("a");
    ConfigureProbe("a");
    DbgCollector::Start();
    Log("hold here");
    QVERIFY(gate.AwaitEntry());
    QElapsedTimer timer;
    timer.start();
    DbgCollector::Stop();
    QVERIFY(timer.elapsed() >= 9999);
    QThread* collector = EventWatch::Await()->Collector();
    QVERIFY(collector->isRunning());
    gate.Open();
    QVERIFY(collector->wait(static_cast<unsigned long>(WaitBound())));
    QCOMPARE(LastText("a"), QByteArray(stopping));
}

void TestStartStop::stopWithoutStartWritesNothing()
{
    TempDir dir;
    const QString path = dir.Path("log");
    DbgCollector::CollectCfgMsg(QLatin1String("file:") + path, QLatin1String("*"), all_levels);
    ConfigureProbe("a");
    Zol::DebugModule module(QLatin1String("m"));
    Log("never written");
    DbgCollector::Stop();
    QVERIFY(ProbeOf("a").Calls().isEmpty());
    QVERIFY(ProbeOf("a").Bytes().isEmpty());
    QVERIFY(!QFile::exists(path));
}

void TestStartStop::stopWithoutStartEndsTheThread()
{
    const int threads = static_cast<int>(ThreadIds().size());
    DbgCollector::Stop();
    QVERIFY(Await([threads] { return static_cast<int>(ThreadIds().size()) == threads; }));
}

void TestStartStop::startAfterStopWithoutStartWritesNothing()
{
    const int threads = static_cast<int>(ThreadIds().size());
    ConfigureProbe("a");
    Log("never written");
    DbgCollector::Stop();
    DbgCollector::Start();
    Log("never written either");
    DbgCollector::Stop();
    QVERIFY(Await([threads] { return static_cast<int>(ThreadIds().size()) == threads; }));
    QVERIFY(ProbeOf("a").Calls().isEmpty());
    QVERIFY(ProbeOf("a").Bytes().isEmpty());
}

void TestStartStop::stopFromWithinAnOutputReturnsAtOnce()
{
    std::atomic<int> records_at_call(-1);
    std::atomic<int> records_at_return(-1);
    ProbeOf("a").SetOnWrite([&](const QByteArray& bytes) {
        if (!bytes.contains("stop here"))
            return;
        records_at_call = Count(ProbeOf("a").Records());
        DbgCollector::Stop();
        records_at_return = Count(ProbeOf("a").Records());
    });
    ConfigureProbe("a");
    Log("stop here");
    Log("queued before the stop");
    DbgCollector::Start();
    QVERIFY(ProbeOf("a").WaitFor(stopping));
    QVERIFY(records_at_call > 0);
    QCOMPARE(int(records_at_return), int(records_at_call));
    DbgCollector::Stop();
}

void TestStartStop::stopFromWithinAnOutputEndsTheThread()
{
    EventWatch::Begin("a");
    ProbeOf("a").SetOnWrite([](const QByteArray& bytes) {
        if (bytes.contains("stop here"))
            DbgCollector::Stop();
    });
    ConfigureProbe("a");
    QVERIFY(AwaitSleepingThreads());
    Log("stop here");
    for (int i = 0; i < 250; ++i)
        Log("queued before the stop");
    DbgCollector::Start();
    QVERIFY(EventWatch::Await());
    QVERIFY(EventWatch::Await()->Collector()->wait(static_cast<unsigned long>(WaitBound())));
    QCOMPARE(Count(ProbeOf("a").Messages("host")), 251);
    QCOMPARE(LastText("a"), QByteArray(stopping));
    QCOMPARE(TheRecord(stopping).thread, QByteArray("DebugCollector"));
}

void TestStartStop::recordsBetweenStopAndItsEventAreWritten()
{
    EventWatch::Begin("a");
    ProbeOf("a").SetOnWrite([](const QByteArray& bytes) {
        if (!bytes.contains("stop here"))
            return;
        DbgCollector::Stop();
        for (int i = 0; i < 250; ++i)
            Log("behind the stop");
        Log("last of all");
    });
    ConfigureProbe("a");
    DbgCollector::Start();
    Log("stop here");
    QVERIFY(EventWatch::Await());
    QVERIFY(EventWatch::Await()->Collector()->wait(static_cast<unsigned long>(WaitBound())));
    QCOMPARE(static_cast<int>(ProbeOf("a").Messages("host").count("behind the stop")), 250);
    QCOMPARE(LastText("a"), QByteArray("last of all"));
}

void TestStartStop::recordsAfterTheEndAreNeverWritten()
{
    TempDir dir;
    const QString path = dir.Path("log");
    DbgCollector::CollectCfgMsg(QLatin1String("file:") + path, QLatin1String("*"), all_levels);
    ConfigureProbe("a");
    QVERIFY(StartAndAwaitRecords("a"));
    QVERIFY(StopAndAwaitLastRecord());
    const QByteArray written = ProbeOf("a").Bytes();
    const QByteArray log = ReadFile(QFile::encodeName(path));
    for (int i = 0; i < 250; ++i)
        Log("too late");
    DbgCollector::Stop();
    QCOMPARE(ProbeOf("a").Bytes(), written);
    QVERIFY(log.contains("<b>Stopping !</b></dbg>\n"));
    QCOMPARE(ReadFile(QFile::encodeName(path)), log);
}

void TestStartStop::entryPointsDoNothingAfterTheEnd()
{
    ConfigureProbe("a");
    QVERIFY(StartAndAwaitRecords("a"));
    QVERIFY(StopAndAwaitLastRecord());
    const QByteArray written = ProbeOf("a").Bytes();
    {
        Zol::DebugModule module(QLatin1String("m"));
        ConfigureProbe("b");
        DbgCollector::RemoveDebugInterface(QLatin1String("probe:a"));
        DbgCollector::SendLoggingPause();
        DbgCollector::SendLoggingResume();
        DbgCollector::SendLogFileSpaceAvailable(false);
        DbgCollector::CollectMetric(QLatin1String("f"), 1);
        Log("too late");
        QVERIFY(!module.LvlDisabled(Zol::DBG_TRACE));
        QVERIFY(module.LvlDisabled(Zol::DBG_TIME_TRACE));
    }
    DbgCollector::Stop();
    QCOMPARE(ProbeOf("a").Bytes(), written);
    QCOMPARE(Count(ProbeOf("a").Calls()), 1);
    QVERIFY(ProbeOf("b").Calls().isEmpty());
}

void TestStartStop::configurationAfterStopOvertakesIt()
{
    EventWatch::Begin("a");
    ProbeOf("a").SetOnWrite([](const QByteArray& bytes) {
        if (!bytes.contains("stop here"))
            return;
        DbgCollector::Stop();
        ConfigureProbe("late");
        for (int i = 0; i < 100; ++i)
            Log("filler");
        Log("in a later batch");
    });
    ConfigureProbe("a");
    DbgCollector::Start();
    Log("stop here");
    QVERIFY(EventWatch::Await());
    QVERIFY(EventWatch::Await()->Collector()->wait(static_cast<unsigned long>(WaitBound())));
    QCOMPARE(Count(ProbeOf("late").Calls()), 1);
    QCOMPARE(LastText("late"), QByteArray("in a later batch"));
}

void TestStartStop::registrationAfterStopOvertakesIt()
{
    EventWatch::Begin("a");
    std::unique_ptr<Zol::DebugModule> module;
    ProbeOf("a").SetOnWrite([&module](const QByteArray& bytes) {
        if (!bytes.contains("stop here"))
            return;
        DbgCollector::Stop();
        module.reset(new Zol::DebugModule(QLatin1String("late")));
    });
    ConfigureProbe("a");
    DbgCollector::Start();
    Log("stop here");
    QVERIFY(EventWatch::Await());
    QVERIFY(EventWatch::Await()->Collector()->wait(static_cast<unsigned long>(WaitBound())));
    QVERIFY(module.get());
    QVERIFY(!module->LvlDisabled(Zol::DBG_TIME_TRACE));
}

void TestStartStop::onlyTheFirstMetricEventDumps()
{
    EventWatch::Begin("a");
    ConfigureProbe("a");
    QVERIFY(StartAndAwaitRecords("a"));
    EventWatch* watch = EventWatch::Await();
    QVERIFY(watch->Fence());
    for (int i = 0; i < 3; ++i) {
        QCoreApplication::postEvent(
            watch->Collector(), new QEvent(static_cast<QEvent::Type>(DbgCollector::EVT_DbgMetric)));
    }
    DbgCollector::CollectMetric(QLatin1String("file.cpp"), 7);
    QVERIFY(watch->Fence());
    QVERIFY(StopAndAwaitLastRecord());
    // One from the start, three posted here, and one that the metric still has to post.
    QCOMPARE(watch->CountOf(DbgCollector::EVT_DbgMetric), 5);
    QCOMPARE(CountOf("Dumping metric table"), 1);
    QVERIFY(!ProbeOf("a").Bytes().contains("file.cpp"));
}

void TestStartStop::startDumpsTheMetricsBehindTheFirstBatch()
{
    EventWatch::Begin("a");
    ConfigureProbe("a");
    QVERIFY(AwaitSleepingThreads());
    Log("early");
    DbgCollector::Start();
    QVERIFY(EventWatch::Await() && EventWatch::Await()->Fence());
    QVERIFY(StopAndAwaitLastRecord());
    QCOMPARE(TextsOf(ProbeOf("a").Records()),
             QByteArray("Created Debug Collector|Run - called|early|Starting|"
                        "Run - calling event loop.|Dumping metric table|Stopping !|"));
}

void TestStartStop::metricBeforeStartReplacesTheStartUpRequest()
{
    EventWatch::Begin("a");
    DbgCollector::CollectMetric(QLatin1String("file.cpp"), 7);
    DbgCollector::CollectMetric(QLatin1String("file.cpp"), 7);
    ConfigureProbe("a");
    QVERIFY(StartAndAwaitRecords("a"));
    QVERIFY(EventWatch::Await()->Fence());
    QVERIFY(StopAndAwaitLastRecord());
    QCOMPARE(EventWatch::Await()->CountOf(DbgCollector::EVT_DbgMetric), 1);
    const QList<QByteArray> lines = ProbeOf("a").Lines();
    QCOMPARE(lines.value(0), QByteArray("<DEBUG_SERVER_RESTART/>"));
    QVERIFY(IsDump(lines.value(1)));
    QCOMPARE(lines.value(2), QByteArray("<metric f=\"file.cpp\" l=\"7\" c=\"2\"/>"));
    QCOMPARE(ParseRecord(lines.value(3)).message, QByteArray(created));
    QCOMPARE(CountOf("Dumping metric table"), 1);
}

void TestStartStop::metricDumpHasTheCollectorsHeader()
{
    EventWatch::Begin("a");
    ConfigureProbe("a");
    DbgCollector::Start();
    QVERIFY(EventWatch::Await() && EventWatch::Await()->Fence());
    QVERIFY(StopAndAwaitLastRecord());
    const LogRecord dump = TheRecord("Dumping metric table");
    CheckProgressRecord(dump, "void Zol::DbgCollector::HandleMetric(bool)", "DBG_TRACE", "DBG");
    QCOMPARE(dump.line, QByteArray("749"));
    QCOMPARE(dump.file, TheRecord(created).file);
}

void TestStartStop::handledEventsAreAccepted()
{
    EventWatch::Begin("a");
    ConfigureProbe("a");
    QVERIFY(StartAndAwaitRecords("a"));
    EventWatch* watch = EventWatch::Await();
    const int plain_types[] = {
        DbgCollector::EVT_DebugMsg,       DbgCollector::EVT_DbgMetric,
        DbgCollector::EVT_DbgLogDiskFull, DbgCollector::EVT_DbgLogDiskHasSpace,
        DbgCollector::EVT_DbgLogPause,    DbgCollector::EVT_DbgLogResume};
    for (const int type : plain_types) {
        std::atomic<int> accepted(-1);
        QCoreApplication::postEvent(watch->Collector(), new TellTaleEvent(type, accepted));
        QVERIFY(watch->Fence());
        QCOMPARE(int(accepted), 1);
    }
    std::atomic<int> accepted(-1);
    QCoreApplication::postEvent(watch->Collector(),
                                new TellTaleEvent(DbgCollector::EVT_Stop, accepted));
    QVERIFY(watch->Collector()->wait(static_cast<unsigned long>(WaitBound())));
    QCOMPARE(int(accepted), 1);
}

void TestStartStop::unknownEventsAreIgnored()
{
    EventWatch::Begin("a");
    ConfigureProbe("a");
    QVERIFY(StartAndAwaitRecords("a"));
    EventWatch* watch = EventWatch::Await();
    std::atomic<int> accepted(-1);
    QCoreApplication::postEvent(watch->Collector(),
                                new TellTaleEvent(DbgCollector::EVT_Stop + 1, accepted));
    QVERIFY(watch->Fence());
    QCOMPARE(int(accepted), 0);
    Log("still running");
    QVERIFY(StopAndAwaitLastRecord());
    QVERIFY(TheRecord("still running").valid);
    QCOMPARE(LastText("a"), QByteArray(stopping));
}

QTEST_MAIN(TestStartStop)
#include "tst_start_stop.moc"
