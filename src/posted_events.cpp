#include "posted_events.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QMutexLocker>

namespace Zol {

PostedEvents::PostedEvents()
    : m_last_number(0)
{
}

PostedEvents::~PostedEvents()
{
    qDeleteAll(TakeUrgent());
    qDeleteAll(TakeRest());
}

void PostedEvents::Post(QObject* receiver, QEvent* event, QEvent* copy, int priority)
{
    const int queue = priority > Qt::NormalEventPriority   ? High
                      : priority < Qt::NormalEventPriority ? Low
                                                           : Normal;
    QMutexLocker lock(&m_mutex);
    const Entry entry = {++m_last_number, copy};
    m_entries[queue].enqueue(entry);
    m_places.insert(event, Place(queue, entry.number));
    QCoreApplication::postEvent(receiver, event, priority);
}

QList<QEvent*> PostedEvents::TakeUpTo(const QEvent* delivered)
{
    QMutexLocker lock(&m_mutex);
    const Place place = m_places.take(delivered);
    return TakeUpToNumber(m_entries[place.first], place.second);
}

QList<QEvent*> PostedEvents::TakeUrgent()
{
    QMutexLocker lock(&m_mutex);
    return TakeAll(m_entries[High]) + TakeAll(m_entries[Normal]);
}

QList<QEvent*> PostedEvents::TakeRest()
{
    QMutexLocker lock(&m_mutex);
    return TakeAll(m_entries[Low]);
}

QList<QEvent*> PostedEvents::TakeUpToNumber(Entries& entries, quint64 number)
{
    QList<QEvent*> copies;
    while (!entries.isEmpty() && entries.head().number <= number)
        copies.append(entries.dequeue().copy);
    return copies;
}

QList<QEvent*> PostedEvents::TakeAll(Entries& entries)
{
    return entries.isEmpty() ? QList<QEvent*>() : TakeUpToNumber(entries, entries.last().number);
}

} // namespace Zol
