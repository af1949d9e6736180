#ifndef ZOLDEBUG_BENCH_COLLECTOR_PROBE_H
#define ZOLDEBUG_BENCH_COLLECTOR_PROBE_H

#include <QtCore/QString>

/**
 * A view of the collector from within: two outputs that run on its thread.
 *
 * The output "null" discards and counts what it is given. The output "gate" takes the records of
 * the module "gate" alone, and the collector stands still at each of them until it is let go.
 */
class CollectorProbe
{
public:
    /** The address of the output that discards everything. */
    static QString NullOutput() { return QLatin1String("null:output"); }

    /** Configures the gate. Call it before the collector starts. */
    static void BuildGate();

    /** Logs a record to the gate, behind all that is queued. Does not wait. */
    static void QueueGate();

    /** Waits until the collector stands at the gate. */
    static void AwaitGate();

    /** Lets the collector go on. */
    static void OpenGate();

    /** CPU time of the collector's thread in nanoseconds. Some output must exist. */
    static qint64 CpuTime();

    /** How many records the null outputs were given so far. */
    static qint64 Discarded();

    /** Waits until that many were. */
    static void AwaitDiscarded(qint64 records);
};

#endif
