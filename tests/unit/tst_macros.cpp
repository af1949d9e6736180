#include "debug.h"
#include "log_record.h"
#include "probe.h"
#include "wait.h"

#include <QtCore/QElapsedTimer>
#include <QtTest/QtTest>

// What a macro of several statements or an unguarded "if" in it would provoke in host code.
#pragma GCC diagnostic error "-Wall"
#pragma GCC diagnostic error "-Wextra"
#pragma GCC diagnostic error "-Wpedantic"
#pragma GCC diagnostic error "-Wparentheses"
#pragma GCC diagnostic error "-Wdangling-else"
#pragma GCC diagnostic error "-Wempty-body"
#pragma GCC diagnostic error "-Wunused-value"
#pragma GCC diagnostic error "-Wshadow"

using ZolTest::LogRecord;
using ZolTest::Probe;

namespace {

Zol::DebugModule& On()
{
    static Zol::DebugModule module(QLatin1String("on"));
    return module;
}

Zol::DebugModule& Off()
{
    static Zol::DebugModule module(QLatin1String("off"));
    return module;
}

/** The records of module "on" since the last call. */
QList<LogRecord> Written()
{
    static int calls = 0;
    static int seen = 0;
    const QByteArray sentinel = "sentinel " + QByteArray::number(++calls) + '.';
    Zol::DBG_OBJ(QLatin1String("sentinel"), "", 0, "", Zol::DBG_FATAL).Dbg()
        << sentinel.constData();
    QList<LogRecord> records;
    Probe& probe = Probe::Get(QLatin1String("macros"));
    if (probe.WaitFor(sentinel)) {
        for (const QByteArray& line : probe.Records()) {
            const LogRecord record = ZolTest::ParseRecord(line);
            if (record.module == "on")
                records.append(record);
        }
    }
    records = records.mid(seen);
    seen += static_cast<int>(records.size());
    return records;
}

/** The text of the only record; what is wrong if it is not the only one. */
QByteArray WrittenText()
{
    const QList<LogRecord> records = Written();
    return records.size() == 1 ? records.first().message
                               : QByteArray::number(records.size()) + " records";
}

int evaluated = 0;

int Evaluate(int value)
{
    ++evaluated;
    return value;
}

/** The place of a message as its record should tell it. */
struct Place
{
    int line;
    QByteArray function;
};

bool IsFrom(const LogRecord& record, const Place& place)
{
    return record.file == __FILE__ && record.line == QByteArray::number(place.line) &&
           record.function == place.function;
}

Place LogFromFunction(int, const QString&)
{
    ZOL_INFO(On()) << "function";
    return {__LINE__ - 1, Q_FUNC_INFO};
}

template <class T>
Place LogFromTemplate(const T& value)
{
    ZOL_INFO(On()) << "template " << value;
    return {__LINE__ - 1, Q_FUNC_INFO};
}

class Component
{
public:
    Component()
        : m_module(QLatin1String("on"))
    {
    }

    Place LogFromConst() const
    {
        ZOL_INFO(m_module) << "const member";
        return {__LINE__ - 1, Q_FUNC_INFO};
    }

    static Place LogFromStatic()
    {
        ZOL_INFO(On()) << "static member";
        return {__LINE__ - 1, Q_FUNC_INFO};
    }

    bool operator<(const Component&) const
    {
        ZOL_INFO(m_module) << "operator";
        return false;
    }

private:
    Zol::DebugModule m_module;
};

/** Logs in one branch or notes that the other was taken. */
bool OtherBranchTaken(bool condition, const Zol::DebugModule& module)
{
    bool other = false;
    if (condition)
        ZOL_INFO(module) << Evaluate(1);
    else
        other = true;
    return other;
}

int LastBranchTaken(int number)
{
    int branch = 0;
    if (number == 1)
        ZOL_INFO(On()) << "one";
    else if (number == 2)
        ZOL_INFO(Off()) << "two";
    else
        branch = 3;
    return branch;
}

/** Counts hits; returns the line of the first of two places. */
int Count(const Zol::DebugModule& module)
{
    for (int i = 0; i < 3; ++i)
        ZOL_METRIC(module, Zol::DBG_INFO);
    if (evaluated < 0)
        ZOL_METRIC(module, Zol::DBG_INFO);
    else
        ZOL_LOG_METRIC(module, Zol::DBG_INFO) << "counted " << Evaluate(1);
    return __LINE__ - 5;
}

Place LogScopes()
{
    ZOL_TRACE_SCOPE(On());
    {
        ZOL_TIME_SCOPE(Off());
        ZOL_INFO(On()) << "inside";
    }
    return {__LINE__ - 5, Q_FUNC_INFO};
}

} // namespace

namespace Shop {

// Names that the macros must not find instead of the library's.
namespace Zol {
} // namespace Zol

enum
{
    DBG_INFO,
    DBG_OBJ,
    StreamEnd
};

void Sell()
{
    ZOL_INFO(On()) << "sold";
}

} // namespace Shop

class TestMacros : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void init();

    void enabledMessageIsLoggedOnce();
    void operandsAreEvaluatedOnce();
    void nothingOfADisabledMessageIsEvaluated();
    void shortFormsHaveTheirLevels();
    void anyLevelCanBeLogged();
    void combinedLevelIsLoggedIfOneOfItsLevelsIsEnabled();
    void levelMayBeAnExpression();
    void moduleMayBeAnExpression();
    void messageMayBeEmpty();
    void operandsMayBeAnyStreamableExpression();

    void ifAndElseNeedNoBraces();
    void elseIfNeedsNoBraces();
    void nestedIfBelongsToItsOwnElse();
    void loopsNeedNoBraces();
    void switchCasesNeedNoBraces();
    void lambdaMayConsistOfAMessage();

    void placeIsThatOfTheMessage();
    void placeInATemplateNamesItsArguments();
    void placeInALambdaIsTheLambda();
    void placeInMembersIsTheMember();
    void messageOfSeveralLinesIsPlacedInOne();

    void localVariablesMayBeCalledLikeTheParameters();
    void namesOfTheHostDoNotDisturb();

    void hitsAreCountedAtTheirPlace();
    void countedMessageIsLoggedOnce();
    void disabledLevelCountsNothing();
    void scopeLogsWhereItIsEnteredAndLeft();

private:
    int m_counted_line;
};

void TestMacros::initTestCase()
{
    Zol::DbgCollector::ParseDebugServerOptions(
        QStringList() << QLatin1String("probe:macros") << QLatin1String("*=0x7fffffff")
                      << QLatin1String("off=0") << QLatin1String("errors=8"));
    On();
    Off();
    m_counted_line = Count(On());
    Zol::DbgCollector::Start();
    QElapsedTimer timer;
    timer.start();
    while (!Off().LvlDisabled(Zol::DBG_FATAL) || On().LvlDisabled(Zol::DBG_DEVEL)) {
        QVERIFY(timer.elapsed() < ZolTest::WaitBound());
        QTest::qSleep(1);
    }
}

void TestMacros::cleanupTestCase()
{
    Zol::DbgCollector::Stop();
}

void TestMacros::init()
{
    Written();
    evaluated = 0;
}

void TestMacros::enabledMessageIsLoggedOnce()
{
    ZOL_LOG(On(), Zol::DBG_INFO) << "text " << 1;
    ZOL_LOG(On(), Zol::DBG_WARN) << "text " << 2;

    const QList<LogRecord> records = Written();
    QCOMPARE(records.size(), 2);
    QCOMPARE(records.at(0).message, QByteArray("text 1"));
    QCOMPARE(records.at(1).message, QByteArray("text 2"));
}

void TestMacros::operandsAreEvaluatedOnce()
{
    ZOL_INFO(On()) << Evaluate(7) << Evaluate(8);

    QCOMPARE(evaluated, 2);
    QCOMPARE(WrittenText(), QByteArray("78"));
}

void TestMacros::nothingOfADisabledMessageIsEvaluated()
{
    ZOL_TRACE(Off()) << Evaluate(1);
    ZOL_INFO(Off()) << Evaluate(1) << Evaluate(2);
    ZOL_WARN(Off()) << Evaluate(1);
    ZOL_ERROR(Off()) << Evaluate(1);
    ZOL_CRITICAL(Off()) << Evaluate(1);
    ZOL_FATAL(Off()) << Evaluate(1);
    ZOL_LOG(Off(), Zol::DBG_TIME_TRACE) << Evaluate(1);

    QCOMPARE(evaluated, 0);
}

void TestMacros::shortFormsHaveTheirLevels()
{
    ZOL_TRACE(On());
    ZOL_INFO(On());
    ZOL_WARN(On());
    ZOL_ERROR(On());
    ZOL_CRITICAL(On());
    ZOL_FATAL(On());

    const QList<LogRecord> records = Written();
    QCOMPARE(records.size(), 6);
    QCOMPARE(records.at(0).level, QByteArray("DBG_TRACE"));
    QCOMPARE(records.at(1).level, QByteArray("DBG_INFO"));
    QCOMPARE(records.at(2).level, QByteArray("DBG_WARN"));
    QCOMPARE(records.at(3).level, QByteArray("DBG_ERROR"));
    QCOMPARE(records.at(4).level, QByteArray("DBG_CRITICAL"));
    QCOMPARE(records.at(5).level, QByteArray("DBG_FATAL"));
}

void TestMacros::anyLevelCanBeLogged()
{
    ZOL_LOG(On(), Zol::DBG_TIME_TRACE) << "text";

    const QList<LogRecord> records = Written();
    QCOMPARE(records.size(), 1);
    QCOMPARE(records.first().level, QByteArray("DBG_TIME_TRACE"));
}

void TestMacros::combinedLevelIsLoggedIfOneOfItsLevelsIsEnabled()
{
    Zol::DebugModule errors(QLatin1String("errors"));
    errors.SetMask(Zol::DBG_ERROR);

    ZOL_LOG(errors, Zol::DBG_ERROR | Zol::DBG_INFO) << Evaluate(1);
    QCOMPARE(evaluated, 1);
    ZOL_LOG(Off(), Zol::DBG_WARN | Zol::DBG_INFO) << Evaluate(1);
    QCOMPARE(evaluated, 1);
}

void TestMacros::levelMayBeAnExpression()
{
    bool serious = true;
    ZOL_LOG(On(), serious ? Zol::DBG_ERROR : Zol::DBG_INFO) << "first";
    serious = false;
    ZOL_LOG(On(), serious ? Zol::DBG_ERROR : Zol::DBG_INFO) << "second";

    const QList<LogRecord> records = Written();
    QCOMPARE(records.size(), 2);
    QCOMPARE(records.at(0).level, QByteArray("DBG_ERROR"));
    QCOMPARE(records.at(1).level, QByteArray("DBG_INFO"));
}

void TestMacros::moduleMayBeAnExpression()
{
    Zol::DebugModule* const modules[] = {&On(), &Off()};
    const bool on = true;
    ZOL_INFO(*modules[0]) << "pointer";
    ZOL_INFO(*modules[1]) << Evaluate(1);
    ZOL_INFO(on ? On() : Off()) << "choice";

    QCOMPARE(Written().size(), 2);
    QCOMPARE(evaluated, 0);
}

void TestMacros::messageMayBeEmpty()
{
    ZOL_INFO(On());

    QCOMPARE(WrittenText(), QByteArray());
}

void TestMacros::operandsMayBeAnyStreamableExpression()
{
    const bool on = true;
    ZOL_INFO(On()) << 1 + 2 << (on ? " yes " : " no ") << QString::fromLatin1("text") << ' '
                   << Zol::DBG_WARN;

    QCOMPARE(WrittenText(), QByteArray("3 yes text DBG_WARN"));
}

void TestMacros::ifAndElseNeedNoBraces()
{
    QVERIFY(!OtherBranchTaken(true, On()));
    QVERIFY(!OtherBranchTaken(true, Off()));
    QVERIFY(OtherBranchTaken(false, On()));
    QVERIFY(OtherBranchTaken(false, Off()));
    QCOMPARE(evaluated, 1);
    QCOMPARE(Written().size(), 1);
}

void TestMacros::elseIfNeedsNoBraces()
{
    QCOMPARE(LastBranchTaken(1), 0);
    QCOMPARE(LastBranchTaken(2), 0);
    QCOMPARE(LastBranchTaken(3), 3);
    QCOMPARE(WrittenText(), QByteArray("one"));
}

void TestMacros::nestedIfBelongsToItsOwnElse()
{
    bool outer = true;
    bool inner = false;
    bool inner_else = false;
    if (outer) {
        if (inner)
            ZOL_INFO(Off()) << Evaluate(1);
        else
            inner_else = true;
    } else
        ZOL_INFO(On()) << "outer";

    QVERIFY(inner_else);
    QCOMPARE(Written().size(), 0);
}

void TestMacros::loopsNeedNoBraces()
{
    for (int i = 0; i < 3; ++i)
        ZOL_INFO(On()) << i;
    int left = 2;
    while (left-- > 0)
        ZOL_INFO(On()) << left;
    do
        ZOL_INFO(Off()) << Evaluate(1);
    while (false);

    QCOMPARE(evaluated, 0);
    const QList<LogRecord> records = Written();
    QCOMPARE(records.size(), 5);
    QCOMPARE(records.at(2).message, QByteArray("2"));
    QCOMPARE(records.at(4).message, QByteArray("0"));
}

void TestMacros::switchCasesNeedNoBraces()
{
    for (int i = 0; i < 3; ++i) {
        switch (i) {
        case 0:
            ZOL_INFO(On()) << "zero";
            break;
        case 1:
            ZOL_INFO(Off()) << Evaluate(1);
            break;
        default:
            ZOL_INFO(On()) << "many";
        }
    }

    const QList<LogRecord> records = Written();
    QCOMPARE(records.size(), 2);
    QCOMPARE(records.at(0).message, QByteArray("zero"));
    QCOMPARE(records.at(1).message, QByteArray("many"));
}

void TestMacros::lambdaMayConsistOfAMessage()
{
    const auto log = [](int value) { ZOL_INFO(On()) << value; };
    log(1);
    log(2);

    QCOMPARE(Written().size(), 2);
}

void TestMacros::placeIsThatOfTheMessage()
{
    const Place place = LogFromFunction(1, QString());

    const QList<LogRecord> records = Written();
    QCOMPARE(records.size(), 1);
    QVERIFY(IsFrom(records.first(), place));
    QVERIFY(records.first().function.contains("LogFromFunction(int, const QString"));
}

void TestMacros::placeInATemplateNamesItsArguments()
{
    const Place number = LogFromTemplate(5);
    const Place text = LogFromTemplate(QString::fromLatin1("five"));

    const QList<LogRecord> records = Written();
    QCOMPARE(records.size(), 2);
    QVERIFY(IsFrom(records.at(0), number));
    QVERIFY(IsFrom(records.at(1), text));
    QVERIFY(records.at(0).function != records.at(1).function);
    QCOMPARE(records.at(1).message, QByteArray("template five"));
}

void TestMacros::placeInALambdaIsTheLambda()
{
    const auto log = []() -> Place {
        ZOL_INFO(On()) << "lambda";
        return {__LINE__ - 1, Q_FUNC_INFO};
    };
    const Place place = log();

    const QList<LogRecord> records = Written();
    QCOMPARE(records.size(), 1);
    QVERIFY(IsFrom(records.first(), place));
}

void TestMacros::placeInMembersIsTheMember()
{
    const Component component;
    const Place from_const = component.LogFromConst();
    const Place from_static = Component::LogFromStatic();

    const QList<LogRecord> records = Written();
    QCOMPARE(records.size(), 2);
    QVERIFY(IsFrom(records.at(0), from_const));
    QVERIFY(IsFrom(records.at(1), from_static));
    QVERIFY(!(component < component));
    QCOMPARE(WrittenText(), QByteArray("operator"));
}

void TestMacros::messageOfSeveralLinesIsPlacedInOne()
{
    const int first = __LINE__ + 1;
    ZOL_INFO(On()) << "one "
                   << "two "
                   << "three";
    const int last = __LINE__ - 1;

    const QList<LogRecord> records = Written();
    QCOMPARE(records.size(), 1);
    const int line = records.first().line.toInt();
    QVERIFY(first <= line && line <= last);
}

void TestMacros::localVariablesMayBeCalledLikeTheParameters()
{
    Zol::DebugModule& module = On();
    const Zol::DebugLevel level = Zol::DBG_ERROR;
    const int lvl = 1;
    const int file = 2;
    const int func = 3;
    const int line = 4;
    ZOL_LOG(module, level) << lvl << file << func << line;

    const QList<LogRecord> records = Written();
    QCOMPARE(records.size(), 1);
    QCOMPARE(records.first().level, QByteArray("DBG_ERROR"));
    QCOMPARE(records.first().message, QByteArray("1234"));
}

void TestMacros::namesOfTheHostDoNotDisturb()
{
    Shop::Sell();

    const QList<LogRecord> records = Written();
    QCOMPARE(records.size(), 1);
    QCOMPARE(records.first().level, QByteArray("DBG_INFO"));
    QCOMPARE(records.first().message, QByteArray("sold"));
}

void TestMacros::hitsAreCountedAtTheirPlace()
{
    // The table is written as soon as the collector runs.
    const QByteArray start = QByteArray("<metric f=\"") + __FILE__ + "\" l=\"";
    Probe& probe = Probe::Get(QLatin1String("macros"));
    QVERIFY(probe.WaitFor(start + QByteArray::number(m_counted_line) + "\" c=\"3\"/>\n" + start +
                          QByteArray::number(m_counted_line + 4) + "\" c=\"1\"/>\n"));
    QCOMPARE(probe.Bytes().count(start), 2);
}

void TestMacros::countedMessageIsLoggedOnce()
{
    Count(On());

    QCOMPARE(WrittenText(), QByteArray("counted 1"));
}

void TestMacros::disabledLevelCountsNothing()
{
    Count(Off());

    QCOMPARE(evaluated, 0);
}

void TestMacros::scopeLogsWhereItIsEnteredAndLeft()
{
    const Place place = LogScopes();

    const QList<LogRecord> records = Written();
    QCOMPARE(records.size(), 3);
    QCOMPARE(records.at(0).message, QByteArray("Enter"));
    QCOMPARE(records.at(1).message, QByteArray("inside"));
    QCOMPARE(records.at(2).message, QByteArray("Leave"));
    QVERIFY(IsFrom(records.at(0), place));
    QCOMPARE(records.at(0).level, QByteArray("DBG_TRACE"));
}

QTEST_MAIN(TestMacros)

#include "tst_macros.moc"
