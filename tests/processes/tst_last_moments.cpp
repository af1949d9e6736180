#include "host_process.h"
#include "log_record.h"
#include "temp_dir.h"
#include "wait.h"

#include <QtCore/QFile>
#include <QtTest/QtTest>

using namespace ZolTest;

namespace {

const char* const restart_line = "<DEBUG_SERVER_RESTART/>\n";

QByteArray BytesOf(const QString& path)
{
    return ReadFile(QFile::encodeName(path));
}

/** The texts "0" to @p end, without the end, in one line that is easy to compare. */
QByteArray Numbers(int end)
{
    QByteArray numbers;
    for (int i = 0; i < end; ++i)
        numbers += QByteArray::number(i) + '|';
    return numbers;
}

/** What the host logged to the file, in such a line. */
QByteArray HostTexts(const QString& path)
{
    QByteArray joined;
    const QList<QByteArray> texts = MessagesOf(BytesOf(path), "host");
    for (const QByteArray& text : texts)
        joined += text + '|';
    return joined;
}

/** Whether the log has whole records alone, behind one restart marker. */
bool IsWhole(const QString& path)
{
    const QByteArray log = BytesOf(path);
    QList<QByteArray> lines = log.split('\n');
    if (!log.startsWith(restart_line) || !log.endsWith('\n'))
        return false;
    lines.removeFirst();
    lines.removeLast();
    for (const QByteArray& line : lines) {
        if (!ParseRecord(line).valid && !line.startsWith("<metric "))
            return false;
    }
    return true;
}

void CheckEnd(const HostResult& result, int exit_code)
{
    QVERIFY2(result.exited, result.standard_error.constData());
    QCOMPARE(result.standard_error, QByteArray());
    QCOMPARE(result.exit_code, exit_code);
    // As long as a stop may wait; a host that hangs at its end is late.
    QVERIFY(result.milliseconds < WaitBound() / 6);
}

/** Delays up to @p most microseconds, a different one in each run. */
QString Delay(int run, int most)
{
    return QString::number(run * 7919 % 61 * most / 61);
}

/** The environment of a host in which AddressSanitizer, if there, has one more option. */
QStringList SanitizerOption(const char* option)
{
    const QString before = QString::fromLocal8Bit(qgetenv("ASAN_OPTIONS").constData());
    return QStringList(QLatin1String("ASAN_OPTIONS=") + before + QLatin1Char(':') +
                       QLatin1String(option));
}

/** A process that was never stopped: its end, and that nothing is missing in what it wrote. */
void CheckEarlyStart(int count, const QString& delay)
{
    TempDir dir;
    const QString path = dir.Path("log");
    CheckEnd(RunHost(QLatin1String("host_early_start_unstopped"),
                     QStringList() << path << QString::number(count) << delay),
             5);
    QVERIFY(Numbers(count).startsWith(HostTexts(path)));
}

void CheckOutputWithStatic(const char* mode, int runs)
{
    for (int i = 0; i < Rounds(runs) && !QTest::currentTestFailed(); ++i) {
        const HostResult result = RunHost(QLatin1String("host_output_with_static"),
                                          QStringList() << QLatin1String(mode) << Delay(i, 10000));
        CheckEnd(result, 6);
    }
}

void CheckLateStop(const char* mode, int runs, int most_delay)
{
    for (int i = 0; i < Rounds(runs) && !QTest::currentTestFailed(); ++i) {
        TempDir dir;
        const QString path = dir.Path("log");
        const HostResult result =
            RunHost(QLatin1String("host_late_stop"),
                    QStringList() << QLatin1String(mode) << path << Delay(i, most_delay));
        CheckEnd(result, 3);
        QVERIFY(IsWhole(path));
        QCOMPARE(static_cast<int>(MessagesOf(BytesOf(path), "host").size()), 20000);
        QVERIFY(HostTexts(path) == Numbers(20000));
        QCOMPARE(static_cast<int>(MessagesOf(BytesOf(path), "DBG").count("Stopping !")), 1);
    }
}

const int wrong_order = 1;
const int late_stop = 2;

/** The rows of tests with event loops, which Qt has of two kinds. */
void AddEventLoops()
{
    QTest::addColumn<QString>("setting");
    QTest::newRow("default") << QString::fromLatin1("ZOLDEBUG_NO_SETTING=1");
    QTest::newRow("without GLib") << QString::fromLatin1("QT_NO_GLIB=1");
}

/** Runs a host with an output that runs event loops. */
HostResult RunNestedEventLoop(const char* protocol, const QString& path, const QString& setting)
{
    return RunHost(QLatin1String("host_nested_event_loop"),
                   QStringList() << QLatin1String(protocol) << path, QStringList(setting));
}

void CheckLogOfNestedEventLoop(const char* protocol, const QString& setting)
{
    TempDir dir;
    const QString path = dir.Path("log");
    const HostResult result = RunNestedEventLoop(protocol, path, setting);
    QVERIFY(result.exited);
    QCOMPARE(result.standard_error, QByteArray());
    QVERIFY(IsWhole(path));
    QCOMPARE(HostTexts(path), Numbers(250));
    QCOMPARE(MessagesOf(BytesOf(path), "DBG").last(), QByteArray("Stopping !"));
}

HostResult RunBetweenApplications(const QString& folder, int modules)
{
    return RunHost(QLatin1String("host_between_applications"),
                   QStringList() << folder << QString::number(modules));
}

void AddModuleCounts()
{
    QTest::addColumn<int>("modules");
    QTest::newRow("one module") << 1;
    QTest::newRow("five modules") << 5;
    QTest::newRow("forty modules") << 40;
}

/** The ways in which a child ends. */
void AddEnds()
{
    QTest::addColumn<QString>("end");
    QTest::newRow("exit") << QString::fromLatin1("exit");
    QTest::newRow("_exit") << QString::fromLatin1("_exit");
}

HostResult RunFork(const char* mode, const QString& path, const QString& end)
{
    // A child has none of the threads that LeakSanitizer looks for.
    return RunHost(QLatin1String("host_fork"), QStringList() << QLatin1String(mode) << path << end,
                   SanitizerOption("detect_leaks=0"));
}

/** Runs a host with children that may not write anything; @p texts is what it logs itself. */
void CheckFork(const char* mode, const QString& end, const QByteArray& texts)
{
    TempDir dir;
    const QString path = dir.Path("log");
    CheckEnd(RunFork(mode, path, end), 0);
    QVERIFY(IsWhole(path));
    QCOMPARE(HostTexts(path), texts);
    QVERIFY(!QFile::exists(path + QLatin1String(".child")));
}

void CheckPipe(const char* mode, const QByteArray& texts)
{
    TempDir dir;
    const QString path = dir.Path("log");
    CheckEnd(RunHost(QLatin1String("host_fifo"),
                     QStringList() << QLatin1String(mode) << dir.Path("a pipe") << path),
             3);
    QVERIFY(IsWhole(path));
    QCOMPARE(HostTexts(path), texts);
}

void CheckMemory(const char* mode)
{
    // AddressSanitizer would keep what was freed.
    const HostResult result =
        RunHost(QLatin1String("host_memory"), QStringList(QLatin1String(mode)),
                SanitizerOption("quarantine_size_mb=1"));
    CheckEnd(result, 0);
    const QByteArray growth = result.standard_output.trimmed().split('\n').last();
    bool is_number = false;
    QVERIFY2(growth.toInt(&is_number) < 5000, growth.constData());
    QVERIFY(is_number);
}

} // namespace

class TestLastMoments : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Ends without a stop
    void startBeforeTheApplicationWithoutStop();
    void startBeforeTheApplicationWithoutStopInAShortLife();
    void outputWithAStaticAndReturnFromMain();
    void outputWithAStaticAndExit();

    // Stops behind main
    void stopInAStaticDestructorLosesNothing();
    void stopAtExitLosesNothing();
    void lateRecordHasTheEncodingOfTheOthers();

    // Event loops within event loops
    void outputThatRunsAnEventLoopGetsEverythingInOrder_data();
    void outputThatRunsAnEventLoopGetsEverythingInOrder();
    void outputBeforeOneThatRunsAnEventLoopGetsEverythingInOrder_data();
    void outputBeforeOneThatRunsAnEventLoopGetsEverythingInOrder();
    void outputBehindOneThatRunsAnEventLoopGetsEverythingInOrder_data();
    void outputBehindOneThatRunsAnEventLoopGetsEverythingInOrder();
    void stopIsPromptThoughAnOutputRunsAnEventLoop_data();
    void stopIsPromptThoughAnOutputRunsAnEventLoop();

    // Between two applications
    void configurationBetweenApplicationsComesIntoForce_data();
    void configurationBetweenApplicationsComesIntoForce();
    void modulesBuiltBetweenApplicationsGetTheirMasks_data();
    void modulesBuiltBetweenApplicationsGetTheirMasks();

    // Children
    void childOfARunningHostWritesNothing_data();
    void childOfARunningHostWritesNothing();
    void childOfAHostWithAStaticModuleWritesNothing_data();
    void childOfAHostWithAStaticModuleWritesNothing();
    void childOfAStoppedHostWritesNothing_data();
    void childOfAStoppedHostWritesNothing();
    void childOfAHostThatUsedNothingLogs();
    void manyForksWhileOthersLogNeverHang_data();
    void manyForksWhileOthersLogNeverHang();

    // A pipe without a reader
    void readerOfAPipeGoesAway();
    void readerOfAFullPipeGoesAway();

    // Use after the stop
    void memoryDoesNotGrowAfterTheStop();
    void memoryDoesNotGrowWhenStoppedWithoutStart();
};

void TestLastMoments::startBeforeTheApplicationWithoutStop()
{
    for (int i = 0; i < Rounds(60) && !QTest::currentTestFailed(); ++i)
        CheckEarlyStart(5000, Delay(i, 20000));
}

void TestLastMoments::startBeforeTheApplicationWithoutStopInAShortLife()
{
    // The collector's thread is about to begin its event loop when main returns.
    for (int i = 0; i < Rounds(120) && !QTest::currentTestFailed(); ++i)
        CheckEarlyStart(100 + i % 11 * 50, Delay(i, 400));
}

void TestLastMoments::outputWithAStaticAndReturnFromMain()
{
    CheckOutputWithStatic("return", 60);
}

void TestLastMoments::outputWithAStaticAndExit()
{
    CheckOutputWithStatic("exit", 20);
}

void TestLastMoments::stopInAStaticDestructorLosesNothing()
{
    CheckLateStop("destructor", 6, 50000);
}

void TestLastMoments::stopAtExitLosesNothing()
{
    CheckLateStop("atexit", 2, 50000);
}

void TestLastMoments::lateRecordHasTheEncodingOfTheOthers()
{
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
    const QByteArray letter = "\xe4"; // the host logs in ISO-8859-1
#else
    const QByteArray letter = "\xc3\xa4";
#endif
    for (int i = 0; i < Rounds(5) && !QTest::currentTestFailed(); ++i) {
        TempDir dir;
        const QString path = dir.Path("log");
        CheckEnd(RunHost(QLatin1String("host_late_encoding"), QStringList(path)), 3);
        QCOMPARE(HostTexts(path), letter + " early|" + letter + " late|");
    }
}

void TestLastMoments::outputThatRunsAnEventLoopGetsEverythingInOrder_data()
{
    AddEventLoops();
}

void TestLastMoments::outputThatRunsAnEventLoopGetsEverythingInOrder()
{
    QFETCH(QString, setting);
    TempDir dir;
    const HostResult result = RunNestedEventLoop("before", dir.Path("log"), setting);
    QVERIFY(result.exited);
    QCOMPARE(result.standard_error, QByteArray());
    QCOMPARE(result.exit_code & wrong_order, 0);
}

void TestLastMoments::outputBeforeOneThatRunsAnEventLoopGetsEverythingInOrder_data()
{
    AddEventLoops();
}

void TestLastMoments::outputBeforeOneThatRunsAnEventLoopGetsEverythingInOrder()
{
    QFETCH(QString, setting);
    CheckLogOfNestedEventLoop("next", setting);
}

void TestLastMoments::outputBehindOneThatRunsAnEventLoopGetsEverythingInOrder_data()
{
    AddEventLoops();
}

void TestLastMoments::outputBehindOneThatRunsAnEventLoopGetsEverythingInOrder()
{
    QFETCH(QString, setting);
    CheckLogOfNestedEventLoop("before", setting);
}

void TestLastMoments::stopIsPromptThoughAnOutputRunsAnEventLoop_data()
{
    AddEventLoops();
}

void TestLastMoments::stopIsPromptThoughAnOutputRunsAnEventLoop()
{
    QFETCH(QString, setting);
    TempDir dir;
    const HostResult result = RunNestedEventLoop("next", dir.Path("log"), setting);
    QVERIFY(result.exited);
    QCOMPARE(result.exit_code & late_stop, 0);
}

void TestLastMoments::configurationBetweenApplicationsComesIntoForce_data()
{
    AddModuleCounts();
    QTest::newRow("no module") << 0;
}

void TestLastMoments::configurationBetweenApplicationsComesIntoForce()
{
    QFETCH(int, modules);
    TempDir dir;
    const QString folder = dir.Path(""); // with a slash at its end
    const HostResult result = RunBetweenApplications(folder, modules);
    CheckEnd(result, 0);
    QByteArray expected = "DebugInterfaceFactoryStore::Register registered "
                          "AbstractDebugInterfaceFactory with key file\n";
    static const char* const names[] = {"first", "third", "second", "third", "fourth"};
    for (const char* name : names)
        expected += "DebugInterfaceFactoryStore::DoCreate Created Object with protocol 'file' with "
                    "server '" +
                    QFile::encodeName(folder) + name + "' and option ''\n";
    expected += "a 22\nb 28\n";
    QCOMPARE(result.standard_output.left(static_cast<int>(expected.size())), expected);
    QVERIFY(QFile::exists(dir.Path("second")));
    QVERIFY(QFile::exists(dir.Path("fourth")));
}

void TestLastMoments::modulesBuiltBetweenApplicationsGetTheirMasks_data()
{
    AddModuleCounts();
}

void TestLastMoments::modulesBuiltBetweenApplicationsGetTheirMasks()
{
    QFETCH(int, modules);
    TempDir dir;
    const HostResult result = RunBetweenApplications(dir.Path(""), modules);
    CheckEnd(result, 0);
    const QByteArray masks =
        result.standard_output.mid(static_cast<int>(result.standard_output.indexOf("\na ")) + 1);
    QCOMPARE(masks, "a 22\nb 28\n" + QByteArray("between 28\n").repeated(modules));
}

void TestLastMoments::childOfARunningHostWritesNothing_data()
{
    AddEnds();
}

void TestLastMoments::childOfARunningHostWritesNothing()
{
    QFETCH(QString, end);
    CheckFork("started", end, Numbers(3000));
}

void TestLastMoments::childOfAHostWithAStaticModuleWritesNothing_data()
{
    AddEnds();
}

void TestLastMoments::childOfAHostWithAStaticModuleWritesNothing()
{
    QFETCH(QString, end);
    CheckFork("static module", end, Numbers(100));
}

void TestLastMoments::childOfAStoppedHostWritesNothing_data()
{
    AddEnds();
}

void TestLastMoments::childOfAStoppedHostWritesNothing()
{
    QFETCH(QString, end);
    CheckFork("stopped", end, Numbers(100));
}

void TestLastMoments::childOfAHostThatUsedNothingLogs()
{
    CheckFork("unused", QLatin1String("exit"), Numbers(100));
}

void TestLastMoments::manyForksWhileOthersLogNeverHang_data()
{
    AddEnds();
}

void TestLastMoments::manyForksWhileOthersLogNeverHang()
{
    QFETCH(QString, end);
    TempDir dir;
    const QString path = dir.Path("log");
    CheckEnd(RunFork("often", path, end), 0);
    QVERIFY(IsWhole(path));
    const QList<QByteArray> texts = MessagesOf(BytesOf(path), "host");
    QCOMPARE(static_cast<int>(texts.size()), 4 * 3000);
    int next[] = {0, 0, 0, 0};
    for (const QByteArray& text : texts) {
        const int thread = text.left(1).toInt();
        QVERIFY2(thread < 4 && text.mid(1) == ':' + QByteArray::number(next[thread]),
                 text.constData());
        ++next[thread];
    }
}

void TestLastMoments::readerOfAPipeGoesAway()
{
    CheckPipe("idle", "first|" + Numbers(1000));
}

void TestLastMoments::readerOfAFullPipeGoesAway()
{
    CheckPipe("full", Numbers(1000));
}

void TestLastMoments::memoryDoesNotGrowAfterTheStop()
{
    CheckMemory("started");
}

void TestLastMoments::memoryDoesNotGrowWhenStoppedWithoutStart()
{
    CheckMemory("never started");
}

QTEST_MAIN(TestLastMoments)
#include "tst_last_moments.moc"
