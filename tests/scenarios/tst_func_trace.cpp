#include "collector_tools.h"
#include "debug.h"
#include "log_record.h"
#include "module_masks.h"
#include "probe.h"

#include <QtTest/QtTest>

#include <atomic>
#include <memory>
#include <string.h>
#include <sys/syscall.h>
#include <time.h>
#include <type_traits>
#include <unistd.h>
#include <vector>

using namespace Zol;
using ZolTest::LogRecord;
using ZolTest::ProbeOf;

namespace {

/** The monotonic clock of the calling thread while it is set. */
thread_local timespec set_time;
thread_local bool time_is_set = false;
thread_local int clock_reads = 0;

} // namespace

/** Takes precedence over the C library's, in the shared libraries too. */
extern "C" Q_DECL_EXPORT int clock_gettime(clockid_t clock, timespec* time) noexcept
{
    if (clock == CLOCK_MONOTONIC && time_is_set) {
        ++clock_reads;
        *time = set_time;
        return 0;
    }
#ifdef SYS_clock_gettime64
    if (sizeof time->tv_sec > sizeof(long))
        return static_cast<int>(syscall(SYS_clock_gettime64, clock, time));
#endif
    return static_cast<int>(syscall(SYS_clock_gettime, clock, time));
}

namespace {

/** Sets the monotonic clock of this thread for the time of a scope. */
class Clock
{
public:
    Clock() { time_is_set = true; }
    ~Clock() { time_is_set = false; }

    void Set(int second, int nanosecond = 0)
    {
        set_time.tv_sec = second;
        set_time.tv_nsec = nanosecond;
    }

    /** How often the time was asked for since the last question. */
    int TakeReads()
    {
        const int reads = clock_reads;
        clock_reads = 0;
        return reads;
    }

private:
    Q_DISABLE_COPY(Clock)
};

const DebugLevel no_level = static_cast<DebugLevel>(0);
const int guard_line = 42;

/** A guard whose life the test ends when it likes. */
class Guard
{
public:
    explicit Guard(const DebugModule& module, bool time_trace = true)
        : m_trace(new DbgFuncTrace(module, "disk/store.cpp", guard_line, "void Store<int>::Put()",
                                   time_trace))
    {
    }

    void End() { m_trace.reset(); }

private:
    std::unique_ptr<DbgFuncTrace> m_trace;
};

/** A module before the start, when nobody but the test sets its mask. */
class TracedModule : public DebugModule
{
public:
    explicit TracedModule(const char* id, DebugLevel mask = DBG_TIME_TRACE)
        : DebugModule(QLatin1String(id))
    {
        SetMask(mask);
    }
};

struct Moment
{
    int second;
    int nanosecond;
};

/** A call that begins and ends at given times. */
void Call(const DebugModule& module, const Moment& begin, const Moment& end)
{
    Clock clock;
    clock.Set(begin.second, begin.nanosecond);
    Guard guard(module);
    clock.Set(end.second, end.nanosecond);
}

/** A call that takes @p nanoseconds, less than a second, and ends in the given second. */
void CallIn(int second, const DebugModule& module, int nanoseconds)
{
    const Moment begin = {second, 0};
    const Moment end = {second, nanoseconds};
    Call(module, begin, end);
}

/** Writes all that was traced and returns the records of the host's modules. */
QList<LogRecord> Written()
{
    DbgCollector::Start();
    DbgCollector::Stop();
    QList<LogRecord> records;
    for (const QByteArray& text : ProbeOf("trace").Records()) {
        const LogRecord record = ZolTest::ParseRecord(text);
        if (record.module != "DBG")
            records.append(record);
    }
    return records;
}

/** The modules and texts of all records. */
QByteArray WrittenTexts()
{
    QByteArray texts;
    for (const LogRecord& record : Written())
        texts += record.module + ": " + record.message + '\n';
    return texts;
}

QByteArray Figures(int count, qint64 accumulated, qint64 min, qint64 max)
{
    return "Count: " + QByteArray::number(count) +
           " Accumulated time: " + QByteArray::number(accumulated) +
           " Min time: " + QByteArray::number(min) + " Max time: " + QByteArray::number(max);
}

/** The record that heads a summary sent by a call of @p module. */
QByteArray Summary(const QByteArray& module, const QByteArray& figures)
{
    return module + ": Time trace summary " + figures + '\n';
}

QByteArray EmptySummary(const QByteArray& module)
{
    return module + ": Time trace summary Count: 0 Accumulated time: 0 Min time: 1000000000 "
                    "Max time: 0\n";
}

QByteArray TimeSpent(const QByteArray& module, const QByteArray& figures)
{
    return module + ": Time spent in module " + module + ":  " + figures + '\n';
}

QByteArray TimeTaken(const QByteArray& module, qint64 nanoseconds)
{
    return module + ": Leave: Time taken " + QByteArray::number(nanoseconds) + " ns\n";
}

int CountOf(const QList<LogRecord>& records, const QByteArray& beginning)
{
    int count = 0;
    for (const LogRecord& record : records)
        count += record.message.startsWith(beginning);
    return count;
}

/** The number behind "Count: " in all messages that begin with @p beginning, added up. */
int SumOfCounts(const QList<LogRecord>& records, const QByteArray& beginning)
{
    int sum = 0;
    for (const LogRecord& record : records) {
        if (record.message.startsWith(beginning)) {
            const int start = static_cast<int>(record.message.indexOf("Count: ")) + 7;
            const int end = static_cast<int>(record.message.indexOf(' ', start));
            sum += record.message.mid(start, end - start).toInt();
        }
    }
    return sum;
}

/** Runs @p body, with the number of the thread, on eight threads that start at once. */
void RunThreads(const std::function<void(int)>& body)
{
    const int count = 8;
    std::atomic<int> waiting(count);
    std::vector<std::unique_ptr<ZolTest::HostThread>> threads;
    for (int i = 0; i < count; ++i) {
        const QByteArray name = "host" + QByteArray::number(i);
        threads.emplace_back(new ZolTest::HostThread(name.constData(), [&waiting, &body, i] {
            --waiting;
            while (waiting > 0)
                std::this_thread::yield();
            body(i);
        }));
        threads.back()->start();
    }
    for (const std::unique_ptr<ZolTest::HostThread>& thread : threads)
        QVERIFY(thread->Join());
}

struct Place
{
    int line;
    QByteArray function;
};

Place TraceScope(const DebugModule& module)
{
    ZOL_TRACE_SCOPE(module);
    return {__LINE__ - 1, Q_FUNC_INFO};
}

Place TimeScope(const DebugModule& module, Clock& clock, const Moment& end)
{
    ZOL_TIME_SCOPE(module);
    clock.Set(end.second, end.nanosecond);
    return {__LINE__ - 2, Q_FUNC_INFO};
}

bool IsFrom(const LogRecord& record, const Place& place)
{
    return record.file == __FILE__ && record.line == QByteArray::number(place.line) &&
           record.function == place.function;
}

} // namespace

class TestFuncTrace : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanupTestCase();

    void newTracerIsEmpty();
    void resetEmptiesATracer();
    void updateCountsADuration();
    void minimumAndMaximumAreIndependent();
    void negativeDurationsAreWidened();
    void sumsExceed32Bits();
    void guardsCannotBeCopiedOrBuiltWithoutArguments();

    void tracedCallLogsEnterAndLeave();
    void enterAndLeaveEncloseTheBody();
    void tracedCallReadsNoClock();
    void tracedCallChangesNoStatistics();
    void traceNeedsNoTiming();
    void disabledGuardLogsNothing();
    void disabledGuardReadsNoClock();
    void otherLevelsTraceNothing();

    void traceSwitchedOnLogsALoneLeave();
    void traceSwitchedOnStopsTheMeasurement();
    void traceSwitchedOffLogsALoneEnter();
    void timingSwitchedOnMeasuresNothing();
    void timingSwitchedOffMeasuresNothing();
    void timingSwitchedOffAndOnAgainMeasures();
    void withoutTimeTraceNothingIsMeasured();
    void withoutTimeTraceCallsAreStillTraced();
    void callThatBeganInSecondZeroIsNotMeasured();

    void firstTimedCallSendsAnEmptySummary();
    void summaryNamesNoPlace();
    void summaryIsSentByTheThreadOfTheCall();
    void callsOfTheSameSecondSendNoSummary();
    void summaryCoversTheCallsSinceTheLast();
    void summaryMayCoverManySeconds();
    void summaryComesWithAnyOtherSecond();
    void summaryResetsTheStatistics();
    void summaryComesWithTheModuleOfItsCall();
    void modulesAreSummedUpInKeyOrder();
    void modulesOfOneIdentifierShareAnEntry();
    void modulesWithoutCallsAreLeftOut();
    void modulesSilencedMeanwhileAreSummedUp();
    void minimumOfLongCallsIsOneSecond();
    void summaryPrecedesTheSlowCall();

    void callOfFiveMillisecondsIsNotSlow();
    void callOfOneNanosecondMoreIsSlow();
    void slowCallHasThePlaceOfItsGuard();
    void nestedCallsAreRecordedEach();
    void durationsAreWrapped_data();
    void durationsAreWrapped();

    void callsOfManyThreadsAreCounted();
    void oneThreadReportsASecond();
    void noCallIsLostBetweenSummaries();

    void traceScopeLogsItsPlace();
    void traceScopeMeasuresNothing();
    void timeScopeMeasures();
    void timeScopeTraces();
    void scopesWithBothLevelsOffReadNoClock();
    void scopesMayBeNestedAndFollowEachOther();
    void scopeModuleMayBeAnExpression();

    void runningCollectorSwitchesTracing();
};

void TestFuncTrace::init()
{
    ZolTest::NameThisThread("Main");
    ZolTest::ConfigureProbe("trace");
}

void TestFuncTrace::cleanupTestCase()
{
    DbgCollector::Stop();
}

void TestFuncTrace::newTracerIsEmpty()
{
    const DbgFuncTrace::TimeTracer tracer;

    QCOMPARE(tracer.last_second, -1);
    QCOMPARE(tracer.min_time, 1000000000LL);
    QCOMPARE(tracer.max_time, 0LL);
    QCOMPARE(tracer.count, 0);
    QCOMPARE(tracer.accumulated_time, 0LL);
}

void TestFuncTrace::resetEmptiesATracer()
{
    const TracedModule module("disk", no_level);
    DbgFuncTrace trace(module, "f", 1, "g", false);
    DbgFuncTrace::TimeTracer tracer;
    trace.UpdateTracer(tracer, 7);
    trace.ResetTracer(tracer, 12);

    QCOMPARE(tracer.last_second, 12);
    QCOMPARE(tracer.min_time, 1000000000LL);
    QCOMPARE(tracer.max_time, 0LL);
    QCOMPARE(tracer.count, 0);
    QCOMPARE(tracer.accumulated_time, 0LL);
}

void TestFuncTrace::updateCountsADuration()
{
    const TracedModule module("disk", no_level);
    DbgFuncTrace trace(module, "f", 1, "g", false);
    DbgFuncTrace::TimeTracer tracer;
    trace.UpdateTracer(tracer, 30);
    trace.UpdateTracer(tracer, 10);
    trace.UpdateTracer(tracer, 20);

    QCOMPARE(tracer.count, 3);
    QCOMPARE(tracer.accumulated_time, 60LL);
    QCOMPARE(tracer.min_time, 10LL);
    QCOMPARE(tracer.max_time, 30LL);
    QCOMPARE(tracer.last_second, -1);
}

void TestFuncTrace::minimumAndMaximumAreIndependent()
{
    const TracedModule module("disk", no_level);
    DbgFuncTrace trace(module, "f", 1, "g", false);
    DbgFuncTrace::TimeTracer tracer;
    trace.UpdateTracer(tracer, 1000000000);

    QCOMPARE(tracer.min_time, 1000000000LL);
    QCOMPARE(tracer.max_time, 1000000000LL);
    trace.UpdateTracer(tracer, 999999999);
    QCOMPARE(tracer.min_time, 999999999LL);
    QCOMPARE(tracer.max_time, 1000000000LL);
}

void TestFuncTrace::negativeDurationsAreWidened()
{
    const TracedModule module("disk", no_level);
    DbgFuncTrace trace(module, "f", 1, "g", false);
    DbgFuncTrace::TimeTracer tracer;
    trace.UpdateTracer(tracer, -2147483647 - 1);
    trace.UpdateTracer(tracer, -1);

    QCOMPARE(tracer.count, 2);
    QCOMPARE(tracer.accumulated_time, -2147483649LL);
    QCOMPARE(tracer.min_time, -2147483648LL);
    QCOMPARE(tracer.max_time, 0LL);
}

void TestFuncTrace::sumsExceed32Bits()
{
    const TracedModule module("disk", no_level);
    DbgFuncTrace trace(module, "f", 1, "g", false);
    DbgFuncTrace::TimeTracer tracer;
    for (int i = 0; i < 3; ++i)
        trace.UpdateTracer(tracer, 2147483647);

    QCOMPARE(tracer.accumulated_time, 6442450941LL);
    QCOMPARE(tracer.max_time, 2147483647LL);
}

void TestFuncTrace::guardsCannotBeCopiedOrBuiltWithoutArguments()
{
    QVERIFY(!std::is_copy_constructible<DbgFuncTrace>::value);
    QVERIFY(!std::is_copy_assignable<DbgFuncTrace>::value);
    QVERIFY(!std::is_default_constructible<DbgFuncTrace>::value);
}

void TestFuncTrace::tracedCallLogsEnterAndLeave()
{
    const TracedModule module("disk", DBG_TRACE);
    Guard(module).End();

    const QList<LogRecord> records = Written();
    QCOMPARE(records.size(), 2);
    QCOMPARE(records.at(0).message, QByteArray("Enter"));
    QCOMPARE(records.at(1).message, QByteArray("Leave"));
    for (const LogRecord& record : records) {
        QCOMPARE(record.module, QByteArray("disk"));
        QCOMPARE(record.file, QByteArray("disk/store.cpp"));
        QCOMPARE(record.line, QByteArray("42"));
        QCOMPARE(record.function, QByteArray("void Store<int>::Put()"));
        QCOMPARE(record.level, QByteArray("DBG_TRACE"));
        QCOMPARE(record.thread, QByteArray("Main"));
    }
}

void TestFuncTrace::enterAndLeaveEncloseTheBody()
{
    const TracedModule module("disk", DBG_TRACE | DBG_INFO);
    {
        const DbgFuncTrace outer(module, "f", 1, "g", false);
        ZOL_INFO(module) << "body";
    }

    QCOMPARE(WrittenTexts(), QByteArray("disk: Enter\ndisk: body\ndisk: Leave\n"));
}

void TestFuncTrace::tracedCallReadsNoClock()
{
    const TracedModule module("disk", DBG_TRACE | DBG_TIME_TRACE);
    Clock clock;
    clock.Set(10);
    Guard(module).End();

    QCOMPARE(clock.TakeReads(), 0);
}

void TestFuncTrace::tracedCallChangesNoStatistics()
{
    TracedModule module("disk", DBG_TRACE | DBG_TIME_TRACE);
    CallIn(10, module, 7000000);
    CallIn(11, module, 7000000);
    module.SetMask(DBG_TIME_TRACE);
    CallIn(12, module, 1);

    QCOMPARE(WrittenTexts(),
             "disk: Enter\ndisk: Leave\ndisk: Enter\ndisk: Leave\n" + EmptySummary("disk"));
}

void TestFuncTrace::traceNeedsNoTiming()
{
    const TracedModule module("disk", DBG_TRACE);
    Guard(module, true).End();
    Guard(module, false).End();

    QCOMPARE(WrittenTexts(), QByteArray("disk: Enter\ndisk: Leave\ndisk: Enter\ndisk: Leave\n"));
}

void TestFuncTrace::disabledGuardLogsNothing()
{
    const TracedModule module("disk", no_level);
    CallIn(10, module, 7000000);
    CallIn(11, module, 7000000);

    QCOMPARE(WrittenTexts(), QByteArray());
}

void TestFuncTrace::disabledGuardReadsNoClock()
{
    const TracedModule module("disk", no_level);
    Clock clock;
    clock.Set(10);
    Guard(module, true).End();
    Guard(module, false).End();

    QCOMPARE(clock.TakeReads(), 0);
}

void TestFuncTrace::otherLevelsTraceNothing()
{
    const TracedModule module("disk", ZolTest::all_levels & ~(DBG_TRACE | DBG_TIME_TRACE));
    Clock clock;
    clock.Set(10);
    Guard(module).End();

    QCOMPARE(clock.TakeReads(), 0);
    QCOMPARE(WrittenTexts(), QByteArray());
}

void TestFuncTrace::traceSwitchedOnLogsALoneLeave()
{
    TracedModule module("disk", no_level);
    Guard guard(module);
    module.SetMask(DBG_TRACE);
    guard.End();

    QCOMPARE(WrittenTexts(), QByteArray("disk: Leave\n"));
}

void TestFuncTrace::traceSwitchedOnStopsTheMeasurement()
{
    TracedModule module("disk", DBG_TIME_TRACE);
    {
        Clock clock;
        clock.Set(10);
        Guard guard(module);
        QCOMPARE(clock.TakeReads(), 1);
        module.SetMask(DBG_TRACE | DBG_TIME_TRACE);
        guard.End();
        QCOMPARE(clock.TakeReads(), 0);
    }
    module.SetMask(DBG_TIME_TRACE);
    CallIn(11, module, 1);

    QCOMPARE(WrittenTexts(), "disk: Leave\n" + EmptySummary("disk"));
}

void TestFuncTrace::traceSwitchedOffLogsALoneEnter()
{
    TracedModule module("disk", DBG_TRACE | DBG_TIME_TRACE);
    Clock clock;
    clock.Set(10);
    Guard guard(module);
    module.SetMask(DBG_TIME_TRACE);
    clock.Set(10, 7000000);
    guard.End();

    QCOMPARE(clock.TakeReads(), 0);
    QCOMPARE(WrittenTexts(), QByteArray("disk: Enter\n"));
}

void TestFuncTrace::timingSwitchedOnMeasuresNothing()
{
    TracedModule module("disk", no_level);
    Clock clock;
    clock.Set(10);
    Guard guard(module);
    module.SetMask(DBG_TIME_TRACE);
    clock.Set(11);
    guard.End();

    QCOMPARE(clock.TakeReads(), 0);
    QCOMPARE(WrittenTexts(), QByteArray());
}

void TestFuncTrace::timingSwitchedOffMeasuresNothing()
{
    TracedModule module("disk", DBG_TIME_TRACE);
    {
        Clock clock;
        clock.Set(10);
        Guard guard(module);
        module.SetMask(no_level);
        clock.Set(11);
        clock.TakeReads();
        guard.End();
        QCOMPARE(clock.TakeReads(), 0);
    }
    module.SetMask(DBG_TIME_TRACE);
    CallIn(11, module, 1);

    QCOMPARE(WrittenTexts(), EmptySummary("disk"));
}

void TestFuncTrace::timingSwitchedOffAndOnAgainMeasures()
{
    TracedModule module("disk", DBG_TIME_TRACE);
    Clock clock;
    clock.Set(10);
    Guard guard(module);
    module.SetMask(no_level);
    module.SetMask(DBG_TIME_TRACE);
    clock.Set(10, 6000000);
    guard.End();

    QCOMPARE(WrittenTexts(), EmptySummary("disk") + TimeTaken("disk", 6000000));
}

void TestFuncTrace::withoutTimeTraceNothingIsMeasured()
{
    const TracedModule module("disk", DBG_TIME_TRACE);
    Clock clock;
    clock.Set(10);
    Guard guard(module, false);
    clock.Set(11);
    guard.End();

    QCOMPARE(clock.TakeReads(), 0);
    QCOMPARE(WrittenTexts(), QByteArray());
}

void TestFuncTrace::withoutTimeTraceCallsAreStillTraced()
{
    const TracedModule module("disk", DBG_TRACE | DBG_TIME_TRACE);
    Guard(module, false).End();

    QCOMPARE(WrittenTexts(), QByteArray("disk: Enter\ndisk: Leave\n"));
}

void TestFuncTrace::callThatBeganInSecondZeroIsNotMeasured()
{
    const TracedModule module("disk");
    const Moment begin = {0, 999999999};
    const Moment end = {1, 100000000};
    Call(module, begin, end);
    CallIn(2, module, 1);

    QCOMPARE(WrittenTexts(), EmptySummary("disk"));
}

void TestFuncTrace::firstTimedCallSendsAnEmptySummary()
{
    const TracedModule module("disk");
    CallIn(10, module, 1000);

    QCOMPARE(WrittenTexts(), QByteArray("disk: Time trace summary Count: 0 Accumulated time: 0 "
                                        "Min time: 1000000000 Max time: 0\n"));
}

void TestFuncTrace::summaryNamesNoPlace()
{
    const TracedModule module("disk");
    CallIn(10, module, 1000);
    CallIn(11, module, 1000);

    const QList<LogRecord> records = Written();
    QCOMPARE(records.size(), 3);
    for (const LogRecord& record : records) {
        QCOMPARE(record.file, QByteArray());
        QCOMPARE(record.line, QByteArray("0"));
        QCOMPARE(record.function, QByteArray());
        QCOMPARE(record.level, QByteArray("DBG_TIME_TRACE"));
    }
}

void TestFuncTrace::summaryIsSentByTheThreadOfTheCall()
{
    const TracedModule module("disk");
    CallIn(10, module, 1000);
    ZolTest::HostThread thread("Storage", [&module] { CallIn(11, module, 6000000); });
    thread.start();
    QVERIFY(thread.Join());

    const QList<LogRecord> records = Written();
    QCOMPARE(records.size(), 4);
    QCOMPARE(records.at(0).thread, QByteArray("Main"));
    QCOMPARE(records.at(1).thread, QByteArray("Storage"));
    QCOMPARE(records.at(2).thread, QByteArray("Storage"));
    QCOMPARE(records.at(3).thread, QByteArray("Storage"));
}

void TestFuncTrace::callsOfTheSameSecondSendNoSummary()
{
    const TracedModule disk("disk");
    const TracedModule net("net");
    CallIn(10, disk, 1000);
    CallIn(10, disk, 2000);
    CallIn(10, net, 3000);

    QCOMPARE(WrittenTexts(), EmptySummary("disk"));
}

void TestFuncTrace::summaryCoversTheCallsSinceTheLast()
{
    const TracedModule module("disk");
    CallIn(10, module, 3000);
    CallIn(10, module, 1000);
    CallIn(10, module, 2000);
    CallIn(11, module, 9000);

    QCOMPARE(WrittenTexts(), EmptySummary("disk") + Summary("disk", Figures(3, 6000, 1000, 3000)) +
                                 TimeSpent("disk", Figures(3, 6000, 1000, 3000)));
}

void TestFuncTrace::summaryMayCoverManySeconds()
{
    const TracedModule module("disk");
    CallIn(10, module, 3000);
    CallIn(4000, module, 1000);

    QCOMPARE(WrittenTexts(), EmptySummary("disk") + Summary("disk", Figures(1, 3000, 3000, 3000)) +
                                 TimeSpent("disk", Figures(1, 3000, 3000, 3000)));
}

void TestFuncTrace::summaryComesWithAnyOtherSecond()
{
    const TracedModule module("disk");
    CallIn(10, module, 3000);
    CallIn(9, module, 1000);

    QCOMPARE(WrittenTexts(), EmptySummary("disk") + Summary("disk", Figures(1, 3000, 3000, 3000)) +
                                 TimeSpent("disk", Figures(1, 3000, 3000, 3000)));
}

void TestFuncTrace::summaryResetsTheStatistics()
{
    const TracedModule module("disk");
    CallIn(10, module, 3000);
    CallIn(11, module, 4000);
    CallIn(11, module, 5000);
    CallIn(12, module, 6000);

    QCOMPARE(WrittenTexts(), EmptySummary("disk") + Summary("disk", Figures(1, 3000, 3000, 3000)) +
                                 TimeSpent("disk", Figures(1, 3000, 3000, 3000)) +
                                 Summary("disk", Figures(2, 9000, 4000, 5000)) +
                                 TimeSpent("disk", Figures(2, 9000, 4000, 5000)));
}

void TestFuncTrace::summaryComesWithTheModuleOfItsCall()
{
    const TracedModule disk("disk");
    const TracedModule net("net");
    CallIn(10, disk, 3000);
    CallIn(11, net, 1000);

    QCOMPARE(WrittenTexts(), EmptySummary("disk") + Summary("net", Figures(1, 3000, 3000, 3000)) +
                                 TimeSpent("disk", Figures(1, 3000, 3000, 3000)));
}

void TestFuncTrace::modulesAreSummedUpInKeyOrder()
{
    const TracedModule net("net");
    const TracedModule disk("disk");
    const TracedModule power("Power");
    CallIn(10, net, 3000);
    CallIn(10, disk, 10);
    CallIn(10, power, 500);
    CallIn(10, disk, 30);
    CallIn(11, disk, 1);

    QCOMPARE(WrittenTexts(), EmptySummary("net") + Summary("disk", Figures(4, 3540, 10, 3000)) +
                                 TimeSpent("Power", Figures(1, 500, 500, 500)) +
                                 TimeSpent("disk", Figures(2, 40, 10, 30)) +
                                 TimeSpent("net", Figures(1, 3000, 3000, 3000)));
}

void TestFuncTrace::modulesOfOneIdentifierShareAnEntry()
{
    const TracedModule first("disk");
    const TracedModule second("disk");
    CallIn(10, first, 3000);
    CallIn(10, second, 1000);
    CallIn(11, first, 1);

    QCOMPARE(WrittenTexts(), EmptySummary("disk") + Summary("disk", Figures(2, 4000, 1000, 3000)) +
                                 TimeSpent("disk", Figures(2, 4000, 1000, 3000)));
}

void TestFuncTrace::modulesWithoutCallsAreLeftOut()
{
    const TracedModule disk("disk");
    const TracedModule net("net");
    CallIn(10, disk, 3000);
    CallIn(11, net, 1000);
    CallIn(12, disk, 500);

    QCOMPARE(WrittenTexts(), EmptySummary("disk") + Summary("net", Figures(1, 3000, 3000, 3000)) +
                                 TimeSpent("disk", Figures(1, 3000, 3000, 3000)) +
                                 Summary("disk", Figures(1, 1000, 1000, 1000)) +
                                 TimeSpent("net", Figures(1, 1000, 1000, 1000)));
}

void TestFuncTrace::modulesSilencedMeanwhileAreSummedUp()
{
    TracedModule disk("disk");
    const TracedModule net("net");
    CallIn(10, disk, 3000);
    disk.SetMask(no_level);
    CallIn(11, net, 1000);

    QCOMPARE(WrittenTexts(), EmptySummary("disk") + Summary("net", Figures(1, 3000, 3000, 3000)) +
                                 TimeSpent("disk", Figures(1, 3000, 3000, 3000)));
}

void TestFuncTrace::minimumOfLongCallsIsOneSecond()
{
    const TracedModule module("disk");
    const Moment begin = {10, 0};
    const Moment end = {11, 500000000};
    Call(module, begin, end);
    CallIn(12, module, 1);

    QCOMPARE(WrittenTexts(), EmptySummary("disk") + TimeTaken("disk", 1500000000) +
                                 Summary("disk", Figures(1, 1500000000, 1000000000, 1500000000)) +
                                 TimeSpent("disk", Figures(1, 1500000000, 1000000000, 1500000000)));
}

void TestFuncTrace::summaryPrecedesTheSlowCall()
{
    const TracedModule disk("disk");
    const TracedModule net("net");
    CallIn(10, disk, 6000000);
    CallIn(11, net, 7000000);

    QCOMPARE(WrittenTexts(), EmptySummary("disk") + TimeTaken("disk", 6000000) +
                                 Summary("net", Figures(1, 6000000, 6000000, 6000000)) +
                                 TimeSpent("disk", Figures(1, 6000000, 6000000, 6000000)) +
                                 TimeTaken("net", 7000000));
}

void TestFuncTrace::callOfFiveMillisecondsIsNotSlow()
{
    const TracedModule module("disk");
    CallIn(10, module, 5000000);
    CallIn(11, module, 1);

    QCOMPARE(WrittenTexts(), EmptySummary("disk") +
                                 Summary("disk", Figures(1, 5000000, 5000000, 5000000)) +
                                 TimeSpent("disk", Figures(1, 5000000, 5000000, 5000000)));
}

void TestFuncTrace::callOfOneNanosecondMoreIsSlow()
{
    const TracedModule module("disk");
    CallIn(10, module, 5000001);

    QCOMPARE(WrittenTexts(),
             EmptySummary("disk") + QByteArray("disk: Leave: Time taken 5000001 ns\n"));
}

void TestFuncTrace::slowCallHasThePlaceOfItsGuard()
{
    const TracedModule module("disk");
    CallIn(10, module, 6000000);

    const QList<LogRecord> records = Written();
    QCOMPARE(records.size(), 2);
    QCOMPARE(records.at(1).module, QByteArray("disk"));
    QCOMPARE(records.at(1).file, QByteArray("disk/store.cpp"));
    QCOMPARE(records.at(1).line, QByteArray("42"));
    QCOMPARE(records.at(1).function, QByteArray("void Store<int>::Put()"));
    QCOMPARE(records.at(1).level, QByteArray("DBG_TIME_TRACE"));
    QCOMPARE(records.at(1).message, QByteArray("Leave: Time taken 6000000 ns"));
}

void TestFuncTrace::nestedCallsAreRecordedEach()
{
    const TracedModule module("disk");
    {
        Clock clock;
        clock.Set(10, 0);
        Guard outer(module);
        clock.Set(10, 1000);
        Guard inner(module);
        clock.Set(10, 3000);
        inner.End();
        clock.Set(10, 5000);
        outer.End();
    }
    CallIn(11, module, 1);

    QCOMPARE(WrittenTexts(), EmptySummary("disk") + Summary("disk", Figures(2, 7000, 2000, 5000)) +
                                 TimeSpent("disk", Figures(2, 7000, 2000, 5000)));
}

void TestFuncTrace::durationsAreWrapped_data()
{
    // The seconds' part wraps at 32 bits, the nanoseconds are then added in 64, and the statistics
    // take the low 32 bits of the sum.
    QTest::addColumn<int>("begin_second");
    QTest::addColumn<int>("begin_nanosecond");
    QTest::addColumn<int>("end_second");
    QTest::addColumn<int>("end_nanosecond");
    QTest::addColumn<qint64>("taken");
    QTest::addColumn<int>("recorded");

    QTest::newRow("nothing") << 10 << 5 << 10 << 5 << Q_INT64_C(0) << 0;
    QTest::newRow("nearly a second")
        << 10 << 0 << 10 << 999999999 << Q_INT64_C(999999999) << 999999999;
    QTest::newRow("short across a boundary") << 10 << 999999999 << 11 << 0 << Q_INT64_C(1) << 1;
    QTest::newRow("two seconds") << 10 << 0 << 12 << 0 << Q_INT64_C(2000000000) << 2000000000;
    QTest::newRow("the last that fits")
        << 10 << 0 << 12 << 147483647 << Q_INT64_C(2147483647) << 2147483647;
    QTest::newRow("the first that does not fit")
        << 10 << 0 << 12 << 147483648 << Q_INT64_C(2147483648) << -2147483647 - 1;
    QTest::newRow("2.9 s across two boundaries")
        << 10 << 50000000 << 12 << 950000000 << Q_INT64_C(2900000000) << -1394967296;
    QTest::newRow("2.9 s across three boundaries")
        << 10 << 950000000 << 13 << 850000000 << Q_INT64_C(-1394967296) << -1394967296;
    QTest::newRow("2.000000001 s across three boundaries")
        << 10 << 999999999 << 13 << 0 << Q_INT64_C(-2294967295) << 2000000001;
    QTest::newRow("three seconds") << 10 << 0 << 13 << 0 << Q_INT64_C(-1294967296) << -1294967296;
    QTest::newRow("four seconds") << 10 << 0 << 14 << 0 << Q_INT64_C(-294967296) << -294967296;
    QTest::newRow("4.3 s") << 10 << 0 << 14 << 300000000 << Q_INT64_C(5032704) << 5032704;
    QTest::newRow("five seconds") << 10 << 0 << 15 << 0 << Q_INT64_C(705032704) << 705032704;
    QTest::newRow("an hour") << 10 << 0 << 3610 << 0 << Q_INT64_C(817405952) << 817405952;
    QTest::newRow("as long as seconds can tell")
        << 1 << 0 << 2147483647 << 0 << Q_INT64_C(-2000000000) << -2000000000;
    QTest::newRow("backwards") << 10 << 5 << 10 << 4 << Q_INT64_C(-1) << -1;
    QTest::newRow("a second backwards")
        << 11 << 0 << 10 << 0 << Q_INT64_C(-1000000000) << -1000000000;
}

void TestFuncTrace::durationsAreWrapped()
{
    QFETCH(int, begin_second);
    QFETCH(int, begin_nanosecond);
    QFETCH(int, end_second);
    QFETCH(int, end_nanosecond);
    QFETCH(qint64, taken);
    QFETCH(int, recorded);
    // All rows share a process, and so one run of the collector.
    static int seen = 0;
    const QByteArray id = "row" + QByteArray::number(++seen);
    DebugModule module(QLatin1String(id.constData()));
    DbgCollector::Start();
    QVERIFY(ZolTest::Settle());
    module.SetMask(DBG_TIME_TRACE);

    const Moment begin = {begin_second, begin_nanosecond};
    const Moment end = {end_second, end_nanosecond};
    Call(module, begin, end);
    CallIn(5000 + seen, module, 1);
    DBG_OBJ(QLatin1String("sentinel"), "", 0, "", DBG_INFO).Dbg() << "end of " << id.constData();
    QVERIFY(ProbeOf("trace").WaitFor("<b>end of " + id + "</b>"));

    QByteArray texts;
    for (const QByteArray& text : ProbeOf("trace").Messages(id)) {
        if (!text.startsWith("Time trace summary"))
            texts += id + ": " + text + '\n';
    }
    const qint64 min = qMin(1000000000, recorded);
    const qint64 max = qMax(0, recorded);
    QCOMPARE(texts, (taken > 5000000 ? TimeTaken(id, taken) : QByteArray()) +
                        TimeSpent(id, Figures(1, recorded, min, max)));
}

void TestFuncTrace::callsOfManyThreadsAreCounted()
{
    const int calls = 200;
    const TracedModule module("disk");
    CallIn(10, module, 1);
    RunThreads([&module](int number) {
        for (int i = 0; i < calls; ++i)
            CallIn(10, module, 1000 + number);
    });
    CallIn(11, module, 1);

    const int sum = 1 + calls * (8 * 1000 + 0 + 1 + 2 + 3 + 4 + 5 + 6 + 7);
    QCOMPARE(WrittenTexts(), EmptySummary("disk") +
                                 Summary("disk", Figures(1 + 8 * calls, sum, 1, 1007)) +
                                 TimeSpent("disk", Figures(1 + 8 * calls, sum, 1, 1007)));
}

void TestFuncTrace::oneThreadReportsASecond()
{
    const int seconds = 50;
    const TracedModule module("disk");
    for (int second = 1; second <= seconds; ++second)
        RunThreads([&module, second](int) { CallIn(second, module, 1000); });

    const QList<LogRecord> records = Written();
    QCOMPARE(CountOf(records, "Time trace summary Count: 0 "), 1);
    QCOMPARE(CountOf(records, "Time trace summary Count: 8 Accumulated time: 8000 "), seconds - 1);
    QCOMPARE(CountOf(records, "Time spent in module disk:  Count: 8 "), seconds - 1);
    QCOMPARE(static_cast<int>(records.size()), 2 * seconds - 1);
}

void TestFuncTrace::noCallIsLostBetweenSummaries()
{
    const int calls = 300;
    const TracedModule shared("shared");
    RunThreads([&shared](int number) {
        const QByteArray id = "own" + QByteArray::number(number);
        const TracedModule own(id.constData());
        for (int i = 0; i < calls; ++i) {
            CallIn(1 + i / 5, shared, 1000);
            CallIn(1 + i / 5, own, 1000);
        }
    });
    CallIn(5000, shared, 1);

    const QList<LogRecord> records = Written();
    QCOMPARE(SumOfCounts(records, "Time trace summary"), 2 * 8 * calls);
    QCOMPARE(SumOfCounts(records, "Time spent in module shared:"), 8 * calls);
    for (int i = 0; i < 8; ++i) {
        const QByteArray id = "own" + QByteArray::number(i);
        QCOMPARE(SumOfCounts(records, "Time spent in module " + id + ":"), calls);
    }
}

void TestFuncTrace::traceScopeLogsItsPlace()
{
    const TracedModule module("disk", DBG_TRACE);
    const Place place = TraceScope(module);

    const QList<LogRecord> records = Written();
    QCOMPARE(records.size(), 2);
    QVERIFY(IsFrom(records.at(0), place));
    QVERIFY(IsFrom(records.at(1), place));
    QCOMPARE(records.at(0).message, QByteArray("Enter"));
    QCOMPARE(records.at(1).message, QByteArray("Leave"));
}

void TestFuncTrace::traceScopeMeasuresNothing()
{
    const TracedModule module("disk", DBG_TIME_TRACE);
    Clock clock;
    clock.Set(10);
    TraceScope(module);

    QCOMPARE(clock.TakeReads(), 0);
    QCOMPARE(WrittenTexts(), QByteArray());
}

void TestFuncTrace::timeScopeMeasures()
{
    const TracedModule module("disk", DBG_TIME_TRACE);
    Clock clock;
    clock.Set(10);
    const Moment end = {10, 8000000};
    const Place place = TimeScope(module, clock, end);

    const QList<LogRecord> records = Written();
    QCOMPARE(records.size(), 2);
    QCOMPARE(records.at(1).message, QByteArray("Leave: Time taken 8000000 ns"));
    QVERIFY(IsFrom(records.at(1), place));
}

void TestFuncTrace::timeScopeTraces()
{
    const TracedModule module("disk", DBG_TRACE | DBG_TIME_TRACE);
    Clock clock;
    clock.Set(10);
    const Moment end = {10, 8000000};
    TimeScope(module, clock, end);

    QCOMPARE(clock.TakeReads(), 0);
    QCOMPARE(WrittenTexts(), QByteArray("disk: Enter\ndisk: Leave\n"));
}

void TestFuncTrace::scopesWithBothLevelsOffReadNoClock()
{
    const TracedModule module("disk", ZolTest::all_levels & ~(DBG_TRACE | DBG_TIME_TRACE));
    Clock clock;
    clock.Set(10);
    const Moment end = {11, 0};
    TraceScope(module);
    TimeScope(module, clock, end);

    QCOMPARE(clock.TakeReads(), 0);
    QCOMPARE(WrittenTexts(), QByteArray());
}

void TestFuncTrace::scopesMayBeNestedAndFollowEachOther()
{
    const TracedModule disk("disk", DBG_TRACE | DBG_INFO);
    const TracedModule net("net", DBG_TRACE);
    {
        ZOL_TRACE_SCOPE(disk);
        ZOL_TIME_SCOPE(net);
        ZOL_INFO(disk) << "first";
        {
            ZOL_TRACE_SCOPE(net);
            ZOL_INFO(disk) << "second";
        }
    }

    QCOMPARE(WrittenTexts(),
             QByteArray("disk: Enter\nnet: Enter\ndisk: first\nnet: Enter\ndisk: second\n"
                        "net: Leave\nnet: Leave\ndisk: Leave\n"));
}

void TestFuncTrace::scopeModuleMayBeAnExpression()
{
    const TracedModule disk("disk", DBG_TRACE);
    const TracedModule net("net", DBG_TRACE);
    const DebugModule* const modules[] = {&disk, &net};
    const bool first = false;
    {
        ZOL_TRACE_SCOPE(*modules[0]);
        ZOL_TRACE_SCOPE(first ? disk : net);
    }

    QCOMPARE(WrittenTexts(), QByteArray("disk: Enter\nnet: Enter\nnet: Leave\ndisk: Leave\n"));
}

void TestFuncTrace::runningCollectorSwitchesTracing()
{
    DebugModule module(QLatin1String("disk"));
    DbgCollector::CollectCfgMsg(QLatin1String("probe:trace"), QLatin1String("disk"), no_level);
    DbgCollector::Start();
    QVERIFY(ZolTest::Settle());
    Guard(module).End();
    DbgCollector::CollectCfgMsg(QLatin1String("probe:trace"), QLatin1String("disk"),
                                DBG_TIME_TRACE);
    QVERIFY(ZolTest::Settle());
    CallIn(10, module, 6000000);
    DbgCollector::CollectCfgMsg(QLatin1String("probe:trace"), QLatin1String("disk"),
                                DBG_TRACE | DBG_TIME_TRACE);
    QVERIFY(ZolTest::Settle());
    Guard(module).End();

    // The outputs' own masks are those of the time of writing, which admit both levels.
    QCOMPARE(WrittenTexts(),
             EmptySummary("disk") + TimeTaken("disk", 6000000) + "disk: Enter\ndisk: Leave\n");
}

QTEST_MAIN(TestFuncTrace)

#include "tst_func_trace.moc"
