#include "dbg_utils.h"
#include "host_process.h"

#include <QtCore/QTextStream>
#include <QtTest/QtTest>

#include <cstddef>
#include <type_traits>

using namespace Zol;

namespace {

struct Level
{
    DebugLevel level;
    int value;
    const char* name;
    const QString& (*name_function)();
};

const Level levels[] = {
    {DBG_TRACE, 1, "DBG_TRACE", S_DBG_TRACE},
    {DBG_INFO, 2, "DBG_INFO", S_DBG_INFO},
    {DBG_WARN, 4, "DBG_WARN", S_DBG_WARN},
    {DBG_ERROR, 8, "DBG_ERROR", S_DBG_ERROR},
    {DBG_CRITICAL, 16, "DBG_CRITICAL", S_DBG_CRITICAL},
    {DBG_FATAL, 32, "DBG_FATAL", S_DBG_FATAL},
    {DBG_MEMORY_ALLOC, 64, "DBG_MEMORY_ALLOC", S_DBG_MEMORY_ALLOC},
    {DBG_MEMORY_FREE, 128, "DBG_MEMORY_FREE", S_DBG_MEMORY_FREE},
    {DBG_TIME_TRACE, 256, "DBG_TIME_TRACE", S_DBG_TIME_TRACE},
    {DBG_LOAD, 512, "DBG_LOAD", S_DBG_LOAD},
    {DBG_CONF, 1024, "DBG_CONF", S_DBG_CONF},
    {DBG_JITTER, 2048, "DBG_JITTER", S_DBG_JITTER},
    {DBG_ACCOUNTING, 4096, "DBG_ACCOUNTING", S_DBG_ACCOUNTING},
    {DBG_EVENT, 8192, "DBG_EVENT", S_DBG_EVENT},
    {DBG_CONT_LOG, 16384, "DBG_CONT_LOG", S_DBG_CONT_LOG},
    {DBG_DEVEL, 134217728, "DBG_DEVEL", S_DBG_DEVEL},
};

QString Text(const char* text)
{
    return QString::fromUtf8(text);
}

QString Streamed(DebugLevel level)
{
    QString text;
    QTextStream stream(&text);
    stream << level;
    stream.flush();
    return text;
}

void LevelRows()
{
    QTest::addColumn<int>("index");
    int index = 0;
    for (const Level& level : levels)
        QTest::newRow(level.name) << index++;
}

/** A title for a row that holds this text. */
QByteArray Title(const char* text)
{
    QByteArray title(text);
    title.replace('\t', "\\t").replace('\n', "\\n");
    return '\'' + title + '\'';
}

template <std::size_t count>
void TextRows(const char* const (&texts)[count])
{
    QTest::addColumn<QString>("text");
    for (const char* text : texts)
        QTest::newRow(Title(text).constData()) << Text(text);
}

struct MaskRow
{
    const char* text;
    int mask;
};

template <std::size_t count>
void MaskRows(const MaskRow (&rows)[count])
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("mask");
    for (const MaskRow& row : rows)
        QTest::newRow(Title(row.text).constData()) << Text(row.text) << row.mask;
}

} // namespace

class TestLevels : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void levelsAreAPlainEnumeration();
    void levelHasItsValue_data();
    void levelHasItsValue();
    void levelHasItsName_data();
    void levelHasItsName();
    void nameFunctionReturnsTheName_data();
    void nameFunctionReturnsTheName();
    void nameFunctionReturnsTheSameStringEachTime_data();
    void nameFunctionReturnsTheSameStringEachTime();
    void noLevelHasNoName();
    void combinationHasNoName();
    void bitWithoutALevelHasNoName();
    void negativeValueHasNoName();
    void nameConvertsToItsLevel_data();
    void nameConvertsToItsLevel();
    void anyOtherTextConvertsToFatal_data();
    void anyOtherTextConvertsToFatal();
    void nullTextConvertsToFatal();
    void firstConversionsOnEightThreadsAtOnceAgree();

    void masksCombineAsLevels();
    void combinedMaskIsTheOrOfItsLevels();
    void intersectionKeepsTheSharedLevels();
    void complementRemovesLevels();
    void maskOfAllLevelsHoldsEachOfThem();

    void streamTakesTheName_data();
    void streamTakesTheName();
    void streamTakesNothingForOtherValues();
    void insertionReturnsTheStream();
    void insertionChainsWithText();

    void maskStringExamples_data();
    void maskStringExamples();
    void decimalMask_data();
    void decimalMask();
    void hexadecimalMask_data();
    void hexadecimalMask();
    void whiteSpaceAroundAMaskIsIgnored_data();
    void whiteSpaceAroundAMaskIsIgnored();
    void numberThatCannotBeConvertedIsZero_data();
    void numberThatCannotBeConvertedIsZero();
    void numbersConvertAsQtConvertsThem_data();
    void numbersConvertAsQtConvertsThem();
    void emptyMaskStringIsTheDefault_data();
    void emptyMaskStringIsTheDefault();
    void plusAddsTheLevel_data();
    void plusAddsTheLevel();
    void minusRemovesTheLevel_data();
    void minusRemovesTheLevel();
    void laterTokenOverridesEarlierOne_data();
    void laterTokenOverridesEarlierOne();
    void tokenWithoutOperatorIsIgnored_data();
    void tokenWithoutOperatorIsIgnored();
    void blankAfterACommaMakesTheTokenIgnored_data();
    void blankAfterACommaMakesTheTokenIgnored();
    void emptyTokensAreHarmless_data();
    void emptyTokensAreHarmless();
    void unknownNameStandsForFatal_data();
    void unknownNameStandsForFatal();
    void namesAreNotTrimmed_data();
    void namesAreNotTrimmed();
    void signedNumberIsATokenNotANumber_data();
    void signedNumberIsATokenNotANumber();
};

void TestLevels::levelsAreAPlainEnumeration()
{
    QVERIFY(std::is_enum<DebugLevel>::value);
    QVERIFY((std::is_convertible<DebugLevel, int>::value));
}

void TestLevels::levelHasItsValue_data()
{
    LevelRows();
}

void TestLevels::levelHasItsValue()
{
    QFETCH(int, index);
    QCOMPARE(static_cast<int>(levels[index].level), levels[index].value);
}

void TestLevels::levelHasItsName_data()
{
    LevelRows();
}

void TestLevels::levelHasItsName()
{
    QFETCH(int, index);
    QCOMPARE(DbgUtils::DbgLvlToQS(levels[index].level), Text(levels[index].name));
}

void TestLevels::nameFunctionReturnsTheName_data()
{
    LevelRows();
}

void TestLevels::nameFunctionReturnsTheName()
{
    QFETCH(int, index);
    QCOMPARE(levels[index].name_function(), Text(levels[index].name));
}

void TestLevels::nameFunctionReturnsTheSameStringEachTime_data()
{
    LevelRows();
}

void TestLevels::nameFunctionReturnsTheSameStringEachTime()
{
    QFETCH(int, index);
    const QString* const first = &levels[index].name_function();
    QVERIFY(&levels[index].name_function() == first);
}

void TestLevels::noLevelHasNoName()
{
    QCOMPARE(DbgUtils::DbgLvlToQS(static_cast<DebugLevel>(0)), QString::fromLatin1(""));
}

void TestLevels::combinationHasNoName()
{
    QVERIFY(DbgUtils::DbgLvlToQS(DBG_INFO | DBG_WARN).isEmpty());
    QVERIFY(DbgUtils::DbgLvlToQS(static_cast<DebugLevel>(63)).isEmpty());
    QVERIFY(DbgUtils::DbgLvlToQS(DBG_TRACE | DBG_DEVEL).isEmpty());
}

void TestLevels::bitWithoutALevelHasNoName()
{
    for (int bit = 15; bit <= 30; ++bit) {
        if (bit != 27)
            QVERIFY(DbgUtils::DbgLvlToQS(static_cast<DebugLevel>(1 << bit)).isEmpty());
    }
}

void TestLevels::negativeValueHasNoName()
{
    QVERIFY(DbgUtils::DbgLvlToQS(static_cast<DebugLevel>(-1)).isEmpty());
}

void TestLevels::nameConvertsToItsLevel_data()
{
    LevelRows();
}

void TestLevels::nameConvertsToItsLevel()
{
    QFETCH(int, index);
    QCOMPARE(static_cast<int>(DbgUtils::QSToDbgLvl(Text(levels[index].name))), levels[index].value);
}

void TestLevels::anyOtherTextConvertsToFatal_data()
{
    static const char* const texts[] = {"",
                                        "dbg_info",
                                        "Dbg_Info",
                                        " DBG_INFO",
                                        "DBG_INFO ",
                                        "INFO",
                                        "DBG_",
                                        "DBG_INFOS",
                                        "DBG_INFO,DBG_WARN",
                                        "2",
                                        "0x2",
                                        "+DBG_INFO",
                                        "DBG_NONE",
                                        "*",
                                        "DBG_INF\xc3\x96",
                                        "DBG INFO",
                                        "DBG_MEMORY",
                                        "DBG_DEVEL2",
                                        "DBG_INFO|DBG_WARN",
                                        "\tDBG_INFO",
                                        "S_DBG_INFO"};
    TextRows(texts);
}

void TestLevels::anyOtherTextConvertsToFatal()
{
    QFETCH(QString, text);
    QCOMPARE(static_cast<int>(DbgUtils::QSToDbgLvl(text)), 32);
}

void TestLevels::nullTextConvertsToFatal()
{
    QCOMPARE(static_cast<int>(DbgUtils::QSToDbgLvl(QString())), 32);
}

void TestLevels::firstConversionsOnEightThreadsAtOnceAgree()
{
    // Each process has only one chance to show the race.
    for (int run = 0; run < 100; ++run) {
        const ZolTest::HostResult result = ZolTest::RunHost(Text("host_level_race"));
        QVERIFY(result.exited);
        QCOMPARE(result.exit_code, 0);
        QCOMPARE(result.standard_error, QByteArray());
    }
}

void TestLevels::masksCombineAsLevels()
{
    QVERIFY((std::is_same<decltype(DBG_ERROR | DBG_INFO), DebugLevel>::value));
    QVERIFY((std::is_same<decltype(DBG_ERROR & DBG_INFO), DebugLevel>::value));
}

void TestLevels::combinedMaskIsTheOrOfItsLevels()
{
    QCOMPARE(static_cast<int>(DBG_ERROR | DBG_INFO), 10);
    QCOMPARE(static_cast<int>(DBG_ERROR | DBG_CRITICAL | DBG_FATAL), 56);
    QCOMPARE(static_cast<int>(DBG_DEVEL | DBG_TRACE), 134217729);
}

void TestLevels::intersectionKeepsTheSharedLevels()
{
    QCOMPARE(static_cast<int>((DBG_ERROR | DBG_INFO) & DBG_INFO), 2);
    QCOMPARE(static_cast<int>(DBG_ERROR & DBG_INFO), 0);
}

void TestLevels::complementRemovesLevels()
{
    const DebugLevel mask = static_cast<DebugLevel>(0x7FFFFFFF);
    QCOMPARE(static_cast<int>(mask & ~DBG_FATAL), 0x7FFFFFDF);
}

void TestLevels::maskOfAllLevelsHoldsEachOfThem()
{
    DebugLevel mask = static_cast<DebugLevel>(0);
    for (const Level& level : levels)
        mask = mask | level.level;
    QCOMPARE(static_cast<int>(mask), 0x8007FFF);
    for (const Level& level : levels)
        QCOMPARE(static_cast<int>(mask & level.level), level.value);
}

void TestLevels::streamTakesTheName_data()
{
    LevelRows();
}

void TestLevels::streamTakesTheName()
{
    QFETCH(int, index);
    QCOMPARE(Streamed(levels[index].level), Text(levels[index].name));
}

void TestLevels::streamTakesNothingForOtherValues()
{
    QCOMPARE(Streamed(static_cast<DebugLevel>(0)), QString::fromLatin1(""));
    QCOMPARE(Streamed(DBG_INFO | DBG_WARN), QString::fromLatin1(""));
    QCOMPARE(Streamed(static_cast<DebugLevel>(32768)), QString::fromLatin1(""));
}

void TestLevels::insertionReturnsTheStream()
{
    QString text;
    QTextStream stream(&text);
    QVERIFY(&(stream << DBG_INFO) == &stream);
}

void TestLevels::insertionChainsWithText()
{
    QString text;
    QTextStream stream(&text);
    stream << "level " << DBG_WARN << '/' << DBG_DEVEL << " of " << 5;
    stream.flush();
    QCOMPARE(text, Text("level DBG_WARN/DBG_DEVEL of 5"));
}

void TestLevels::maskStringExamples_data()
{
    static const MaskRow rows[] = {{"+DBG_INFO,-DBG_FATAL", 26},
                                   {"", 56},
                                   {"0x4007", 16391},
                                   {"+DBG_TRACE,+DBG_DEVEL", 134217785}};
    MaskRows(rows);
}

void TestLevels::maskStringExamples()
{
    QFETCH(QString, text);
    QFETCH(int, mask);
    QCOMPARE(static_cast<int>(DbgUtils::ParseDebugMaskString(text)), mask);
}

void TestLevels::decimalMask_data()
{
    static const MaskRow rows[] = {{"0", 0},
                                   {"1", 1},
                                   {"26", 26},
                                   {"63", 63},
                                   {"010", 10},
                                   {"00000000000032", 32},
                                   {"32768", 32768}, // carries no level, and is not checked
                                   {"2147483647", 2147483647}};
    MaskRows(rows);
}

void TestLevels::decimalMask()
{
    QFETCH(QString, text);
    QFETCH(int, mask);
    QCOMPARE(static_cast<int>(DbgUtils::ParseDebugMaskString(text)), mask);
}

void TestLevels::hexadecimalMask_data()
{
    static const MaskRow rows[] = {{"0x0", 0},
                                   {"0x10", 16},
                                   {"0X10", 16},
                                   {"9x10", 16},
                                   {"5X1f", 31},
                                   {"0xabCD", 0xabcd},
                                   {"1x1", 1},
                                   {"0x8000", 32768},
                                   {"0x8000039", 134217785},
                                   {"0x0020", 32},
                                   {"0x7fffffff", 2147483647}};
    MaskRows(rows);
}

void TestLevels::hexadecimalMask()
{
    QFETCH(QString, text);
    QFETCH(int, mask);
    QCOMPARE(static_cast<int>(DbgUtils::ParseDebugMaskString(text)), mask);
}

void TestLevels::whiteSpaceAroundAMaskIsIgnored_data()
{
    static const MaskRow rows[] = {{"  0x10  ", 16},      {"\t12\n", 12},
                                   {"  +DBG_INFO  ", 58}, {"\n-DBG_FATAL,+DBG_INFO\t", 26},
                                   {"   ", 56},           {"\t\n", 56}};
    MaskRows(rows);
}

void TestLevels::whiteSpaceAroundAMaskIsIgnored()
{
    QFETCH(QString, text);
    QFETCH(int, mask);
    QCOMPARE(static_cast<int>(DbgUtils::ParseDebugMaskString(text)), mask);
}

void TestLevels::numberThatCannotBeConvertedIsZero_data()
{
    static const char* const texts[] = {"12abc",       "0x",
                                        "9x",          "0xg",
                                        "0xFFFFFFFF",  "0x80000000",
                                        "2147483648",  "99999999999999",
                                        "1 2",         "1,000",
                                        "12,",         "5+DBG_INFO",
                                        "7,+DBG_INFO", "0b101",
                                        "1.5",         "1e3",
                                        "1a",          "0x10,+DBG_INFO"};
    TextRows(texts);
}

void TestLevels::numberThatCannotBeConvertedIsZero()
{
    QFETCH(QString, text);
    QCOMPARE(static_cast<int>(DbgUtils::ParseDebugMaskString(text)), 0);
}

void TestLevels::numbersConvertAsQtConvertsThem_data()
{
    static const char* const texts[] = {"-1", "+1", "0x10", " 10", "- 1", "1 0", "-80000000"};
    TextRows(texts);
}

void TestLevels::numbersConvertAsQtConvertsThem()
{
    QFETCH(QString, text);
    QCOMPARE(static_cast<int>(DbgUtils::ParseDebugMaskString(Text("0x") + text)),
             text.toInt(nullptr, 16));
}

void TestLevels::emptyMaskStringIsTheDefault_data()
{
    static const char* const texts[] = {"", " ", ",", ",,,", "  ,  "};
    TextRows(texts);
}

void TestLevels::emptyMaskStringIsTheDefault()
{
    QFETCH(QString, text);
    QCOMPARE(static_cast<int>(DbgUtils::ParseDebugMaskString(text)), 56);
    QCOMPARE(static_cast<int>(DbgUtils::ParseDebugMaskString(QString())), 56);
}

void TestLevels::plusAddsTheLevel_data()
{
    LevelRows();
}

void TestLevels::plusAddsTheLevel()
{
    QFETCH(int, index);
    const QString text = QLatin1Char('+') + Text(levels[index].name);
    QCOMPARE(static_cast<int>(DbgUtils::ParseDebugMaskString(text)), 56 | levels[index].value);
}

void TestLevels::minusRemovesTheLevel_data()
{
    LevelRows();
}

void TestLevels::minusRemovesTheLevel()
{
    QFETCH(int, index);
    const QString text = QLatin1Char('-') + Text(levels[index].name);
    QCOMPARE(static_cast<int>(DbgUtils::ParseDebugMaskString(text)), 56 & ~levels[index].value);
}

void TestLevels::laterTokenOverridesEarlierOne_data()
{
    static const MaskRow rows[] = {
        {"+DBG_ERROR,-DBG_ERROR", 48},         {"-DBG_ERROR,+DBG_ERROR", 56},
        {"+DBG_INFO,-DBG_INFO", 56},           {"-DBG_INFO,+DBG_INFO", 58},
        {"+DBG_INFO,-DBG_INFO,+DBG_INFO", 58}, {"-DBG_FATAL,+DBG_NONE", 56},
        {"+DBG_NONE,-DBG_FATAL", 24},          {"-DBG_ERROR,-DBG_CRITICAL,-DBG_FATAL", 0},
        {"+DBG_LOAD,+DBG_LOAD", 568}};
    MaskRows(rows);
}

void TestLevels::laterTokenOverridesEarlierOne()
{
    QFETCH(QString, text);
    QFETCH(int, mask);
    QCOMPARE(static_cast<int>(DbgUtils::ParseDebugMaskString(text)), mask);
}

void TestLevels::tokenWithoutOperatorIsIgnored_data()
{
    static const MaskRow rows[] = {{"DBG_INFO", 56},
                                   {"x10", 56},
                                   {"*DBG_INFO", 56},
                                   {"=DBG_INFO", 56},
                                   {"DBG_FATAL,-DBG_ERROR", 48},
                                   {"+DBG_INFO,DBG_WARN", 58},
                                   {"+DBG_INFO,0x10", 58},
                                   {"+DBG_INFO,63", 58},
                                   {"abc,def", 56},
                                   {"_+DBG_INFO", 56}};
    MaskRows(rows);
}

void TestLevels::tokenWithoutOperatorIsIgnored()
{
    QFETCH(QString, text);
    QFETCH(int, mask);
    QCOMPARE(static_cast<int>(DbgUtils::ParseDebugMaskString(text)), mask);
}

void TestLevels::blankAfterACommaMakesTheTokenIgnored_data()
{
    static const MaskRow rows[] = {{"+DBG_INFO, +DBG_WARN", 58},
                                   {"+DBG_INFO, -DBG_FATAL", 58},
                                   {"+DBG_INFO,\n\t+DBG_WARN", 58},
                                   {"+DBG_INFO, +DBG_WARN,+DBG_TRACE", 59}};
    MaskRows(rows);
}

void TestLevels::blankAfterACommaMakesTheTokenIgnored()
{
    QFETCH(QString, text);
    QFETCH(int, mask);
    QCOMPARE(static_cast<int>(DbgUtils::ParseDebugMaskString(text)), mask);
}

void TestLevels::emptyTokensAreHarmless_data()
{
    static const MaskRow rows[] = {{"+DBG_INFO,", 58},
                                   {",+DBG_INFO", 58},
                                   {"+DBG_INFO,,+DBG_WARN", 62},
                                   {",,+DBG_INFO,,", 58}};
    MaskRows(rows);
}

void TestLevels::emptyTokensAreHarmless()
{
    QFETCH(QString, text);
    QFETCH(int, mask);
    QCOMPARE(static_cast<int>(DbgUtils::ParseDebugMaskString(text)), mask);
}

void TestLevels::unknownNameStandsForFatal_data()
{
    static const MaskRow rows[] = {{"+DBG_NONE", 56},
                                   {"-DBG_NONE", 24},
                                   {"+", 56},
                                   {"-", 24},
                                   {"+dbg_info", 56},
                                   {"-dbg_error", 24},
                                   {"++DBG_INFO", 56},
                                   {"--DBG_ERROR", 24},
                                   {"-DBG_ERROR;+DBG_INFO", 24},
                                   {"+DBG_INFO|DBG_WARN", 56}};
    MaskRows(rows);
}

void TestLevels::unknownNameStandsForFatal()
{
    QFETCH(QString, text);
    QFETCH(int, mask);
    QCOMPARE(static_cast<int>(DbgUtils::ParseDebugMaskString(text)), mask);
}

void TestLevels::namesAreNotTrimmed_data()
{
    static const MaskRow rows[] = {{"+ DBG_INFO", 56},
                                   {"- DBG_ERROR", 24},
                                   {"+DBG_INFO ,+DBG_WARN", 60},
                                   {"-DBG_ERROR ,+DBG_WARN", 28}};
    MaskRows(rows);
}

void TestLevels::namesAreNotTrimmed()
{
    QFETCH(QString, text);
    QFETCH(int, mask);
    QCOMPARE(static_cast<int>(DbgUtils::ParseDebugMaskString(text)), mask);
}

void TestLevels::signedNumberIsATokenNotANumber_data()
{
    static const MaskRow rows[] = {{"-5", 24}, {"+5", 56}, {"-0x10", 24}, {"+0x1", 56}};
    MaskRows(rows);
}

void TestLevels::signedNumberIsATokenNotANumber()
{
    QFETCH(QString, text);
    QFETCH(int, mask);
    QCOMPARE(static_cast<int>(DbgUtils::ParseDebugMaskString(text)), mask);
}

QTEST_MAIN(TestLevels)
#include "tst_levels.moc"
