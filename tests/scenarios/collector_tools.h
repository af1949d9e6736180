#ifndef ZOLDEBUG_TESTS_COLLECTOR_TOOLS_H
#define ZOLDEBUG_TESTS_COLLECTOR_TOOLS_H

#include "debug.h"
#include "log_record.h"
#include "probe.h"
#include "wait.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QElapsedTimer>
#include <QtCore/QEvent>
#include <QtCore/QList>
#include <QtCore/QMutex>
#include <QtCore/QSemaphore>
#include <QtCore/QStringList>
#include <QtCore/QThread>

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

namespace ZolTest {

const Zol::DebugLevel all_levels = static_cast<Zol::DebugLevel>(0x7fffffff);

/** Asks for the output "probe:NAME", which takes everything. */
inline void ConfigureProbe(const char* name)
{
    Zol::DbgCollector::CollectCfgMsg(QString::fromLatin1("probe:") + QLatin1String(name),
                                     QLatin1String("*"), all_levels);
}

/** The probe of the output "probe:NAME". */
inline Probe& ProbeOf(const char* name)
{
    return Probe::Get(QLatin1String(name));
}

/** Emits one record of the module "host". */
inline void Log(const QByteArray& text)
{
    Zol::DBG_OBJ(QLatin1String("host"), __FILE__, __LINE__, Q_FUNC_INFO, Zol::DBG_INFO).Dbg()
        << QString::fromLatin1(text.constData());
}

inline void NameThisThread(const char* name)
{
    QThread::currentThread()->setObjectName(QLatin1String(name));
}

inline int Count(const QList<QByteArray>& list)
{
    return static_cast<int>(list.size());
}

inline bool IsDump(const QByteArray& record)
{
    return ParseRecord(record).message == "Dumping metric table";
}

/** The records without those that head a dump of the metrics, which pass by the queue. */
inline QList<QByteArray> WithoutDumps(const QList<QByteArray>& records)
{
    QList<QByteArray> queued;
    for (const QByteArray& record : records) {
        if (!IsDump(record))
            queued.append(record);
    }
    return queued;
}

/** The texts of some records, one behind the other, as a readable way to compare them. */
inline QByteArray TextsOf(const QList<QByteArray>& records)
{
    QByteArray texts;
    for (const QByteArray& record : records)
        texts += ParseRecord(record).message + '|';
    return texts;
}

/** The ids of the threads of this process. */
inline QStringList ThreadIds()
{
    return QDir(QLatin1String("/proc/self/task")).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
}

/** Asks again and again until @p condition holds; false if that takes longer than WaitBound(). */
inline bool Await(const std::function<bool()>& condition)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > WaitBound())
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

/** Whether every thread but the main one, which asks, waits for something. */
inline bool OtherThreadsSleep()
{
    const QString main_thread = QString::number(QCoreApplication::applicationPid());
    const QStringList ids = ThreadIds();
    for (const QString& id : ids) {
        const QByteArray stat = ReadFile("/proc/self/task/" + id.toLatin1() + "/stat");
        if (id != main_thread && stat.mid(stat.lastIndexOf(')') + 2, 1) != "S")
            return false;
    }
    return true;
}

/** Waits until the collector, once created, has come to its wait for the start. */
inline bool AwaitSleepingThreads()
{
    return Await(OtherThreadsSleep);
}

/**
 * Stops the collector and waits until a probe has its last record, with all that was queued before
 * it: on a busy machine the collector's thread, being idle, may take longer than Stop() waits.
 */
inline bool StopAndAwaitLastRecord(const char* probe = "a")
{
    Zol::DbgCollector::Stop();
    return ProbeOf(probe).WaitFor("<b>Stopping !</b></dbg>\n");
}

/** A thread of the host that does one thing. */
class HostThread : public QThread
{
public:
    HostThread(const char* name, const std::function<void()>& body)
        : m_body(body)
    {
        setObjectName(QLatin1String(name));
    }

    bool Join() { return wait(static_cast<unsigned long>(WaitBound())); }

protected:
    void run() override { m_body(); }

private:
    std::function<void()> m_body;
};

/** Holds up a thread that comes along until the test lets it go on. */
class Gate
{
public:
    /** Called by the thread that is to be held up; false if nobody opened the gate. */
    bool Pass()
    {
        m_entered.release();
        return m_open.tryAcquire(1, WaitBound());
    }

    bool AwaitEntry() { return m_entered.tryAcquire(1, WaitBound()); }

    void Open() { m_open.release(); }

private:
    QSemaphore m_entered;
    QSemaphore m_open;
};

/**
 * Notes the events that reach the collector, beginning when the output of a probe is created.
 *
 * It lives on the collector's thread, as an event filter has to, for as long as the process.
 */
class EventWatch : public QObject
{
public:
    /** Has a watch made when the output "probe:NAME" is; to be called before it is configured. */
    static void Begin(const char* probe_name,
                      const std::function<void(int)>& on_event = std::function<void(int)>())
    {
        Probe& probe = ProbeOf(probe_name);
        probe.SetOnCall([&probe, on_event](const QByteArray& call) {
            if (!call.startsWith("create:") || Slot())
                return;
            Slot() = new EventWatch(probe, on_event);
            Ready().release();
        });
    }

    /** The watch; null if the output is not created in time. */
    static EventWatch* Await()
    {
        if (!Ready().tryAcquire(1, WaitBound()))
            return nullptr;
        Ready().release();
        return Slot();
    }

    QThread* Collector() const { return m_collector; }

    /** How many events of this type came. */
    int CountOf(int type)
    {
        QMutexLocker lock(&m_mutex);
        return static_cast<int>(m_types.count(type));
    }

    /** How many records had been written to the probe at each event of this type, as "0 100 ". */
    QByteArray RecordsAt(int type)
    {
        QMutexLocker lock(&m_mutex);
        QByteArray records;
        for (int i = 0; i < static_cast<int>(m_types.size()); ++i) {
            if (m_types.at(i) == type)
                records += QByteArray::number(m_records.at(i)) + ' ';
        }
        return records;
    }

    /** Waits until the collector has handled all that was posted, and all that this led to. */
    bool Fence()
    {
        PostFence();
        return m_passed.tryAcquire(1, WaitBound());
    }

    bool eventFilter(QObject* object, QEvent* event) override
    {
        const int type = event->type();
        if (type == fence) {
            // What an event posts is delivered in a later round, so wait for a round without any.
            if (m_events_since_fence == 0)
                m_passed.release();
            else
                PostFence();
            m_events_since_fence = 0;
            return true;
        }
        if (object == m_collector && type >= Zol::DbgCollector::EVT_DebugMsg &&
            type <= Zol::DbgCollector::EVT_Stop) {
            ++m_events_since_fence;
            Note(type);
            if (m_on_event)
                m_on_event(type);
        }
        return false;
    }

private:
    static const QEvent::Type fence = static_cast<QEvent::Type>(1999);

    EventWatch(Probe& probe, const std::function<void(int)>& on_event)
        : m_collector(QThread::currentThread())
        , m_probe(probe)
        , m_on_event(on_event)
        , m_events_since_fence(1)
    {
        m_collector->installEventFilter(this);
    }

    static EventWatch*& Slot()
    {
        static EventWatch* watch = nullptr;
        return watch;
    }

    static QSemaphore& Ready()
    {
        static QSemaphore ready;
        return ready;
    }

    void PostFence()
    {
        const int below_all_others = -2;
        QCoreApplication::postEvent(m_collector, new QEvent(fence), below_all_others);
    }

    void Note(int type)
    {
        const int records = Count(WithoutDumps(m_probe.Records()));
        QMutexLocker lock(&m_mutex);
        m_types.append(type);
        m_records.append(records);
    }

    QThread* const m_collector;
    Probe& m_probe;
    const std::function<void(int)> m_on_event;
    int m_events_since_fence;
    QMutex m_mutex;
    QList<int> m_types;
    QList<int> m_records;
    QSemaphore m_passed;
};

} // namespace ZolTest

#endif
