#include "level_names.h"
#include "log_filter.h"
#include "log_text.h"
#include "options.h"

#include <QtTest/QtTest>

using namespace DbgCat;

namespace {

const LogTime minute = 60000;

LogTime At(const char* text)
{
    return ParseTimeOption(text, 0);
}

LogItem Record(const char* level, const char* module = "net", const char* thread = "main",
               const char* function = "void f()", const char* body = "text")
{
    LogItem item;
    item.kind = LogItem::Record;
    item.level = ByteSpan(level, level + strlen(level));
    item.module = ByteSpan(module, module + strlen(module));
    item.thread = ByteSpan(thread, thread + strlen(thread));
    item.function = ByteSpan(function, function + strlen(function));
    item.body = ByteSpan(body, body + strlen(body));
    return item;
}

LogItem Other(LogItem::Kind kind)
{
    LogItem item;
    item.kind = kind;
    return item;
}

/** Parses a command line of these words behind the program's name. */
bool Parse(Options& options, std::vector<QByteArray> words, LogTime now = 0)
{
    words.insert(words.begin(), "dbgcat");
    std::vector<char*> arguments;
    for (QByteArray& word : words)
        arguments.push_back(word.data());
    arguments.push_back(0);
    return options.Parse(static_cast<int>(words.size()), arguments.data(), now);
}

bool Admits(const std::vector<QByteArray>& words, const LogItem& item, LogTime time = 0)
{
    Options options;
    return Parse(options, words) && options.filter.Admits(item, time);
}

} // namespace

class tst_LogFilter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void admitsEverythingAtFirst();
    void goesByLevel();
    void goesByMask();
    void goesByNames();
    void goesByExpressions();
    void goesByTime();
    void parsesTimes_data();
    void parsesTimes();
    void ordersRecordTimes();
    void refusesNonsense_data();
    void refusesNonsense();
    void knowsLevels();
    void makesTextVisible();
    void decodesWhatIsNoUtf8();
};

void tst_LogFilter::admitsEverythingAtFirst()
{
    QVERIFY(Admits({}, Record("DBG_INFO")));
    QVERIFY(Admits({}, Record("")));
    QVERIFY(Admits({}, Record("DBG_INFO"), no_time));
    for (const LogItem::Kind kind : {LogItem::Restart, LogItem::Metric, LogItem::Rubbish})
        QVERIFY(Admits({}, Other(kind)));
}

void tst_LogFilter::goesByLevel()
{
    QVERIFY(Admits({"-l", "WARN,ERROR"}, Record("DBG_WARN")));
    QVERIFY(Admits({"-l", "WARN,ERROR"}, Record("DBG_ERROR")));
    QVERIFY(Admits({"-l", "DBG_WARN", "--level=error"}, Record("DBG_ERROR")));
    QVERIFY(!Admits({"-l", "WARN"}, Record("DBG_INFO")));
    QVERIFY(!Admits({"-l", "WARN"}, Record("")));
    QVERIFY(!Admits({"-l", "WARN"}, Other(LogItem::Restart)));
    QVERIFY(!Admits({"-l", "WARN"}, Other(LogItem::Rubbish)));
}

void tst_LogFilter::goesByMask()
{
    QVERIFY(Admits({"-m", "0x2"}, Record("DBG_INFO")));
    QVERIFY(!Admits({"-m", "0x2"}, Record("DBG_ERROR")));
    QVERIFY(Admits({"-m", "+DBG_INFO,-DBG_FATAL"}, Record("DBG_CRITICAL")));
    QVERIFY(!Admits({"-m", "+DBG_INFO,-DBG_FATAL"}, Record("DBG_FATAL")));
    QVERIFY(Admits({"-m", ""}, Record("DBG_FATAL")));
    QVERIFY(!Admits({"-m", ""}, Record("DBG_WARN")));
    QVERIFY(Admits({"-m", "0x8000000", "-l", "WARN"}, Record("DBG_DEVEL")));
}

void tst_LogFilter::goesByNames()
{
    QVERIFY(Admits({"-M", "n*"}, Record("DBG_INFO", "net")));
    QVERIFY(!Admits({"-M", "n*"}, Record("DBG_INFO", "storage")));
    QVERIFY(Admits({"-M", "n*", "-M", "stor??e"}, Record("DBG_INFO", "storage")));
    QVERIFY(!Admits({"-M", "net"}, Record("DBG_INFO", "network")));
    QVERIFY(Admits({"-T", "[mw]ain"}, Record("DBG_INFO", "net", "main")));
    QVERIFY(!Admits({"-T", "io"}, Record("DBG_INFO", "net", "main")));
    QVERIFY(!Admits({"-M", "net", "-T", "io"}, Record("DBG_INFO", "net", "main")));

    GlobSet globs;
    globs.Add("a*");
    for (int i = 0; i < 5000; ++i) { // more than are remembered
        const QByteArray name = (i % 2 ? "a" : "b") + QByteArray::number(i);
        QCOMPARE(globs.Matches(ByteSpan(name)), i % 2 == 1);
        QCOMPARE(globs.Matches(ByteSpan(name)), i % 2 == 1);
    }
}

void tst_LogFilter::goesByExpressions()
{
    const LogItem item =
        Record("DBG_INFO", "net", "main", "f(List&lt;int&gt;)", "it&apos;s 5 &lt; 7");
    QVERIFY(Admits({"-e", "5 < \\d"}, item));
    QVERIFY(!Admits({"-e", "^5"}, item));
    QVERIFY(!Admits({"-e", "lt;"}, item));
    QVERIFY(Admits({"-F", "List<.*>"}, item));
    QVERIFY(!Admits({"-F", "List<.*>", "-e", "8"}, item));
    QVERIFY(Admits({"-e", "(?i)IT'S"}, item));
}

void tst_LogFilter::goesByTime()
{
    const LogTime noon = At("2026-11-21 12:00");
    const std::vector<QByteArray> hour = {"--since", "2026-11-21 12:00",
                                          "--until=2026-11-21 13:00"};
    QVERIFY(Admits(hour, Record("DBG_INFO"), noon));
    QVERIFY(Admits(hour, Record("DBG_INFO"), noon + 60 * minute));
    QVERIFY(!Admits(hour, Record("DBG_INFO"), noon - 1));
    QVERIFY(!Admits(hour, Record("DBG_INFO"), noon + 60 * minute + 1));
    QVERIFY(!Admits(hour, Record("DBG_INFO"), no_time));
    QVERIFY(Admits(hour, Other(LogItem::Restart), noon));
    QVERIFY(!Admits(hour, Other(LogItem::Metric), noon - 1));
    QVERIFY(!Admits(hour, Other(LogItem::Rubbish), noon));
}

void tst_LogFilter::parsesTimes_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("time"); // empty if it is none; it is 2026-11-21 14:00 now

    const char* const times[][2] = {
        {"2026-11-21", "2026-11-21 00:00:00.000"},
        {"2026/11/21", "2026-11-21 00:00:00.000"},
        {"2026-11-21 14:03", "2026-11-21 14:03:00.000"},
        {"2026-11-21T14:03:07", "2026-11-21 14:03:07.000"},
        {"2026-11-21 14:03:07.045", "2026-11-21 14:03:07.045"},
        {"2012/06/29 (Jun) (Fri) 14:03:07.045", "2012-06-29 14:03:07.045"},
        {"9:30", "2026-11-21 09:30:00.000"},
        {"23:59:59.999", "2026-11-21 23:59:59.999"},
        {"10min", "2026-11-21 13:50:00.000"},
        {"90s", "2026-11-21 13:58:30.000"},
        {"2 hours", "2026-11-21 12:00:00.000"},
        {"500ms", "2026-11-21 13:59:59.500"},
        {"1d", "2026-11-20 14:00:00.000"},
        {"2w", "2026-11-07 14:00:00.000"},
        {"2024-02-29", "2024-02-29 00:00:00.000"},
        {"1969-12-31 23:59", "1969-12-31 23:59:00.000"},
        {"", ""},
        {"yesterday", ""},
        {"10", ""},
        {"min", ""},
        {"10 fortnights", ""},
        {"99999999999min", ""},
        {"2026-02-30", ""},
        {"2026-11-21 25:00", ""},
        {"2026-11-21x14:00", ""},
        {"2026-11-2114:00", ""},
    };
    for (const char* const* const time : times)
        QTest::newRow(time[0]) << QByteArray(time[0]) << QByteArray(time[1]);
}

void tst_LogFilter::parsesTimes()
{
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, time);
    const LogTime parsed = ParseTimeOption(text, At("2026-11-21 14:00"));
    if (time.isEmpty())
        QCOMPARE(parsed, no_time);
    else
        QCOMPARE(TimeText(parsed), time);
}

void tst_LogFilter::ordersRecordTimes()
{
    const char* const texts[] = {
        "1999/12/31 (Dec) (Fri) 23:59:59.999", "2000/01/01 (Jan) (Sat) 00:00:00.000",
        "2000/02/29 (Feb) (Tue) 12:00:00.000", "2000/03/01 (M\xc3\xa4r) (Mi.) 00:00:00.000",
        "2000/03/01 () () 00:00:00.001"};
    LogTime last = no_time;
    for (const char* const text : texts) {
        const LogTime time = ParseRecordTime(ByteSpan(text, text + strlen(text)));
        QVERIFY2(time > last, text);
        last = time;
    }
    const char* const no_times[] = {"",
                                    "2000/03/01 00:00:00.00",
                                    "2000/13/01 (x) 00:00:00.000",
                                    "2000-03-01 (x) 00:00:00.000",
                                    "2000/03/01 (x) 00:00:00,000",
                                    "2000/03/01",
                                    "00:00:00.000"};
    for (const char* const text : no_times)
        QCOMPARE(ParseRecordTime(ByteSpan(text, text + strlen(text))), no_time);
}

void tst_LogFilter::refusesNonsense_data()
{
    QTest::addColumn<QByteArray>("words");
    const char* const lines[] = {"-l NONSENSE",  "-l ",        "-l WARN,,INFO", "-m 12abc",
                                 "-e (",         "-F [",       "--since noon",  "--until 5",
                                 "-n many",      "-n -1",      "--color=red",   "--escape=no",
                                 "--json --csv", "--stats -f", "--xml -f",      "--timing -n 5",
                                 "--unknown",    "--report"};
    for (const char* const line : lines)
        QTest::newRow(line) << QByteArray(line);
}

void tst_LogFilter::refusesNonsense()
{
    QFETCH(QByteArray, words);
    Options options;
    const QList<QByteArray> list = words.split(' ');
    QVERIFY(!Parse(options, std::vector<QByteArray>(list.begin(), list.end())));
}

void tst_LogFilter::knowsLevels()
{
    const char trace[] = "DBG_TRACE";
    const char devel[] = "DBG_DEVEL";
    const char none[] = "DBG_NONE";
    QCOMPARE(LevelIndex(ByteSpan(trace, trace + 9)), 0);
    QCOMPARE(LevelIndex(ByteSpan(devel, devel + 9)), level_count - 1);
    QCOMPARE(LevelIndex(ByteSpan(none, none + 8)), level_count);
    QCOMPARE(LevelIndex(ByteSpan()), level_count);
    QCOMPARE(int(LevelAt(level_count - 1)), int(Zol::DBG_DEVEL));
    QCOMPARE(ShortLevelName(2), QByteArray("WARN"));
}

void tst_LogFilter::makesTextVisible()
{
    const QByteArray text = "a\x1b[31m\tb\n\r\x7f\xc2\x9b"
                            "c \xe2\x80\xae \xe2\x82\xac \xff \xc3\xa4";
    QByteArray out;
    AppendVisible(out, ByteSpan(text));
    QCOMPARE(out,
             QByteArray("a\\x1b[31m\tb\n\\x0d\\x7f\\x9bc \\u202e \xe2\x82\xac \\xff \xc3\xa4"));
    out.clear();
    AppendInOneLine(out, ByteSpan(text));
    QVERIFY(!out.contains('\n'));
}

void tst_LogFilter::decodesWhatIsNoUtf8()
{
    const QByteArray utf8 = "\xe2\x82\xac &amp;amp; &x;";
    QCOMPARE(DecodeUnescaped(ByteSpan(utf8)), QString::fromUtf8("\xe2\x82\xac &amp; &x;"));
    for (const char* const text :
         {"\xe4", "\xe2\x82", "\xc0\xaf", "\xed\xa0\x80", "\xf5\x80\x80\x80"})
        QCOMPARE(Decode(ByteSpan(text, text + strlen(text))), QString::fromLatin1(text));
}

QTEST_APPLESS_MAIN(tst_LogFilter)
#include "tst_log_filter.moc"
