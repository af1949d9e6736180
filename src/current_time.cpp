#include "current_time.h"

#include <atomic>

namespace Zol {

namespace {

std::atomic<bool> takes_time(true);

// A plain flag, so that the destructors of other thread-local objects may still log.
thread_local bool last_time_is_gone = false;

struct LastTime
{
    LastTime()
        : milliseconds(-1)
    {
    }
    ~LastTime() { last_time_is_gone = true; }

    qint64 milliseconds;
    QDateTime time;
};

thread_local LastTime last_time;

} // namespace

void StopTakingTime()
{
    takes_time = false;
}

QDateTime CurrentTime()
{
    if (!takes_time)
        return QDateTime();
    if (last_time_is_gone)
        return QDateTime::currentDateTime();
    const qint64 milliseconds = QDateTime::currentMSecsSinceEpoch();
    LastTime& last = last_time;
    if (last.milliseconds != milliseconds) {
        last.time = QDateTime::fromMSecsSinceEpoch(milliseconds);
        last.milliseconds = milliseconds;
    }
    return last.time;
}

} // namespace Zol
