#ifndef ZOLDEBUG_CURRENT_TIME_H
#define ZOLDEBUG_CURRENT_TIME_H

#include <QtCore/QDateTime>

namespace Zol {

/** The time that a thread took last. */
struct TimeOfThread
{
    TimeOfThread()
        : milliseconds(-1)
    {
    }

    qint64 milliseconds; ///< since 1970; -1 while there is none
    QDateTime time;
};

/**
 * The local time, in milliseconds, as QDateTime::currentDateTime() has it. Any thread.
 *
 * Qt looks at the time zone each time it converts a clock reading, which takes longer than all else
 * that a message costs its host. With @p last, of this thread, it does so once a millisecond.
 */
QDateTime CurrentTime(TimeOfThread* last = nullptr);

/**
 * Makes CurrentTime() null from now on: in a forked child, where nothing is logged, the C library's
 * lock of the time zone may be held by a thread that stayed in the parent.
 */
void StopTakingTime();

} // namespace Zol

#endif
