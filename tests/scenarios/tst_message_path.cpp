#include "collector_tools.h"
#include "concrete_debug_interface_factory.h"
#include "temp_dir.h"

#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtCore/QVector>
#include <QtTest/QtTest>

#include <cstring>
#include <memory>
#include <vector>

using namespace ZolTest;
using Zol::DbgCollector;

namespace {

// The collector's own records in the queue when its event loop begins.
const int start_up_records = 4;

/** A device that is always full. */
class FullDevice : public QIODevice
{
public:
    FullDevice() { open(QIODevice::WriteOnly | QIODevice::Unbuffered); }

    bool isSequential() const override { return true; }

protected:
    qint64 readData(char*, qint64) override { return -1; }
    qint64 writeData(const char*, qint64) override { return -1; }
};

/** An output that never gets anything written. */
class FullOutput : public Zol::DbgServerInterface
{
public:
    FullOutput(const QString& server, const QString& option)
        : DbgServerInterface(server, option)
    {
        SetIODevice(new FullDevice, true);
    }
};

// Both names stand before that of the ordinary probes.
Zol::ConcreteDebugInterfaceFactory<FullOutput> full_factory(QLatin1String("full"));
Zol::ConcreteDebugInterfaceFactory<ProbeOutput> early_factory(QLatin1String("early"));

/** What the host logged, as the probe has it. */
QByteArray HostTexts(const char* probe)
{
    QByteArray texts;
    const QList<QByteArray> messages = ProbeOf(probe).Messages("host");
    for (const QByteArray& message : messages)
        texts += message + '|';
    return texts;
}

QList<QByteArray> QueuedRecords(const char* probe)
{
    return WithoutDumps(ProbeOf(probe).Records());
}

/** The present moment as a record gives it. */
QByteArray Now()
{
    return QDateTime::currentDateTime()
        .toString(QLatin1String("yyyy/MM/dd (MMM) (ddd) hh:mm:ss.zzz"))
        .toLatin1();
}

/** The time that the record with this text has in the output "probe:a". */
QByteArray TimeOf(const QByteArray& message)
{
    const QList<QByteArray> records = QueuedRecords("a");
    for (const QByteArray& text : records) {
        const LogRecord record = ParseRecord(text);
        if (record.message == message)
            return record.time;
    }
    return "no such record";
}

/** How many records from the queue one write holds. */
int RecordsIn(const QByteArray& bytes)
{
    return Count(WithoutDumps(RecordsOf(bytes)));
}

void LogNumbers(int count)
{
    for (int i = 0; i < count; ++i)
        Log(QByteArray::number(i));
}

/** Starts, watched, with so many records queued that they are @p count with the collector's own. */
EventWatch* StartWatchedWithBacklog(int count)
{
    EventWatch::Begin("a");
    ConfigureProbe("a");
    if (!AwaitSleepingThreads())
        return nullptr;
    LogNumbers(count - start_up_records);
    DbgCollector::Start();
    return EventWatch::Await();
}

/** How the collector takes a backlog: "0 100 " for batches that begin at these records. */
QByteArray BatchesOf(int backlog)
{
    EventWatch* watch = StartWatchedWithBacklog(backlog);
    if (!watch || !watch->Fence())
        return "no end";
    const QByteArray batches = watch->RecordsAt(DbgCollector::EVT_DebugMsg);
    if (Count(QueuedRecords("a")) != backlog)
        return "not all written";
    return StopAndAwaitLastRecord() ? batches : "no last record";
}

/** Starts with one output, which writes, and a watch. */
EventWatch* StartWatched()
{
    EventWatch::Begin("a");
    ConfigureProbe("a");
    DbgCollector::Start();
    EventWatch* watch = EventWatch::Await();
    return watch && watch->Fence() ? watch : nullptr;
}

bool AwaitEndOf(QThread* collector)
{
    return collector->wait(static_cast<unsigned long>(WaitBound()));
}

const int load_threads = 8;
const int load_messages = 25000;

/** A text whose length varies, so that a mix of two would be seen. */
QByteArray LoadText(int thread, int number)
{
    return "load " + QByteArray::number(thread) + ' ' + QByteArray::number(number) + ' ' +
           QByteArray(number % 61, static_cast<char>('a' + thread));
}

void LogLoad(int thread)
{
    const QString module = QString::fromLatin1("module%1").arg(thread);
    for (int number = 0; number < load_messages; ++number) {
        Zol::DBG_OBJ(module, "load.cpp", static_cast<unsigned int>(number), "void Load()",
                     Zol::DBG_WARN)
                .Dbg()
            << QString::fromLatin1(LoadText(thread, number).constData());
    }
}

/** The first thing that is wrong with what the load threads wrote; empty if all is there. */
QByteArray FaultOfLoad(const QList<QByteArray>& lines)
{
    QVector<int> next(load_threads);
    for (const QByteArray& line : lines) {
        if (line == "<DEBUG_SERVER_RESTART/>")
            continue;
        const LogRecord record = ParseRecord(line);
        if (!record.valid)
            return "torn: " + line;
        if (!record.message.startsWith("load "))
            continue;
        const int thread = record.message.mid(5, 1).toInt();
        const int number = next[thread]++;
        const QByteArray id = QByteArray::number(thread);
        if (record.message != LoadText(thread, number) ||
            record.line != QByteArray::number(number) || record.module != "module" + id ||
            record.thread != "worker" + id || record.level != "DBG_WARN" ||
            record.file != "load.cpp" || record.function != "void Load()")
            return "expected number " + QByteArray::number(number) + " at: " + line;
    }
    for (int thread = 0; thread < load_threads; ++thread) {
        if (next.at(thread) != load_messages)
            return "thread " + QByteArray::number(thread) + " has " +
                   QByteArray::number(next.at(thread));
    }
    return QByteArray();
}

} // namespace

class TestMessagePath : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Order and completeness
    void recordsOfAThreadKeepTheirOrder();
    void recordsOfTwoThreadsKeepTheOrderOfTheirEmission();
    void eightThreadsLoseAndTearNothing();
    void everyRecordIsWrittenOnce();

    // Batches
    void aHundredRecordsAreOneBatch();
    void aHundredAndOneRecordsAreTwoBatches();
    void aBacklogOf250IsWrittenInThreeBatches();
    void configurationTakesEffectBeforeTheNextBatch();
    void removalTakesEffectBeforeTheNextBatch();
    void registrationTakesEffectBeforeTheNextBatch();
    void manyRecordsForABusyCollectorAreOneEvent();
    void recordsDuringADrainNeedNoEvent();
    void firstRecordAfterADrainPostsAnEvent();

    // Outputs
    void outputsGetTheSameText();
    void outputsAreServedInKeyOrder();
    void failingOutputDoesNotKeepRecordsFromTheNext();
    void withoutOutputsRecordsAreDiscarded();
    void recordFromWithinAnOutputIsNotWrittenRecursively();
    void recordFromWithinAnOutputComesBehindWhatIsQueued();

    // Emission
    void recordBeforeStartHasTheTimeOfItsEmission();
    void recordForABusyCollectorHasTheTimeOfItsEmission();
    void fieldsArriveUnchanged();
    void fileAndFunctionAreCopied();
    void fileAndFunctionAreReadAsLatin1();
    void everySingleLevelIsTaken();
    void unregisteredModulesAreTaken();
    void pausedLoggingRefusesNothing();
    void emittingThreadsDoNotWaitForAnOutput();

    // Stop
    void stopDrainsSeveralBatches();
    void stopEndsWithinOneMoreBatch();
    void hostThatKeepsLoggingDoesNotHoldUpStop();
};

void TestMessagePath::recordsOfAThreadKeepTheirOrder()
{
    ConfigureProbe("a");
    DbgCollector::Start();
    QByteArray expected;
    for (int i = 0; i < 5000; ++i) {
        Log(QByteArray::number(i));
        expected += QByteArray::number(i) + '|';
    }
    QVERIFY(ProbeOf("a").WaitFor("<b>4999</b>"));
    QVERIFY(StopAndAwaitLastRecord());
    QCOMPARE(HostTexts("a"), expected);
}

void TestMessagePath::recordsOfTwoThreadsKeepTheOrderOfTheirEmission()
{
    ConfigureProbe("a");
    DbgCollector::Start();
    QByteArray expected;
    for (int i = 0; i < 50; ++i) {
        const QByteArray text = "other " + QByteArray::number(i);
        HostThread other("other", [&text] { Log(text); });
        Log("main " + QByteArray::number(i));
        other.start();
        QVERIFY(other.Join());
        expected += "main " + QByteArray::number(i) + '|' + text + '|';
    }
    QVERIFY(StopAndAwaitLastRecord());
    QCOMPARE(HostTexts("a"), expected);
}

void TestMessagePath::eightThreadsLoseAndTearNothing()
{
    TempDir dir;
    const QString path = dir.Path("log");
    ConfigureProbe("a");
    ConfigureProbe("b");
    DbgCollector::CollectCfgMsg(QLatin1String("file:") + path, QLatin1String("*"), all_levels);
    DbgCollector::Start();

    std::vector<std::unique_ptr<HostThread>> threads;
    for (int i = 0; i < load_threads; ++i) {
        const QByteArray name = "worker" + QByteArray::number(i);
        threads.emplace_back(new HostThread(name.constData(), [i] { LogLoad(i); }));
    }
    for (const auto& thread : threads)
        thread->start();
    for (const auto& thread : threads)
        QVERIFY(thread->Join());
    // The last output in key order has a record behind all others. Step by step, as the bound is
    // for one thing to come and these are many.
    for (int number = 4999; number < load_messages; number += 5000) {
        for (int i = 0; i < load_threads; ++i)
            QVERIFY(ProbeOf("b").WaitFor(LoadText(i, number)));
    }
    QVERIFY(StopAndAwaitLastRecord("b"));

    QCOMPARE(FaultOfLoad(ProbeOf("a").Lines()), QByteArray());
    QVERIFY(ProbeOf("a").Bytes() == ProbeOf("b").Bytes());
    QVERIFY(ProbeOf("a").Bytes() == ReadFile(QFile::encodeName(path)));
}

void TestMessagePath::everyRecordIsWrittenOnce()
{
    ConfigureProbe("a");
    DbgCollector::Start();
    Log("by DBG_OBJ");
    DbgCollector::CollectMsg(QDateTime::currentDateTime(), QLatin1String("host"), "f", 1, "fn",
                             Zol::DBG_INFO, QLatin1String("t"), QLatin1String("by CollectMsg"));
    Zol::DebugModule module(QLatin1String("host"));
    ZOL_ERROR(module) << "by macro";
    QVERIFY(StopAndAwaitLastRecord());
    QCOMPARE(HostTexts("a"), QByteArray("by DBG_OBJ|by CollectMsg|by macro|"));
}

void TestMessagePath::aHundredRecordsAreOneBatch()
{
    QCOMPARE(BatchesOf(100), QByteArray("0 "));
}

void TestMessagePath::aHundredAndOneRecordsAreTwoBatches()
{
    QCOMPARE(BatchesOf(101), QByteArray("0 100 "));
}

void TestMessagePath::aBacklogOf250IsWrittenInThreeBatches()
{
    QCOMPARE(BatchesOf(250), QByteArray("0 100 200 "));
}

void TestMessagePath::configurationTakesEffectBeforeTheNextBatch()
{
    int written = 0;
    ProbeOf("a").SetOnWrite([&written](const QByteArray& bytes) {
        for (int i = RecordsIn(bytes); i > 0; --i) {
            if (++written == 10)
                ConfigureProbe("b");
        }
    });
    EventWatch* watch = StartWatchedWithBacklog(250);
    QVERIFY(watch && watch->Fence());
    QVERIFY(StopAndAwaitLastRecord());
    const QList<QByteArray> all = QueuedRecords("a");
    QVERIFY(Count(all) >= 251);
    QCOMPARE(ProbeOf("b").Lines().value(0), QByteArray("<DEBUG_SERVER_RESTART/>"));
    QCOMPARE(TextsOf(QueuedRecords("b")), TextsOf(all.mid(100)));
    QVERIFY(QueuedRecords("b") == all.mid(100));
}

void TestMessagePath::removalTakesEffectBeforeTheNextBatch()
{
    int written = 0;
    ProbeOf("a").SetOnWrite([&written](const QByteArray& bytes) {
        for (int i = RecordsIn(bytes); i > 0; --i) {
            if (++written == 110)
                DbgCollector::RemoveDebugInterface(QLatin1String("probe:b"));
        }
    });
    ConfigureProbe("b");
    EventWatch* watch = StartWatchedWithBacklog(250);
    QVERIFY(watch && watch->Fence());
    QVERIFY(StopAndAwaitLastRecord());
    QVERIFY(QueuedRecords("b") == QueuedRecords("a").mid(0, 200));
    QCOMPARE(ProbeOf("b").Calls().value(1), QByteArray("delete"));
}

void TestMessagePath::registrationTakesEffectBeforeTheNextBatch()
{
    std::unique_ptr<Zol::DebugModule> module;
    QByteArray registered_first_at;
    int written = 0;
    ProbeOf("a").SetOnWrite([&](const QByteArray& bytes) {
        for (int i = RecordsIn(bytes); i > 0; --i) {
            if (++written == 10)
                module.reset(new Zol::DebugModule(QLatin1String("late")));
            // Among the special levels, which are off from birth, the output takes all.
            if (registered_first_at.isEmpty() && module &&
                !module->LvlDisabled(Zol::DBG_TIME_TRACE))
                registered_first_at = QByteArray::number(written);
        }
    });
    EventWatch* watch = StartWatchedWithBacklog(250);
    QVERIFY(watch && watch->Fence());
    QVERIFY(StopAndAwaitLastRecord());
    QCOMPARE(registered_first_at, QByteArray("101"));
}

void TestMessagePath::manyRecordsForABusyCollectorAreOneEvent()
{
    EventWatch* watch = StartWatched();
    QVERIFY(watch);
    const int before = watch->CountOf(DbgCollector::EVT_DebugMsg);
    Gate gate;
    ProbeOf("b").SetOnCall([&gate](const QByteArray&) { gate.Pass(); });
    ConfigureProbe("b");
    QVERIFY(gate.AwaitEntry());
    LogNumbers(50);
    gate.Open();
    QVERIFY(watch->Fence());
    QCOMPARE(watch->CountOf(DbgCollector::EVT_DebugMsg), before + 1);
    QCOMPARE(Count(ProbeOf("b").Messages("host")), 50);
    QVERIFY(StopAndAwaitLastRecord());
}

void TestMessagePath::recordsDuringADrainNeedNoEvent()
{
    Gate gate;
    ProbeOf("a").SetOnWrite([&gate](const QByteArray& bytes) {
        if (bytes.contains("<b>hold here</b>"))
            gate.Pass();
    });
    EventWatch* watch = StartWatched();
    QVERIFY(watch);
    Log("hold here");
    QVERIFY(gate.AwaitEntry());
    const int before = watch->CountOf(DbgCollector::EVT_DebugMsg);
    LogNumbers(50);
    gate.Open();
    QVERIFY(watch->Fence());
    QCOMPARE(watch->CountOf(DbgCollector::EVT_DebugMsg), before);
    QCOMPARE(Count(ProbeOf("a").Messages("host")), 51);
    QVERIFY(StopAndAwaitLastRecord());
}

void TestMessagePath::firstRecordAfterADrainPostsAnEvent()
{
    EventWatch* watch = StartWatched();
    QVERIFY(watch);
    const int before = watch->CountOf(DbgCollector::EVT_DebugMsg);
    for (int i = 1; i <= 10; ++i) {
        Log(QByteArray::number(i));
        QVERIFY(watch->Fence());
        QCOMPARE(watch->CountOf(DbgCollector::EVT_DebugMsg), before + i);
        QCOMPARE(Count(ProbeOf("a").Messages("host")), i);
    }
    QVERIFY(StopAndAwaitLastRecord());
}

void TestMessagePath::outputsGetTheSameText()
{
    TempDir dir;
    const QString path = dir.Path("log");
    DbgCollector::CollectCfgMsg(QLatin1String("file:") + path, QLatin1String("*"), all_levels);
    ConfigureProbe("b");
    EventWatch* watch = StartWatched();
    QVERIFY(watch);
    LogNumbers(300);
    Log("<markup> & 'quotes' with 100%1");
    QVERIFY(watch->Fence());
    QVERIFY(StopAndAwaitLastRecord("b"));
    QCOMPARE(Count(ProbeOf("a").Messages("host")), 301);
    QVERIFY(ProbeOf("b").Bytes() == ProbeOf("a").Bytes());
    QVERIFY(ReadFile(QFile::encodeName(path)) == ProbeOf("a").Bytes());
}

void TestMessagePath::outputsAreServedInKeyOrder()
{
    QByteArray order;
    const char* const addresses[] = {"probe:b", "probe:a", "early:z", "probe:B"};
    for (const char* address : addresses) {
        const QByteArray server = std::strchr(address, ':') + 1;
        ProbeOf(server.constData()).SetOnWrite([&order, server](const QByteArray& bytes) {
            if (bytes.contains("<b>in order</b>"))
                order += server + ' ';
        });
        DbgCollector::CollectCfgMsg(QLatin1String(address), QLatin1String("*"), all_levels);
    }
    DbgCollector::Start();
    Log("in order");
    Log("in order");
    QVERIFY(StopAndAwaitLastRecord());
    QCOMPARE(order, QByteArray("z B a b z B a b "));
}

void TestMessagePath::failingOutputDoesNotKeepRecordsFromTheNext()
{
    DbgCollector::CollectCfgMsg(QLatin1String("full:x"), QLatin1String("*"), all_levels);
    DbgCollector::CollectCfgMsg(QLatin1String("file:/nowhere/at/all"), QLatin1String("*"),
                                all_levels);
    ConfigureProbe("a");
    DbgCollector::Start();
    LogNumbers(300);
    QVERIFY(StopAndAwaitLastRecord());
    QCOMPARE(Count(ProbeOf("a").Messages("host")), 300);
}

void TestMessagePath::withoutOutputsRecordsAreDiscarded()
{
    EventWatch* watch = StartWatched();
    QVERIFY(watch);
    DbgCollector::RemoveDebugInterface(QLatin1String("probe:a"));
    QVERIFY(watch->Fence());
    const QByteArray written = ProbeOf("a").Bytes();
    LogNumbers(250);
    QVERIFY(watch->Fence());
    ConfigureProbe("b");
    Log("kept");
    QVERIFY(StopAndAwaitLastRecord("b"));
    QCOMPARE(TextsOf(QueuedRecords("b")), QByteArray("kept|Stopping !|"));
    QCOMPARE(ProbeOf("a").Bytes(), written);
}

void TestMessagePath::recordFromWithinAnOutputIsNotWrittenRecursively()
{
    QByteArray trail;
    ProbeOf("a").SetOnWrite([&trail](const QByteArray& bytes) {
        if (bytes.contains("<b>outer</b>")) {
            trail += "(outer ";
            Log("inner");
            trail += ")";
        } else if (bytes.contains("<b>inner</b>")) {
            trail += "(inner)";
        }
    });
    ProbeOf("b").SetOnWrite([&trail](const QByteArray& bytes) {
        if (bytes.contains("<b>outer</b>"))
            trail += "(outer in b)";
        else if (bytes.contains("<b>inner</b>"))
            trail += "(inner in b)";
    });
    ConfigureProbe("a");
    ConfigureProbe("b");
    Log("outer");
    DbgCollector::Start();
    QVERIFY(StopAndAwaitLastRecord());
    QCOMPARE(trail, QByteArray("(outer )(outer in b)(inner)(inner in b)"));
}

void TestMessagePath::recordFromWithinAnOutputComesBehindWhatIsQueued()
{
    ProbeOf("a").SetOnWrite([](const QByteArray& bytes) {
        if (bytes.contains("<b>outer</b>"))
            Log("inner");
    });
    ConfigureProbe("a");
    Log("outer");
    LogNumbers(150);
    DbgCollector::Start();
    QVERIFY(ProbeOf("a").WaitFor("<b>inner</b>"));
    QVERIFY(StopAndAwaitLastRecord());
    QVERIFY(HostTexts("a").startsWith("outer|0|1|"));
    QVERIFY(HostTexts("a").endsWith("|148|149|inner|"));
}

void TestMessagePath::recordBeforeStartHasTheTimeOfItsEmission()
{
    ConfigureProbe("a");
    const QByteArray before = Now();
    Log("stamped");
    const QByteArray after = Now();
    QVERIFY(Await([&after] { return Now() > after; }));
    DbgCollector::Start();
    QVERIFY(StopAndAwaitLastRecord());
    const QByteArray time = TimeOf("stamped");
    QVERIFY2(before <= time && time <= after, time.constData());
}

void TestMessagePath::recordForABusyCollectorHasTheTimeOfItsEmission()
{
    Gate gate;
    ProbeOf("a").SetOnWrite([&gate](const QByteArray& bytes) {
        if (bytes.contains("<b>hold here</b>"))
            gate.Pass();
    });
    ConfigureProbe("a");
    DbgCollector::Start();
    Log("hold here");
    QVERIFY(gate.AwaitEntry());
    const QByteArray before = Now();
    Log("stamped");
    const QByteArray after = Now();
    QVERIFY(Await([&after] { return Now() > after; }));
    gate.Open();
    QVERIFY(StopAndAwaitLastRecord());
    const QByteArray time = TimeOf("stamped");
    QVERIFY2(before <= time && time <= after, time.constData());
}

void TestMessagePath::fieldsArriveUnchanged()
{
    ConfigureProbe("a");
    const QDateTime moment(QDate(2012, 6, 29), QTime(14, 3, 7, 45));
    DbgCollector::CollectMsg(moment, QLatin1String("NET"), "net/link", 42, "void Link::Send(int)",
                             Zol::DBG_WARN, QLatin1String("Main"),
                             QLatin1String("queue <full> & 'late'"));
    DbgCollector::CollectMsg(moment, QString(), "", 4294967295U, "", Zol::DBG_DEVEL, QString(),
                             QString());
    DbgCollector::Start();
    QVERIFY(StopAndAwaitLastRecord());
    const QList<QByteArray> lines = ProbeOf("a").Lines();
    QVERIFY(lines.contains(
        "<dbg><h><d t=\"2012/06/29 (Jun) (Fri) 14:03:07.045\" m=\"NET\" f=\"net/link\" l=\"42\" "
        "fnc=\"void Link::Send(int)\" lvl=\"DBG_WARN\" thrd=\"Main\"/></h>"
        "<b>queue &lt;full&gt; &amp; &apos;late&apos;</b></dbg>"));
    QVERIFY(lines.contains("<dbg><h><d t=\"2012/06/29 (Jun) (Fri) 14:03:07.045\" m=\"\" f=\"\" "
                           "l=\"4294967295\" fnc=\"\" lvl=\"DBG_DEVEL\" thrd=\"\"/></h>"
                           "<b></b></dbg>"));
}

void TestMessagePath::fileAndFunctionAreCopied()
{
    char file[] = "source.cpp";
    char function[] = "void Function()";
    ConfigureProbe("a");
    DbgCollector::CollectMsg(QDateTime::currentDateTime(), QLatin1String("host"), file, 1, function,
                             Zol::DBG_INFO, QLatin1String("t"), QLatin1String("copied"));
    std::memset(file, '#', sizeof file - 1);
    std::memset(function, '#', sizeof function - 1);
    DbgCollector::Start();
    QVERIFY(StopAndAwaitLastRecord());
    QVERIFY(ProbeOf("a").Bytes().contains("f=\"source.cpp\" l=\"1\" fnc=\"void Function()\""));
}

void TestMessagePath::fileAndFunctionAreReadAsLatin1()
{
    ConfigureProbe("a");
    DbgCollector::CollectMsg(QDateTime::currentDateTime(), QLatin1String("host"), "caf\xe9.cpp", 1,
                             "void Gr\xfc\xdf"
                             "e()",
                             Zol::DBG_INFO, QLatin1String("t"), QLatin1String("text"));
    DbgCollector::Start();
    QVERIFY(StopAndAwaitLastRecord());
    QVERIFY(ProbeOf("a").Bytes().contains("f=\"caf\xc3\xa9.cpp\" l=\"1\" "
                                          "fnc=\"void Gr\xc3\xbc\xc3\x9f"
                                          "e()\""));
}

void TestMessagePath::everySingleLevelIsTaken()
{
    ConfigureProbe("a");
    const int bits[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 27};
    QByteArray expected;
    for (const int bit : bits) {
        const Zol::DebugLevel level = static_cast<Zol::DebugLevel>(1 << bit);
        DbgCollector::CollectMsg(QDateTime::currentDateTime(), QLatin1String("host"), "f", 1, "fn",
                                 level, QLatin1String("t"), Zol::DbgUtils::DbgLvlToQS(level));
        expected += Zol::DbgUtils::DbgLvlToQS(level).toLatin1() + '|';
    }
    DbgCollector::Start();
    QVERIFY(StopAndAwaitLastRecord());
    QCOMPARE(HostTexts("a"), expected);
}

void TestMessagePath::unregisteredModulesAreTaken()
{
    ConfigureProbe("a");
    DbgCollector::CollectMsg(QDateTime::currentDateTime(), QLatin1String("never registered"), "f",
                             1, "fn", Zol::DBG_INFO, QLatin1String("t"), QLatin1String("text"));
    DbgCollector::Start();
    QVERIFY(StopAndAwaitLastRecord());
    QCOMPARE(Count(ProbeOf("a").Messages("never registered")), 1);
}

void TestMessagePath::pausedLoggingRefusesNothing()
{
    // An output that does not mind the pause goes on.
    ConfigureProbe("a");
    DbgCollector::Start();
    DbgCollector::SendLoggingPause();
    DbgCollector::SendLogFileSpaceAvailable(false);
    QVERIFY(ProbeOf("a").WaitForCall("suspend"));
    Log("while paused");
    QVERIFY(StopAndAwaitLastRecord());
    QCOMPARE(HostTexts("a"), QByteArray("while paused|"));
}

void TestMessagePath::emittingThreadsDoNotWaitForAnOutput()
{
    Gate gate;
    std::atomic<int> opened(-1);
    ProbeOf("a").SetOnWrite([&](const QByteArray& bytes) {
        if (bytes.contains("<b>hold here</b>"))
            opened = gate.Pass() ? 1 : 0;
    });
    ConfigureProbe("a");
    DbgCollector::Start();
    Log("hold here");
    QVERIFY(gate.AwaitEntry());
    LogNumbers(1000);
    HostThread other("other", [] { LogNumbers(1000); });
    other.start();
    QVERIFY(other.Join());
    {
        Zol::DebugModule module(QLatin1String("m"));
        ConfigureProbe("b");
        DbgCollector::CollectMetric(QLatin1String("f"), 1);
        DbgCollector::Start();
    }
    QCOMPARE(int(opened), -1);
    gate.Open();
    QVERIFY(StopAndAwaitLastRecord());
    QCOMPARE(int(opened), 1);
    QCOMPARE(Count(ProbeOf("a").Messages("host")), 2001);
}

void TestMessagePath::stopDrainsSeveralBatches()
{
    Gate gate;
    ProbeOf("a").SetOnWrite([&gate](const QByteArray& bytes) {
        if (bytes.contains("<b>hold here</b>"))
            gate.Pass();
    });
    EventWatch* watch = StartWatched();
    QVERIFY(watch);
    Log("hold here");
    QVERIFY(gate.AwaitEntry());
    LogNumbers(450);
    HostThread stopper("stopper", [] { DbgCollector::Stop(); });
    stopper.start();
    gate.Open();
    QVERIFY(stopper.Join());
    QVERIFY(AwaitEndOf(watch->Collector()));
    QVERIFY(HostTexts("a").startsWith("hold here|0|1|"));
    QVERIFY(HostTexts("a").endsWith("|448|449|"));
    QCOMPARE(Count(ProbeOf("a").Messages("host")), 451);
}

void TestMessagePath::stopEndsWithinOneMoreBatch()
{
    // Each write queues another record, so the queue never gets shorter.
    std::atomic<int> collected(start_up_records);
    int written = 0;
    int queued_at_stop = -1;
    int written_at_stop = -1;
    EventWatch::Begin("a", [&](int type) {
        if (type != DbgCollector::EVT_Stop)
            return;
        queued_at_stop = collected - written;
        written_at_stop = written;
    });
    ProbeOf("a").SetOnWrite([&](const QByteArray& bytes) {
        for (int i = RecordsIn(bytes); i > 0; --i) {
            if (++written == 500) {
                ++collected;
                DbgCollector::Stop();
            }
            ++collected;
            Log("echo");
        }
    });
    ConfigureProbe("a");
    QVERIFY(AwaitSleepingThreads());
    collected += 346;
    LogNumbers(346);
    DbgCollector::Start();
    EventWatch* watch = EventWatch::Await();
    QVERIFY(watch);
    QVERIFY(AwaitEndOf(watch->Collector()));
    QVERIFY(queued_at_stop >= 351);
    QVERIFY(written >= written_at_stop + queued_at_stop);
    const int batches_queued = (queued_at_stop + 99) / 100;
    QVERIFY(written <= written_at_stop + (batches_queued + 1) * 100);
    QCOMPARE(Count(QueuedRecords("a")), written);
}

void TestMessagePath::hostThatKeepsLoggingDoesNotHoldUpStop()
{
    // Four threads keep some 400 records queued for as long as the collector writes.
    QSemaphore credits(400);
    std::atomic<bool> ended(false);
    ProbeOf("a").SetOnWrite(
        [&credits](const QByteArray& bytes) { credits.release(RecordsIn(bytes)); });
    EventWatch* watch = StartWatched();
    QVERIFY(watch);
    std::vector<std::unique_ptr<HostThread>> loggers;
    for (int i = 0; i < 4; ++i) {
        loggers.emplace_back(new HostThread("logger", [&credits, &ended, i] {
            for (int number = 0; !ended;) {
                if (!credits.tryAcquire(1, 20))
                    continue;
                Log(QByteArray::number(i) + ' ' + QByteArray::number(number++));
            }
        }));
    }
    for (const auto& logger : loggers)
        logger->start();
    const bool busy = ProbeOf("a").WaitFor("<b>0 500</b>");
    DbgCollector::Stop();
    const bool finished = AwaitEndOf(watch->Collector());
    ended = true;
    for (const auto& logger : loggers)
        QVERIFY(logger->Join());
    QVERIFY(busy);
    QVERIFY(finished);

    int next[4] = {0, 0, 0, 0};
    const QList<QByteArray> messages = ProbeOf("a").Messages("host");
    for (const QByteArray& message : messages) {
        const int logger = message.left(1).toInt();
        QCOMPARE(message.mid(2), QByteArray::number(next[logger]++));
    }
    QCOMPARE(static_cast<int>(ProbeOf("a").Messages("DBG").count("Stopping !")), 1);
}

QTEST_MAIN(TestMessagePath)
#include "tst_message_path.moc"
