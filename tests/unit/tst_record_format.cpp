#include "dbg_msg_details.h"
#include "dbg_utils.h"
#include "record_model.h"

#include <QtCore/QQueue>
#include <QtTest/QtTest>

#include <limits>

using namespace Zol;
using ZolTest::ModelEscape;
using ZolTest::ModelHeader;
using ZolTest::ModelRecord;

namespace {

QString Text(const char* text)
{
    return QString::fromUtf8(text);
}

QDateTime SampleTime()
{
    return QDateTime(QDate(2012, 6, 29), QTime(14, 3, 7, 45));
}

DebugMessageDetails SampleDetails()
{
    return DebugMessageDetails(SampleTime(), Text("NET"), Text("net/link"), 42,
                               Text("void Link::Send(int)"), DBG_WARN, Text("Main"),
                               Text("queue <full> & 'late'"));
}

QString Record(const DebugMessageDetails& details)
{
    const QString header = DbgUtils::FormatDbgHeader(
        details.m_time_stamp, details.m_module, details.m_file, details.m_line_no, details.m_func,
        details.m_lvl, details.m_thread);
    return DbgUtils::FormatDbgMessage(header, details.m_message);
}

/** A header without a time, with the given texts, line 42, DBG_WARN. */
QString Header(const char* module, const char* file, const char* func, const char* thread)
{
    return DbgUtils::FormatDbgHeader(QDateTime(), Text(module), Text(file), 42, Text(func),
                                     DBG_WARN, Text(thread));
}

QString HeaderOfTime(const QDateTime& time)
{
    return DbgUtils::FormatDbgHeader(time, QString(), QString(), 0, QString(), DBG_INFO, QString());
}

QString HeaderOfLine(unsigned int line)
{
    return DbgUtils::FormatDbgHeader(QDateTime(), QString(), QString(), line, QString(), DBG_INFO,
                                     QString());
}

QString HeaderOfLevel(DebugLevel level)
{
    return DbgUtils::FormatDbgHeader(QDateTime(), QString(), QString(), 0, QString(), level,
                                     QString());
}

/** The same pseudo-random texts on every machine. */
class RandomTexts
{
public:
    RandomTexts()
        : m_state(20120629u)
    {
    }

    unsigned int Number(unsigned int bound)
    {
        m_state ^= m_state << 13;
        m_state ^= m_state >> 17;
        m_state ^= m_state << 5;
        return m_state % bound;
    }

    QString Next()
    {
        static const char* const pieces[] = {"%",
                                             "%",
                                             "%1",
                                             "%2",
                                             "%3",
                                             "%4",
                                             "%5",
                                             "%6",
                                             "%7",
                                             "%8",
                                             "%99",
                                             "%L",
                                             "L",
                                             "0",
                                             "1",
                                             "2",
                                             "4",
                                             "7",
                                             "9",
                                             "&",
                                             "<",
                                             ">",
                                             "'",
                                             "\"",
                                             "&amp;",
                                             "&lt;",
                                             "\xc3\xa4",
                                             "\xe2\x82\xac",
                                             "a",
                                             "bc",
                                             " ",
                                             "\n",
                                             "[",
                                             "]",
                                             "(",
                                             ")",
                                             "\xf0\x9f\x98\x80"};
        const unsigned int count = sizeof pieces / sizeof *pieces;
        QString text;
        const unsigned int length = Number(9);
        for (unsigned int i = 0; i < length; ++i)
            text += Text(pieces[Number(count)]);
        return text;
    }

private:
    quint32 m_state;
};

} // namespace

class TestRecordFormat : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void defaultDetailsHaveEmptyButNotNullTexts();
    void defaultDetailsHaveNoTimeLineOrLevel();
    void detailsKeepWhatTheyAreGiven();
    void detailsCopyMemberByMember();
    void detailsAssignMemberByMember();
    void copyIsIndependentOfItsOriginal();
    void detailsPassThroughAQueueUnchanged();

    void specialCharacterIsEscaped_data();
    void specialCharacterIsEscaped();
    void everyOccurrenceIsEscaped();
    void ampersandsOfEntitiesAreNotEscapedAgain();
    void existingEntityIsEscapedOnceMore();
    void otherCharactersAreUntouched();
    void zeroCharacterIsUntouched();
    void emptyTextStaysEmpty();

    void workedExampleIsByteExact();
    void headerHasItsForm();
    void timeIsA24HourClockWithMilliseconds_data();
    void timeIsA24HourClockWithMilliseconds();
    void nullTimeIsAnEmptyAttribute();
    void functionIsEscaped();
    void moduleFileAndThreadAreNotEscaped();
    void nonAsciiTextsAreKept();
    void emptyTextsAreEmptyAttributes();
    void singleLevelIsWrittenByName_data();
    void singleLevelIsWrittenByName();
    void otherLevelIsAnEmptyAttribute_data();
    void otherLevelIsAnEmptyAttribute();
    void lineIsUnsignedDecimal_data();
    void lineIsUnsignedDecimal();

    void markersInModuleAndFile_data();
    void markersInModuleAndFile();
    void percentSignWithoutNumberIsKept_data();
    void percentSignWithoutNumberIsKept();
    void markersInFunctionAndThreadAreNotRead_data();
    void markersInFunctionAndThreadAreNotRead();

    void emptyMessageIsAnEmptyBody();
    void messageIsEscaped_data();
    void messageIsEscaped();
    void headerIsNotEscapedInTheRecord();
    void markersInHeaderAndMessageAreNotRead();
    void lineBreaksInTheMessageAreKept();
    void recordHasNoLineEnd();

    void specialCharacterIsFoundAnywhere();
    void randomTextsAreEscapedByTheRules();
    void randomHeadersFollowTheRules();
    void randomRecordsFollowTheRules();
};

void TestRecordFormat::defaultDetailsHaveEmptyButNotNullTexts()
{
    const DebugMessageDetails details;
    const QString texts[] = {details.m_module, details.m_file, details.m_func, details.m_thread,
                             details.m_message};
    for (const QString& text : texts) {
        QVERIFY(text.isEmpty());
        QVERIFY(!text.isNull());
    }
}

void TestRecordFormat::defaultDetailsHaveNoTimeLineOrLevel()
{
    const DebugMessageDetails details;
    QVERIFY(details.m_time_stamp.isNull());
    QCOMPARE(details.m_line_no, 0u);
    QCOMPARE(static_cast<int>(details.m_lvl), 0);
}

void TestRecordFormat::detailsKeepWhatTheyAreGiven()
{
    const DebugMessageDetails details = SampleDetails();
    QCOMPARE(details.m_time_stamp, SampleTime());
    QCOMPARE(details.m_module, Text("NET"));
    QCOMPARE(details.m_file, Text("net/link"));
    QCOMPARE(details.m_line_no, 42u);
    QCOMPARE(details.m_func, Text("void Link::Send(int)"));
    QCOMPARE(static_cast<int>(details.m_lvl), 4);
    QCOMPARE(details.m_thread, Text("Main"));
    QCOMPARE(details.m_message, Text("queue <full> & 'late'"));
}

void TestRecordFormat::detailsCopyMemberByMember()
{
    const DebugMessageDetails original = SampleDetails();
    const DebugMessageDetails copy(original);
    QCOMPARE(copy.m_time_stamp, original.m_time_stamp);
    QCOMPARE(copy.m_line_no, original.m_line_no);
    QCOMPARE(static_cast<int>(copy.m_lvl), static_cast<int>(original.m_lvl));
    QCOMPARE(Record(copy), Record(original));
}

void TestRecordFormat::detailsAssignMemberByMember()
{
    const DebugMessageDetails original = SampleDetails();
    DebugMessageDetails copy;
    copy = original;
    QCOMPARE(copy.m_time_stamp, original.m_time_stamp);
    QCOMPARE(copy.m_line_no, original.m_line_no);
    QCOMPARE(static_cast<int>(copy.m_lvl), static_cast<int>(original.m_lvl));
    QCOMPARE(Record(copy), Record(original));
}

void TestRecordFormat::copyIsIndependentOfItsOriginal()
{
    DebugMessageDetails original = SampleDetails();
    const DebugMessageDetails copy(original);
    original.m_module += Text("2");
    original.m_message.clear();
    original.m_lvl = DBG_TRACE;
    QCOMPARE(Record(copy), Record(SampleDetails()));
}

void TestRecordFormat::detailsPassThroughAQueueUnchanged()
{
    QQueue<DebugMessageDetails> queue;
    queue.enqueue(DebugMessageDetails());
    queue.enqueue(SampleDetails());
    queue.dequeue();
    QCOMPARE(Record(queue.dequeue()), Record(SampleDetails()));
}

void TestRecordFormat::specialCharacterIsEscaped_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("escaped");
    QTest::newRow("ampersand") << Text("&") << Text("&amp;");
    QTest::newRow("less than") << Text("<") << Text("&lt;");
    QTest::newRow("greater than") << Text(">") << Text("&gt;");
    QTest::newRow("apostrophe") << Text("'") << Text("&apos;");
    QTest::newRow("quotation mark") << Text("\"") << Text("&quot;");
}

void TestRecordFormat::specialCharacterIsEscaped()
{
    QFETCH(QString, text);
    QFETCH(QString, escaped);
    QCOMPARE(DbgUtils::XMLiseString(text), escaped);
}

void TestRecordFormat::everyOccurrenceIsEscaped()
{
    QCOMPARE(DbgUtils::XMLiseString(Text("<<a>>\"'\"'&&")),
             Text("&lt;&lt;a&gt;&gt;&quot;&apos;&quot;&apos;&amp;&amp;"));
}

void TestRecordFormat::ampersandsOfEntitiesAreNotEscapedAgain()
{
    QCOMPARE(DbgUtils::XMLiseString(Text("a<b")), Text("a&lt;b"));
}

void TestRecordFormat::existingEntityIsEscapedOnceMore()
{
    QCOMPARE(DbgUtils::XMLiseString(Text("&lt;")), Text("&amp;lt;"));
    QCOMPARE(DbgUtils::XMLiseString(Text("&amp;amp;")), Text("&amp;amp;amp;"));
}

void TestRecordFormat::otherCharactersAreUntouched()
{
    const QString text = Text("a\tb\nc\r\nd \x01\x1b\x7f \xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80 %1 "
                              "`;#/=");
    QCOMPARE(DbgUtils::XMLiseString(text), text);
}

void TestRecordFormat::zeroCharacterIsUntouched()
{
    const QString text = QString::fromLatin1("a") + QChar(0) + QString::fromLatin1("<");
    const QString escaped = QString::fromLatin1("a") + QChar(0) + QString::fromLatin1("&lt;");
    QCOMPARE(DbgUtils::XMLiseString(text), escaped);
}

void TestRecordFormat::emptyTextStaysEmpty()
{
    QVERIFY(DbgUtils::XMLiseString(QString()).isEmpty());
    QVERIFY(DbgUtils::XMLiseString(Text("")).isEmpty());
}

void TestRecordFormat::workedExampleIsByteExact()
{
    QCOMPARE(Record(SampleDetails()).toUtf8(),
             QByteArray("<dbg><h><d t=\"2012/06/29 (Jun) (Fri) 14:03:07.045\" m=\"NET\" "
                        "f=\"net/link\" l=\"42\" fnc=\"void Link::Send(int)\" lvl=\"DBG_WARN\" "
                        "thrd=\"Main\"/></h><b>queue &lt;full&gt; &amp; &apos;late&apos;</b>"
                        "</dbg>"));
}

void TestRecordFormat::headerHasItsForm()
{
    QCOMPARE(Header("M", "F", "G", "T"),
             Text("<h><d t=\"\" m=\"M\" f=\"F\" l=\"42\" fnc=\"G\" lvl=\"DBG_WARN\" "
                  "thrd=\"T\"/></h>"));
}

void TestRecordFormat::timeIsA24HourClockWithMilliseconds_data()
{
    QTest::addColumn<QDateTime>("time");
    QTest::addColumn<QString>("text");
    QTest::newRow("midnight") << QDateTime(QDate(2000, 1, 1), QTime(0, 0, 0, 0))
                              << Text("2000/01/01 (Jan) (Sat) 00:00:00.000");
    QTest::newRow("last millisecond") << QDateTime(QDate(1999, 12, 31), QTime(23, 59, 59, 999))
                                      << Text("1999/12/31 (Dec) (Fri) 23:59:59.999");
    QTest::newRow("noon") << QDateTime(QDate(2024, 2, 29), QTime(12, 0, 0, 1))
                          << Text("2024/02/29 (Feb) (Thu) 12:00:00.001");
    QTest::newRow("afternoon") << QDateTime(QDate(2011, 9, 5), QTime(13, 1, 2, 30))
                               << Text("2011/09/05 (Sep) (Mon) 13:01:02.030");
}

void TestRecordFormat::timeIsA24HourClockWithMilliseconds()
{
    QFETCH(QDateTime, time);
    QFETCH(QString, text);
    QVERIFY(HeaderOfTime(time).startsWith(Text("<h><d t=\"") + text + Text("\" m=\"")));
}

void TestRecordFormat::nullTimeIsAnEmptyAttribute()
{
    QVERIFY(HeaderOfTime(QDateTime()).startsWith(Text("<h><d t=\"\" m=\"")));
}

void TestRecordFormat::functionIsEscaped()
{
    QCOMPARE(Header("M", "F", "void A<B&>::C(char = '\"')", "T"),
             Text("<h><d t=\"\" m=\"M\" f=\"F\" l=\"42\" "
                  "fnc=\"void A&lt;B&amp;&gt;::C(char = &apos;&quot;&apos;)\" lvl=\"DBG_WARN\" "
                  "thrd=\"T\"/></h>"));
}

void TestRecordFormat::moduleFileAndThreadAreNotEscaped()
{
    QCOMPARE(Header("<m>&'\"", "<f>&'\"", "G", "<t>&'\""),
             Text("<h><d t=\"\" m=\"<m>&'\"\" f=\"<f>&'\"\" l=\"42\" fnc=\"G\" lvl=\"DBG_WARN\" "
                  "thrd=\"<t>&'\"\"/></h>"));
}

void TestRecordFormat::nonAsciiTextsAreKept()
{
    QCOMPARE(Header("M\xc3\xa4", "F\xe2\x82\xac", "G\xc3\x9f", "T\xf0\x9f\x98\x80"),
             Text("<h><d t=\"\" m=\"M\xc3\xa4\" f=\"F\xe2\x82\xac\" l=\"42\" fnc=\"G\xc3\x9f\" "
                  "lvl=\"DBG_WARN\" thrd=\"T\xf0\x9f\x98\x80\"/></h>"));
}

void TestRecordFormat::emptyTextsAreEmptyAttributes()
{
    const QString expected =
        Text("<h><d t=\"\" m=\"\" f=\"\" l=\"42\" fnc=\"\" lvl=\"DBG_WARN\" thrd=\"\"/></h>");
    QCOMPARE(Header("", "", "", ""), expected);
    QCOMPARE(DbgUtils::FormatDbgHeader(QDateTime(), QString(), QString(), 42, QString(), DBG_WARN,
                                       QString()),
             expected);
}

void TestRecordFormat::singleLevelIsWrittenByName_data()
{
    QTest::addColumn<int>("level");
    QTest::addColumn<QString>("name");
    QTest::newRow("lowest") << 1 << Text("DBG_TRACE");
    QTest::newRow("special") << 256 << Text("DBG_TIME_TRACE");
    QTest::newRow("highest") << 134217728 << Text("DBG_DEVEL");
}

void TestRecordFormat::singleLevelIsWrittenByName()
{
    QFETCH(int, level);
    QFETCH(QString, name);
    QVERIFY(HeaderOfLevel(static_cast<DebugLevel>(level))
                .endsWith(Text(" lvl=\"") + name + Text("\" thrd=\"\"/></h>")));
}

void TestRecordFormat::otherLevelIsAnEmptyAttribute_data()
{
    QTest::addColumn<int>("level");
    QTest::newRow("none") << 0;
    QTest::newRow("combination") << 6;
    QTest::newRow("bit without a level") << 32768;
    QTest::newRow("all bits") << -1;
}

void TestRecordFormat::otherLevelIsAnEmptyAttribute()
{
    QFETCH(int, level);
    QCOMPARE(HeaderOfLevel(static_cast<DebugLevel>(level)),
             Text("<h><d t=\"\" m=\"\" f=\"\" l=\"0\" fnc=\"\" lvl=\"\" thrd=\"\"/></h>"));
}

void TestRecordFormat::lineIsUnsignedDecimal_data()
{
    QTest::addColumn<uint>("line");
    QTest::addColumn<QString>("text");
    QTest::newRow("zero") << 0u << Text("0");
    QTest::newRow("one digit") << 7u << Text("7");
    QTest::newRow("thousands") << 1234567u << Text("1234567");
    QTest::newRow("beyond signed") << 2147483648u << Text("2147483648");
    QTest::newRow("largest") << std::numeric_limits<quint32>::max() << Text("4294967295");
}

void TestRecordFormat::lineIsUnsignedDecimal()
{
    QFETCH(uint, line);
    QFETCH(QString, text);
    QVERIFY(HeaderOfLine(line).contains(Text(" l=\"") + text + Text("\" fnc=")));
}

void TestRecordFormat::markersInModuleAndFile_data()
{
    QTest::addColumn<QString>("module");
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("expected"); // what follows t=""

    QTest::newRow("a%1b")
        << Text("a%1b") << Text("F")
        << Text("m=\"a42b\" f=\"F\" l=\"G&lt;\" fnc=\"DBG_WARN\" lvl=\"T\" thrd=\"%7\"");
    QTest::newRow("%1 in the file")
        << Text("M") << Text("f%1")
        << Text("m=\"M\" f=\"f42\" l=\"G&lt;\" fnc=\"DBG_WARN\" lvl=\"T\" thrd=\"%7\"");
    QTest::newRow("%1 in both")
        << Text("%1") << Text("%1/%1")
        << Text("m=\"42\" f=\"42/42\" l=\"G&lt;\" fnc=\"DBG_WARN\" lvl=\"T\" thrd=\"%7\"");
    QTest::newRow("%2")
        << Text("%2") << Text("F")
        << Text("m=\"42\" f=\"F\" l=\"G&lt;\" fnc=\"DBG_WARN\" lvl=\"T\" thrd=\"%7\"");
    QTest::newRow("%3 is not the file")
        << Text("%3") << Text("F")
        << Text("m=\"42\" f=\"F\" l=\"G&lt;\" fnc=\"DBG_WARN\" lvl=\"T\" thrd=\"%7\"");
    QTest::newRow("%1%2")
        << Text("%1%2") << Text("F")
        << Text("m=\"42G&lt;\" f=\"F\" l=\"DBG_WARN\" fnc=\"T\" lvl=\"%6\" thrd=\"%7\"");
    QTest::newRow("%1 and %3")
        << Text("%1") << Text("%3")
        << Text("m=\"42\" f=\"G&lt;\" l=\"DBG_WARN\" fnc=\"T\" lvl=\"%6\" thrd=\"%7\"");
    QTest::newRow("%3 and %1")
        << Text("%3") << Text("%1")
        << Text("m=\"G&lt;\" f=\"42\" l=\"DBG_WARN\" fnc=\"T\" lvl=\"%6\" thrd=\"%7\"");
    QTest::newRow("%1%2%3")
        << Text("%1%2%3") << Text("F")
        << Text("m=\"42G&lt;DBG_WARN\" f=\"F\" l=\"T\" fnc=\"%5\" lvl=\"%6\" thrd=\"%7\"");
    QTest::newRow("%4")
        << Text("%4") << Text("F")
        << Text("m=\"42\" f=\"F\" l=\"42\" fnc=\"G&lt;\" lvl=\"DBG_WARN\" thrd=\"T\"");
    QTest::newRow("%5")
        << Text("%5") << Text("F")
        << Text("m=\"G&lt;\" f=\"F\" l=\"42\" fnc=\"G&lt;\" lvl=\"DBG_WARN\" thrd=\"T\"");
    QTest::newRow("%6 and %7")
        << Text("%6") << Text("%7")
        << Text("m=\"DBG_WARN\" f=\"T\" l=\"42\" fnc=\"G&lt;\" lvl=\"DBG_WARN\" thrd=\"T\"");
    QTest::newRow("%8")
        << Text("%8") << Text("F")
        << Text("m=\"%8\" f=\"F\" l=\"42\" fnc=\"G&lt;\" lvl=\"DBG_WARN\" thrd=\"T\"");
    QTest::newRow("two digits")
        << Text("%10") << Text("%12")
        << Text("m=\"%10\" f=\"%12\" l=\"42\" fnc=\"G&lt;\" lvl=\"DBG_WARN\" thrd=\"T\"");
    QTest::newRow("%%1")
        << Text("%%1") << Text("F")
        << Text("m=\"%42\" f=\"F\" l=\"G&lt;\" fnc=\"DBG_WARN\" lvl=\"T\" thrd=\"%7\"");
    QTest::newRow("localised %L1")
        << Text("%L1") << Text("F")
        << Text("m=\"42\" f=\"F\" l=\"G&lt;\" fnc=\"DBG_WARN\" lvl=\"T\" thrd=\"%7\"");
}

void TestRecordFormat::markersInModuleAndFile()
{
    QFETCH(QString, module);
    QFETCH(QString, file);
    QFETCH(QString, expected);
    QCOMPARE(
        DbgUtils::FormatDbgHeader(QDateTime(), module, file, 42, Text("G<"), DBG_WARN, Text("T")),
        Text("<h><d t=\"\" ") + expected + Text("/></h>"));
}

void TestRecordFormat::percentSignWithoutNumberIsKept_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("alone") << Text("%");
    QTest::newRow("doubled") << Text("%%");
    QTest::newRow("at the end") << Text("100%");
    QTest::newRow("before a letter") << Text("%d%s");
    QTest::newRow("before a blank") << Text("% 1");
    QTest::newRow("before L") << Text("%L");
}

void TestRecordFormat::percentSignWithoutNumberIsKept()
{
    QFETCH(QString, text);
    QCOMPARE(DbgUtils::FormatDbgHeader(QDateTime(), text, text, 42, text, DBG_WARN, text),
             Text("<h><d t=\"\" m=\"") + text + Text("\" f=\"") + text +
                 Text("\" l=\"42\" fnc=\"") + text + Text("\" lvl=\"DBG_WARN\" thrd=\"") + text +
                 Text("\"/></h>"));
}

void TestRecordFormat::markersInFunctionAndThreadAreNotRead_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("%1") << Text("%1");
    QTest::newRow("%4") << Text("%4");
    QTest::newRow("%5") << Text("%5");
    QTest::newRow("%6%7") << Text("%6%7");
    QTest::newRow("%L7") << Text("%L7");
}

void TestRecordFormat::markersInFunctionAndThreadAreNotRead()
{
    QFETCH(QString, text);
    QCOMPARE(DbgUtils::FormatDbgHeader(QDateTime(), Text("M"), Text("F"), 42, text, DBG_WARN, text),
             Text("<h><d t=\"\" m=\"M\" f=\"F\" l=\"42\" fnc=\"") + text +
                 Text("\" lvl=\"DBG_WARN\" thrd=\"") + text + Text("\"/></h>"));
}

void TestRecordFormat::emptyMessageIsAnEmptyBody()
{
    QCOMPARE(DbgUtils::FormatDbgMessage(Text("<h/>"), Text("")), Text("<dbg><h/><b></b></dbg>"));
    QCOMPARE(DbgUtils::FormatDbgMessage(Text("<h/>"), QString()), Text("<dbg><h/><b></b></dbg>"));
}

void TestRecordFormat::messageIsEscaped_data()
{
    QTest::addColumn<QString>("message");
    QTest::addColumn<QString>("body");
    QTest::newRow("ampersand") << Text("&") << Text("&amp;");
    QTest::newRow("entity") << Text("&amp;") << Text("&amp;amp;");
    QTest::newRow("end of the body") << Text("</b>") << Text("&lt;/b&gt;");
    QTest::newRow("quotation marks") << Text("\"'") << Text("&quot;&apos;");
}

void TestRecordFormat::messageIsEscaped()
{
    QFETCH(QString, message);
    QFETCH(QString, body);
    QCOMPARE(DbgUtils::FormatDbgMessage(Text("H"), message),
             Text("<dbg>H<b>") + body + Text("</b></dbg>"));
}

void TestRecordFormat::headerIsNotEscapedInTheRecord()
{
    QCOMPARE(DbgUtils::FormatDbgMessage(Text("<h a=\"&lt;'\"/>"), Text("m")),
             Text("<dbg><h a=\"&lt;'\"/><b>m</b></dbg>"));
}

void TestRecordFormat::markersInHeaderAndMessageAreNotRead()
{
    QCOMPARE(DbgUtils::FormatDbgMessage(Text("%2%1"), Text("%1%2%3")),
             Text("<dbg>%2%1<b>%1%2%3</b></dbg>"));
}

void TestRecordFormat::lineBreaksInTheMessageAreKept()
{
    QCOMPARE(DbgUtils::FormatDbgMessage(Text("H"), Text("a\nb\r\n\nc\n")),
             Text("<dbg>H<b>a\nb\r\n\nc\n</b></dbg>"));
}

void TestRecordFormat::recordHasNoLineEnd()
{
    QVERIFY(Record(SampleDetails()).endsWith(Text("</b></dbg>")));
}

void TestRecordFormat::specialCharacterIsFoundAnywhere()
{
    const ushort units[] = {'!', '"', '#',    '%',    '&',    '\'',   '(',    ';',
                            '<', '=', '>',    '?',    0x0122, 0x2222, 0x2626, 0x3c00,
                            0,   1,   0x003c, 0x803e, 0xff26, 0xffff};
    for (int size = 1; size <= 40; ++size) {
        for (int place = 0; place < size; ++place) {
            for (const ushort unit : units) {
                QString text(size, QLatin1Char('a'));
                text[place] = QChar(unit);
                QCOMPARE(DbgUtils::XMLiseString(text), ModelEscape(text));
            }
        }
    }
}

void TestRecordFormat::randomTextsAreEscapedByTheRules()
{
    RandomTexts random;
    for (int i = 0; i < 5000; ++i) {
        const QString text = random.Next();
        QCOMPARE(DbgUtils::XMLiseString(text), ModelEscape(text));
    }
}

void TestRecordFormat::randomHeadersFollowTheRules()
{
    RandomTexts random;
    for (int i = 0; i < 5000; ++i) {
        const QString module = random.Next();
        const QString file = random.Next();
        const QString func = random.Next();
        const QString thread = random.Next();
        const unsigned int line = random.Number(100000u);
        const QDateTime time = SampleTime().addSecs(static_cast<int>(random.Number(86400000u)));
        QCOMPARE(DbgUtils::FormatDbgHeader(time, module, file, line, func, DBG_LOAD, thread),
                 ModelHeader(time, module, file, line, func, Text("DBG_LOAD"), thread));
    }
}

void TestRecordFormat::randomRecordsFollowTheRules()
{
    RandomTexts random;
    for (int i = 0; i < 5000; ++i) {
        const QString header = random.Next();
        const QString message = random.Next();
        QCOMPARE(DbgUtils::FormatDbgMessage(header, message), ModelRecord(header, message));
    }
}

QTEST_MAIN(TestRecordFormat)
#include "tst_record_format.moc"
