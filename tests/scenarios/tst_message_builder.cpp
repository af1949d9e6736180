#include "dbg_client.h"
#include "dbg_collector.h"
#include "log_record.h"
#include "probe.h"

#include <QtCore/QThread>
#include <QtTest/QtTest>

#include <functional>
#include <thread>
#include <type_traits>

using namespace Zol;
using ZolTest::LogRecord;
using ZolTest::Probe;

namespace {

const char* const time_format = "yyyy/MM/dd (MMM) (ddd) hh:mm:ss.zzz";

QByteArray Now()
{
    return QDateTime::currentDateTime().toString(QLatin1String(time_format)).toLatin1();
}

DbgClient Message(DebugLevel level = DBG_INFO)
{
    return {QLatin1String("net"), "net/link.cpp", 42, "void Link::Send(int)", level};
}

Probe& Output()
{
    return Probe::Get(QLatin1String("a"));
}

/** All that was written until everything logged so far was. */
QByteArray WrittenBytes()
{
    DBG_OBJ(QLatin1String("sentinel"), "f", 1, "g", DBG_INFO).Dbg() << "the end";
    Output().WaitFor("<b>the end</b></dbg>\n");
    return Output().Bytes();
}

/** Waits until all that was logged before the end of a round was written. */
void AwaitRound(int number)
{
    const QByteArray text = "end of round " + QByteArray::number(number);
    DBG_OBJ(QLatin1String("sentinel"), "f", 1, "g", DBG_INFO).Dbg() << text;
    Output().WaitFor("<b>" + text + "</b></dbg>\n");
}

/** The records of module "net". */
QList<LogRecord> Written()
{
    QList<LogRecord> records;
    for (const QByteArray& line : ZolTest::RecordsOf(WrittenBytes())) {
        const LogRecord record = ZolTest::ParseRecord(line);
        if (record.module == "net")
            records.append(record);
    }
    return records;
}

/** The text of the only message; what is wrong if it is not the only one. */
QByteArray WrittenText()
{
    const QList<LogRecord> records = Written();
    return records.size() == 1 ? records.first().message
                               : QByteArray::number(records.size()) + " records";
}

class Worker : public QThread
{
public:
    explicit Worker(const std::function<void()>& work)
        : m_work(work)
    {
    }

protected:
    void run() override { m_work(); }

private:
    std::function<void()> m_work;
};

struct Point
{
    int x;
    int y;
};

QTextStream& operator<<(QTextStream& stream, const Point& point)
{
    return stream << '(' << point.x << '/' << point.y << ')';
}

} // namespace

class TestMessageBuilder : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void recordCarriesEveryField();
    void messageIsCollectedOnce();
    void namedMessageIsCollectedOnceWhenItDies();
    void messageIsCollectedWhenItsBuilderDies();
    void messagesOfOneStatementEachAreWrittenInOrder();
    void buildersCannotBeCopied();
    void emptyMessageIsCollected();
    void moduleIdentifierIsCopied();
    void levelIsNotFiltered();
    void combinedLevelHasNoName();
    void outermostLineNumbersArePrinted();
    void functionSignatureIsEscaped();
    void namesInReusedMemoryAreReadAgain();
    void manyNamesAreWritten();
    void veryLongNameIsWritten();
    void modulesAndThreadsInReusedMemoryAreReadAgain();
    void manyModulesAndThreadsAreWritten();
    void veryLongModuleAndThreadAreWritten();

    void timeStampIsTheTimeOfCreation();
    void halfACharacterLeavesTheRecordWhole();
    void timeStampHasItsFormat();

    void threadNameIsThatOfTheNamedThread();
    void threadWithoutNameGivesAnEmptyName();
    void foreignThreadGivesTheNameOfItsThreadObject();
    void threadNameIsTakenAtCreation();

    void metricReturnsTrue();
    void metricLeavesTheMessageEmpty();

    void numbersAreStreamed();
    void textsAreStreamed();
    void levelsAreStreamedByName();
    void hostTypesAreStreamed();
    void manipulatorsWork();
    void everyStreamedPartIsKept();
    void textMayHoldAnyLetters();
    void markupInTextIsEscaped();
    void percentSignsInTextAreKept();
    void lineBreaksInTextAreKept();
    void veryLongTextIsWrittenWhole();
    void textsInReusedMemoryAreWhole();
    void copyOfATextStaysAsItIs();
};

void TestMessageBuilder::init()
{
    QThread::currentThread()->setObjectName(QLatin1String("Main"));
    DbgCollector::CollectCfgMsg(QLatin1String("probe:a"), QLatin1String("*"),
                                static_cast<DebugLevel>(0x7fffffff));
    DbgCollector::Start();
}

void TestMessageBuilder::cleanup()
{
    DbgCollector::Stop();
}

void TestMessageBuilder::recordCarriesEveryField()
{
    DBG_OBJ(QLatin1String("net"), "net/link.cpp", 42, "void Link::Send(int)", DBG_WARN).Dbg()
        << "queue full";

    const QList<LogRecord> records = Written();
    QCOMPARE(records.size(), 1);
    QCOMPARE(records.first().module, QByteArray("net"));
    QCOMPARE(records.first().file, QByteArray("net/link.cpp"));
    QCOMPARE(records.first().line, QByteArray("42"));
    QCOMPARE(records.first().function, QByteArray("void Link::Send(int)"));
    QCOMPARE(records.first().level, QByteArray("DBG_WARN"));
    QCOMPARE(records.first().thread, QByteArray("Main"));
    QCOMPARE(records.first().message, QByteArray("queue full"));
}

void TestMessageBuilder::messageIsCollectedOnce()
{
    DBG_OBJ(QLatin1String("net"), "f", 1, "g", DBG_INFO).Dbg() << "text";

    QCOMPARE(WrittenText(), QByteArray("text"));
}

void TestMessageBuilder::namedMessageIsCollectedOnceWhenItDies()
{
    {
        DbgClient&& message = DBG_OBJ(QLatin1String("net"), "f", 1, "g", DBG_INFO);
        message.Dbg() << "begun, ";
        DBG_OBJ(QLatin1String("net"), "f", 2, "g", DBG_INFO).Dbg() << "second";
        message.Dbg() << "ended";
    }

    const QList<LogRecord> records = Written();
    QCOMPARE(records.size(), 2);
    QCOMPARE(records.at(0).message, QByteArray("second"));
    QCOMPARE(records.at(1).message, QByteArray("begun, ended"));
}

void TestMessageBuilder::messageIsCollectedWhenItsBuilderDies()
{
    {
        DbgClient message(QLatin1String("net"), "f", 1, "g", DBG_INFO);
        message.Dbg() << "outer";
        {
            DbgClient inner(QLatin1String("net"), "f", 2, "g", DBG_INFO);
            inner.Dbg() << "inner";
        }
        DBG_OBJ(QLatin1String("net"), "f", 3, "g", DBG_INFO).Dbg() << "temporary";
    }

    const QList<LogRecord> records = Written();
    QCOMPARE(records.size(), 3);
    QCOMPARE(records.at(0).message, QByteArray("inner"));
    QCOMPARE(records.at(1).message, QByteArray("temporary"));
    QCOMPARE(records.at(2).message, QByteArray("outer"));
}

void TestMessageBuilder::messagesOfOneStatementEachAreWrittenInOrder()
{
    for (int i = 0; i < 1000; ++i)
        Message().Dbg() << i;

    const QList<LogRecord> records = Written();
    QCOMPARE(records.size(), 1000);
    for (int i = 0; i < 1000; ++i)
        QCOMPARE(records.at(i).message, QByteArray::number(i));
}

void TestMessageBuilder::buildersCannotBeCopied()
{
    QVERIFY(!std::is_copy_constructible<DbgClient>::value);
    QVERIFY(!std::is_move_constructible<DbgClient>::value);
    QVERIFY(!std::is_copy_assignable<DbgClient>::value);
    QVERIFY(!std::is_move_assignable<DbgClient>::value);
}

void TestMessageBuilder::emptyMessageIsCollected()
{
    Message();

    QCOMPARE(WrittenText(), QByteArray());
    QVERIFY(WrittenBytes().contains(" l=\"42\" fnc=\"void Link::Send(int)\" lvl=\"DBG_INFO\" "
                                    "thrd=\"Main\"/></h><b></b></dbg>\n"));
}

void TestMessageBuilder::moduleIdentifierIsCopied()
{
    {
        QString id = QLatin1String("net");
        DbgClient message(id, "f", 1, "g", DBG_INFO);
        id = QLatin1String("changed");
    }

    QCOMPARE(Written().size(), 1);
}

void TestMessageBuilder::levelIsNotFiltered()
{
    Message(DBG_TRACE);
    Message(DBG_TIME_TRACE);
    Message(DBG_DEVEL);

    const QList<LogRecord> records = Written();
    QCOMPARE(records.size(), 3);
    QCOMPARE(records.at(0).level, QByteArray("DBG_TRACE"));
    QCOMPARE(records.at(1).level, QByteArray("DBG_TIME_TRACE"));
    QCOMPARE(records.at(2).level, QByteArray("DBG_DEVEL"));
}

void TestMessageBuilder::combinedLevelHasNoName()
{
    Message(DBG_ERROR | DBG_INFO).Dbg() << "text";

    const QList<LogRecord> records = Written();
    QCOMPARE(records.size(), 1);
    QCOMPARE(records.first().level, QByteArray());
}

void TestMessageBuilder::outermostLineNumbersArePrinted()
{
    DBG_OBJ(QLatin1String("net"), "f", 0, "g", DBG_INFO);
    DBG_OBJ(QLatin1String("net"), "f", 4294967295U, "g", DBG_INFO);

    const QList<LogRecord> records = Written();
    QCOMPARE(records.size(), 2);
    QCOMPARE(records.at(0).line, QByteArray("0"));
    QCOMPARE(records.at(1).line, QByteArray("4294967295"));
}

void TestMessageBuilder::functionSignatureIsEscaped()
{
    DBG_OBJ(QLatin1String("net"), "f", 1, "bool operator<(const Set<int>&, const char*)", DBG_INFO);

    QVERIFY(WrittenBytes().contains(
        " fnc=\"bool operator&lt;(const Set&lt;int&gt;&amp;, const char*)\" lvl="));
}

void TestMessageBuilder::namesInReusedMemoryAreReadAgain()
{
    char name[] = "one";
    DBG_OBJ(QLatin1String("net"), name, 1, name, DBG_INFO);
    memcpy(name, "two", sizeof(name)); // as where another component has been loaded
    DBG_OBJ(QLatin1String("net"), name, 1, name, DBG_INFO);
    name[1] = '\0';
    DBG_OBJ(QLatin1String("net"), name, 1, name, DBG_INFO);

    QByteArray names;
    const QList<LogRecord> records = Written();
    for (const LogRecord& record : records)
        names += record.file + ' ' + record.function + '|';
    QCOMPARE(names, QByteArray("one one|two two|t t|"));
}

void TestMessageBuilder::manyNamesAreWritten()
{
    const int count = 5000;
    for (int round = 0; round < 2; ++round) {
        for (int i = 0; i < count; ++i) {
            const QByteArray name = "file" + QByteArray::number(i);
            DBG_OBJ(QLatin1String("net"), name.constData(), 1, "g", DBG_INFO);
        }
    }

    const QList<LogRecord> records = Written();
    QCOMPARE(static_cast<int>(records.size()), 2 * count);
    for (int i = 0; i < 2 * count; ++i)
        QCOMPARE(records.at(i).file, "file" + QByteArray::number(i % count));
}

void TestMessageBuilder::veryLongNameIsWritten()
{
    const QByteArray name(5000, 'f');
    DBG_OBJ(QLatin1String("net"), name.constData(), 1, name.constData(), DBG_INFO);

    const QList<LogRecord> records = Written();
    QCOMPARE(records.size(), 1);
    QCOMPARE(records.first().file, name);
    QCOMPARE(records.first().function, name);
}

void TestMessageBuilder::modulesAndThreadsInReusedMemoryAreReadAgain()
{
    QString name(QLatin1String("one"));
    QChar* const characters = name.data();
    const char* const names[] = {"one", "two", "six"};
    for (int round = 0; round < 3; ++round) {
        for (int i = 0; i < 3; ++i)
            characters[i] = QLatin1Char(names[round][i]); // as where other text has been put
        QThread::currentThread()->setObjectName(name);
        DBG_OBJ(name, "f", 1, "g", DBG_INFO).Dbg() << "reused";
        AwaitRound(round); // with Qt 4 the record shares the characters
    }

    QByteArray written;
    for (const QByteArray& line : ZolTest::RecordsOf(WrittenBytes())) {
        const LogRecord record = ZolTest::ParseRecord(line);
        if (record.message == "reused")
            written += record.module + ' ' + record.thread + '|';
    }
    QCOMPARE(written, QByteArray("one one|two two|six six|"));
}

void TestMessageBuilder::manyModulesAndThreadsAreWritten()
{
    const int count = 5000;
    for (int i = 0; i < 2 * count; ++i) {
        const QString number = QString::number(i % count);
        QThread::currentThread()->setObjectName(QLatin1String("thread") + number);
        DBG_OBJ(QLatin1String("module") + number, "f", 1, "g", DBG_INFO).Dbg() << "many";
    }

    int found = 0;
    for (const QByteArray& line : ZolTest::RecordsOf(WrittenBytes())) {
        const LogRecord record = ZolTest::ParseRecord(line);
        if (record.message != "many")
            continue;
        const QByteArray number = QByteArray::number(found++ % count);
        QCOMPARE(record.module, "module" + number);
        QCOMPARE(record.thread, "thread" + number);
    }
    QCOMPARE(found, 2 * count);
}

void TestMessageBuilder::veryLongModuleAndThreadAreWritten()
{
    const QString name(5000, QLatin1Char('m'));
    QThread::currentThread()->setObjectName(name);
    DBG_OBJ(name, "f", 1, "g", DBG_INFO).Dbg() << "long";

    QVERIFY(WrittenBytes().contains("<b>long</b>"));
    for (const QByteArray& line : ZolTest::RecordsOf(Output().Bytes())) {
        const LogRecord record = ZolTest::ParseRecord(line);
        if (record.message != "long")
            continue;
        QCOMPARE(record.module, name.toLatin1());
        QCOMPARE(record.thread, name.toLatin1());
    }
}

void TestMessageBuilder::timeStampIsTheTimeOfCreation()
{
    const QByteArray before = Now();
    QByteArray after;
    {
        DbgClient message(QLatin1String("net"), "f", 1, "g", DBG_INFO);
        after = Now();
        while (Now() == after)
            continue;
        const QByteArray later = Now();
        while (Now() == later)
            continue;
        message.Dbg() << "text";
    }

    // Month and weekday follow from the date in front of them, so texts compare like times.
    const QList<LogRecord> records = Written();
    QCOMPARE(records.size(), 1);
    QVERIFY(before <= records.first().time);
    QVERIFY(records.first().time <= after);
}

void TestMessageBuilder::halfACharacterLeavesTheRecordWhole()
{
    const QChar high(0xd800);
    const QChar low(0xdc00);
    Message().Dbg() << "a " << low << "b " << high << "c " << high;

    const QByteArray text = WrittenText();
    QVERIFY2(text.startsWith("a ") && text.contains("b ") && text.contains("c "), text);
}

void TestMessageBuilder::timeStampHasItsFormat()
{
    const QDateTime before = QDateTime::currentDateTime();
    Message();
    const QDateTime after = QDateTime::currentDateTime();

    const QList<LogRecord> records = Written();
    QCOMPARE(records.size(), 1);
    QList<QByteArray> possible;
    for (qint64 i = 0; i <= before.msecsTo(after); ++i)
        possible.append(before.addMSecs(i).toString(QLatin1String(time_format)).toLatin1());
    QVERIFY(possible.contains(records.first().time));
}

void TestMessageBuilder::threadNameIsThatOfTheNamedThread()
{
    Worker worker([] { Message().Dbg() << "text"; });
    worker.setObjectName(QLatin1String("worker 7"));
    worker.start();
    QVERIFY(worker.wait());

    const QList<LogRecord> records = Written();
    QCOMPARE(records.size(), 1);
    QCOMPARE(records.first().thread, QByteArray("worker 7"));
}

void TestMessageBuilder::threadWithoutNameGivesAnEmptyName()
{
    Worker worker([] { Message().Dbg() << "text"; });
    worker.start();
    QVERIFY(worker.wait());

    const QList<LogRecord> records = Written();
    QCOMPARE(records.size(), 1);
    QCOMPARE(records.first().thread, QByteArray());
    QVERIFY(WrittenBytes().contains(" thrd=\"\"/></h><b>text</b></dbg>\n"));
}

void TestMessageBuilder::foreignThreadGivesTheNameOfItsThreadObject()
{
    QByteArray expected;
    std::thread thread([&expected] {
        const QThread* const object = QThread::currentThread();
        expected = object ? object->objectName().toLatin1() : QByteArray("unknown");
        Message().Dbg() << "text";
    });
    thread.join();

    const QList<LogRecord> records = Written();
    QCOMPARE(records.size(), 1);
    QCOMPARE(records.first().thread, expected);
}

void TestMessageBuilder::threadNameIsTakenAtCreation()
{
    {
        DbgClient message(QLatin1String("net"), "f", 1, "g", DBG_INFO);
        QThread::currentThread()->setObjectName(QLatin1String("Renamed"));
    }

    const QList<LogRecord> records = Written();
    QCOMPARE(records.size(), 1);
    QCOMPARE(records.first().thread, QByteArray("Main"));
}

void TestMessageBuilder::metricReturnsTrue()
{
    QVERIFY(Message().Metric("net/link.cpp", 42));
    QVERIFY(Message().Metric("net/link.cpp", 42));
    QVERIFY(Message().Metric("", 0));
    QVERIFY(Message(static_cast<DebugLevel>(0)).Metric("%1<\">", 4294967295U));
}

void TestMessageBuilder::metricLeavesTheMessageEmpty()
{
    Message().Metric("net/link.cpp", 7);

    const QList<LogRecord> records = Written();
    QCOMPARE(records.size(), 1);
    QCOMPARE(records.first().message, QByteArray());
    QCOMPARE(records.first().line, QByteArray("42"));
}

void TestMessageBuilder::numbersAreStreamed()
{
    Message().Dbg() << -1 << ' ' << 4294967295U << ' ' << Q_INT64_C(-9223372036854775807) << ' '
                    << 1.5 << ' ' << short(3) << ' ' << 'c';

    QCOMPARE(WrittenText(), QByteArray("-1 4294967295 -9223372036854775807 1.5 3 c"));
}

void TestMessageBuilder::textsAreStreamed()
{
    Message().Dbg() << "literal, " << QString::fromLatin1("string, ") << QByteArray("bytes, ")
                    << QLatin1String("latin");

    QCOMPARE(WrittenText(), QByteArray("literal, string, bytes, latin"));
}

void TestMessageBuilder::levelsAreStreamedByName()
{
    Message().Dbg() << DBG_WARN << '|' << (DBG_WARN | DBG_INFO) << '|' << DBG_DEVEL << " end";

    QCOMPARE(WrittenText(), QByteArray("DBG_WARN||DBG_DEVEL end"));
}

void TestMessageBuilder::hostTypesAreStreamed()
{
    const Point point = {3, -4};
    Message().Dbg() << "at " << point << '.';

    QCOMPARE(WrittenText(), QByteArray("at (3/-4)."));
}

void TestMessageBuilder::manipulatorsWork()
{
    Message().Dbg() << qSetFieldWidth(4) << 7 << qSetFieldWidth(0) << '|' << qSetPadChar('0')
                    << 255;
    Message().Dbg() << 255;

    const QList<LogRecord> records = Written();
    QCOMPARE(records.size(), 2);
    QCOMPARE(records.at(0).message, QByteArray("   7|255"));
    QCOMPARE(records.at(1).message, QByteArray("255"));
}

void TestMessageBuilder::everyStreamedPartIsKept()
{
    {
        DbgClient message(QLatin1String("net"), "f", 1, "g", DBG_INFO);
        for (int i = 0; i < 5; ++i)
            message.Dbg() << i;
        message.Dbg().flush();
        message.Dbg() << " end";
    }

    QCOMPARE(WrittenText(), QByteArray("01234 end"));
}

void TestMessageBuilder::textMayHoldAnyLetters()
{
    const QByteArray text("gr\xc3\xbc\xc3\x9f \xe2\x82\xac \xf0\x9f\x98\x80");
    Message().Dbg() << QString::fromUtf8(text.constData());

    QCOMPARE(WrittenText(), text);
}

void TestMessageBuilder::markupInTextIsEscaped()
{
    Message().Dbg() << "queue <full> & 'late' \"now\" &amp;";

    QVERIFY(WrittenBytes().contains("<b>queue &lt;full&gt; &amp; &apos;late&apos; "
                                    "&quot;now&quot; &amp;amp;</b></dbg>\n"));
}

void TestMessageBuilder::percentSignsInTextAreKept()
{
    Message().Dbg() << "%1 %2 100% %%";

    QCOMPARE(WrittenText(), QByteArray("%1 %2 100% %%"));
}

void TestMessageBuilder::lineBreaksInTextAreKept()
{
    Message().Dbg() << "first\nsecond\r\n\tthird\n";

    QVERIFY(WrittenBytes().contains("<b>first\nsecond\r\n\tthird\n</b></dbg>\n"));
}

void TestMessageBuilder::veryLongTextIsWrittenWhole()
{
    QByteArray text;
    for (int i = 0; text.size() < 4 * 1024 * 1024; ++i)
        text += "part " + QByteArray::number(i) + "<&>";
    Message().Dbg() << QString::fromLatin1(text.constData());
    Message().Dbg() << "short";

    const QList<LogRecord> records = Written();
    QCOMPARE(records.size(), 2);
    QVERIFY(records.at(0).message == text);
    QCOMPARE(records.at(1).message, QByteArray("short"));
}

void TestMessageBuilder::textsInReusedMemoryAreWhole()
{
    QList<QByteArray> expected;
    for (int round = 0; round < 30; ++round) {
        for (int i = 0; i < 40; ++i) {
            const int length = (i * 37 + round * 11) % 300;
            const QByteArray text(length, static_cast<char>('a' + (i + round) % 26));
            Message().Dbg() << text;
            expected.append(text);
        }
        AwaitRound(round); // so that the next one can have the memory of this one
    }

    bool is_reused = false;
    for (int i = 0; i < 200; ++i)
        is_reused = is_reused || Message().Dbg().string()->capacity() > 150;
    QVERIFY(is_reused);

    const QList<LogRecord> records = Written().mid(0, expected.size());
    QCOMPARE(records.size(), expected.size());
    for (int i = 0; i < static_cast<int>(records.size()); ++i)
        QCOMPARE(records.at(i).message, expected.at(i));
}

void TestMessageBuilder::copyOfATextStaysAsItIs()
{
    QString copy;
    {
        DbgClient message(QLatin1String("net"), "f", 1, "g", DBG_INFO);
        message.Dbg() << "to be kept";
        message.Dbg().flush();
        copy = *message.Dbg().string();
    }
    for (int i = 0; i < 300; ++i) {
        Message().Dbg() << "something else";
        if (i % 100 == 0)
            AwaitRound(i);
    }
    QCOMPARE(copy, QString::fromLatin1("to be kept"));
}

QTEST_MAIN(TestMessageBuilder)

#include "tst_message_builder.moc"
