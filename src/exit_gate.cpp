#include "exit_gate.h"

#include "dbg_utils.h"
#include "idle_thread.h"
#include "open_file.h"
#include "qt_compat.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDateTime>
#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QMutex>
#include <QtCore/QMutexLocker>
#include <QtCore/QPointer>
#include <QtCore/QTextStream>
#include <QtCore/QThread>
#include <QtCore/QWaitCondition>

#include <stdlib.h>

#include <atomic>

namespace Zol {

namespace {

// ms; an output may hang in its device
const qint64 patience = 5000;
const qint64 fork_patience = 100;

struct State
{
    State()
        : is_shut(false)
        , process_exits(false)
        , is_forking(false)
        , is_stuck(false)
        , inside(0)
        , native_thread()
    {
    }

    std::atomic<bool> is_shut;
    std::atomic<bool> process_exits;
    bool is_forking;
    bool is_stuck; // the present passage outlasted the patience, so nobody waits for it again
    std::atomic<Qt::HANDLE> inside; // the thread within a passage
    pthread_t native_thread;        // the same, while there is one
    QWaitCondition changed;
    QMutex mutex; // last, or GCC 12 takes the null check of a locker for a null gate
};

State& Gate()
{
    static State& gate = *new State;
    return gate;
}

/** Whether another thread is within a passage; an output may exit or fork in its own. */
bool IsOtherInside(const State& gate)
{
    return gate.inside && gate.inside != QThread::currentThreadId();
}

/** Waits until no other thread is within a passage. The caller holds the mutex of the gate. */
void AwaitNobodyInside(State& gate, qint64 bound)
{
    QElapsedTimer timer;
    timer.start();
    while (IsOtherInside(gate) && timer.elapsed() < bound)
        gate.changed.wait(&gate.mutex, static_cast<unsigned long>(bound));
}

void Shut()
{
    State& gate = Gate();
    QMutexLocker lock(&gate.mutex);
    gate.is_shut = true;
    if (gate.inside)
        StopBeingIdle(gate.native_thread);
    if (!gate.is_stuck)
        AwaitNobodyInside(gate, patience);
    gate.is_stuck = IsOtherInside(gate);
}

// Qt makes the objects behind dates, encodings, files and guarded pointers on first use, and
// destroys them at exit in the reverse order: use them now, so that they outlast the gate.
void UseQt()
{
    // Before there is an application, the locale is not set up, and must not be asked for.
    if (!QCoreApplication::instance())
        return;
    QFile file(QLatin1String("/dev/null"));
    const QPointer<QFile> guarded_file(&file);
    OpenForWriting(file, QIODevice::WriteOnly);
    const QString text;
    QTextStream(guarded_file) << DbgUtils::FormatDbgHeader(QDateTime::currentDateTime(), text, text,
                                                           0, text, DBG_TRACE, text);
}

// As the library is loaded, for a host that stops the collector in a static destructor: outputs go
// by guarded pointers.
const bool keeps_guarded_pointers = QtCompat::KeepGuardedPointers();

void ShutForExit()
{
    Shut();
    Gate().process_exits = true;
}

} // namespace

ExitGate::Passage::Passage()
    : m_is_nested(Gate().inside == QThread::currentThreadId())
{
    if (m_is_nested)
        return;
    State& gate = Gate();
    QMutexLocker lock(&gate.mutex);
    while (gate.is_shut || gate.is_forking)
        gate.changed.wait(&gate.mutex);
    gate.inside = QThread::currentThreadId();
    gate.native_thread = pthread_self();
}

ExitGate::Passage::~Passage()
{
    if (m_is_nested)
        return;
    State& gate = Gate();
    QMutexLocker lock(&gate.mutex);
    gate.inside = Qt::HANDLE();
    gate.is_stuck = false;
    gate.changed.wakeAll();
}

ExitGate::Opening::Opening()
    : m_was_shut(Gate().is_shut)
{
    if (!m_was_shut)
        return;
    State& gate = Gate();
    QMutexLocker lock(&gate.mutex);
    gate.is_shut = false;
    gate.changed.wakeAll();
}

ExitGate::Opening::~Opening()
{
    if (m_was_shut)
        Shut();
}

// A thread within a passage may hold locks of Qt and of the C library, which would stay locked for
// ever in the child.
void ExitGate::BeforeFork()
{
    State& gate = Gate();
    gate.mutex.lock();
    gate.is_forking = true;
    if (!IsOtherInside(gate))
        return;
    const bool was_idle = IsIdle(gate.native_thread);
    StopBeingIdle(gate.native_thread);
    AwaitNobodyInside(gate, fork_patience);
    if (was_idle && !gate.is_shut)
        BecomeIdle(gate.native_thread);
}

void ExitGate::AfterForkInParent()
{
    State& gate = Gate();
    gate.is_forking = false;
    gate.changed.wakeAll();
    gate.mutex.unlock();
}

// The condition stays as it is: a thread that was about to wait left it locked, and none waits
// here.
void ExitGate::AfterForkInChild()
{
    State& gate = Gate();
    gate.inside = Qt::HANDLE();
    gate.is_stuck = false;
    gate.is_forking = false;
    gate.mutex.unlock();
}

bool ExitGate::IsShut()
{
    return Gate().is_shut;
}

bool ExitGate::ProcessExits()
{
    return Gate().process_exits;
}

bool ExitGate::ShutAtExit()
{
    Q_UNUSED(keeps_guarded_pointers)
    UseQt();
    atexit(ShutForExit);
    return true;
}

} // namespace Zol
