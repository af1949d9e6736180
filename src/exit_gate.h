#ifndef ZOLDEBUG_EXIT_GATE_H
#define ZOLDEBUG_EXIT_GATE_H

#include <QtCore/QtGlobal>

namespace Zol {

/**
 * Keeps the collector's thread out of the destruction of static objects.
 *
 * A host may exit without stopping the collector. Its thread then runs on while Qt's and the host's
 * static objects, which formatting and outputs rely on, are destroyed. So the thread enters each
 * piece of work through this gate, and the exit of the process shuts it. It opens once more for a
 * host that stops the collector in a static destructor, as nothing is destroyed while that waits.
 */
class ExitGate
{
public:
    /** A piece of the collector's work. The constructor waits until the gate is open. */
    class Passage
    {
    public:
        Passage();
        ~Passage();

    private:
        Q_DISABLE_COPY(Passage)

        const bool m_is_nested; // an output may run an event loop of its own
    };

    /** Opens the gate while a host waits for the collector to end. */
    class Opening
    {
    public:
        Opening();
        ~Opening();

    private:
        Q_DISABLE_COPY(Opening)

        const bool m_was_shut;
    };

    /** Has nobody inside while the process forks, if the present piece of work ends soon. */
    static void BeforeFork();
    static void AfterForkInParent();
    static void AfterForkInChild();

    /** Whether the gate is shut, or about to be, so that the present piece of work is cut short. */
    static bool IsShut();

    /** Whether the process exits, so that static objects of Qt may be gone. */
    static bool ProcessExits();

    /**
     * Has the gate shut when the process exits, before the destruction of whatever exists now.
     * Each call adds what was made since the last one. Always returns true.
     */
    static bool ShutAtExit();
};

} // namespace Zol

#endif
