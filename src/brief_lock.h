#ifndef ZOLDEBUG_BRIEF_LOCK_H
#define ZOLDEBUG_BRIEF_LOCK_H

#include <QtCore/QMutex>

#include <unistd.h>

namespace Zol {

/**
 * Locks a mutex that others hold for some hundred nanoseconds as a rule. To sleep until they let go
 * of it would take tens of microseconds, theirs too, so it tries for a while first.
 */
class BriefLock
{
public:
    explicit BriefLock(QMutex& mutex)
        : m_mutex(mutex)
    {
        if (!TryForAWhile())
            m_mutex.lock();
    }

    ~BriefLock() { m_mutex.unlock(); }

private:
    Q_DISABLE_COPY(BriefLock)

    static int Attempts()
    {
        // With one core, whoever holds the mutex does not run meanwhile.
        static const int attempts = sysconf(_SC_NPROCESSORS_ONLN) > 1 ? 40 : 1;
        return attempts;
    }

    /** Asks seldom, as each time the line of the cache leaves who holds the mutex. */
    bool TryForAWhile()
    {
        const int pauses = 16;
        for (int left = Attempts(); left > 0; --left) {
            if (m_mutex.tryLock())
                return true;
            for (int i = 0; i < pauses; ++i)
                LetOthersRun();
        }
        return false;
    }

    /** What a processor offers to those who wait in a loop; its other threads go faster. */
    static void LetOthersRun()
    {
#if defined(__i386__) || defined(__x86_64__)
        __builtin_ia32_pause();
#elif defined(__aarch64__) || (defined(__ARM_ARCH) && __ARM_ARCH >= 7)
        __asm__ __volatile__("yield" ::: "memory");
#endif
    }

    QMutex& m_mutex;
};

} // namespace Zol

#endif
