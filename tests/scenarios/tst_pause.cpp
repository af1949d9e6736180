#include "collector_tools.h"
#include "debug.h"
#include "log_record.h"
#include "module_masks.h"
#include "probe.h"
#include "temp_dir.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QMutex>
#include <QtCore/QMutexLocker>
#include <QtTest/QtTest>

#include <memory>
#include <vector>

using namespace Zol;
using ZolTest::EventWatch;
using ZolTest::MaskOf;
using ZolTest::Probe;
using ZolTest::ProbeOf;
using ZolTest::Settle;

namespace {

const DebugLevel no_level = static_cast<DebugLevel>(0);
const int everything = 0x7fffffff;

// The four notices by letter: pause, resume, disk full, space for logs.
const char* const notices = "PRFS";

void Give(char notice)
{
    switch (notice) {
    case 'P':
        DbgUtils::SignalLoggingPause();
        break;
    case 'R':
        DbgUtils::SignalLoggingResume();
        break;
    case 'F':
        DbgUtils::SignalLogFreeStatus(false);
        break;
    default:
        DbgUtils::SignalLogFreeStatus(true);
        break;
    }
}

void GiveAll(const QByteArray& sequence)
{
    for (char notice : sequence)
        Give(notice);
}

/** What the collector handled and what it called, in order, by letters and names. */
class Trace
{
public:
    /** The one trace, which the collector may add to for as long as the process lives. */
    static Trace& Get()
    {
        static Trace& trace = *new Trace;
        return trace;
    }

    void Add(const QByteArray& text)
    {
        QMutexLocker lock(&m_mutex);
        m_text += text;
    }

    QByteArray Text()
    {
        QMutexLocker lock(&m_mutex);
        return m_text;
    }

    /** Notes the suspensions and resumptions of the outputs "probe:NAME". */
    void Follow(const char* name)
    {
        const QByteArray prefix = '(' + QByteArray(name) + ' ';
        ProbeOf(name).SetOnCall([this, prefix](const QByteArray& call) {
            if (call == "suspend" || call == "resume")
                Add(prefix + call + ')');
        });
    }

    void AddEvent(int type)
    {
        switch (type) {
        case DbgCollector::EVT_DbgLogPause:
            Add("P");
            break;
        case DbgCollector::EVT_DbgLogResume:
            Add("R");
            break;
        case DbgCollector::EVT_DbgLogDiskFull:
            Add("F");
            break;
        case DbgCollector::EVT_DbgLogDiskHasSpace:
            Add("S");
            break;
        case DbgCollector::EVT_RegisterModule:
            Add("m");
            break;
        case DbgCollector::EVT_DebugMsg:
            Add("d");
            break;
        case DbgCollector::EVT_DbgMetric:
            Add("|");
            break;
        default:
            break;
        }
    }

private:
    QMutex m_mutex;
    QByteArray m_text;
};

/** What a collector with the outputs "probe:a" and "probe:b" should do. */
class Model
{
public:
    /** The trace that a sequence of notices leaves. */
    QByteArray Take(const QByteArray& sequence)
    {
        QByteArray trace;
        for (char notice : sequence) {
            const bool was_suspended = m_paused || m_full;
            if (notice == 'P' || notice == 'R')
                m_paused = notice == 'P';
            else
                m_full = notice == 'F';
            trace += notice;
            const bool is_suspended = m_paused || m_full;
            if (is_suspended != was_suspended)
                trace += is_suspended ? "(a suspend)(b suspend)" : "(a resume)(b resume)";
        }
        return trace;
    }

private:
    bool m_paused = false;
    bool m_full = false;
};

/** Every sequence of one to @p longest notices. */
QList<QByteArray> Sequences(int longest)
{
    QList<QByteArray> all;
    QList<QByteArray> last;
    last.append(QByteArray());
    for (int length = 1; length <= longest; ++length) {
        QList<QByteArray> longer;
        for (const QByteArray& sequence : last) {
            for (const char* notice = notices; *notice; ++notice)
                longer.append(sequence + *notice);
        }
        all += longer;
        last = longer;
    }
    return all;
}

void Configure(const QString& address, const char* module, int mask)
{
    DbgCollector::CollectCfgMsg(address, QLatin1String(module), static_cast<DebugLevel>(mask));
}

void Configure(const char* address, const char* module = "*", int mask = everything)
{
    Configure(QLatin1String(address), module, mask);
}

/** Has the collector watched by the output "probe:watch", which takes nothing. */
void Watch(const std::function<void(int)>& on_event = std::function<void(int)>())
{
    EventWatch::Begin("watch", on_event);
    Configure("probe:watch", "*", 0);
}

/** Starts the collector; null if it does not handle everything that was posted. */
EventWatch* Start()
{
    DbgCollector::Start();
    EventWatch* const watch = EventWatch::Await();
    // What the first events post is behind the first fence.
    return watch && watch->Fence() && watch->Fence() ? watch : nullptr;
}

/** Gives some notices and waits until they are handled. */
bool Handle(EventWatch& watch, const QByteArray& sequence)
{
    GiveAll(sequence);
    return watch.Fence();
}

QByteArray CallsOf(const char* name)
{
    QByteArray calls;
    for (const QByteArray& call : ProbeOf(name).Calls())
        calls += call + ' ';
    return calls;
}

/** The collector held inside the creation of the output "probe:hold". */
class Hold
{
public:
    Hold()
        : m_gate(std::make_shared<ZolTest::Gate>())
    {
        const std::shared_ptr<ZolTest::Gate> gate = m_gate;
        ProbeOf("hold").SetOnCall([gate](const QByteArray& call) {
            if (call.startsWith("create:"))
                gate->Pass();
        });
        Configure("probe:hold", "*", 0);
    }

    ~Hold() { Release(); }

    bool Await() { return m_gate->AwaitEntry(); }

    void Release() { m_gate->Open(); }

private:
    Q_DISABLE_COPY(Hold)

    const std::shared_ptr<ZolTest::Gate> m_gate;
};

/** A log file and its output, which takes what the modules of the host have to say. */
class LogFile
{
public:
    explicit LogFile(const char* name, const char* option = "")
        : m_path(m_dir.Path(name))
        , m_option(option)
    {
    }

    QString Path() const { return m_path; }

    QString Address() const
    {
        return QLatin1String("file:") + m_path + QLatin1Char(':') + QLatin1String(m_option);
    }

    void Configure() const
    {
        ::Configure(Address(), "*", everything);
        ::Configure(Address(), "DBG", 0);
    }

    QByteArray Bytes() const { return ZolTest::ReadFile(QFile::encodeName(m_path)); }

    /** The log's lines in short: "#" for a restart marker, a record's text and "|". */
    QByteArray Text() const
    {
        QByteArray text;
        for (const QByteArray& line : Bytes().split('\n')) {
            if (line == "<DEBUG_SERVER_RESTART/>")
                text += '#';
            else if (!line.isEmpty() && !ZolTest::IsDump(line))
                text += ZolTest::ParseRecord(line).message + '|';
        }
        return text;
    }

    bool Fill(const QByteArray& bytes) const
    {
        QFile file(m_path);
        return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
    }

private:
    ZolTest::TempDir m_dir;
    QString m_path;
    const char* m_option;
};

/** Logs at a level of the module "host", as the macros do. */
void Say(const DebugModule& module, const char* text)
{
    ZOL_INFO(module) << text;
}

} // namespace

class TestPause : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();

    void everySequenceOfNoticesFollowsTheModel();
    void everyOutputIsCalledInKeyOrder();
    void resumeLeavesAFullDiskSuspended();
    void spaceLeavesAPauseSuspended();
    void pausesDoNotNest();
    void fullDisksDoNotNest();
    void noticesWithoutCauseDoNothing();

    void hooksPostTheirEvents();
    void entryPointsOfTheCollectorPostTheSameEvents();
    void noticesOvertakeRegistrationsAndMessages();
    void noticesKeepTheirOrderWithConfiguration();
    void noticesOfManyThreadsLeaveAConsistentState();
    void noticesAfterStopAreHarmless();

    void noticesBeforeAnyOutputChangeTheStateOnly();
    void fullDiskBeforeAnyOutputChangesTheStateOnly();
    void noticesBeforeStartAreApplied();
    void outputCreatedWhileSuspendedIsNotSuspended();
    void nextTransitionBringsALateOutputIntoLine();

    void masksAreNotRecomputedWithoutAChange();
    void masksAreRecomputedIfAnOutputReportsAChange();
    void masksAreRecomputedForEveryModule();
    void suspendedOutputsSilenceModules();
    void outputsThatGoOnKeepModulesAwake();
    void configurationWhileSuspendedTakesEffectAfterwards();

    void fileEndsAtThePause();
    void messageWhileSuspendedIsNotEvenBuilt();
    void messagePastTheMasksIsDroppedByTheSuspendedFile();
    void queuedMessagesAreOvertakenByThePause();
    void everyResumptionMarksTheFile();
    void truncatedFileIsAppendedAfterAPause();
    void fileOfManyPausesIsWhole();
    void removedFileIsCreatedAgain();
    void fileThatCouldNotBeOpenedIsTriedAgain();
    void lateFileIsNotMarkedAgain();
    void outputReplacedWhileSuspendedWrites();
    void stopWhileSuspendedWritesNothing();
};

void TestPause::cleanup()
{
    DbgCollector::Stop();
}

void TestPause::everySequenceOfNoticesFollowsTheModel()
{
    Trace& trace = Trace::Get();
    trace.Follow("a");
    trace.Follow("b");
    Watch([](int type) { Trace::Get().AddEvent(type); });
    Configure("probe:b", "*", 0);
    Configure("probe:a", "*", 0);
    EventWatch* const watch = Start();
    QVERIFY(watch);
    const int already_traced = static_cast<int>(trace.Text().size());

    // A metric event, which does nothing by now, separates the sequences. Each begins with nothing
    // paused and nothing full.
    const QList<QByteArray> sequences = Sequences(6);
    QCOMPARE(static_cast<int>(sequences.size()), 4 + 16 + 64 + 256 + 1024 + 4096);
    Model model;
    QList<QByteArray> expected;
    for (const QByteArray& sequence : sequences) {
        GiveAll(sequence + "RS");
        QCoreApplication::postEvent(
            watch->Collector(), new QEvent(static_cast<QEvent::Type>(DbgCollector::EVT_DbgMetric)),
            Qt::HighEventPriority);
        expected.append(model.Take(sequence + "RS"));
    }
    QVERIFY(watch->Fence());

    QList<QByteArray> actual = trace.Text().mid(already_traced).split('|');
    QCOMPARE(actual.takeLast(), QByteArray());
    QCOMPARE(actual.size(), expected.size());
    for (int i = 0; i < static_cast<int>(expected.size()); ++i)
        QCOMPARE(actual.at(i), expected.at(i));
}

void TestPause::everyOutputIsCalledInKeyOrder()
{
    Trace& trace = Trace::Get();
    trace.Follow("c");
    trace.Follow("a");
    trace.Follow("b");
    Watch();
    Configure("probe:b");
    Configure("probe:c");
    Configure("probe:a");
    EventWatch* const watch = Start();
    QVERIFY(watch);
    QVERIFY(Handle(*watch, "PR"));

    QCOMPARE(trace.Text(),
             QByteArray("(a suspend)(b suspend)(c suspend)(a resume)(b resume)(c resume)"));
}

void TestPause::resumeLeavesAFullDiskSuspended()
{
    Watch();
    Configure("probe:a");
    EventWatch* const watch = Start();
    QVERIFY(watch);
    QVERIFY(Handle(*watch, "PFR"));
    QCOMPARE(CallsOf("a"), QByteArray("create: suspend "));
    QVERIFY(Handle(*watch, "S"));
    QCOMPARE(CallsOf("a"), QByteArray("create: suspend resume "));
}

void TestPause::spaceLeavesAPauseSuspended()
{
    Watch();
    Configure("probe:a");
    EventWatch* const watch = Start();
    QVERIFY(watch);
    QVERIFY(Handle(*watch, "FPS"));
    QCOMPARE(CallsOf("a"), QByteArray("create: suspend "));
    QVERIFY(Handle(*watch, "R"));
    QCOMPARE(CallsOf("a"), QByteArray("create: suspend resume "));
}

void TestPause::pausesDoNotNest()
{
    Watch();
    Configure("probe:a");
    EventWatch* const watch = Start();
    QVERIFY(watch);
    QVERIFY(Handle(*watch, "PPR"));

    QCOMPARE(CallsOf("a"), QByteArray("create: suspend resume "));
}

void TestPause::fullDisksDoNotNest()
{
    Watch();
    Configure("probe:a");
    EventWatch* const watch = Start();
    QVERIFY(watch);
    QVERIFY(Handle(*watch, "FFS"));

    QCOMPARE(CallsOf("a"), QByteArray("create: suspend resume "));
}

void TestPause::noticesWithoutCauseDoNothing()
{
    Watch();
    Configure("probe:a");
    EventWatch* const watch = Start();
    QVERIFY(watch);
    QVERIFY(Handle(*watch, "SRSR"));

    QCOMPARE(CallsOf("a"), QByteArray("create: "));
}

void TestPause::hooksPostTheirEvents()
{
    Watch();
    EventWatch* const watch = Start();
    QVERIFY(watch);
    QVERIFY(Handle(*watch, "PRRFFFSSSS"));

    QCOMPARE(watch->CountOf(DbgCollector::EVT_DbgLogPause), 1);
    QCOMPARE(watch->CountOf(DbgCollector::EVT_DbgLogResume), 2);
    QCOMPARE(watch->CountOf(DbgCollector::EVT_DbgLogDiskFull), 3);
    QCOMPARE(watch->CountOf(DbgCollector::EVT_DbgLogDiskHasSpace), 4);
}

void TestPause::entryPointsOfTheCollectorPostTheSameEvents()
{
    Watch();
    Configure("probe:a");
    EventWatch* const watch = Start();
    QVERIFY(watch);
    DbgCollector::SendLoggingPause();
    DbgCollector::SendLogFileSpaceAvailable(false);
    DbgCollector::SendLogFileSpaceAvailable(true);
    DbgCollector::SendLoggingResume();
    QVERIFY(watch->Fence());

    QCOMPARE(watch->CountOf(DbgCollector::EVT_DbgLogPause), 1);
    QCOMPARE(watch->CountOf(DbgCollector::EVT_DbgLogResume), 1);
    QCOMPARE(watch->CountOf(DbgCollector::EVT_DbgLogDiskFull), 1);
    QCOMPARE(watch->CountOf(DbgCollector::EVT_DbgLogDiskHasSpace), 1);
    QCOMPARE(CallsOf("a"), QByteArray("create: suspend resume "));
}

void TestPause::noticesOvertakeRegistrationsAndMessages()
{
    Trace& trace = Trace::Get();
    Watch([](int type) { Trace::Get().AddEvent(type); });
    EventWatch* const watch = Start();
    QVERIFY(watch);
    Hold hold;
    QVERIFY(hold.Await());
    const int already_traced = static_cast<int>(trace.Text().size());
    ZolTest::Log("message");
    const DebugModule module(QLatin1String("net"));
    GiveAll("PFSR");
    hold.Release();
    QVERIFY(watch->Fence());

    QCOMPARE(trace.Text().mid(already_traced), QByteArray("PFSRmd"));
}

void TestPause::noticesKeepTheirOrderWithConfiguration()
{
    Watch();
    EventWatch* const watch = Start();
    QVERIFY(watch);
    Hold hold;
    QVERIFY(hold.Await());
    Configure("probe:early");
    Give('P');
    Configure("probe:late");
    hold.Release();
    QVERIFY(watch->Fence());

    QCOMPARE(CallsOf("early"), QByteArray("create: suspend "));
    QCOMPARE(CallsOf("late"), QByteArray("create: "));
}

void TestPause::noticesOfManyThreadsLeaveAConsistentState()
{
    Trace& trace = Trace::Get();
    trace.Follow("a");
    Watch();
    Configure("probe:a", "*", 0);
    EventWatch* const watch = Start();
    QVERIFY(watch);
    std::vector<std::unique_ptr<ZolTest::HostThread>> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back(new ZolTest::HostThread("host", [i] {
            for (int n = 0; n < 100; ++n)
                Give(notices[(n * (i + 1) + i) % 4]);
        }));
        threads.back()->start();
    }
    for (const std::unique_ptr<ZolTest::HostThread>& thread : threads)
        QVERIFY(thread->Join());
    QVERIFY(Handle(*watch, "RS"));

    const QByteArray turn = "(a suspend)(a resume)";
    const QByteArray text = trace.Text();
    QCOMPARE(text, turn.repeated(static_cast<int>(text.size() / turn.size())));
}

void TestPause::noticesAfterStopAreHarmless()
{
    Watch();
    Configure("probe:a");
    QVERIFY(Start());
    DbgCollector::Stop();
    GiveAll("PFRS");

    QCOMPARE(CallsOf("a"), QByteArray("create: "));
}

void TestPause::noticesBeforeAnyOutputChangeTheStateOnly()
{
    Give('P');
    Watch();
    Configure("probe:a");
    EventWatch* const watch = Start();
    QVERIFY(watch);
    QCOMPARE(CallsOf("a"), QByteArray("create: "));
    QVERIFY(Handle(*watch, "P"));
    QCOMPARE(CallsOf("a"), QByteArray("create: "));
    QVERIFY(Handle(*watch, "R"));

    QCOMPARE(CallsOf("a"), QByteArray("create: resume "));
}

void TestPause::fullDiskBeforeAnyOutputChangesTheStateOnly()
{
    Give('F');
    Watch();
    Configure("probe:a");
    EventWatch* const watch = Start();
    QVERIFY(watch);
    QVERIFY(Handle(*watch, "FP"));
    QCOMPARE(CallsOf("a"), QByteArray("create: "));
    QVERIFY(Handle(*watch, "RS"));

    QCOMPARE(CallsOf("a"), QByteArray("create: resume "));
}

void TestPause::noticesBeforeStartAreApplied()
{
    const LogFile log("a.log");
    const DebugModule module(QLatin1String("net"));
    log.Configure();
    Give('P');
    Say(module, "queued");
    Watch();
    EventWatch* const watch = Start();
    QVERIFY(watch);
    QCOMPARE(log.Text(), QByteArray("#"));
    QCOMPARE(MaskOf(module), 0);
    QVERIFY(Handle(*watch, "R"));

    QCOMPARE(log.Text(), QByteArray("##"));
    QCOMPARE(MaskOf(module), everything);
}

void TestPause::outputCreatedWhileSuspendedIsNotSuspended()
{
    const DebugModule module(QLatin1String("net"));
    const LogFile log("a.log");
    Watch();
    Configure("probe:a");
    EventWatch* const watch = Start();
    QVERIFY(watch);
    Give('P');
    Configure("probe:b", "*", 0);
    log.Configure();
    QVERIFY(Settle());
    Say(module, "paused");
    DbgCollector::Stop();

    QCOMPARE(CallsOf("a"), QByteArray("create: suspend "));
    QCOMPARE(CallsOf("b"), QByteArray("create: "));
    QCOMPARE(log.Text(), QByteArray("#paused|"));
}

void TestPause::nextTransitionBringsALateOutputIntoLine()
{
    Watch();
    Give('P');
    Configure("probe:a");
    EventWatch* const watch = Start();
    QVERIFY(watch);
    QVERIFY(Handle(*watch, "RP"));

    QCOMPARE(CallsOf("a"), QByteArray("create: resume suspend "));
}

void TestPause::masksAreNotRecomputedWithoutAChange()
{
    DebugModule module(QLatin1String("net"));
    ProbeOf("a").SetSwitchesMasks(true);
    Watch();
    Configure("probe:a", "*", DBG_INFO);
    EventWatch* const watch = Start();
    QVERIFY(watch);
    QCOMPARE(MaskOf(module), static_cast<int>(DBG_INFO));
    module.SetMask(DBG_DEVEL);
    QVERIFY(Handle(*watch, "P"));
    QCOMPARE(MaskOf(module), static_cast<int>(DBG_DEVEL));
    QVERIFY(Handle(*watch, "R"));
    QCOMPARE(MaskOf(module), static_cast<int>(DBG_DEVEL));

    QCOMPARE(CallsOf("a"), QByteArray("create: suspend resume "));
}

void TestPause::masksAreRecomputedIfAnOutputReportsAChange()
{
    DebugModule module(QLatin1String("net"));
    ProbeOf("b").SetMasksChange(true);
    Watch();
    Configure("probe:a", "*", DBG_INFO);
    Configure("probe:b", "*", DBG_WARN);
    Configure("probe:c", "*", DBG_ERROR);
    EventWatch* const watch = Start();
    QVERIFY(watch);
    const int all = DBG_INFO | DBG_WARN | DBG_ERROR;
    QCOMPARE(MaskOf(module), all);
    module.SetMask(DBG_DEVEL);
    QVERIFY(Handle(*watch, "F"));
    QCOMPARE(MaskOf(module), all);
    module.SetMask(DBG_DEVEL);
    QVERIFY(Handle(*watch, "PR"));
    QCOMPARE(MaskOf(module), static_cast<int>(DBG_DEVEL));
    QVERIFY(Handle(*watch, "S"));
    QCOMPARE(MaskOf(module), all);
}

void TestPause::masksAreRecomputedForEveryModule()
{
    DebugModule net(QLatin1String("net"));
    DebugModule other_net(QLatin1String("net"));
    DebugModule disk(QLatin1String("disk"));
    ProbeOf("a").SetMasksChange(true);
    ProbeOf("a").SetSwitchesMasks(true);
    Watch();
    Configure("probe:a", "*", DBG_INFO);
    Configure("probe:a", "net", DBG_WARN);
    EventWatch* const watch = Start();
    QVERIFY(watch);
    QVERIFY(Handle(*watch, "P"));
    QCOMPARE(MaskOf(net), 0);
    QCOMPARE(MaskOf(other_net), 0);
    QCOMPARE(MaskOf(disk), 0);
    QVERIFY(Handle(*watch, "R"));
    QCOMPARE(MaskOf(net), static_cast<int>(DBG_WARN));
    QCOMPARE(MaskOf(other_net), static_cast<int>(DBG_WARN));
    QCOMPARE(MaskOf(disk), static_cast<int>(DBG_INFO));
}

void TestPause::suspendedOutputsSilenceModules()
{
    const DebugModule module(QLatin1String("net"));
    const LogFile first("a.log");
    const LogFile second("b.log");
    Watch();
    first.Configure();
    second.Configure();
    EventWatch* const watch = Start();
    QVERIFY(watch);
    QCOMPARE(MaskOf(module), everything);
    QVERIFY(Handle(*watch, "F"));
    QCOMPARE(MaskOf(module), 0);
    const DebugModule late(QLatin1String("late"));
    QCOMPARE(ZolTest::SettledMask(late), 0);
    QVERIFY(Handle(*watch, "S"));
    QCOMPARE(MaskOf(module), everything);
    QCOMPARE(MaskOf(late), everything);
}

void TestPause::outputsThatGoOnKeepModulesAwake()
{
    const DebugModule module(QLatin1String("net"));
    const LogFile log("a.log");
    Watch();
    Configure("probe:a", "*", DBG_ERROR);
    log.Configure();
    EventWatch* const watch = Start();
    QVERIFY(watch);
    QVERIFY(Handle(*watch, "P"));

    QCOMPARE(MaskOf(module), static_cast<int>(DBG_ERROR));
}

void TestPause::configurationWhileSuspendedTakesEffectAfterwards()
{
    const DebugModule module(QLatin1String("net"));
    const LogFile log("a.log");
    Watch();
    log.Configure();
    EventWatch* const watch = Start();
    QVERIFY(watch);
    QVERIFY(Handle(*watch, "P"));
    Configure(log.Address(), "net", DBG_ERROR);
    QCOMPARE(ZolTest::SettledMask(module), 0);
    QVERIFY(Handle(*watch, "R"));

    QCOMPARE(MaskOf(module), static_cast<int>(DBG_ERROR));
}

void TestPause::fileEndsAtThePause()
{
    const DebugModule module(QLatin1String("net"));
    const LogFile log("a.log");
    Watch();
    log.Configure();
    EventWatch* const watch = Start();
    QVERIFY(watch);
    Say(module, "before");
    QVERIFY(watch->Fence());
    QVERIFY(Handle(*watch, "P"));
    const QByteArray bytes = log.Bytes();
    QVERIFY(bytes.endsWith("<b>before</b></dbg>\n"));
    Say(module, "paused");
    QVERIFY(watch->Fence());
    QCOMPARE(log.Bytes(), bytes);
    QVERIFY(Handle(*watch, "R"));
    QCOMPARE(log.Bytes(), bytes + "<DEBUG_SERVER_RESTART/>\n");
    Say(module, "after");
    DbgCollector::Stop();

    QCOMPARE(log.Text(), QByteArray("#before|#after|"));
}

void TestPause::messageWhileSuspendedIsNotEvenBuilt()
{
    const DebugModule module(QLatin1String("net"));
    const LogFile log("a.log");
    Watch();
    log.Configure();
    EventWatch* const watch = Start();
    QVERIFY(watch);
    QVERIFY(Handle(*watch, "P"));

    int built = 0;
    QVERIFY(module.LvlDisabled(static_cast<DebugLevel>(everything)));
    ZOL_FATAL(module) << ++built;
    QCOMPARE(built, 0);
}

void TestPause::messagePastTheMasksIsDroppedByTheSuspendedFile()
{
    const LogFile log("a.log");
    Watch();
    Configure("probe:a");
    log.Configure();
    EventWatch* const watch = Start();
    QVERIFY(watch);
    QVERIFY(Handle(*watch, "P"));
    ZolTest::Log("paused");
    QVERIFY(ProbeOf("a").WaitFor("<b>paused</b>"));
    QVERIFY(Handle(*watch, "R"));
    ZolTest::Log("after");
    DbgCollector::Stop();

    QCOMPARE(log.Text(), QByteArray("##after|"));
}

void TestPause::queuedMessagesAreOvertakenByThePause()
{
    const LogFile log("a.log");
    Watch();
    Configure("probe:a");
    log.Configure();
    EventWatch* const watch = Start();
    QVERIFY(watch);
    Hold hold;
    QVERIFY(hold.Await());
    ZolTest::Log("queued");
    Give('P');
    hold.Release();
    QVERIFY(ProbeOf("a").WaitFor("<b>queued</b>"));
    DbgCollector::Stop();

    QCOMPARE(log.Text(), QByteArray("#"));
}

void TestPause::everyResumptionMarksTheFile()
{
    const DebugModule module(QLatin1String("net"));
    const LogFile log("a.log", "u");
    Watch();
    log.Configure();
    EventWatch* const watch = Start();
    QVERIFY(watch);
    Say(module, "1");
    QVERIFY(watch->Fence());
    QVERIFY(Handle(*watch, "PPRR"));
    QVERIFY(Handle(*watch, "FPSR"));
    Say(module, "2");
    QVERIFY(watch->Fence());
    QVERIFY(Handle(*watch, "FS"));
    Say(module, "3");
    DbgCollector::Stop();

    QCOMPARE(log.Text(), QByteArray("#1|##2|#3|"));
}

void TestPause::truncatedFileIsAppendedAfterAPause()
{
    const DebugModule module(QLatin1String("net"));
    const LogFile log("a.log", "t");
    QVERIFY(log.Fill("old\n"));
    Watch();
    log.Configure();
    EventWatch* const watch = Start();
    QVERIFY(watch);
    Say(module, "1");
    QVERIFY(watch->Fence());
    QVERIFY(Handle(*watch, "PR"));
    Say(module, "2");
    QVERIFY(watch->Fence());
    QVERIFY(Handle(*watch, "FS"));
    Say(module, "3");
    DbgCollector::Stop();

    QCOMPARE(log.Text(), QByteArray("#1|#2|#3|"));
    QVERIFY(!log.Bytes().contains("old"));
}

void TestPause::fileOfManyPausesIsWhole()
{
    const LogFile log("a.log");
    Watch();
    Configure("probe:a");
    log.Configure();
    EventWatch* const watch = Start();
    QVERIFY(watch);
    ZolTest::HostThread pauses("pauses", [] {
        for (int i = 0; i < 200; ++i)
            GiveAll("PR");
    });
    pauses.start();
    for (int i = 0; i < 2000; ++i)
        ZolTest::Log(QByteArray::number(i));
    QVERIFY(pauses.Join());
    QVERIFY(watch->Fence());
    ZolTest::Log("last");
    DbgCollector::Stop();

    QList<QByteArray> lines = log.Bytes().split('\n');
    QCOMPARE(lines.takeLast(), QByteArray());
    int markers = 0;
    int last = -1;
    for (const QByteArray& line : lines) {
        const ZolTest::LogRecord record = ZolTest::ParseRecord(line);
        QVERIFY(record.valid || line == "<DEBUG_SERVER_RESTART/>");
        markers += !record.valid;
        if (record.module == "host" && record.message != "last") {
            QVERIFY(record.message.toInt() > last);
            last = record.message.toInt();
        }
    }
    QCOMPARE(markers, 201);
    QVERIFY(log.Text().endsWith("last|"));
    QCOMPARE(ProbeOf("a").Messages("host").size(), 2001);
}

void TestPause::removedFileIsCreatedAgain()
{
    const DebugModule module(QLatin1String("net"));
    const LogFile log("a.log");
    Watch();
    log.Configure();
    EventWatch* const watch = Start();
    QVERIFY(watch);
    Say(module, "1");
    QVERIFY(watch->Fence());
    QVERIFY(Handle(*watch, "F"));
    QVERIFY(QFile::remove(log.Path()));
    QVERIFY(Handle(*watch, "S"));
    Say(module, "2");
    DbgCollector::Stop();

    QCOMPARE(log.Text(), QByteArray("#2|"));
}

void TestPause::fileThatCouldNotBeOpenedIsTriedAgain()
{
    const ZolTest::TempDir dir;
    const QString folder = dir.Path("logs");
    const QString path = folder + QLatin1String("/a.log");
    Watch();
    Configure(QLatin1String("file:") + path, "*", 0);
    EventWatch* const watch = Start();
    QVERIFY(watch);
    QVERIFY(QDir().mkdir(folder));
    QVERIFY(Handle(*watch, "P"));
    QVERIFY(!QFile::exists(path));
    QVERIFY(Handle(*watch, "R"));

    QCOMPARE(ZolTest::ReadFile(QFile::encodeName(path)), QByteArray("<DEBUG_SERVER_RESTART/>\n"));
}

void TestPause::lateFileIsNotMarkedAgain()
{
    const DebugModule module(QLatin1String("net"));
    const LogFile log("a.log");
    Watch();
    EventWatch* const watch = Start();
    QVERIFY(watch);
    Give('P');
    log.Configure();
    QVERIFY(Settle());
    Say(module, "1");
    QVERIFY(watch->Fence());
    QVERIFY(Handle(*watch, "R"));
    Say(module, "2");
    QVERIFY(watch->Fence());
    QVERIFY(Handle(*watch, "P"));
    Say(module, "3");
    DbgCollector::Stop();

    QCOMPARE(log.Text(), QByteArray("#1|2|"));
}

void TestPause::outputReplacedWhileSuspendedWrites()
{
    const DebugModule module(QLatin1String("net"));
    const LogFile log("a.log", "t");
    Watch();
    log.Configure();
    EventWatch* const watch = Start();
    QVERIFY(watch);
    Say(module, "1");
    QVERIFY(watch->Fence());
    QVERIFY(Handle(*watch, "P"));
    DbgCollector::RemoveDebugInterface(log.Address());
    log.Configure();
    QVERIFY(Settle());
    Say(module, "2");
    DbgCollector::Stop();

    QCOMPARE(log.Text(), QByteArray("#2|"));
}

void TestPause::stopWhileSuspendedWritesNothing()
{
    const LogFile log("a.log");
    Watch();
    Configure(log.Address(), "*", everything);
    EventWatch* const watch = Start();
    QVERIFY(watch);
    QVERIFY(Handle(*watch, "P"));
    const QByteArray bytes = log.Bytes();
    ZolTest::Log("paused");
    DbgCollector::Stop();

    QCOMPARE(log.Bytes(), bytes);
    QVERIFY(!bytes.contains("Stopping !"));
}

QTEST_MAIN(TestPause)

#include "tst_pause.moc"
