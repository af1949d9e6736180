#ifndef ZOLDEBUG_BLOCKED_SIGNALS_H
#define ZOLDEBUG_BLOCKED_SIGNALS_H

#include <QtCore/QtGlobal>

#include <signal.h>

namespace Zol {

/**
 * Blocks signals in the present thread while it lives. A thread that starts meanwhile never gets
 * them: they are the host's, whose handlers must neither wait for an idle thread nor run on it, and
 * a log that is read through a pipe must not end the host when its reader goes away.
 *
 * Faults of a thread's own remain, as the host may report crashes, and the clock of profilers. What
 * asks all threads for their stacks by another signal gets no answer of this one.
 */
class BlockedSignals
{
public:
    BlockedSignals()
    {
        sigset_t signals;
        sigfillset(&signals);
        const int own_signals[] = {SIGABRT, SIGBUS,  SIGFPE, SIGILL,
                                   SIGPROF, SIGSEGV, SIGSYS, SIGTRAP};
        for (const int signal : own_signals)
            sigdelset(&signals, signal);
        pthread_sigmask(SIG_BLOCK, &signals, &m_former_mask);
    }

    ~BlockedSignals() { pthread_sigmask(SIG_SETMASK, &m_former_mask, nullptr); }

private:
    Q_DISABLE_COPY(BlockedSignals)

    sigset_t m_former_mask;
};

} // namespace Zol

#endif
