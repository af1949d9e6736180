#include "host_process.h"
#include "temp_dir.h"
#include "wait.h"

#include <QtCore/QDeadlineTimer>
#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtTest/QtTest>

using namespace ZolTest;

namespace {

QByteArray Record(const QByteArray& body)
{
    return "<dbg><h><d t=\"2012/06/29 (Jun) (Fri) 14:03:07.045\" m=\"NET\" f=\"net/link\" "
           "l=\"42\" fnc=\"void f()\" lvl=\"DBG_WARN\" thrd=\"Main\"/></h><b>" +
           body + "</b></dbg>\n";
}

QByteArray Line(const QByteArray& body)
{
    return "2012-06-29 14:03:07.045 WARN     NET [Main] " + body + "\n";
}

void Write(const QString& path, const QByteArray& text, QIODevice::OpenMode mode)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | mode));
    QCOMPARE(file.write(text), qint64(text.size()));
}

/** dbgcat, following logs, until the end of the scope. */
class Follower
{
public:
    explicit Follower(const QStringList& arguments)
    {
        const QByteArray emulator = ZOLDEBUG_TEST_EMULATOR;
        QStringList command;
        if (!emulator.isEmpty())
            command = QString::fromLocal8Bit(emulator).split(QLatin1Char('|'));
        command << QLatin1String(DBGCAT) << QLatin1String("-f") << arguments;
        m_process.start(command.takeFirst(), command);
    }

    ~Follower()
    {
        m_process.kill();
        m_process.waitForFinished(WaitBound());
    }

    /** Waits until it has shown @p text, or said it on standard error. */
    bool Shows(const QByteArray& text) { return WaitFor(text, m_shown, QProcess::StandardOutput); }
    bool Says(const QByteArray& text) { return WaitFor(text, m_said, QProcess::StandardError); }

    QByteArray Shown() const { return m_shown; }

private:
    bool WaitFor(const QByteArray& text, QByteArray& read, QProcess::ProcessChannel channel)
    {
        const QDeadlineTimer deadline(WaitBound());
        for (;;) {
            m_process.setReadChannel(channel);
            read += m_process.readAll();
            if (read.contains(text))
                return true;
            if (deadline.hasExpired() || m_process.state() == QProcess::NotRunning)
                return false;
            m_process.waitForReadyRead(50);
        }
    }

    PlainlyForkedProcess m_process;
    QByteArray m_shown;
    QByteArray m_said;
};

} // namespace

class tst_Follow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void showsWhatIsAppended();
    void waitsForTheRestOfARecord();
    void goesOnBehindATruncation();
    void goesOnWithAReplacement();
    void readsTheOldFileToItsEnd();
    void waitsForAFile();
    void showsTheLastAndGoesOn();
    void followsSeveral();
    void reportsDamage();
};

void tst_Follow::showsWhatIsAppended()
{
    TempDir dir;
    const QString log = dir.Path("a.log");
    Write(log, "<DEBUG_SERVER_RESTART/>\n" + Record("one"), QIODevice::Truncate);
    Follower follower({log});
    QVERIFY(follower.Shows("-- restart --\n" + Line("one")));
    Write(log, Record("two"), QIODevice::Append);
    QVERIFY(follower.Shows(Line("two")));
    Write(log, "<DEBUG_SERVER_RESTART/>\n" + Record("three"), QIODevice::Append);
    QVERIFY(follower.Shows("-- restart --\n" + Line("three")));
}

void tst_Follow::waitsForTheRestOfARecord()
{
    TempDir dir;
    const QString log = dir.Path("a.log");
    const QByteArray record = Record("one");
    Write(log, Record("zero") + record.left(80), QIODevice::Truncate);
    Follower follower({log});
    QVERIFY(follower.Shows(Line("zero")));
    Write(log, record.mid(80), QIODevice::Append);
    QVERIFY(follower.Shows(Line("one")));
    QVERIFY(!follower.Shown().contains("torn"));
}

void tst_Follow::goesOnBehindATruncation()
{
    TempDir dir;
    const QString log = dir.Path("a.log");
    Write(log, Record("one") + Record("two"), QIODevice::Truncate);
    Follower follower({log});
    QVERIFY(follower.Shows(Line("two")));
    Write(log, Record("three"), QIODevice::Truncate);
    QVERIFY(follower.Shows(Line("three")));
    QVERIFY(follower.Says("was truncated"));
}

void tst_Follow::goesOnWithAReplacement()
{
    TempDir dir;
    const QString log = dir.Path("a.log");
    Write(log, Record("one"), QIODevice::Truncate);
    Follower follower({log});
    QVERIFY(follower.Shows(Line("one")));
    QVERIFY(QFile::rename(log, dir.Path("a.log.1")));
    Write(log, Record("two"), QIODevice::Truncate);
    QVERIFY(follower.Shows(Line("two")));
    QVERIFY(follower.Says("was replaced"));
}

void tst_Follow::readsTheOldFileToItsEnd()
{
    TempDir dir;
    const QString log = dir.Path("a.log");
    Write(log, Record("one"), QIODevice::Truncate);
    Follower follower({log});
    QVERIFY(follower.Shows(Line("one")));
    QVERIFY(QFile::rename(log, dir.Path("a.log.1")));
    Write(dir.Path("a.log.1"), Record("two"), QIODevice::Append);
    QVERIFY(follower.Shows(Line("two")));
    Write(log, Record("three"), QIODevice::Truncate);
    QVERIFY(follower.Shows(Line("three")));
    QCOMPARE(follower.Shown(), Line("one") + Line("two") + Line("three"));
}

void tst_Follow::waitsForAFile()
{
    TempDir dir;
    const QString log = dir.Path("a.log");
    Follower follower({log});
    QVERIFY(follower.Says("waiting for it"));
    Write(log, Record("one"), QIODevice::Truncate);
    QVERIFY(follower.Shows(Line("one")));
}

void tst_Follow::showsTheLastAndGoesOn()
{
    TempDir dir;
    const QString log = dir.Path("a.log");
    Write(log, Record("one") + Record("two") + Record("three"), QIODevice::Truncate);
    Follower follower({QLatin1String("-n1"), log});
    QVERIFY(follower.Shows(Line("three")));
    Write(log, Record("four"), QIODevice::Append);
    QVERIFY(follower.Shows(Line("four")));
    QCOMPARE(follower.Shown(), Line("three") + Line("four"));
}

void tst_Follow::followsSeveral()
{
    TempDir dir;
    const QString a = dir.Path("a.log");
    const QString b = dir.Path("b.log");
    Write(a, Record("a1"), QIODevice::Truncate);
    Write(b, Record("b1"), QIODevice::Truncate);
    Follower follower({a, b});
    QVERIFY(follower.Shows(Line("a1") + Line("b1")));
    Write(b, Record("b2"), QIODevice::Append);
    QVERIFY(follower.Shows(Line("b2")));
    Write(a, Record("a2"), QIODevice::Append);
    QVERIFY(follower.Shows(Line("a2")));
}

void tst_Follow::reportsDamage()
{
    TempDir dir;
    const QString log = dir.Path("a.log");
    Write(log, Record("one") + "rubbish\n", QIODevice::Truncate);
    Follower follower({log});
    QVERIFY(follower.Says("1 line that is no record (8 bytes)"));
    Write(log, "more\n" + Record("two"), QIODevice::Append);
    QVERIFY(follower.Says("1 line that is no record (5 bytes)"));
    QVERIFY(follower.Shows("rubbish\nmore\n" + Line("two")));
}

QTEST_GUILESS_MAIN(tst_Follow)
#include "tst_follow.moc"
