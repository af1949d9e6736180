#include "collector_agent.h"
#include "collector_tools.h"
#include "debug.h"
#include "log_record.h"
#include "probe.h"
#include "temp_dir.h"

#include <QtCore/QFile>
#include <QtCore/QSemaphore>
#include <QtCore/QSet>
#include <QtTest/QtTest>

#include <atomic>
#include <deque>
#include <memory>
#include <vector>

using namespace Zol;
using ZolTest::CollectorAgent;
using ZolTest::LogRecord;
using ZolTest::ProbeOf;

namespace {

const int worker_count = 6;
const int module_count = 40;

/** An amount of work, more or less of it by ZOLDEBUG_TEST_LOAD, in percent. */
int Scaled(int amount)
{
    const int percent = qgetenv("ZOLDEBUG_TEST_LOAD").toInt();
    return qMax(1, amount * (percent > 0 ? percent : 100) / 100);
}

/** Every fifth module is timed; the output that is always on does not take its traces. */
bool IsTimed(const QByteArray& id)
{
    return id.startsWith("timed");
}

QByteArray ModuleId(int number)
{
    return (number % 5 == 0 ? "timed" : "module") + QByteArray::number(number);
}

void Configure(const QString& address, const char* module, int mask)
{
    DbgCollector::CollectCfgMsg(address, QLatin1String(module), static_cast<DebugLevel>(mask));
}

/** The output that gets everything, all the time, whatever happens to the others. */
void ConfigureAlwaysOn()
{
    const QString address = QLatin1String("probe:always");
    Configure(address, "*", ZolTest::all_levels);
    for (int i = 0; i < module_count; ++i) {
        if (IsTimed(ModuleId(i)))
            Configure(address, ModuleId(i).constData(), ZolTest::all_levels & ~DBG_TRACE);
    }
}

/** A record in short. */
QByteArray Entry(const QByteArray& module, const char* level, const QByteArray& text)
{
    return module + '|' + level + '|' + text;
}

std::atomic<int> metric_line(0);
std::atomic<int> log_metric_line(0);

/** One of the threads that log; it keeps account of what has to be in the log. */
class Worker
{
public:
    Worker(const DebugModule& shared, int number, int rounds)
        : m_shared(shared)
        , m_number(number)
        , m_rounds(rounds)
        , m_texts(0)
        , m_logged(0)
        , m_thread(Name().constData(), [this] { Run(); })
    {
    }

    QByteArray Name() const { return "worker" + QByteArray::number(m_number); }

    ~Worker()
    {
        Allow(m_rounds);
        Join();
    }

    void Start() { m_thread.start(); }

    /** Lets the thread go on for so many rounds. */
    void Allow(int rounds) { m_allowed.release(rounds); }

    bool Join() { return m_thread.Join(); }

    /** How much of Owed() was logged for certain. */
    size_t Logged() const { return m_logged; }

    /** What was logged, in order; to be read when the thread has ended. */
    const std::vector<QByteArray>& Owed() const { return m_owed; }

private:
    Q_DISABLE_COPY(Worker)

    void Run()
    {
        std::deque<std::unique_ptr<DebugModule>> modules;
        for (int round = 0; round < m_rounds; ++round) {
            m_allowed.acquire();
            const int number = (round * 7 + m_number * 11) % module_count;
            modules.emplace_back(new DebugModule(QLatin1String(ModuleId(number).constData())));
            Work(*modules.back());
            Work(*modules.front());
            Tell(m_shared, DBG_WARN, "DBG_WARN");
            DbgCollector::CollectMetric(QLatin1String("own") + QString::number(m_number), 1);
            if (modules.size() > 3)
                modules.pop_front();
        }
    }

    void Work(const DebugModule& module)
    {
        Note(module, "DBG_TRACE", "Enter");
        {
            ZOL_TIME_SCOPE(module);
            Done();
            Tell(module, DBG_INFO, "DBG_INFO");
            metric_line = __LINE__ + 1;
            ZOL_METRIC(module, DBG_ERROR);
            Tell(module, DBG_FATAL, "DBG_FATAL");
            const QByteArray text = NextText();
            Note(module, "DBG_ERROR", text);
            log_metric_line = __LINE__ + 1;
            ZOL_LOG_METRIC(module, DBG_ERROR) << text.constData();
            Done();
            Note(module, "DBG_TRACE", "Leave");
        }
        Done();
    }

    void Tell(const DebugModule& module, DebugLevel level, const char* level_name)
    {
        const QByteArray text = NextText();
        Note(module, level_name, text);
        ZOL_LOG(module, level) << text.constData();
        Done();
    }

    QByteArray NextText() { return QByteArray::number(++m_texts) + " <full> & 'late' \"%1\""; }

    void Note(const DebugModule& module, const char* level, const QByteArray& text)
    {
        const QByteArray id = module.Id().toLatin1();
        if (!IsTimed(id) || qstrcmp(level, "DBG_TRACE") != 0)
            m_owed.push_back(Entry(id, level, text));
    }

    void Done() { m_logged = m_owed.size(); }

    const DebugModule& m_shared;
    const int m_number;
    const int m_rounds;
    int m_texts;
    std::vector<QByteArray> m_owed;
    std::atomic<size_t> m_logged;
    QSemaphore m_allowed;
    ZolTest::HostThread m_thread;
};

typedef std::vector<std::unique_ptr<Worker>> Workers;

Workers StartWorkers(const DebugModule& shared, int rounds)
{
    Workers workers;
    for (int i = 0; i < worker_count; ++i) {
        workers.emplace_back(new Worker(shared, i, rounds));
        workers.back()->Start();
    }
    return workers;
}

void Allow(const Workers& workers, int rounds)
{
    for (const std::unique_ptr<Worker>& worker : workers)
        worker->Allow(rounds);
}

bool Join(const Workers& workers)
{
    bool joined = true;
    for (const std::unique_ptr<Worker>& worker : workers)
        joined = worker->Join() && joined;
    return joined;
}

/** Three log files whose outputs come, go and change. */
class LogFiles
{
public:
    static const int count = 3;

    QByteArray Bytes(int file) const { return ZolTest::ReadFile(QFile::encodeName(Path(file))); }

    void Configure(int file, const char* module, int mask) const
    {
        ::Configure(Address(file), module, mask);
    }

    void Remove(int file) const { DbgCollector::RemoveDebugInterface(Address(file)); }

private:
    QString Path(int file) const
    {
        const char* const names[count] = {"append.log", "truncate.log", "unbuffered.log"};
        return m_dir.Path(names[file]);
    }

    QString Address(int file) const
    {
        const char* const options[count] = {"", "t", "u"};
        return QLatin1String("file:") + Path(file) + QLatin1Char(':') +
               QLatin1String(options[file]);
    }

    ZolTest::TempDir m_dir;
};

/** Disturbs everything but the output that is always on. */
void Disturb(const LogFiles& files, CollectorAgent& agent, int timer, int step)
{
    const int file = step / 12 % LogFiles::count;
    switch (step % 12) {
    case 0:
        files.Configure(file, "*", ZolTest::all_levels);
        break;
    case 1:
        DbgUtils::SignalLoggingPause();
        break;
    case 2:
        files.Configure(file, ModuleId(step % module_count).constData(), DBG_ERROR);
        break;
    case 3:
        DbgUtils::SignalLogFreeStatus(false);
        break;
    case 4:
        DbgUtils::SignalLoggingResume();
        break;
    case 5:
        QCoreApplication::postEvent(agent.Collector(), new QTimerEvent(timer));
        break;
    case 6:
        DbgUtils::SignalLogFreeStatus(true);
        break;
    case 7:
        files.Remove(file);
        break;
    case 8:
        DbgUtils::SignalLoggingPause();
        DbgUtils::SignalLoggingResume();
        break;
    case 9:
        files.Configure(file, "*", 56);
        break;
    case 10:
        files.Configure(file, "shared", DBG_WARN | DBG_TRACE);
        break;
    default:
        files.Configure((file + 1) % LogFiles::count, "*", DBG_TRACE | DBG_TIME_TRACE | DBG_FATAL);
        break;
    }
}

/** Configures all outputs and starts; null if the collector does not come to its first dump. */
CollectorAgent* Start(const LogFiles& files)
{
    CollectorAgent::Employ(ProbeOf("always"));
    ConfigureAlwaysOn();
    for (int file = 0; file < LogFiles::count; ++file)
        files.Configure(file, "*", ZolTest::all_levels);
    DbgCollector::Start();
    CollectorAgent* const agent = CollectorAgent::Await();
    return agent && ProbeOf("always").WaitFor("Dumping metric table") && agent->Fence() ? agent
                                                                                        : nullptr;
}

/** What is wrong with the lines of a log; empty if nothing is. */
QByteArray Fault(const QByteArray& log)
{
    QList<QByteArray> lines = log.split('\n');
    if (!lines.takeLast().isEmpty())
        return "the last line has no end";
    bool in_dump = false;
    for (const QByteArray& line : lines) {
        if (line.startsWith("<metric f=\"") && line.endsWith("\"/>") && in_dump)
            continue;
        in_dump = ZolTest::IsDump(line);
        if (line != "<DEBUG_SERVER_RESTART/>" && !ZolTest::ParseRecord(line).valid)
            return line;
    }
    return QByteArray();
}

/** The records of a worker that were owed, in short. */
std::vector<QByteArray> OwedRecords(const QByteArray& log, const QByteArray& thread)
{
    std::vector<QByteArray> records;
    for (const QByteArray& text : ZolTest::RecordsOf(log)) {
        const LogRecord record = ZolTest::ParseRecord(text);
        const bool is_trace = record.level == "DBG_TRACE" || record.level == "DBG_TIME_TRACE";
        if (record.thread == thread && !(is_trace && IsTimed(record.module)))
            records.push_back(Entry(record.module, record.level.constData(), record.message));
    }
    return records;
}

/** Whether the numbered messages of a thread are in order. */
bool InOrder(const QByteArray& log, const QByteArray& thread)
{
    int last = 0;
    for (const QByteArray& text : ZolTest::RecordsOf(log)) {
        const LogRecord record = ZolTest::ParseRecord(text);
        const int number = record.message.left(record.message.indexOf(' ')).toInt();
        if (record.thread == thread && number > 0) {
            if (number <= last)
                return false;
            last = number;
        }
    }
    return true;
}

/** The lines of the last dump. */
QByteArray LastDump(const QByteArray& log)
{
    QByteArray dump;
    for (const QByteArray& line : log.split('\n')) {
        if (ZolTest::IsDump(line))
            dump.clear();
        else if (line.startsWith("<metric "))
            dump += line + '\n';
    }
    return dump;
}

QByteArray MetricLine(const QByteArray& file, int line, int count)
{
    return "<metric f=\"" + file + "\" l=\"" + QByteArray::number(line) + "\" c=\"" +
           QByteArray::number(count) + "\"/>\n";
}

/** What all workers counted in so many rounds. */
QByteArray AllHits(int rounds)
{
    QByteArray hits;
    for (int i = 0; i < worker_count; ++i)
        hits += MetricLine("own" + QByteArray::number(i), 1, rounds);
    hits += MetricLine(__FILE__, metric_line, worker_count * rounds * 2);
    hits += MetricLine(__FILE__, log_metric_line, worker_count * rounds * 2);
    return hits;
}

/** Whether the records of a log, as far as it has any, are also in another. */
bool IsContained(const QByteArray& log, const QByteArray& other)
{
    const QList<QByteArray> others = ZolTest::RecordsOf(other);
    QSet<QByteArray> all;
    for (const QByteArray& record : others)
        all.insert(record);
    for (const QByteArray& record : ZolTest::RecordsOf(log)) {
        // The output that is always on takes no traces of timed modules.
        if (!all.contains(record) && !IsTimed(ZolTest::ParseRecord(record).module))
            return false;
    }
    return true;
}

} // namespace

class TestWholeSystem : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();

    void everythingAtOnce();
    void everythingAtOnceUntilStop();
};

void TestWholeSystem::cleanup()
{
    DbgCollector::Stop();
}

void TestWholeSystem::everythingAtOnce()
{
    const int steps = 60;
    const int rounds_a_step = Scaled(5);
    const int rounds = steps * rounds_a_step;
    const LogFiles files;
    const DebugModule shared(QLatin1String("shared"));
    CollectorAgent* const agent = Start(files);
    QVERIFY(agent);
    const QList<ZolTest::CollectorTimer> timers = agent->Timers();
    QCOMPARE(static_cast<int>(timers.size()), 1);
    const int timer = timers.first().id;

    const Workers workers = StartWorkers(shared, rounds);
    for (int step = 0; step < steps; ++step) {
        Allow(workers, rounds_a_step);
        Disturb(files, *agent, timer, step);
        QVERIFY(agent->Fence());
    }
    QVERIFY(Join(workers));
    QVERIFY(agent->Fire(timer));
    DbgCollector::Stop();

    const QByteArray log = ProbeOf("always").Bytes();
    QCOMPARE(Fault(log), QByteArray());
    QCOMPARE(static_cast<int>(log.count("<DEBUG_SERVER_RESTART/>")), 1);
    QCOMPARE(LastDump(log), AllHits(rounds));
    for (const std::unique_ptr<Worker>& worker : workers) {
        const std::vector<QByteArray> records = OwedRecords(log, worker->Name());
        QCOMPARE(records.size(), worker->Owed().size());
        for (size_t i = 0; i < records.size(); ++i)
            QCOMPARE(records.at(i), worker->Owed().at(i));
    }
    for (int file = 0; file < LogFiles::count; ++file) {
        QCOMPARE(Fault(files.Bytes(file)), QByteArray());
        QVERIFY(files.Bytes(file).startsWith("<DEBUG_SERVER_RESTART/>\n"));
        QVERIFY(IsContained(files.Bytes(file), log));
        for (const std::unique_ptr<Worker>& worker : workers)
            QVERIFY(InOrder(files.Bytes(file), worker->Name()));
    }
}

void TestWholeSystem::everythingAtOnceUntilStop()
{
    const int steps = 12;
    const int rounds_a_step = Scaled(5);
    const int rounds_from_stop = Scaled(100);
    const LogFiles files;
    const DebugModule shared(QLatin1String("shared"));
    CollectorAgent* const agent = Start(files);
    QVERIFY(agent);
    const int timer = agent->Timers().first().id;

    const Workers workers = StartWorkers(shared, steps * rounds_a_step + rounds_from_stop);
    for (int step = 0; step < steps; ++step) {
        Allow(workers, rounds_a_step);
        Disturb(files, *agent, timer, step);
        QVERIFY(agent->Fence());
    }
    std::vector<size_t> logged_before_stop;
    for (const std::unique_ptr<Worker>& worker : workers)
        logged_before_stop.push_back(worker->Logged());
    Allow(workers, rounds_from_stop);
    DbgCollector::Stop();
    const QByteArray log = ProbeOf("always").Bytes();
    for (int step = steps; step < 2 * steps; ++step)
        Disturb(files, *agent, timer, step);
    QVERIFY(Join(workers));

    QCOMPARE(ProbeOf("always").Bytes(), log);
    QCOMPARE(Fault(log), QByteArray());
    for (size_t i = 0; i < workers.size(); ++i) {
        const std::vector<QByteArray> records = OwedRecords(log, workers.at(i)->Name());
        QVERIFY(records.size() >= logged_before_stop.at(i));
        QVERIFY(records.size() <= workers.at(i)->Owed().size());
        for (size_t k = 0; k < records.size(); ++k)
            QCOMPARE(records.at(k), workers.at(i)->Owed().at(k));
    }
    for (int file = 0; file < LogFiles::count; ++file)
        QCOMPARE(Fault(files.Bytes(file)), QByteArray());
}

QTEST_MAIN(TestWholeSystem)

#include "tst_whole_system.moc"
