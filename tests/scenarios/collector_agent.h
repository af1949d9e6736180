#ifndef ZOLDEBUG_TESTS_COLLECTOR_AGENT_H
#define ZOLDEBUG_TESTS_COLLECTOR_AGENT_H

#include "dbg_collector.h"
#include "probe.h"
#include "wait.h"

#include <QtCore/QAbstractEventDispatcher>
#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>
#include <QtCore/QEvent>
#include <QtCore/QList>
#include <QtCore/QMutex>
#include <QtCore/QMutexLocker>
#include <QtCore/QPair>
#include <QtCore/QThread>
#include <QtCore/QTimerEvent>
#include <QtCore/QWaitCondition>

#include <functional>

namespace ZolTest {

/** A timer of the collector. */
struct CollectorTimer
{
    int id;
    int interval; ///< in milliseconds
};

namespace Detail {

// Qt 4 tells timers as pairs, later versions as structures.
inline CollectorTimer ToTimer(const QPair<int, int>& timer)
{
    return {timer.first, timer.second};
}

template <class TimerInfo>
CollectorTimer ToTimer(const TimerInfo& timer)
{
    return {timer.timerId, static_cast<int>(timer.interval)};
}

} // namespace Detail

/**
 * Lets a test reach the collector, which is a private object: an object that lives on the
 * collector's thread from the creation of a probe's output to the end of the process.
 */
class CollectorAgent : public QObject
{
public:
    /** Has an agent made with the first write to the probe; call it before it is configured. */
    static void Employ(Probe& probe)
    {
        Office& office = TheOffice();
        probe.SetOnWrite([&office](const QByteArray&) {
            QMutexLocker lock(&office.mutex);
            if (!office.agent) {
                office.agent = new CollectorAgent;
                office.employed.wakeAll();
            }
        });
    }

    /** The agent; null if none could be made in time. */
    static CollectorAgent* Await()
    {
        Office& office = TheOffice();
        QMutexLocker lock(&office.mutex);
        QElapsedTimer timer;
        timer.start();
        while (!office.agent) {
            const qint64 left = WaitBound() - timer.elapsed();
            if (left <= 0 || !office.employed.wait(&office.mutex, static_cast<unsigned long>(left)))
                return nullptr;
        }
        return office.agent;
    }

    /** The collector. */
    QThread* Collector() const { return m_collector; }

    /**
     * Has the collector run @p task when it has handled all that was posted before. Returns false
     * if that takes longer than WaitBound().
     */
    bool Run(const std::function<void()>& task)
    {
        const int below_all_others = -3;
        QMutexLocker lock(&m_mutex);
        const int number = ++m_posted;
        QCoreApplication::postEvent(this, new Task(task), below_all_others);
        QElapsedTimer timer;
        timer.start();
        while (m_done < number) {
            const qint64 left = WaitBound() - timer.elapsed();
            if (left <= 0 || !m_changed.wait(&m_mutex, static_cast<unsigned long>(left)))
                return false;
        }
        return true;
    }

    /** Waits until the collector has handled all that was posted before. */
    bool Fence()
    {
        return Run([] {});
    }

    /** The timers of the collector. */
    QList<CollectorTimer> Timers()
    {
        QList<CollectorTimer> timers;
        Run([this, &timers] {
            const QList<QAbstractEventDispatcher::TimerInfo> infos =
                QAbstractEventDispatcher::instance(m_collector)->registeredTimers(m_collector);
            for (const QAbstractEventDispatcher::TimerInfo& info : infos)
                timers.append(Detail::ToTimer(info));
        });
        return timers;
    }

    /** Has the collector handle the event of a timer, as if its time had come. */
    bool Fire(int timer_id)
    {
        QCoreApplication::postEvent(m_collector, new QTimerEvent(timer_id));
        return Fence();
    }

protected:
    void customEvent(QEvent* event) override
    {
        Task* const task = dynamic_cast<Task*>(event);
        if (task) {
            task->body();
            QMutexLocker lock(&m_mutex);
            ++m_done;
            m_changed.wakeAll();
        }
    }

private:
    struct Office
    {
        QMutex mutex;
        QWaitCondition employed;
        CollectorAgent* agent = nullptr;
    };

    struct Task : public QEvent
    {
        explicit Task(const std::function<void()>& task_body)
            : QEvent(QEvent::User)
            , body(task_body)
        {
        }

        const std::function<void()> body;
    };

    CollectorAgent()
        : m_collector(QThread::currentThread())
        , m_posted(0)
        , m_done(0)
    {
    }

    static Office& TheOffice()
    {
        static Office& office = *new Office;
        return office;
    }

    QThread* const m_collector;
    QMutex m_mutex;
    QWaitCondition m_changed;
    int m_posted;
    int m_done;
};

} // namespace ZolTest

#endif
