#ifndef DEMO_PAUSE_SIGNALS_H
#define DEMO_PAUSE_SIGNALS_H

#include <QtCore/QThread>

/**
 * Pauses logging at SIGUSR1, resumes it at SIGUSR2, and does both at SIGHUP, as a script that moves
 * the log files wants it. One a process; from its end on, the signals are ignored.
 *
 * It waits on a thread of its own, so it does not matter whether the host has an event loop. Only
 * that thread takes the signals, in their order, if the host has no other thread yet when it makes
 * this object: those made later, and programs that they start, have the signals blocked.
 */
class PauseSignals : private QThread
{
public:
    PauseSignals();
    ~PauseSignals();

protected:
    void run() override;

private:
    Q_DISABLE_COPY(PauseSignals)
};

#endif
