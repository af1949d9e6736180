#ifndef ZOLDEBUG_IDLE_THREAD_H
#define ZOLDEBUG_IDLE_THREAD_H

#include <pthread.h>
#include <sched.h>

namespace Zol {

/**
 * Takes a living thread out of the idle class, as somebody waits for it. Where the system does not
 * allow that, it stays there.
 */
inline void StopBeingIdle(pthread_t thread)
{
    sched_param parameters = sched_param();
    pthread_setschedparam(thread, SCHED_OTHER, &parameters);
}

inline bool IsIdle(pthread_t thread)
{
    sched_param parameters = sched_param();
    int policy = SCHED_OTHER;
    return pthread_getschedparam(thread, &policy, &parameters) == 0 && policy == SCHED_IDLE;
}

/** Puts a living thread into the idle class, where it runs when nothing else wants to. */
inline void BecomeIdle(pthread_t thread)
{
    sched_param parameters = sched_param();
    pthread_setschedparam(thread, SCHED_IDLE, &parameters);
}

} // namespace Zol

#endif
