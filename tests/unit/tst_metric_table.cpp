#include "metric_table.h"

#include <QtCore/QList>
#include <QtTest/QtTest>

#include <atomic>
#include <limits>
#include <thread>
#include <type_traits>
#include <vector>

using Zol::MetricTable;

namespace {

QString Text(const char* text)
{
    return QString::fromUtf8(text);
}

QByteArray DumpOf(MetricTable& table)
{
    QString dump;
    table.Dump(dump);
    return dump.toUtf8();
}

/** The line of a file without "%" markers. */
QByteArray Line(const QByteArray& file, unsigned int line, unsigned long count)
{
    return "<metric f=\"" + file + "\" l=\"" + QByteArray::number(line) + "\" c=\"" +
           QByteArray::number(static_cast<qulonglong>(count)) + "\"/>\n";
}

/** The line that one hit of the line @p line of @p file gives. */
QByteArray LineOfOneHit(const char* file, unsigned int line)
{
    MetricTable table;
    table.Update(Text(file), line);
    return DumpOf(table);
}

void UpdateTimes(MetricTable& table, const char* file, unsigned int line, int times)
{
    for (int i = 0; i < times; ++i)
        table.Update(Text(file), line);
}

bool Less(const char* file_a, unsigned int line_a, const char* file_b, unsigned int line_b)
{
    return MetricTable::MetricKey(Text(file_a), line_a) <
           MetricTable::MetricKey(Text(file_b), line_b);
}

/** One line of a dump, taken apart. */
struct DumpLine
{
    QByteArray file;
    unsigned int line;
    unsigned long count;
};

/** The lines of a dump; empty if one of them is malformed. */
QList<DumpLine> LinesOf(const QByteArray& dump)
{
    QList<DumpLine> lines;
    QList<QByteArray> texts = dump.split('\n');
    if (!texts.takeLast().isEmpty())
        return QList<DumpLine>();
    for (const QByteArray& text : texts) {
        const QList<QByteArray> parts = text.split('"');
        if (parts.size() != 7 || parts.at(0) != "<metric f=" || parts.at(2) != " l=" ||
            parts.at(4) != " c=" || parts.at(6) != "/>")
            return QList<DumpLine>();
        const DumpLine line = {parts.at(1), parts.at(3).toUInt(), parts.at(5).toULong()};
        lines.append(line);
    }
    return lines;
}

bool Ascending(const QList<DumpLine>& lines)
{
    for (int i = 1; i < lines.size(); ++i) {
        const DumpLine& a = lines.at(i - 1);
        const DumpLine& b = lines.at(i);
        if (a.file > b.file || (a.file == b.file && a.line >= b.line))
            return false;
    }
    return true;
}

qulonglong SumOf(const QList<DumpLine>& lines)
{
    qulonglong sum = 0;
    for (const DumpLine& line : lines)
        sum += line.count;
    return sum;
}

const int thread_count = 8;

/** Runs @p count on eight threads at once, with the number of the thread. */
class CountingThreads
{
public:
    template <class Function>
    explicit CountingThreads(Function count)
        : m_waiting(thread_count)
        , m_running(thread_count)
    {
        for (int i = 0; i < thread_count; ++i) {
            m_threads.emplace_back([this, count, i] {
                --m_waiting;
                while (m_waiting > 0)
                    std::this_thread::yield();
                count(i);
                --m_running;
            });
        }
    }

    ~CountingThreads() { Join(); }

    bool Running() const { return m_running > 0; }

    void Join()
    {
        for (std::thread& thread : m_threads) {
            if (thread.joinable())
                thread.join();
        }
    }

private:
    Q_DISABLE_COPY(CountingThreads)

    std::atomic<int> m_waiting;
    std::atomic<int> m_running;
    std::vector<std::thread> m_threads;
};

} // namespace

class TestMetricTable : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void emptyTableDumpsNothing();
    void oneHitMakesOneLine();
    void hitsOfOneLocationAreCounted();
    void linesOfAFileAreCountedApart();
    void sameLineInTwoFilesMakesTwoLines();
    void filesAreComparedExactly();

    void dumpIsOrderedByFileThenLine();
    void linesAreOrderedAsNumbers();
    void filesAreOrderedByCodeUnit();
    void keysAreOrderedByFileThenLine();
    void equalKeysAreNotLess();

    void dumpIsAppended();
    void dumpLeavesTheCounts();
    void dumpOfALargeTableIsCompleteAndOrdered();
    void tablesCountApart();

    void fileNameIsNotEscaped();
    void emptyFileNameCounts();
    void fileNameMayHaveAnyLetters();
    void lineZeroCounts();
    void largestLineIsPrintedInFull();
    void largeNumbersHaveNoSeparators();

    void markersInTheFileNameTakePartInTheSubstitution_data();
    void markersInTheFileNameTakePartInTheSubstitution();

    void tablesCannotBeCopied();

    void noHitIsLostWhileThreadsCount();
    void noHitIsLostWhileAnotherThreadDumps();
    void dumpsWhileLocationsAreAddedStayOrdered();
    void threadsMayDumpAtOnce();
};

void TestMetricTable::emptyTableDumpsNothing()
{
    MetricTable table;
    QString dump;
    table.Dump(dump);

    QVERIFY(dump.isEmpty());
}

void TestMetricTable::oneHitMakesOneLine()
{
    MetricTable table;
    table.Update(Text("net/link.cpp"), 42);

    QCOMPARE(DumpOf(table), QByteArray("<metric f=\"net/link.cpp\" l=\"42\" c=\"1\"/>\n"));
}

void TestMetricTable::hitsOfOneLocationAreCounted()
{
    MetricTable table;
    UpdateTimes(table, "a.cpp", 3, 2);

    QCOMPARE(DumpOf(table), QByteArray("<metric f=\"a.cpp\" l=\"3\" c=\"2\"/>\n"));
    UpdateTimes(table, "a.cpp", 3, 1232);
    QCOMPARE(DumpOf(table), QByteArray("<metric f=\"a.cpp\" l=\"3\" c=\"1234\"/>\n"));
}

void TestMetricTable::linesOfAFileAreCountedApart()
{
    MetricTable table;
    UpdateTimes(table, "a.cpp", 3, 2);
    UpdateTimes(table, "a.cpp", 4, 5);

    QCOMPARE(DumpOf(table), Line("a.cpp", 3, 2) + Line("a.cpp", 4, 5));
}

void TestMetricTable::sameLineInTwoFilesMakesTwoLines()
{
    MetricTable table;
    UpdateTimes(table, "b.cpp", 3, 1);
    UpdateTimes(table, "a.cpp", 3, 2);

    QCOMPARE(DumpOf(table), Line("a.cpp", 3, 2) + Line("b.cpp", 3, 1));
}

void TestMetricTable::filesAreComparedExactly()
{
    MetricTable table;
    UpdateTimes(table, "a.cpp", 1, 1);
    UpdateTimes(table, "A.cpp", 1, 2);
    UpdateTimes(table, "a.cpp ", 1, 3);
    UpdateTimes(table, "./a.cpp", 1, 4);

    QCOMPARE(DumpOf(table), Line("./a.cpp", 1, 4) + Line("A.cpp", 1, 2) + Line("a.cpp", 1, 1) +
                                Line("a.cpp ", 1, 3));
}

void TestMetricTable::dumpIsOrderedByFileThenLine()
{
    MetricTable table;
    UpdateTimes(table, "b", 2, 1);
    UpdateTimes(table, "a", 9, 2);
    UpdateTimes(table, "c", 1, 3);
    UpdateTimes(table, "a", 1, 4);
    UpdateTimes(table, "b", 1, 5);

    QCOMPARE(DumpOf(table), Line("a", 1, 4) + Line("a", 9, 2) + Line("b", 1, 5) + Line("b", 2, 1) +
                                Line("c", 1, 3));
}

void TestMetricTable::linesAreOrderedAsNumbers()
{
    MetricTable table;
    UpdateTimes(table, "a", 100, 1);
    UpdateTimes(table, "a", 20, 1);
    UpdateTimes(table, "a", 3, 1);
    UpdateTimes(table, "a", 3000000000U, 1);

    QCOMPARE(DumpOf(table),
             Line("a", 3, 1) + Line("a", 20, 1) + Line("a", 100, 1) + Line("a", 3000000000U, 1));
}

void TestMetricTable::filesAreOrderedByCodeUnit()
{
    // Neither by letter nor by locale, and a surrogate comes before the last of the 16-bit letters.
    const char* const ascending[] = {
        "", "B", "a", "a/b", "aa", "\xC3\xA4", "\xCF\x80", "\xF0\x9F\x98\x80", "\xEF\xBF\xBD"};
    const int count = static_cast<int>(sizeof ascending / sizeof *ascending);
    MetricTable table;
    QByteArray expected;
    for (int i = 0; i < count; ++i) {
        table.Update(Text(ascending[count - 1 - i]), 1);
        expected += Line(ascending[i], 1, 1);
    }

    QCOMPARE(DumpOf(table), expected);
}

void TestMetricTable::keysAreOrderedByFileThenLine()
{
    QVERIFY(Less("a", 9, "b", 1));
    QVERIFY(!Less("b", 1, "a", 9));
    QVERIFY(Less("a", 1, "a", 2));
    QVERIFY(!Less("a", 2, "a", 1));
    QVERIFY(Less("a", 2147483647U, "a", 2147483648U));
}

void TestMetricTable::equalKeysAreNotLess()
{
    QVERIFY(!Less("a", 1, "a", 1));
    QVERIFY(!Less("", 0, "", 0));
}

void TestMetricTable::dumpIsAppended()
{
    MetricTable table;
    table.Update(Text("a"), 1);
    QString text = Text("head\n");
    table.Dump(text);
    table.Dump(text);

    QCOMPARE(text.toUtf8(), "head\n" + Line("a", 1, 1) + Line("a", 1, 1));
}

void TestMetricTable::dumpLeavesTheCounts()
{
    MetricTable table;
    UpdateTimes(table, "a", 1, 3);
    DumpOf(table);

    QCOMPARE(DumpOf(table), Line("a", 1, 3));
    table.Update(Text("a"), 1);
    QCOMPARE(DumpOf(table), Line("a", 1, 4));
}

void TestMetricTable::dumpOfALargeTableIsCompleteAndOrdered()
{
    const unsigned int files = 40;
    const unsigned int lines = 250;
    MetricTable table;
    QByteArray expected;
    for (unsigned int file = 10; file < 10 + files; ++file) {
        const QByteArray name = "file" + QByteArray::number(file);
        for (unsigned int line = 0; line < lines; ++line) {
            UpdateTimes(table, name.constData(), line, line % 3 == 0 ? 2 : 1);
            expected += Line(name, line, line % 3 == 0 ? 2 : 1);
        }
    }

    QCOMPARE(DumpOf(table), expected);
}

void TestMetricTable::tablesCountApart()
{
    MetricTable first;
    MetricTable second;
    first.Update(Text("a"), 1);
    UpdateTimes(second, "a", 1, 2);

    QCOMPARE(DumpOf(first), Line("a", 1, 1));
    QCOMPARE(DumpOf(second), Line("a", 1, 2));
}

void TestMetricTable::fileNameIsNotEscaped()
{
    QCOMPARE(LineOfOneHit("a\"b<c>&'d&amp;", 7),
             QByteArray("<metric f=\"a\"b<c>&'d&amp;\" l=\"7\" c=\"1\"/>\n"));
}

void TestMetricTable::emptyFileNameCounts()
{
    MetricTable table;
    table.Update(QString(), 5);
    table.Update(Text(""), 5);

    QCOMPARE(DumpOf(table), QByteArray("<metric f=\"\" l=\"5\" c=\"2\"/>\n"));
}

void TestMetricTable::fileNameMayHaveAnyLetters()
{
    QCOMPARE(LineOfOneHit("\xE2\x82\xAC \xF0\x9F\x98\x80\n.cpp", 7),
             QByteArray("<metric f=\"\xE2\x82\xAC \xF0\x9F\x98\x80\n.cpp\" l=\"7\" c=\"1\"/>\n"));
}

void TestMetricTable::lineZeroCounts()
{
    QCOMPARE(LineOfOneHit("a", 0), QByteArray("<metric f=\"a\" l=\"0\" c=\"1\"/>\n"));
}

void TestMetricTable::largestLineIsPrintedInFull()
{
    QCOMPARE(LineOfOneHit("a", std::numeric_limits<unsigned int>::max()),
             QByteArray("<metric f=\"a\" l=\"4294967295\" c=\"1\"/>\n"));
}

void TestMetricTable::largeNumbersHaveNoSeparators()
{
    MetricTable table;
    UpdateTimes(table, "a", 1234567, 12345);

    QCOMPARE(DumpOf(table), QByteArray("<metric f=\"a\" l=\"1234567\" c=\"12345\"/>\n"));
}

void TestMetricTable::markersInTheFileNameTakePartInTheSubstitution_data()
{
    // File, line and count are inserted one after the other, each for the lowest marker then there.
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QByteArray>("line");

    QTest::newRow("the file's own")
        << QByteArray("a%1b") << QByteArray("<metric f=\"a7b\" l=\"1\" c=\"%3\"/>\n");
    QTest::newRow("the file's own, twice")
        << QByteArray("%1%1") << QByteArray("<metric f=\"77\" l=\"1\" c=\"%3\"/>\n");
    QTest::newRow("the line's") << QByteArray("a%2b")
                                << QByteArray("<metric f=\"a7b\" l=\"7\" c=\"1\"/>\n");
    QTest::newRow("the count's") << QByteArray("a%3b")
                                 << QByteArray("<metric f=\"a1b\" l=\"7\" c=\"1\"/>\n");
    QTest::newRow("the file's and the line's")
        << QByteArray("%1%2") << QByteArray("<metric f=\"71\" l=\"1\" c=\"%3\"/>\n");
    QTest::newRow("the line's and the count's")
        << QByteArray("%2%3") << QByteArray("<metric f=\"71\" l=\"7\" c=\"1\"/>\n");
    QTest::newRow("a higher one") << QByteArray("%4")
                                  << QByteArray("<metric f=\"%4\" l=\"7\" c=\"1\"/>\n");
    QTest::newRow("one of two digits")
        << QByteArray("%12") << QByteArray("<metric f=\"%12\" l=\"7\" c=\"1\"/>\n");
    QTest::newRow("none") << QByteArray("50% of %a%")
                          << QByteArray("<metric f=\"50% of %a%\" l=\"7\" c=\"1\"/>\n");
}

void TestMetricTable::markersInTheFileNameTakePartInTheSubstitution()
{
    QFETCH(QByteArray, file);
    QFETCH(QByteArray, line);

    QCOMPARE(LineOfOneHit(file.constData(), 7), line);
}

void TestMetricTable::tablesCannotBeCopied()
{
    QVERIFY(!std::is_copy_constructible<MetricTable>::value);
    QVERIFY(!std::is_copy_assignable<MetricTable>::value);
}

void TestMetricTable::noHitIsLostWhileThreadsCount()
{
    const int hits = 100000;
    MetricTable table;
    CountingThreads threads([&table](int) { UpdateTimes(table, "shared", 1, hits); });
    threads.Join();

    QCOMPARE(DumpOf(table), Line("shared", 1, thread_count * hits));
}

void TestMetricTable::noHitIsLostWhileAnotherThreadDumps()
{
    const int rounds = 2000;
    const unsigned int locations = 10;
    MetricTable table;
    CountingThreads threads([&table](int) {
        for (int round = 0; round < rounds; ++round) {
            for (unsigned int line = 0; line < locations; ++line)
                table.Update(Text("shared"), line);
        }
    });
    qulonglong last_sum = 0;
    bool well_formed = true;
    while (threads.Running()) {
        const QByteArray dump = DumpOf(table);
        const QList<DumpLine> lines = LinesOf(dump);
        const qulonglong sum = SumOf(lines);
        well_formed = well_formed && (dump.isEmpty() || !lines.isEmpty()) && sum >= last_sum;
        last_sum = sum;
    }
    threads.Join();

    QVERIFY(well_formed);
    QByteArray expected;
    for (unsigned int line = 0; line < locations; ++line)
        expected += Line("shared", line, thread_count * rounds);
    QCOMPARE(DumpOf(table), expected);
}

void TestMetricTable::dumpsWhileLocationsAreAddedStayOrdered()
{
    const unsigned int added = 1500;
    MetricTable table;
    CountingThreads threads([&table](int number) {
        const QByteArray file = "file" + QByteArray::number(number);
        for (unsigned int line = added; line > 0; --line)
            table.Update(Text(file.constData()), line);
    });
    bool ordered = true;
    bool once_each = true;
    while (threads.Running()) {
        const QList<DumpLine> lines = LinesOf(DumpOf(table));
        ordered = ordered && Ascending(lines);
        once_each = once_each && SumOf(lines) == static_cast<qulonglong>(lines.size());
    }
    threads.Join();

    QVERIFY(ordered);
    QVERIFY(once_each);
    const QList<DumpLine> lines = LinesOf(DumpOf(table));
    QVERIFY(Ascending(lines));
    QCOMPARE(static_cast<unsigned int>(lines.size()), thread_count * added);
}

void TestMetricTable::threadsMayDumpAtOnce()
{
    MetricTable table;
    for (unsigned int line = 0; line < 300; ++line)
        table.Update(Text("a"), line);
    const QByteArray expected = DumpOf(table);
    std::atomic<int> wrong(0);
    CountingThreads threads([&](int) {
        for (int i = 0; i < 20; ++i) {
            if (DumpOf(table) != expected)
                ++wrong;
        }
    });
    threads.Join();

    QCOMPARE(wrong.load(), 0);
}

QTEST_MAIN(TestMetricTable)

#include "tst_metric_table.moc"
