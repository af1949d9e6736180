#include "current_time.h"

#include <atomic>

namespace Zol {

namespace {

std::atomic<bool> takes_time(true);

} // namespace

void StopTakingTime()
{
    takes_time = false;
}

QDateTime CurrentTime(TimeOfThread* last)
{
    if (!takes_time)
        return QDateTime();
    if (!last)
        return QDateTime::currentDateTime();
    const qint64 milliseconds = QDateTime::currentMSecsSinceEpoch();
    if (last->milliseconds != milliseconds) {
        last->time = QDateTime::fromMSecsSinceEpoch(milliseconds);
        last->milliseconds = milliseconds;
    }
    return last->time;
}

} // namespace Zol
