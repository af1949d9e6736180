#include "reader_text.h"

#include <QtTest/QtTest>

using namespace DbgCat;
using ZolTest::ReaderText;

namespace {

const char* const time_text = "2012/06/29 (Jun) (Fri) 14:03:07.045";

QByteArray Header(const QByteArray& module, const QByteArray& file, const QByteArray& thread,
                  const QByteArray& function = "void f()")
{
    return "<dbg><h><d t=\"" + QByteArray(time_text) + "\" m=\"" + module + "\" f=\"" + file +
           "\" l=\"42\" fnc=\"" + function + "\" lvl=\"DBG_WARN\" thrd=\"" + thread + "\"/></h>";
}

QByteArray Record(const QByteArray& body, const QByteArray& module = "NET",
                  const QByteArray& file = "net/link", const QByteArray& thread = "Main")
{
    return Header(module, file, thread) + "<b>" + body + "</b></dbg>\n";
}

QByteArray Read(const QByteArray& body, const QByteArray& module = "NET",
                const QByteArray& file = "net/link", const QByteArray& thread = "Main",
                const QByteArray& flags = QByteArray())
{
    return "record t=" + QByteArray(time_text) + "|m=" + module + "|f=" + file +
           "|l=42|fnc=void f()|lvl=DBG_WARN|thrd=" + thread + "|b=" + body + flags + "\n";
}

} // namespace

class tst_LogReader : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsItems_data();
    void readsItems();
    void readsTheSameHoweverItComes();
    void keepsTheBeginningOfALongRecord();
    void passesALongLineInPieces();
    void doesNotCutAnEntity();
    void countsDamage();
    void beginsAnew();
    void waitsForTheRestOfARecord();
};

void tst_LogReader::readsItems_data()
{
    QTest::addColumn<QByteArray>("log");
    QTest::addColumn<QByteArray>("items");

    QTest::newRow("nothing") << QByteArray() << QByteArray();
    QTest::newRow("record") << Record("queue &lt;full&gt;") << Read("queue &lt;full&gt;");
    QTest::newRow("empty body") << Record("") << Read("");
    QTest::newRow("line feeds") << Record("a\n\nb\n") << Read("a\n\nb\n");
    QTest::newRow("DOS line end") << Record("a").replace("\n", "\r\n") + Record("b")
                                  << Read("a") + Read("b");
    QTest::newRow("no last line end") << Record("a").trimmed() << Read("a");
    QTest::newRow("restart") << QByteArray("<DEBUG_SERVER_RESTART/>\n") << QByteArray("restart\n");
    QTest::newRow("metric") << QByteArray("<metric f=\"a.cpp\" l=\"3\" c=\"17\"/>\n")
                            << QByteArray("metric f=a.cpp|l=3|c=17\n");
    QTest::newRow("metric of an odd file")
        << QByteArray("<metric f=\"a\" l=\"1\" c=\"2\"/>\" l=\"3\" c=\"17\"/>\n")
        << QByteArray("metric f=a\" l=\"1\" c=\"2\"/>|l=3|c=17\n");
    QTest::newRow("metric without count")
        << QByteArray("<metric f=\"a\" l=\"3\" c=\"\"/>\n")
        << QByteArray("rubbish <metric f=\"a\" l=\"3\" c=\"\"/>\n");

    QTest::newRow("quotes in names")
        << Record("b", "a\"b", "c\"\"d", "\"e\"") << Read("b", "a\"b", "c\"\"d", "\"e\"");
    QTest::newRow("brackets in names")
        << Record("b", "<a>", "x<y", "</h>") << Read("b", "<a>", "x<y", "</h>");
    QTest::newRow("a record's marks in names")
        << Record("b", "a\" l=\"x", "c\" m=\"d", "e\"/></h><b>f")
        << Read("b", "a\" l=\"x", "c\" m=\"d", "e\"/></h><b>f");
    QTest::newRow("a record's end in a name")
        << Record("b", "x", "y", "</b></dbg>z") << Read("b", "x", "y", "</b></dbg>z");
    QTest::newRow("a record's end in a name before what looks like the beginning of an item")
        << Record("b", "x", "y", "</b></dbg><metric>") << Read("b", "x", "y", "</b></dbg><metric>");
    QTest::newRow("line feeds in names")
        << Record("b", "a\nb", "c", "d\n") << Read("b", "a\nb", "c", "d\n");
    QTest::newRow("shifted attributes")
        << QByteArray("<dbg><h><d t=\"T\" m=\"42\" f=\"f\" l=\"void f()\" fnc=\"DBG_INFO\" "
                      "lvl=\"Main\" thrd=\"%7\"/></h><b>x</b></dbg>\n")
        << QByteArray("record t=T|m=42|f=f|l=void f()|fnc=DBG_INFO|lvl=Main|thrd=%7|b=x\n");

    QTest::newRow("rubbish") << QByteArray("hello\nworld\n")
                             << QByteArray("rubbish hello\nrubbish world\n");
    QTest::newRow("rubbish around")
        << "x\n" + Record("a") + "y\n" + Record("b") + "z"
        << "rubbish x\n" + Read("a") + "rubbish y\n" + Read("b") + "rubbish z\n";
    QTest::newRow("rubbish in the same line")
        << "\x01<\xff" + Record("a").trimmed() + "tail\n" + Record("b")
        << "rubbish \x01<\xff\n" + Read("a") + "rubbish tail\n" + Read("b");
    QTest::newRow("null bytes") << QByteArray(100, '\0') + Record("a") + QByteArray(5, '\0') +
                                       "\n" + Record("b") + QByteArray(3, '\0')
                                << Read("a") + Read("b");

    QTest::newRow("torn at the end")
        << Record("a") + Record("half").replace("</b></dbg>\n", "")
        << Read("a") + Read("half", "NET", "net/link", "Main", "|torn");
    QTest::newRow("torn in its end") << Record("half").replace("/dbg>\n", "")
                                     << Read("half", "NET", "net/link", "Main", "|torn");
    QTest::newRow("torn before a restart")
        << Record("half").replace("</b></dbg>\n", "") + "<DEBUG_SERVER_RESTART/>\n" + Record("b")
        << Read("half", "NET", "net/link", "Main", "|torn") + "restart\n" + Read("b");
    QTest::newRow("torn before a record")
        << Record("half").replace("</b></dbg>\n", "") + Record("b")
        << Read("half", "NET", "net/link", "Main", "|torn") + Read("b");
    QTest::newRow("torn before null bytes")
        << Record("half").replace("</b></dbg>\n", "") + QByteArray(50, '\0') + Record("b")
        << Read("half", "NET", "net/link", "Main", "|torn") + Read("b");
    QTest::newRow("torn in the header")
        << QByteArray("<dbg><h><d t=\"2012/06") + "<DEBUG_SERVER_RESTART/>\n" + Record("b")
        << QByteArray("rubbish <dbg><h><d t=\"2012/06\nrestart\n") + Read("b");
    QTest::newRow("torn in the header before a record")
        << QByteArray("<dbg><h><d t=\"2012/06") + Record("b")
        << QByteArray("rubbish <dbg><h><d t=\"2012/06\n") + Read("b");
    QTest::newRow("torn in the header before a metric")
        << QByteArray("<dbg><h><d t=\"2012/06\n") + "<metric f=\"a\" l=\"3\" c=\"17\"/>\n"
        << QByteArray("rubbish <dbg><h><d t=\"2012/06\nmetric f=a|l=3|c=17\n");
    QTest::newRow("a hole in the header")
        << QByteArray("<dbg><h><d t=\"2012/06sage</b></dbg>\n") + Record("b")
        << QByteArray("rubbish <dbg><h><d t=\"2012/06sage</b></dbg>\n") + Read("b");
    QTest::newRow("a bracket in the body")
        << Record("a < b <c> </b> d") << Read("a < b <c> </b> d");
    QTest::newRow("what looks like the beginning of an item")
        << QByteArray("<dbg><h><d t=\n<DEBUG_SERVER\n<metri") + Record("b")
        << "rubbish <dbg><h><d t=\nrubbish <DEBUG_SERVER\nrubbish <metri\n" + Read("b");
}

void tst_LogReader::readsItems()
{
    QFETCH(QByteArray, log);
    QFETCH(QByteArray, items);
    for (const int portion : {1, 2, 7, 1000000})
        QCOMPARE(ReaderText(log, portion), items);
}

void tst_LogReader::readsTheSameHoweverItComes()
{
    QByteArray log;
    log += Record(QByteArray(3000000, 'x'));
    log += QByteArray(200000, 'r') + "\n";
    log += Record("half").replace("</b></dbg>\n", "");
    log += QByteArray(200000, '\0');
    log += Record("last");
    const QByteArray items = ReaderText(log, 1 << 20);
    QVERIFY(items.endsWith(Read("last")));
    for (const int portion : {1000, 4096, 70001, 10000000})
        QVERIFY(ReaderText(log, portion) == items);
}

void tst_LogReader::keepsTheBeginningOfALongRecord()
{
    Damage damage;
    const int size = 100 << 20;
    const QByteArray items =
        ReaderText(Record(QByteArray(size, 'x')) + Record("next"), 1 << 16, &damage);
    QVERIFY(items.endsWith("|cut\n" + Read("next")));
    QVERIFY(items.size() > LogReader::longest_record);
    QVERIFY(items.size() < LogReader::longest_record + 1000);
    QCOMPARE(damage.cut_records, qint64(1));
    QCOMPARE(damage.cut_bytes, qint64(size - items.count('x') + Read("next").count('x')));
}

void tst_LogReader::passesALongLineInPieces()
{
    Damage damage;
    const QByteArray line(10 << 20, 'r');
    QVERIFY(ReaderText(line + "\n" + Record("next"), 1 << 16, &damage) ==
            "rubbish " + line + "\n" + Read("next"));
    QCOMPARE(damage.rubbish_lines, qint64(1));
    QCOMPARE(damage.rubbish_bytes, qint64(line.size() + 1));
}

void tst_LogReader::doesNotCutAnEntity()
{
    for (int offset = 0; offset < 6; ++offset) {
        const QByteArray body = QByteArray(offset, 'x') + QByteArray("&quot;").repeated(1 << 18);
        const QByteArray items = ReaderText(Record(body), 1 << 16);
        QVERIFY(items.endsWith("&quot;|cut\n"));
    }
    for (int offset = 0; offset < 3; ++offset) {
        const QByteArray body = QByteArray(offset, 'x') + QByteArray("\u20ac").repeated(1 << 19);
        QVERIFY(ReaderText(Record(body), 1 << 16).endsWith("\u20ac|cut\n"));
    }
}

void tst_LogReader::countsDamage()
{
    Damage damage;
    ReaderText(Record("a") + Record("b"), 100, &damage);
    QVERIFY(!damage.Any());
    ReaderText(Record("a") + "x\n" + QByteArray(4, '\0') + Record("b").replace("</b></dbg>\n", ""),
               100, &damage);
    QVERIFY(damage.Any());
    QCOMPARE(damage.first_at, qint64(Record("a").size()));
    QCOMPARE(damage.rubbish_lines, qint64(1));
    QCOMPARE(damage.rubbish_bytes, qint64(2));
    QCOMPARE(damage.null_bytes, qint64(4));
    QCOMPARE(damage.torn_records, qint64(1));
}

void tst_LogReader::beginsAnew()
{
    LogReader reader;
    LogItem item;
    int room = 0;
    for (const char* const text : {"half a line", "<DEBUG_SERVER_RESTART/>\n"}) {
        reader.Begin();
        memcpy(reader.Room(&room), text, strlen(text));
        reader.Added(static_cast<int>(strlen(text)));
        reader.End();
        QVERIFY(reader.Next(item));
    }
    QCOMPARE(int(item.kind), int(LogItem::Restart));
    QVERIFY(!reader.Next(item));
    QVERIFY(!reader.GetDamage().Any());
}

void tst_LogReader::waitsForTheRestOfARecord()
{
    const QByteArray record = Record("a");
    LogReader reader;
    LogItem item;
    for (const char byte : record) {
        QVERIFY(!reader.Next(item));
        int room = 0;
        *reader.Room(&room) = byte;
        QVERIFY(room >= 1);
        reader.Added(1);
    }
    QVERIFY(reader.Next(item));
    QVERIFY(!item.torn);
}

QTEST_APPLESS_MAIN(tst_LogReader)
#include "tst_log_reader.moc"
