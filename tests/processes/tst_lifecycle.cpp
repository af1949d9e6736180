#include "host_process.h"
#include "log_record.h"
#include "temp_dir.h"
#include "wait.h"

#include <QtCore/QFile>
#include <QtTest/QtTest>

#include <algorithm>

using namespace ZolTest;

namespace {

const char* const restart_line = "<DEBUG_SERVER_RESTART/>\n";

QByteArray Registered(const char* key)
{
    return QByteArray("DebugInterfaceFactoryStore::Register registered "
                      "AbstractDebugInterfaceFactory with key ") +
           key + '\n';
}

QByteArray Created(const char* protocol, const QByteArray& server)
{
    return QByteArray("DebugInterfaceFactoryStore::DoCreate Created Object with protocol '") +
           protocol + "' with server '" + server + "' and option ''\n";
}

QByteArray BytesOf(const QString& path)
{
    return ReadFile(QFile::encodeName(path));
}

/** The texts "0" to @p end, without the end. */
QList<QByteArray> Numbers(int end, int begin = 0)
{
    QList<QByteArray> numbers;
    for (int i = begin; i < end; ++i)
        numbers.append(QByteArray::number(i));
    return numbers;
}

QByteArray Joined(const QList<QByteArray>& texts)
{
    QByteArray joined;
    for (const QByteArray& text : texts)
        joined += text + '|';
    return joined;
}

/** What the host logged to the file, in one line that is easy to compare. */
QByteArray HostTexts(const QString& path)
{
    return Joined(MessagesOf(BytesOf(path), "host"));
}

int ProgressCount(const QString& path, const char* text)
{
    return static_cast<int>(MessagesOf(BytesOf(path), "DBG").count(text));
}

void CheckEnd(const HostResult& result, int exit_code)
{
    QVERIFY2(result.exited, result.standard_error.constData());
    QCOMPARE(result.standard_error, QByteArray());
    QCOMPARE(result.exit_code, exit_code);
    // As long as a stop may wait; a host that hangs at its end, or waits for the collector, is
    // late.
    QVERIFY(result.milliseconds < WaitBound() / 6);
}

/** Runs a host whose first argument is a mode and whose second is the path of its log. */
HostResult RunMode(const char* name, const char* mode, const QString& path,
                   const QStringList& more = QStringList())
{
    return RunHost(QLatin1String(name), QStringList() << QLatin1String(mode) << path << more);
}

/** Delays up to some milliseconds, every fourth none, the same ones in each run. */
class Delays
{
public:
    Delays()
        : m_state(20120629)
    {
    }

    QString Next()
    {
        m_state = m_state * 1103515245U + 12345U;
        const unsigned int random = m_state >> 16;
        return QString::number(random % 4 == 0 ? 0 : random % 4000);
    }

private:
    quint32 m_state;
};

/** A process that was never started: its end, and that it wrote and printed nothing. */
void CheckUnstarted(const char* mode)
{
    TempDir dir;
    const QString path = dir.Path("log");
    for (int i = 0; i < Rounds(5) && !QTest::currentTestFailed(); ++i) {
        const HostResult result = RunMode("host_unstarted", mode, path);
        CheckEnd(result, 3);
        QCOMPARE(result.standard_output, Registered("file"));
        QVERIFY(!QFile::exists(path));
    }
}

/**
 * Processes that were never stopped: their end, and that nothing is missing between what they
 * wrote.
 */
void CheckNeverStopped(const char* mode, int runs)
{
    const QByteArray numbers = Joined(Numbers(20000));
    for (int i = 0; i < Rounds(runs) && !QTest::currentTestFailed(); ++i) {
        TempDir dir;
        const QString path = dir.Path("log");
        const HostResult result = RunMode("host_never_stopped", mode, path);
        CheckEnd(result, 5);
        const QByteArray registered = Registered("file") + Registered("probe");
        QVERIFY2(result.standard_output.startsWith(registered), result.standard_output.constData());
        const QByteArray everything =
            registered + Created("file", QFile::encodeName(path)) + Created("probe", "a");
        QVERIFY2(everything.startsWith(result.standard_output), result.standard_output.constData());
        QVERIFY(numbers.startsWith(HostTexts(path)));
        const QByteArray log = BytesOf(path);
        QVERIFY(log.isEmpty() || log.startsWith(restart_line));
    }
}

/** Processes that another thread ended. */
void CheckExit(const char* mode, const QByteArray& expected, int runs)
{
    for (int i = 0; i < Rounds(runs) && !QTest::currentTestFailed(); ++i) {
        TempDir dir;
        const QString path = dir.Path("log");
        const HostResult result = RunMode("host_exit", mode, path);
        CheckEnd(result, 6);
        QCOMPARE(result.standard_output, Registered("file") + Registered("probe") +
                                             Created("file", QFile::encodeName(path)) +
                                             Created("probe", "a"));
        if (expected.isEmpty())
            QVERIFY(Joined(Numbers(20000)).startsWith(HostTexts(path)));
        else
            QCOMPARE(HostTexts(path), expected);
    }
}

void CheckStaticModules(const char* mode, const char* expected, int runs)
{
    for (int i = 0; i < Rounds(runs) && !QTest::currentTestFailed(); ++i) {
        TempDir dir;
        const QString path = dir.Path("log");
        const HostResult result = RunMode("host_static_modules", mode, path);
        CheckEnd(result, 0);
        QCOMPARE(result.standard_output,
                 Registered("file") + Created("file", QFile::encodeName(path)));
        QCOMPARE(HostTexts(path), QByteArray(expected));
    }
}

void CheckFirstUseAtExit(const char* mode)
{
    for (int i = 0; i < Rounds(5) && !QTest::currentTestFailed(); ++i) {
        const HostResult result =
            RunHost(QLatin1String("host_first_use_at_exit"), QStringList(QLatin1String(mode)));
        CheckEnd(result, 7);
        QCOMPARE(result.standard_output, Registered("file"));
    }
}

void CheckStopAfterApplication(const char* mode, const QByteArray& expected, int runs)
{
    for (int i = 0; i < Rounds(runs) && !QTest::currentTestFailed(); ++i) {
        TempDir dir;
        const QString path = dir.Path("log");
        const HostResult result = RunMode("host_stop_after_application", mode, path);
        CheckEnd(result, 0);
        QCOMPARE(result.standard_output,
                 Registered("file") + Created("file", QFile::encodeName(path)));
        QCOMPARE(HostTexts(path), expected);
        QCOMPARE(ProgressCount(path, "Stopping !"), 1);
    }
}

/** Eight first calls at once make one collector, whatever they are. */
void CheckFirstCalls(const char* mode, bool all_are_written)
{
    for (int i = 0; i < Rounds(30) && !QTest::currentTestFailed(); ++i) {
        TempDir dir;
        const QString path = dir.Path("log");
        const HostResult result = RunMode("host_first_calls", mode, path);
        CheckEnd(result, 0);
        QCOMPARE(result.standard_output,
                 Registered("file") + Created("file", QFile::encodeName(path)));
        if (!all_are_written)
            continue;
        QCOMPARE(ProgressCount(path, "Created Debug Collector"), 1);
        QCOMPARE(ProgressCount(path, "Run - called"), 1);
        QList<QByteArray> messages = MessagesOf(BytesOf(path), "host");
        std::sort(messages.begin(), messages.end());
        QCOMPARE(Joined(messages), QByteArray("0|1|2|3|4|5|6|7|"));
    }
}

void CheckEarlyStart(const char* mode, const QString& microseconds)
{
    TempDir dir;
    const QString path = dir.Path("log");
    QStringList environment;
    if (QLatin1String(mode) == QLatin1String("before main"))
        environment << QLatin1String("HOST_EARLY_START_LOG=") + path;
    const HostResult result =
        RunHost(QLatin1String("host_early_start"),
                QStringList() << QLatin1String(mode) << path << microseconds, environment);
    CheckEnd(result, 0);
    QCOMPARE(result.standard_output, Registered("file") + Created("file", QFile::encodeName(path)));
    QCOMPARE(HostTexts(path), Joined(Numbers(10)));
    QCOMPARE(ProgressCount(path, "Starting"), 1);
    QCOMPARE(ProgressCount(path, "Stopping !"), 1);
}

void CheckUtf8(const char* mode)
{
    TempDir dir;
    const QString path = dir.Path("gr\xc3\xbc\xc3\x9f.log");
    const HostResult result = RunMode("host_utf8", mode, path);
    CheckEnd(result, 0);
    QCOMPARE(result.standard_output,
             Registered("file") + Registered("none") + Created("file", path.toUtf8()));
    QCOMPARE(Joined(MessagesOf(BytesOf(path), "host")), QByteArray("Gr\xc3\xbc\xc3\x9f"
                                                                   "e, \xe6\x97\xa5\xe6\x9c\xac|"));
}

} // namespace

class TestLifecycle : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Start and stop in quick succession
    void quickStopLosesNothing();
    void immediateStopLosesNothing();
    void quickStopWritesTheProgressRecords();

    // Ends without a start
    void unstartedHostReturnsFromMain();
    void unstartedHostCallsExit();
    void unstartedHostWithApplication();
    void unstartedHostWithOutputsAndMessages();
    void unstartedHostThatStops();
    void unstartedHostThatStartsAfterAStop();

    // Ends without a stop
    void neverStoppedHostReturnsAtOnceAfterStart();
    void neverStoppedHostWithAnIdleCollector();
    void neverStoppedHostWithABacklog();
    void neverStoppedHostWhileTheCollectorWrites();
    void neverStoppedHostWithABlockedOutput();
    void neverStoppedHostWithASlowOutput();

    // exit() elsewhere than in main
    void exitOnAnotherThread();
    void exitOnAnotherThreadWhileTheCollectorWrites();
    void exitOnAnotherThreadWhileMainWaitsForTheStop();
    void exitFromWithinAnOutput();
    void exitFromWithinAnOutputDuringStop();
    void stopFromWithinAnOutput();

    // Static modules and late callers
    void staticModulesWithAStopInMain();
    void staticModulesWithAStopInADestructor();
    void staticModulesNeverStarted();
    void staticModulesNeverStopped();
    void firstMessageAtExit();
    void firstModuleAtExit();
    void firstMetricAtExit();
    void firstStartAtExit();
    void firstStopAtExit();
    void onlyStartAndStopAtExit();

    // No QCoreApplication
    void stopAfterTheApplicationWritesEverything();
    void stopAfterAnApplicationThatEndsAtOnce();
    void stopAfterTheApplicationWithABacklog();
    void stopInASecondApplication();
    void stopAfterTheApplicationWithoutStart();
    void startAndStopWithoutAnyApplication();
    void startRightBeforeTheApplication();
    void startLongBeforeTheApplication();
    void startBeforeMain();

    // First calls
    void firstMessagesFromEightThreads();
    void firstStartsFromEightThreads();
    void firstBareStartsFromEightThreads();
    void firstCallsOfAllKindsFromEightThreads();

    // Signals
    void signalsAreLeftToTheHost();

    // Encoding
    void utf8HostLogsUtf8();
    void utf8HostThatStartsBeforeTheLocaleIsSet();
};

void TestLifecycle::signalsAreLeftToTheHost()
{
    CheckEnd(RunHost(QLatin1String("host_signals")), 0);
}

void TestLifecycle::quickStopLosesNothing()
{
    Delays delays;
    for (int run = 0; run < Rounds(100) && !QTest::currentTestFailed(); ++run) {
        TempDir dir;
        const QString path = dir.Path("log");
        const QStringList arguments = QStringList() << path << QString::number(run % 7 * 40 + 1)
                                                    << delays.Next() << delays.Next();
        const HostResult result = RunHost(QLatin1String("host_quick_stop"), arguments);
        CheckEnd(result, 0);
        QCOMPARE(result.standard_output,
                 Registered("file") + Created("file", QFile::encodeName(path)));
        QCOMPARE(HostTexts(path), Joined(Numbers(run % 7 * 40 + 1)));
        QVERIFY(BytesOf(path).startsWith(restart_line));
    }
}

void TestLifecycle::immediateStopLosesNothing()
{
    for (int run = 0; run < Rounds(30) && !QTest::currentTestFailed(); ++run) {
        TempDir dir;
        const QString path = dir.Path("log");
        const QString none = QLatin1String("0");
        const HostResult result =
            RunHost(QLatin1String("host_quick_stop"),
                    QStringList() << path << QLatin1String("250") << none << none);
        CheckEnd(result, 0);
        QCOMPARE(HostTexts(path), Joined(Numbers(250)));
    }
}

void TestLifecycle::quickStopWritesTheProgressRecords()
{
    for (int run = 0; run < Rounds(20) && !QTest::currentTestFailed(); ++run) {
        TempDir dir;
        const QString path = dir.Path("log");
        const QString none = QLatin1String("0");
        RunHost(QLatin1String("host_quick_stop"), QStringList() << path << none << none << none);
        QCOMPARE(ProgressCount(path, "Created Debug Collector"), 1);
        QCOMPARE(ProgressCount(path, "Run - called"), 1);
        QCOMPARE(ProgressCount(path, "Starting"), 1);
        QCOMPARE(ProgressCount(path, "Run - calling event loop."), 1);
        QCOMPARE(ProgressCount(path, "Stopping !"), 1);
        QCOMPARE(MessagesOf(BytesOf(path), "DBG").first(), QByteArray("Created Debug Collector"));
    }
}

void TestLifecycle::unstartedHostReturnsFromMain()
{
    CheckUnstarted("bare");
}

void TestLifecycle::unstartedHostCallsExit()
{
    CheckUnstarted("exit");
}

void TestLifecycle::unstartedHostWithApplication()
{
    CheckUnstarted("application");
}

void TestLifecycle::unstartedHostWithOutputsAndMessages()
{
    CheckUnstarted("configured");
}

void TestLifecycle::unstartedHostThatStops()
{
    CheckUnstarted("stopped");
}

void TestLifecycle::unstartedHostThatStartsAfterAStop()
{
    CheckUnstarted("stopped and started");
}

void TestLifecycle::neverStoppedHostReturnsAtOnceAfterStart()
{
    CheckNeverStopped("at once", 40);
}

void TestLifecycle::neverStoppedHostWithAnIdleCollector()
{
    CheckNeverStopped("idle", 10);
}

void TestLifecycle::neverStoppedHostWithABacklog()
{
    CheckNeverStopped("busy", 40);
}

void TestLifecycle::neverStoppedHostWhileTheCollectorWrites()
{
    CheckNeverStopped("writing", 40);
}

void TestLifecycle::neverStoppedHostWithABlockedOutput()
{
    CheckNeverStopped("blocked", 3);
}

void TestLifecycle::neverStoppedHostWithASlowOutput()
{
    TempDir dir;
    const QString path = dir.Path("log");
    CheckEnd(RunMode("host_never_stopped", "slow", path), 5);
    QVERIFY(QFile::exists(path + QLatin1String(".slow"))); // the exit waited for it
}

void TestLifecycle::exitOnAnotherThread()
{
    CheckExit("thread", Joined(Numbers(100)), 10);
}

void TestLifecycle::exitOnAnotherThreadWhileTheCollectorWrites()
{
    CheckExit("thread while writing", QByteArray(), 30);
}

void TestLifecycle::exitOnAnotherThreadWhileMainWaitsForTheStop()
{
    // The output that blocks has the record behind the file.
    CheckExit("thread during stop", Joined(Numbers(51)), 5);
}

void TestLifecycle::exitFromWithinAnOutput()
{
    CheckExit("output", Joined(Numbers(51)), 10);
}

void TestLifecycle::exitFromWithinAnOutputDuringStop()
{
    CheckExit("output during stop", Joined(Numbers(100)), 10);
}

void TestLifecycle::stopFromWithinAnOutput()
{
    CheckExit("stop in output", Joined(Numbers(100)), 10);
}

void TestLifecycle::staticModulesWithAStopInMain()
{
    CheckStaticModules("stop in main", "main|thread|thread_local of a thread|", 10);
}

void TestLifecycle::staticModulesWithAStopInADestructor()
{
    CheckStaticModules(
        "stop in destructor",
        "main|thread|thread_local of a thread|thread_local of main|static destructor|", 10);
}

void TestLifecycle::staticModulesNeverStarted()
{
    for (int i = 0; i < Rounds(5) && !QTest::currentTestFailed(); ++i) {
        TempDir dir;
        const QString path = dir.Path("log");
        const HostResult result = RunMode("host_static_modules", "never started", path);
        CheckEnd(result, 0);
        QCOMPARE(result.standard_output, Registered("file"));
        QVERIFY(!QFile::exists(path));
    }
}

void TestLifecycle::staticModulesNeverStopped()
{
    const QByteArray all =
        "main|thread|thread_local of a thread|thread_local of main|static destructor|";
    for (int i = 0; i < Rounds(30) && !QTest::currentTestFailed(); ++i) {
        TempDir dir;
        const QString path = dir.Path("log");
        const HostResult result = RunMode("host_static_modules", "never stopped", path);
        CheckEnd(result, 0);
        QVERIFY(all.startsWith(HostTexts(path)));
    }
}

void TestLifecycle::firstMessageAtExit()
{
    CheckFirstUseAtExit("message");
}

void TestLifecycle::firstModuleAtExit()
{
    CheckFirstUseAtExit("module");
}

void TestLifecycle::firstMetricAtExit()
{
    CheckFirstUseAtExit("metric");
}

void TestLifecycle::firstStartAtExit()
{
    CheckFirstUseAtExit("start");
}

void TestLifecycle::firstStopAtExit()
{
    CheckFirstUseAtExit("stop");
}

void TestLifecycle::onlyStartAndStopAtExit()
{
    CheckFirstUseAtExit("start and stop");
}

void TestLifecycle::stopAfterTheApplicationWritesEverything()
{
    CheckStopAfterApplication("idle", "with|without|", 10);
}

void TestLifecycle::stopAfterAnApplicationThatEndsAtOnce()
{
    // The collector's thread may not have woken yet, or just begin its event loop.
    CheckStopAfterApplication("at once", "with|without|", 40);
}

void TestLifecycle::stopAfterTheApplicationWithABacklog()
{
    CheckStopAfterApplication(
        "busy", "with|" + Joined(Numbers(10000)) + "without|" + Joined(Numbers(1000)), 5);
}

void TestLifecycle::stopInASecondApplication()
{
    CheckStopAfterApplication("second application", "with|without|with the second|", 10);
}

void TestLifecycle::stopAfterTheApplicationWithoutStart()
{
    TempDir dir;
    const QString path = dir.Path("log");
    const HostResult result = RunMode("host_stop_after_application", "never started", path);
    CheckEnd(result, 0);
    QCOMPARE(result.standard_output, Registered("file"));
    QVERIFY(!QFile::exists(path));
}

void TestLifecycle::startAndStopWithoutAnyApplication()
{
    // Nothing is promised about the records then.
    TempDir dir;
    CheckEnd(RunMode("host_stop_after_application", "no application", dir.Path("log")), 0);
}

void TestLifecycle::startRightBeforeTheApplication()
{
    Delays delays;
    for (int i = 0; i < Rounds(20) && !QTest::currentTestFailed(); ++i)
        CheckEarlyStart("in main", delays.Next());
}

void TestLifecycle::startLongBeforeTheApplication()
{
    CheckEarlyStart("in main", QLatin1String("300000"));
}

void TestLifecycle::startBeforeMain()
{
    Delays delays;
    for (int i = 0; i < Rounds(10) && !QTest::currentTestFailed(); ++i)
        CheckEarlyStart("before main", delays.Next());
}

void TestLifecycle::firstMessagesFromEightThreads()
{
    CheckFirstCalls("messages", true);
}

void TestLifecycle::firstStartsFromEightThreads()
{
    CheckFirstCalls("start", true);
}

void TestLifecycle::firstBareStartsFromEightThreads()
{
    CheckFirstCalls("start only", false);
}

void TestLifecycle::firstCallsOfAllKindsFromEightThreads()
{
    CheckFirstCalls("mixed", true);
}

void TestLifecycle::utf8HostLogsUtf8()
{
    CheckUtf8("late");
}

void TestLifecycle::utf8HostThatStartsBeforeTheLocaleIsSet()
{
    CheckUtf8("early");
}

QTEST_MAIN(TestLifecycle)
#include "tst_lifecycle.moc"
