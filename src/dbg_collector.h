#ifndef ZOLDEBUG_DBG_COLLECTOR_H
#define ZOLDEBUG_DBG_COLLECTOR_H

#include "dbg_msg_details.h"
#include "dbg_utils.h"
#include "metric_table.h"
#include "zoldebug_export.h"

#include <QtCore/QEvent>
#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QMutex>
#include <QtCore/QQueue>
#include <QtCore/QScopedPointer>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QThread>
#include <QtCore/QWaitCondition>

#include <pthread.h>

#include <atomic>

namespace Zol {

class DbgServerInterface;
class DebugModule;
class PostedEvents;
class ServerCfgEvent;

/**
 * The one collector of the process: a thread that formats every message once and writes it to each
 * output whose mask admits it.
 *
 * The first call of any public function creates it and starts its thread at idle priority, which
 * takes some 10 ms. All public functions may be called from any thread; they hand over their work
 * and return at once, except Stop(). What is handed over before Start() waits: outputs are then
 * configured first, modules registered next, and messages written last.
 *
 * Start() needs a QCoreApplication. The collector starts once per process and is never destroyed,
 * so that messages from static destructors find it intact.
 */
class ZOLDEBUG_EXPORT DbgCollector : public QThread
{
    Q_OBJECT

public:
    /** The events by which work reaches the collector's thread. */
    enum EventType
    {
        EVT_DebugMsg = 1000,           ///< records are queued
        EVT_RegisterModule = 1001,     ///< a ModuleRegEvent
        EVT_DeregisterModule = 1002,   ///< a ModuleRegEvent
        EVT_ServerCfgMsg = 1003,       ///< a ServerCfgEvent
        EVT_DeleteServer = 1004,       ///< a ServerCfgEvent
        EVT_DbgMetric = 1005,          ///< dump the metrics and start their timer; the first only
        EVT_DbgLogDiskFull = 1006,     ///< the log storage is full
        EVT_DbgLogDiskHasSpace = 1007, ///< the log storage has space again
        EVT_DbgLogPause = 1008,        ///< stop writing
        EVT_DbgLogResume = 1009,       ///< write again
        EVT_Stop = 1010                ///< write what is queued and end the thread
    };

    /** What identifies an output: its protocol and its server. */
    class ZOLDEBUG_EXPORT ServerInterfaceKey
    {
    public:
        /** The output @p server of the protocol @p protocol. */
        ServerInterfaceKey(const QString& protocol, const QString& server);

        /** The protocol. */
        const QString& GetProtocol() const { return m_protocol; }

        /** The server. */
        const QString& GetServer() const { return m_server; }

    private:
        QString m_protocol;
        QString m_server;
    };

    /** Lets the collector write. Only the first start counts, and none after a stop. */
    static void Start();

    /**
     * Writes what is queued and ends the collector; nothing is written after it.
     *
     * Waits for that up to 10000 ms, except on the collector's own thread, where it returns at
     * once. A collector that was never started ends without writing anything.
     */
    static void Stop();

    /**
     * Queues one message. Never waits for the collector and refuses nothing.
     *
     * @param time_stamp  when the message was produced
     * @param module      identifier of the emitting module
     * @param file        source file, a Latin-1 literal; copied
     * @param line_no     source line
     * @param func        function signature, a Latin-1 literal; copied
     * @param lvl         the level of the message; not compared with any mask
     * @param thread      name of the emitting thread
     * @param message     the text
     */
    static void CollectMsg(const QDateTime& time_stamp, const QString& module, const char* file,
                           unsigned int line_no, const char* func, DebugLevel lvl,
                           const QString& thread, const QString& message);

    /** Announces a module, which must live until it is deregistered. DebugModule does this. */
    static void RegisterModule(DebugModule* module);

    /** Takes a module out of the registry. DebugModule does this. */
    static void DeRegisterModule(DebugModule* module);

    /**
     * Configures one output.
     *
     * @param options  the output's address, "protocol:server:option", then any number of entries
     *                 "module=mask" in the syntax of DbgUtils::ParseDebugMaskString(); without an
     *                 entry every module gets the mask of the empty string
     * @return         false for an empty list, and at the first entry without "="; the entries
     *                 before it stay in force
     */
    static bool ParseDebugServerOptions(const QStringList& options);

    /**
     * Sets the mask of one module, or of "*", in an output, which is created if there is none.
     *
     * If it cannot be created, the setting is dropped, and the registry of factories says so on
     * standard output.
     *
     * @param protocol_server  the output's address, "protocol:server:option"
     * @param module           the module's identifier, or "*" for all modules of the output
     * @param mask             the levels to let pass
     */
    static void CollectCfgMsg(const QString& protocol_server, const QString& module,
                              DebugLevel mask);

    /**
     * Closes and deletes the output with this address; the option in it does not matter. Without
     * such an output, nothing happens.
     */
    static void RemoveDebugInterface(const QString& protocol_server);

    /** Tells whether the storage that takes the logs has space. */
    static void SendLogFileSpaceAvailable(bool available);

    /** Stops all outputs from writing. */
    static void SendLoggingPause();

    /** Lets the outputs write again. */
    static void SendLoggingResume();

    /** Counts a hit of the line @p line of the source file @p file. */
    static void CollectMetric(const QString& file, unsigned int line);

protected:
    /** Dumps the metrics every two minutes. Called by Qt on the collector's thread. */
    void timerEvent(QTimerEvent* event) override;

    /** Handles what was handed over by an EventType. Called by Qt on the collector's thread. */
    void customEvent(QEvent* event) override;

    /** The collector's thread: waits for Start(), then works until Stop(). */
    void run() override;

private:
    Q_DISABLE_COPY(DbgCollector)
    friend class DbgClient;

    typedef QMap<ServerInterfaceKey, DbgServerInterface*> ServerMap;
    typedef QMultiMap<QString, DebugModule*> ModuleMap;

    DbgCollector();
    ~DbgCollector();

    static DbgCollector& Instance();
    /** How the creating and the created thread take turns. */
    enum CreationStep
    {
        ThreadStarts,
        ThreadArrived,
        ThreadMayGoOn,
        ThreadSettled
    };

    static DbgCollector* Create();
    void AwaitCreationStep(CreationStep step);
    void TakeCreationStep(CreationStep step);
    static void BeforeFork();
    static void AfterForkInParent();
    static void AfterForkInChild();

    void Post(QEvent* event, int priority);
    void PostLocked(QEvent* event, int priority);
    void SettleThread();
    bool AwaitStart();
    bool AwaitApplication();
    void NoteLoop();
    static bool FollowApplication();
    static void ApplicationBegins();
    static void ApplicationEnds();
    void RunEventLoop();
    void HandlePosted(QEvent* event);
    void DispatchEvents(const QList<QEvent*>& events);
    void DispatchEvent(QEvent* event);
    void StopEvent();
    void FinishWork();
    void Drain();
    void Finish();
    void WakeThread();
    void HurryThread();
    void CoverNewObjects();
    void AwaitEnd();

    static void Collect(DebugMessageDetails&& details);
    void DoCollect(const QDateTime& time_stamp, const QString& module, const char* file,
                   unsigned int line_no, const char* func, DebugLevel lvl, const QString& thread,
                   const QString& message);
    void DoDebugMessage(const QDateTime& time_stamp, const QString& module, const char* file,
                        unsigned int line_no, const char* func, DebugLevel lvl,
                        const QString& thread, const QString& message);
    void Enqueue(DebugMessageDetails&& details);
    int BacklogSize();
    void DebugMessageEvent();
    void WriteBatch(bool post_for_rest);
    void WriteRecord(const DebugMessageDetails& details);
    bool HasBatch(int most, bool post_for_rest);
    void HandleDbgMsg(const DebugMessageDetails& details);

    void RegisterModuleEvent(DebugModule* module, const QString& id);
    void DeregisterModuleEvent(DebugModule* module, const QString& id);
    DebugLevel CalculateModuleGlobalMask(const QString& id);
    void ReCalculateGlobalMasks(const QString& id);

    void ServerConfigEvent(ServerCfgEvent* ev);
    void RemoveServerEvent(ServerCfgEvent* ev);
    void HandleServerCfg(const QString& protocol_server, const QString& module, DebugLevel mask);
    void HandleRemoveServer(const QString& protocol_server);
    DbgServerInterface* CreateServerInterface(const QString& protocol, const QString& server,
                                              const QString& option);

    void DbgLogPauseEvent();
    void DbgLogResumeEvent();
    void DbgLogDiskFullEvent();
    void DbgLogDiskHasSpaceEvent();
    void DbgLogStateChange();

    void HandleMetric(bool reset_timer);

    /**
     * Keeps what every message writes apart from what every record reads: threads take turns with
     * a line of the processor's cache.
     */
    struct CacheLineGap
    {
        char unused[64];
    };

    ServerMap m_servers;
    CacheLineGap m_gap_before;
    QMutex m_start_mutex;
    QWaitCondition m_start_cond;
    QQueue<DebugMessageDetails> m_dbg_msg_queue;
    std::atomic<bool> m_started;
    std::atomic<bool> m_continue;
    std::atomic<bool> m_dump_requested;
    std::atomic<bool> m_no_msg_event_posted;
    std::atomic<bool> m_logging_paused;
    std::atomic<bool> m_disk_full;
    std::atomic<bool> m_finished; // nothing handles records or events any more
    CacheLineGap m_gap_behind;
    int m_metric_timer_id;
    ModuleMap m_modules;
    MetricTable m_metrics;
    QQueue<DebugMessageDetails> m_batch;  // off the queue already; for the collector's thread
    bool m_batch_was_large;               // when it was taken off the queue
    QString m_record;                     // the text of the last record, for its memory
    QMap<QString, int> m_created_outputs; // by protocol
    bool m_outputs_are_new;               // since the last batch
    bool m_is_busy;                       // with a record, for the collector's thread
    QList<QEvent*> m_deferred_events;     // delivered while busy
    bool m_stop_handled;                  // the collector's thread wrote what it had to write
    std::atomic<bool> m_forked;           // this is a child process, without the thread
    bool m_application_ends;
    std::atomic<bool> m_enters_loop; // the thread saw an application, and has handled no event yet
    QScopedPointer<PostedEvents> m_posted_events;
    CreationStep m_creation_step;
    pthread_t m_native_thread; // valid while m_thread_runs
    bool m_thread_runs;
};

/** Orders outputs by protocol, then by server, in UTF-16 code units. */
ZOLDEBUG_EXPORT bool operator<(const DbgCollector::ServerInterfaceKey& a,
                               const DbgCollector::ServerInterfaceKey& b);

} // namespace Zol

#endif
