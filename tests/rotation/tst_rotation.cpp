#include "host_process.h"
#include "log_record.h"
#include "temp_dir.h"
#include "wait.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QScopedPointer>
#include <QtCore/QVector>
#include <QtTest/QtTest>

#include <signal.h>
#include <sys/types.h>

using ZolTest::LogRecord;
using ZolTest::ReadFile;
using ZolTest::WaitBound;

namespace {

const int rotations = 5;
const int thread_count = 2;
const int enough = 30000; // bytes of a log that rotates

QString Text(const char* text)
{
    return QString::fromLatin1(text);
}

/** The configuration in a document's text that says @p keyword. */
QString Configuration(const char* document, const char* keyword)
{
    const QByteArray path = QByteArray(ZOLDEBUG_DOCUMENTS "/") + document;
    const QStringList blocks = QString::fromUtf8(ReadFile(path)).split(Text("```"));
    for (const QString& block : blocks) {
        if (block.startsWith(Text("\n/var/log/device.log {")) && block.contains(Text(keyword)))
            return block;
    }
    return QString();
}

/** Rotates a log in a folder of its own, by a configuration for the log of a device. */
class Rotator
{
public:
    explicit Rotator(const QString& configuration)
    {
        QString text = configuration;
        text.replace(Text("/var/log/device.log"), Log());
        text.replace(Text("/run/device.pid"), Path("pid"));
        Write("conf", text);
    }

    QString Path(const char* name) const { return m_folder.Path(name); }
    QString Log() const { return Path("log"); }

    void Write(const char* name, const QString& text)
    {
        QFile file(Path(name));
        file.open(QIODevice::WriteOnly);
        file.write(text.toUtf8());
        file.close();
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner); // others could write it, perhaps
    }

    /** Rotates the log, whatever its age and size; the exit status. */
    int Rotate()
    {
        ZolTest::PlainlyForkedProcess process;
        process.setProcessChannelMode(QProcess::MergedChannels);
        const QString command = Text("PATH=$PATH:/usr/sbin:/sbin; exec logrotate --force --state ");
        process.start(Text("sh"), QStringList()
                                      << Text("-c")
                                      << command + Path("state") + Text(" ") + Path("conf"));
        if (!process.waitForFinished(WaitBound()))
            return -1;
        m_output += process.readAll();
        return process.exitCode();
    }

    /** What logrotate said. */
    const QByteArray& Output() const { return m_output; }

    /** The contents of the log's files, the oldest first. */
    QList<QByteArray> Files() const
    {
        QList<QByteArray> files;
        for (int i = 10; i > 0; --i) {
            const QString path = Log() + Text(".") + QString::number(i);
            if (QFileInfo(path).isFile())
                files.append(ReadFile(QFile::encodeName(path)));
            else if (QFileInfo(path + Text(".gz")).isFile())
                files.append(Unpacked(path + Text(".gz")));
        }
        files.append(ReadFile(QFile::encodeName(Log())));
        return files;
    }

private:
    static QByteArray Unpacked(const QString& path)
    {
        ZolTest::PlainlyForkedProcess process;
        process.start(Text("zcat"), QStringList(path));
        return process.waitForFinished(WaitBound()) ? process.readAllStandardOutput()
                                                    : QByteArray("zcat failed");
    }

    ZolTest::TempDir m_folder;
    QByteArray m_output;
};

/** A host that logs all the time. */
class LiveHost
{
public:
    explicit LiveHost(const Rotator& rotator)
        : m_log(rotator.Log())
        , m_process(ZolTest::StartHost(Text("host_rotated"), QStringList() << Text("file:") + m_log
                                                                           << rotator.Path("pid")))
        , m_pid(-1)
    {
        QByteArray output; // the library says something there too
        while (!output.contains("ready") && m_process->waitForReadyRead(WaitBound()))
            output += m_process->readAllStandardOutput();
        m_pid = ReadFile(QFile::encodeName(rotator.Path("pid"))).toInt();
    }

    ~LiveHost() { m_process->kill(); }

    /** Waits until the host has written much to its log since that was rotated. */
    bool FillsLog() { return Grows(0); }

    /** Waits until the log has grown; false if that takes too long. */
    bool Grows(qint64 size)
    {
        QElapsedTimer timer;
        timer.start();
        while (QFileInfo(m_log).size() < size + enough && timer.elapsed() < WaitBound())
            QTest::qSleep(5);
        return QFileInfo(m_log).size() >= size + enough;
    }

    void Send(int signal) const { kill(m_pid, signal); }

    /** Waits until the host has resumed that often, and logs again. */
    bool HasResumed(int times)
    {
        QElapsedTimer timer;
        timer.start();
        while (timer.elapsed() < WaitBound()) {
            const QByteArray log = ReadFile(QFile::encodeName(m_log));
            const QByteArray marker("<DEBUG_SERVER_RESTART/>\n");
            const int last = static_cast<int>(log.lastIndexOf(marker));
            if (log.count(marker) > times && log.size() > last + marker.size())
                return true;
            QTest::qSleep(2);
        }
        return false;
    }

    /** Ends the host; how many messages each of its threads logged, none if something failed. */
    QList<QByteArray> Finish()
    {
        m_process->closeWriteChannel();
        if (!m_process->waitForFinished(WaitBound()) || m_process->exitCode() != 0)
            return QList<QByteArray>();
        return m_process->readAllStandardOutput().trimmed().split('\n').last().split(' ');
    }

private:
    QString m_log;
    QScopedPointer<QProcess> m_process;
    pid_t m_pid;
};

/** Reads a log and tells what is wrong with it. */
class LogCheck
{
public:
    LogCheck()
        : m_next(thread_count)
        , m_may_lose(thread_count)
        , m_markers(0)
        , m_lost(0)
        , m_written(0)
    {
    }

    void ReadLines(const QByteArray& text)
    {
        for (const QByteArray& line : text.split('\n')) {
            if (line == "<DEBUG_SERVER_RESTART/>")
                NoteMarker();
            else if (!line.isEmpty())
                ReadRecord(line);
        }
    }

    /** From now on the next record of each thread need not follow its last one. */
    void AllowLoss() { m_may_lose.fill(true); }

    void NoteError(const QByteArray& error) { m_errors += error + '\n'; }

    /** Compares the ends, as nothing may be lost there. */
    void CompareCounts(const QList<QByteArray>& counts)
    {
        if (counts.size() != thread_count)
            NoteError("the host failed");
        for (int i = 0; i < counts.size() && i < thread_count; ++i) {
            if (counts.at(i).toInt() != m_next.at(i))
                NoteError("the host logged " + counts.at(i) + ", and the last one written is " +
                          QByteArray::number(m_next.at(i) - 1));
        }
    }

    const QByteArray& Errors() const { return m_errors; }
    int Markers() const { return m_markers; }

    void Tell(const char* title) const
    {
        fprintf(stdout, "%s: %d rotations, %d records written, %d lost\n", title, rotations,
                m_written, m_lost);
    }

private:
    void NoteMarker()
    {
        ++m_markers;
        AllowLoss();
    }

    void ReadRecord(const QByteArray& line)
    {
        const LogRecord record = ZolTest::ParseRecord(line);
        if (!record.valid)
            NoteError("no record: " + line);
        else if (record.module == "host")
            ReadNumbers(record.message.split(' '));
    }

    void ReadNumbers(const QList<QByteArray>& words)
    {
        const int thread = words.at(0).toInt() % thread_count;
        const int number = words.value(1).toInt();
        const int lost = number - m_next.at(thread);
        if (lost < 0 || (lost > 0 && !m_may_lose.at(thread)))
            NoteError("thread " + words.at(0) + ": " + QByteArray::number(m_next.at(thread)) +
                      " is due, and " + QByteArray::number(number) + " comes");
        m_lost += lost;
        ++m_written;
        m_next[thread] = number + 1;
        m_may_lose[thread] = false;
    }

    QVector<int> m_next; // number of each thread
    QVector<bool> m_may_lose;
    int m_markers;
    int m_lost;
    int m_written;
    QByteArray m_errors;
};

/** Reads the files of a log that was moved: they are whole, and losses stand at a marker only. */
LogCheck CheckMovedLog(const QList<QByteArray>& files)
{
    LogCheck check;
    for (const QByteArray& file : files) {
        if (!file.endsWith('\n'))
            check.NoteError("a file ends within a line");
        check.ReadLines(file);
    }
    return check;
}

/** Reads the files of a log that was copied: what is behind a copy's end may be lost. */
LogCheck CheckCopiedLog(const QList<QByteArray>& files)
{
    LogCheck check;
    for (int i = 0; i < files.size(); ++i) {
        const bool is_copy = i + 1 < files.size();
        const int end = static_cast<int>(files.at(i).lastIndexOf('\n')) + 1;
        if (!is_copy && end != files.at(i).size())
            check.NoteError("the log ends within a line");
        check.ReadLines(files.at(i).left(end));
        check.AllowLoss();
    }
    return check;
}

} // namespace

class TestRotation : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void pauseMoveResume();
    void moveThenPauseAndResume();
    void copyAndTruncate();
    void signalsThatComeTogetherKeepTheirOrder();
    void failedMoveDoesNotLeaveTheHostPaused();
    void logOfNoHostIsRotated();

private:
    void CheckRotations(const QString& configuration,
                        LogCheck (*check_log)(const QList<QByteArray>&), int markers,
                        const char* title);
};

void TestRotation::CheckRotations(const QString& configuration,
                                  LogCheck (*check_log)(const QList<QByteArray>&), int markers,
                                  const char* title)
{
    QVERIFY(!configuration.isEmpty());
    Rotator rotator(configuration);
    LiveHost host(rotator);
    for (int i = 0; i < rotations; ++i) {
        QVERIFY(host.FillsLog());
        QVERIFY2(rotator.Rotate() == 0, rotator.Output().constData());
    }
    QVERIFY(host.FillsLog());
    const QList<QByteArray> counts = host.Finish();

    const QList<QByteArray> files = rotator.Files();
    QCOMPARE(static_cast<int>(files.size()), rotations + 1);
    LogCheck check = check_log(files);
    check.CompareCounts(counts);
    QVERIFY2(check.Errors().isEmpty(), check.Errors().left(2000).constData());
    QCOMPARE(check.Markers(), markers);
    check.Tell(title);
}

void TestRotation::pauseMoveResume()
{
    CheckRotations(Configuration("README.md", "prerotate"), CheckMovedLog, rotations + 1,
                   "pause, move, resume");
}

void TestRotation::moveThenPauseAndResume()
{
    CheckRotations(Configuration("docs/rotation.md", "postrotate"), CheckMovedLog, rotations + 1,
                   "move, then pause and resume");
}

void TestRotation::signalsThatComeTogetherKeepTheirOrder()
{
    Rotator rotator(Configuration("README.md", "prerotate"));
    LiveHost host(rotator);
    for (int i = 0; i < ZolTest::Rounds(200); ++i) {
        host.Send(SIGSTOP);
        host.Send(SIGUSR1);
        host.Send(SIGUSR2);
        host.Send(SIGCONT);
        const int markers = i + 1;
        QVERIFY2(host.HasResumed(markers), QByteArray::number(i).constData());
    }
}

void TestRotation::copyAndTruncate()
{
    CheckRotations(Configuration("README.md", "copytruncate"), CheckCopiedLog, 1,
                   "copy and truncate");
}

void TestRotation::failedMoveDoesNotLeaveTheHostPaused()
{
    QString configuration = Configuration("README.md", "prerotate");
    configuration.replace(Text("prerotate\n"),
                          Text("prerotate\n mkdir -p /var/log/device.log.1/in_the_way\n"));
    Rotator rotator(configuration);
    LiveHost host(rotator);
    QVERIFY(host.FillsLog());
    QVERIFY(rotator.Rotate() != 0);
    QVERIFY(host.Grows(QFileInfo(rotator.Log()).size()));

    const QList<QByteArray> counts = host.Finish();
    LogCheck check = CheckMovedLog(rotator.Files());
    check.CompareCounts(counts);
    QVERIFY2(check.Errors().isEmpty(), check.Errors().left(2000).constData());
    QCOMPARE(check.Markers(), 2);
}

void TestRotation::logOfNoHostIsRotated()
{
    Rotator rotator(Configuration("README.md", "prerotate"));
    rotator.Write("log", Text("old\n"));
    QVERIFY2(rotator.Rotate() == 0, rotator.Output().constData());
    QCOMPARE(rotator.Files().first(), QByteArray("old\n"));
}

QTEST_MAIN(TestRotation)
#include "tst_rotation.moc"
