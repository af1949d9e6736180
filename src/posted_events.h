#ifndef ZOLDEBUG_POSTED_EVENTS_H
#define ZOLDEBUG_POSTED_EVENTS_H

#include <QtCore/QEvent>
#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QMutex>
#include <QtCore/QPair>
#include <QtCore/QQueue>

namespace Zol {

/**
 * Copies of the events that were posted to the collector and not handled yet.
 *
 * Qt throws posted events away when their time comes and there is no QCoreApplication. A host that
 * stops the collector after its application is gone must not lose what it configured before.
 */
class PostedEvents
{
public:
    PostedEvents();
    ~PostedEvents();

    /** Posts @p event to @p receiver and keeps @p copy, which it owns, until it is taken. Any
     * thread. */
    void Post(QObject* receiver, QEvent* event, QEvent* copy, int priority);

    /**
     * Takes the copies of the event that was delivered just now and of those before it that were
     * not, in the order in which they were posted. They belong to the caller.
     */
    QList<QEvent*> TakeUpTo(const QEvent* delivered);

    /** Takes all copies of events that go before messages, in the order of their delivery. */
    QList<QEvent*> TakeUrgent();

    /** Takes all other copies. */
    QList<QEvent*> TakeRest();

private:
    Q_DISABLE_COPY(PostedEvents)

    enum
    {
        High,
        Normal,
        Low,
        PriorityCount
    };

    struct Entry
    {
        quint64 number;
        QEvent* copy;
    };
    typedef QQueue<Entry> Entries;
    typedef QPair<int, quint64> Place; // queue and number

    static QList<QEvent*> TakeUpToNumber(Entries& entries, quint64 number);
    static QList<QEvent*> TakeAll(Entries& entries);

    QMutex m_mutex; // keeps the order of the copies that of the events
    Entries m_entries[PriorityCount];
    quint64 m_last_number;
    // By the address of the event, which may serve again once Qt has thrown the event away.
    QHash<const QEvent*, Place> m_places;
};

} // namespace Zol

#endif
