#include "dbg_collector.h"

#include "blocked_signals.h"
#include "brief_lock.h"
#include "cache_line.h"
#include "current_time.h"
#include "dbg_module.h"
#include "dbg_server_interface.h"
#include "debug_interface_factory_store.h"
#include "emitter_state.h"
#include "exit_gate.h"
#include "idle_thread.h"
#include "literal_text.h"
#include "module_reg_event.h"
#include "posted_events.h"
#include "qt_compat.h"
#include "record_text.h"
#include "server_cfg_event.h"
#include "test_point.h"
#include "thread_name.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>
#include <QtCore/QMutexLocker>
#include <QtCore/QTimerEvent>

#include <new>
#include <type_traits>
#include <utility>

namespace Zol {

#ifdef ZOLDEBUG_TEST_POINTS
void (*test_point_handler)(const char* name) = 0;
#endif

namespace {

const int batch_size = 100;
const int most_kept_text = 65536;   // characters
const int metric_interval = 120000; // ms
const unsigned int metric_record_line = 749;
const qint64 stop_bound = 10000;           // ms
const qint64 arrival_bound = 1000;         // ms
const unsigned long creation_pause = 10;   // ms
const unsigned long application_poll = 10; // ms
const qint64 loop_bound = 1000;            // ms
const qint64 application_check = 20;       // ms

// So many outputs of a protocol have made all static objects that it uses. Each cover takes memory
// until the process ends, and an output may come and go for ever.
const int covered_outputs = 100;

const DebugLevel no_level = static_cast<DebugLevel>(0);
const DebugLevel ordinary_levels =
    DBG_TRACE | DBG_INFO | DBG_WARN | DBG_ERROR | DBG_CRITICAL | DBG_FATAL;

QString OwnModule()
{
    return QLatin1String("DBG");
}

QString EveryModule()
{
    return QLatin1String("*");
}

/** A record of the collector's own progress. */
DebugMessageDetails ProgressRecord(unsigned int line_no, const char* func, DebugLevel lvl,
                                   const QString& thread, const char* text)
{
    return DebugMessageDetails(CurrentTime(), OwnModule(), QtCompat::FromNarrow(__FILE__), line_no,
                               QtCompat::FromNarrow(func), lvl, thread, QLatin1String(text));
}

QEvent* NewEvent(DbgCollector::EventType type)
{
    return new QEvent(static_cast<QEvent::Type>(type));
}

QEvent* CopyOf(const QEvent& event)
{
    const DbgCollector::EventType type = static_cast<DbgCollector::EventType>(event.type());
    if (type == DbgCollector::EVT_RegisterModule)
        return ModuleRegEvent::NewRegisterEvent(
            static_cast<const ModuleRegEvent&>(event).GetModule());
    if (type == DbgCollector::EVT_DeregisterModule)
        return ModuleRegEvent::NewDeregisterEvent(
            static_cast<const ModuleRegEvent&>(event).GetModule());
    if (type != DbgCollector::EVT_ServerCfgMsg && type != DbgCollector::EVT_DeleteServer)
        return NewEvent(type);
    const ServerCfgEvent& cfg = static_cast<const ServerCfgEvent&>(event);
    if (type == DbgCollector::EVT_DeleteServer)
        return ServerCfgEvent::NewRemoveServerEvent(cfg.GetProtocolServer());
    return ServerCfgEvent::NewServerConfigEvent(cfg.GetProtocolServer(), cfg.GetModule(),
                                                cfg.GetMask());
}

/** The fields of an output's address. */
struct OutputAddress
{
    explicit OutputAddress(const QString& protocol_server)
    {
        const QString text = protocol_server.simplified();
        const QLatin1Char separator(':');
        protocol = text.section(separator, 0, 0);
        server = text.section(separator, 1, 1);
        option = text.section(separator, 2, 2);
    }

    QString protocol;
    QString server;
    QString option;
};

} // namespace

DbgCollector& DbgCollector::Instance()
{
    // Never destroyed: its thread may still run, and static destructors may still log, when the
    // static objects of this library are gone.
    static DbgCollector* const the_instance = Create();
    return *the_instance;
}

DbgCollector* DbgCollector::Create()
{
    // Where it begins decides which of its fields share a line of the processor's cache.
    static std::aligned_storage<sizeof(DbgCollector), cache_line>::type memory;
    DbgCollector* const collector = new (&memory) DbgCollector;
    pthread_atfork(BeforeFork, AfterForkInParent, AfterForkInChild);
    {
        const BlockedSignals none_for_the_thread;
        collector->start();
    }
    // Once in run(), the thread has Qt's own first steps behind it: with a name, Qt would ask for
    // the locale's encoding, perhaps before the application sets the locale, and an idle thread
    // could still be taking them while the process exits.
    {
        QMutexLocker lock(&collector->m_start_mutex);
        collector->AwaitCreationStep(ThreadArrived);
        collector->setObjectName(QLatin1String("DebugCollector"));
        collector->moveToThread(collector);
        collector->TakeCreationStep(ThreadMayGoOn);
        collector->AwaitCreationStep(ThreadSettled);
    }
    QThread::msleep(creation_pause);
    return collector;
}

/** Waits for the other thread in the creation. The caller holds m_start_mutex. */
void DbgCollector::AwaitCreationStep(CreationStep step)
{
    QElapsedTimer timer;
    timer.start();
    while (m_creation_step < step && timer.elapsed() < arrival_bound)
        m_start_cond.wait(&m_start_mutex, static_cast<unsigned long>(arrival_bound));
}

/** Lets the other thread go on in the creation. The caller holds m_start_mutex. */
void DbgCollector::TakeCreationStep(CreationStep step)
{
    m_creation_step = step;
    m_start_cond.wakeAll();
}

DbgCollector::DbgCollector()
    : m_started(false)
    , m_continue(true)
    , m_dump_requested(false)
    , m_no_msg_event_posted(true)
    , m_logging_paused(false)
    , m_disk_full(false)
    , m_finished(false)
    , m_metric_timer_id(0)
    , m_batch_was_large(false)
    , m_outputs_are_new(false)
    , m_is_busy(false)
    , m_stop_handled(false)
    , m_forked(false)
    , m_application_ends(false)
    , m_enters_loop(false)
    , m_posted_events(new PostedEvents)
    , m_creation_step(ThreadStarts)
    , m_native_thread()
    , m_thread_runs(false)
{
    // The child of a fork must not wait for another thread to do so.
    PrepareKeptTexts();
    PrepareSpareMemory();
    const BriefLock lock(m_start_mutex);
    Enqueue(ProgressRecord(__LINE__, "Zol::DbgCollector::DbgCollector()", DBG_TRACE,
                           CurrentThreadName(), "Created Debug Collector"));
}

DbgCollector::~DbgCollector() {}

void DbgCollector::BeforeFork()
{
    ExitGate::BeforeFork(); // first, as the thread takes the other locks within a passage
    Instance().m_start_mutex.lock();
    DebugModule::LockLiveModules();
    LockKeptTexts();
}

void DbgCollector::AfterForkInParent()
{
    UnlockKeptTexts();
    DebugModule::UnlockLiveModules();
    Instance().m_start_mutex.unlock();
    ExitGate::AfterForkInParent();
}

// The thread stayed in the parent.
void DbgCollector::AfterForkInChild()
{
    StopTakingTime();
    UnlockKeptTexts();
    DebugModule::UnlockLiveModules();
    DbgCollector& c = Instance();
    c.m_finished = true;
    c.m_forked = true;
    c.m_thread_runs = false;
    c.m_enters_loop = false;
    c.m_start_mutex.unlock();
    ExitGate::AfterForkInChild();
}

void DbgCollector::Start()
{
    DbgCollector& c = Instance();
    static const bool will_shut = ExitGate::ShutAtExit();
    Q_UNUSED(will_shut)
    static const bool will_follow = FollowApplication();
    Q_UNUSED(will_follow)
    DebugMessageDetails starting =
        ProgressRecord(__LINE__, "static void Zol::DbgCollector::Start()", DBG_TRACE,
                       CurrentThreadName(), "Starting");

    // In one step for the thread, which may be awake: a start after a stop is none, and the thread
    // logs its next step after this one.
    QMutexLocker lock(&c.m_start_mutex);
    if (c.m_continue)
        c.m_started = true;
    c.Enqueue(std::move(starting));
    c.WakeThread();
}

void DbgCollector::Stop()
{
    DbgCollector& c = Instance();
    DebugMessageDetails stopping = ProgressRecord(__LINE__, "static void Zol::DbgCollector::Stop()",
                                                  DBG_INFO, c.objectName(), "Stopping !");
    {
        // In one step, as the thread may end at once when it need not go on.
        QMutexLocker lock(&c.m_start_mutex);
        c.Enqueue(std::move(stopping));
        c.m_continue = false;
        c.WakeThread();
    }
    c.Post(NewEvent(EVT_Stop), Qt::LowEventPriority);
    ZOLDEBUG_TEST_POINT("stop posted");
    if (c.m_forked || QThread::currentThread() == &c)
        return;
    {
        QMutexLocker lock(&c.m_start_mutex);
        c.HurryThread();
    }
    const ExitGate::Opening opening;
    c.AwaitEnd();
}

/** Has the thread look at what changed. The caller holds m_start_mutex. */
void DbgCollector::WakeThread()
{
    // In a child there is no thread, but one that was about to wait left the condition locked.
    if (!m_forked)
        m_start_cond.wakeOne();
}

// While a host waits for the thread, its work is not idle. The caller holds m_start_mutex.
void DbgCollector::HurryThread()
{
    if (m_thread_runs)
        StopBeingIdle(m_native_thread);
}

void DbgCollector::AwaitEnd()
{
    QElapsedTimer timer;
    timer.start();
    qint64 left = stop_bound;
    while (left > 0 && !wait(static_cast<unsigned long>(qMin(left, application_check)))) {
        // Without an application Qt delivers no events, so the stop event would never arrive.
        if (!QCoreApplication::instance())
            quit();
        left = stop_bound - timer.elapsed();
    }
}

// In one step for the thread: Qt wakes it in an object that is gone once the thread has ended.
void DbgCollector::Post(QEvent* event, int priority)
{
    QMutexLocker lock(&m_start_mutex);
    PostLocked(event, priority);
}

/** Hands over an event. The caller holds m_start_mutex. */
void DbgCollector::PostLocked(QEvent* event, int priority)
{
    if (m_finished)
        delete event; // nothing would ever take it from the thread's queue
    else if (event->type() == QEvent::Type(EVT_DebugMsg) || event->type() == QEvent::Type(EVT_Stop))
        QCoreApplication::postEvent(this, event, priority);
    else
        m_posted_events->Post(this, event, CopyOf(*event), priority);
}

void DbgCollector::run()
{
    if (EmitterState* const thread = EmitterState::Current())
        thread->is_collector = true;
    SettleThread();
    if (AwaitStart())
        RunEventLoop();
    Finish();
}

void DbgCollector::SettleThread()
{
    QMutexLocker lock(&m_start_mutex);
    TakeCreationStep(ThreadArrived);
    AwaitCreationStep(ThreadMayGoOn);
    m_native_thread = pthread_self();
    m_thread_runs = true;
    pthread_setname_np(m_native_thread, "DebugCollector");
    Enqueue(ProgressRecord(__LINE__, "virtual void Zol::DbgCollector::run()", DBG_TRACE,
                           CurrentThreadName(), "Run - called"));
    setPriority(QThread::IdlePriority);
    TakeCreationStep(ThreadSettled);
}

bool DbgCollector::AwaitStart()
{
    ZOLDEBUG_TEST_POINT("before start wait");
    QMutexLocker lock(&m_start_mutex);
    while (m_continue && !m_started)
        m_start_cond.wait(&m_start_mutex);
    return m_started;
}

void DbgCollector::RunEventLoop()
{
    {
        ExitGate::Passage passage;
        DebugMessageDetails calling =
            ProgressRecord(__LINE__, "virtual void Zol::DbgCollector::run()", DBG_TRACE,
                           CurrentThreadName(), "Run - calling event loop.");
        QMutexLocker lock(&m_start_mutex);
        Enqueue(std::move(calling));
        lock.unlock();

        ReCalculateGlobalMasks(EveryModule());
        if (!m_dump_requested.exchange(true))
            Post(NewEvent(EVT_DbgMetric), Qt::LowEventPriority);
    }

    if (AwaitApplication()) {
        CoverNewObjects(); // there may have been no application at the start
        exec();
    }

    ExitGate::Passage passage;
    FinishWork(); // the stop event may have been lost for want of an application
    if (m_metric_timer_id)
        killTimer(m_metric_timer_id);
    m_metric_timer_id = 0;
}

// An event loop without an application delivers nothing, and says so on standard error.
bool DbgCollector::AwaitApplication()
{
    QMutexLocker lock(&m_start_mutex);
    while (m_continue && (m_application_ends || !QCoreApplication::instance())) {
        m_start_cond.wait(&m_start_mutex, application_poll);
        if (!QCoreApplication::instance())
            m_application_ends = false; // it has ended; there may be another one
    }
    m_enters_loop = QCoreApplication::instance() && !m_application_ends;
    return m_enters_loop;
}

// The first event tells that the loop runs; there is one, for the record of the creation.
void DbgCollector::NoteLoop()
{
    if (!m_enters_loop)
        return;
    QMutexLocker lock(&m_start_mutex);
    m_enters_loop = false;
    m_start_cond.wakeAll();
}

bool DbgCollector::FollowApplication()
{
    if (QCoreApplication::instance())
        ApplicationBegins();
    else
        QtCompat::CallAtApplicationStart(ApplicationBegins);
    return true;
}

// Runs in the thread of the application, or before it, so that what the exit of the process is
// ordered by is made before the exit can begin.
void DbgCollector::ApplicationBegins()
{
    ExitGate::ShutAtExit();
    qAddPostRoutine(ApplicationEnds);
}

// Runs at the end of the application, which lives until the thread is past its check for it.
void DbgCollector::ApplicationEnds()
{
    DbgCollector& c = Instance();
    QMutexLocker lock(&c.m_start_mutex);
    c.m_application_ends = true;
    c.HurryThread();
    QElapsedTimer timer;
    timer.start();
    while (c.m_enters_loop && timer.elapsed() < loop_bound)
        c.m_start_cond.wait(&c.m_start_mutex, static_cast<unsigned long>(loop_bound));
    lock.unlock();
    ExitGate::ShutAtExit(); // there may have been no application yet when it began
}

void DbgCollector::Finish()
{
    QQueue<DebugMessageDetails> unwritten;
    QMutexLocker lock(&m_start_mutex);
    m_finished = true;
    m_thread_runs = false;
    unwritten.swap(m_dbg_msg_queue);
    lock.unlock();
    m_batch.clear();
    qDeleteAll(m_posted_events->TakeUrgent());
    qDeleteAll(m_posted_events->TakeRest());
}

void DbgCollector::customEvent(QEvent* event)
{
    ExitGate::Passage passage;
    NoteLoop();
    switch (static_cast<int>(event->type())) {
    case EVT_DebugMsg:
        event->accept();
        if (!m_is_busy)
            DebugMessageEvent();
        break;
    case EVT_Stop:
        StopEvent();
        event->accept();
        break;
    case EVT_RegisterModule:
    case EVT_DeregisterModule:
    case EVT_ServerCfgMsg:
    case EVT_DeleteServer:
    case EVT_DbgMetric:
    case EVT_DbgLogDiskFull:
    case EVT_DbgLogDiskHasSpace:
    case EVT_DbgLogPause:
    case EVT_DbgLogResume:
        event->accept();
        HandlePosted(event);
        break;
    default:
        QObject::customEvent(event);
    }
}

void DbgCollector::HandlePosted(QEvent* event)
{
    const QList<QEvent*> events = m_posted_events->TakeUpTo(event);
    if (m_is_busy)
        m_deferred_events += events;
    else if (events.isEmpty())
        DispatchEvent(event);
    else
        DispatchEvents(events);
}

/** Handles and deletes @p events. */
void DbgCollector::DispatchEvents(const QList<QEvent*>& events)
{
    for (QEvent* const event : events)
        DispatchEvent(event);
    qDeleteAll(events);
}

void DbgCollector::DispatchEvent(QEvent* event)
{
    static bool first_msg = true;
    switch (static_cast<int>(event->type())) {
    case EVT_RegisterModule: {
        const ModuleRegEvent* const ev = dynamic_cast<ModuleRegEvent*>(event);
        RegisterModuleEvent(ev->GetModule(), ev->GetId());
        break;
    }
    case EVT_DeregisterModule: {
        const ModuleRegEvent* const ev = dynamic_cast<ModuleRegEvent*>(event);
        DeregisterModuleEvent(ev->GetModule(), ev->GetId());
        break;
    }
    case EVT_ServerCfgMsg:
        ServerConfigEvent(dynamic_cast<ServerCfgEvent*>(event));
        break;
    case EVT_DeleteServer:
        RemoveServerEvent(dynamic_cast<ServerCfgEvent*>(event));
        break;
    case EVT_DbgMetric:
        if (first_msg)
            HandleMetric(true);
        first_msg = false;
        break;
    case EVT_DbgLogDiskFull:
        DbgLogDiskFullEvent();
        break;
    case EVT_DbgLogDiskHasSpace:
        DbgLogDiskHasSpaceEvent();
        break;
    case EVT_DbgLogPause:
        DbgLogPauseEvent();
        break;
    case EVT_DbgLogResume:
        DbgLogResumeEvent();
        break;
    }
}

void DbgCollector::StopEvent()
{
    quit();
    if (m_is_busy)
        return; // what has to be written is written behind the event loop
    FinishWork();
}

/** Handles and writes all that was handed over, also what Qt did not deliver. */
void DbgCollector::FinishWork()
{
    if (m_stop_handled)
        return;
    DispatchEvents(m_posted_events->TakeUrgent());
    Drain();
    DispatchEvents(m_posted_events->TakeRest());
    m_stop_handled = true;
}

// Writes all that is queued now. A host that goes on logging gets one more batch, not for ever
// more.
void DbgCollector::Drain()
{
    for (int batches = BacklogSize() / batch_size + 1; batches > 0; --batches)
        WriteBatch(false);
}

void DbgCollector::CollectMsg(const QDateTime& time_stamp, const QString& module, const char* file,
                              unsigned int line_no, const char* func, DebugLevel lvl,
                              const QString& thread, const QString& message)
{
    Instance().DoCollect(time_stamp, module, file, line_no, func, lvl, thread, message);
}

void DbgCollector::DoCollect(const QDateTime& time_stamp, const QString& module, const char* file,
                             unsigned int line_no, const char* func, DebugLevel lvl,
                             const QString& thread, const QString& message)
{
    EmitterState* const state = EmitterState::Current();
    TextsOfThread* const known = state ? &state->texts : nullptr;
    Collect(DebugMessageDetails(time_stamp, TextOfName(module, known), TextOfLiteral(file, known),
                                line_no, TextOfLiteral(func, known), lvl, TextOfName(thread, known),
                                QtCompat::Owned(message)));
}

void DbgCollector::Collect(DebugMessageDetails&& details)
{
    DbgCollector& c = Instance();
    const BriefLock lock(c.m_start_mutex);
    c.Enqueue(std::move(details));
}

/** Appends a record and sees that it will be written. The caller holds m_start_mutex. */
void DbgCollector::Enqueue(DebugMessageDetails&& details)
{
    if (m_finished)
        return;
    static const DebugMessageDetails& empty = *new DebugMessageDetails;
    m_dbg_msg_queue.enqueue(empty); // a queue of Qt 4 copies; the record itself is moved
    m_dbg_msg_queue.last() = std::move(details);
    if (!m_no_msg_event_posted)
        return;
    m_no_msg_event_posted = false;
    PostLocked(NewEvent(EVT_DebugMsg), Qt::LowEventPriority);
}

/** How many records wait to be written. */
int DbgCollector::BacklogSize()
{
    QMutexLocker lock(&m_start_mutex);
    return static_cast<int>(m_batch.size() + m_dbg_msg_queue.size());
}

void DbgCollector::DoDebugMessage(const QDateTime& time_stamp, const QString& module,
                                  const char* file, unsigned int line_no, const char* func,
                                  DebugLevel lvl, const QString& thread, const QString& message)
{
    HandleDbgMsg(DebugMessageDetails(time_stamp, module, QtCompat::FromNarrow(file), line_no,
                                     QtCompat::FromNarrow(func), lvl, thread, message));
}

void DbgCollector::DebugMessageEvent()
{
    WriteBatch(true);
    if (m_outputs_are_new)
        CoverNewObjects();
    m_outputs_are_new = false;
}

/** Has the thread stop, at exit, before the static objects go that its work has made by now. */
void DbgCollector::CoverNewObjects()
{
    const ExitGate::Passage passage;
    ExitGate::ShutAtExit();
}

/**
 * Writes up to 100 records, those included that are queued meanwhile. With more waiting, it posts
 * itself an event for the next batch if @p post_for_rest, so that other events come in between.
 */
void DbgCollector::WriteBatch(bool post_for_rest)
{
    for (int left = batch_size; HasBatch(left, post_for_rest);) {
        // An exit of the process leaves the rest to a host that stops the collector still later.
        for (; !m_batch.isEmpty() && left > 0 && !ExitGate::IsShut(); --left) {
            DebugMessageDetails details = m_batch.dequeue();
            WriteRecord(details);
            ReturnText(details.m_message);
        }
        HandOverSpareMemory();
        if (ExitGate::IsShut())
            return;
    }
}

/**
 * An output may run an event loop of its own to write a record. What is delivered there waits until
 * all outputs have that record, as it may be a later record, or the end of an output.
 */
void DbgCollector::WriteRecord(const DebugMessageDetails& details)
{
    m_is_busy = true;
    HandleDbgMsg(details);
    m_is_busy = false;
    while (!m_deferred_events.isEmpty()) {
        QList<QEvent*> events;
        events.swap(m_deferred_events);
        DispatchEvents(events);
    }
}

/**
 * Whether there are records to write, and @p most is not 0. A host that logs waits no longer than
 * it takes to swap two queues.
 */
bool DbgCollector::HasBatch(int most, bool post_for_rest)
{
    if (m_batch.isEmpty() && m_batch_was_large) {
        QQueue<DebugMessageDetails>().swap(m_batch); // Qt 6 would keep room for as many records
        m_batch_was_large = false;
    }
    const BriefLock lock(m_start_mutex);
    if (m_batch.isEmpty() && m_dbg_msg_queue.isEmpty()) {
        m_no_msg_event_posted = true;
        return false;
    }
    if (most == 0) {
        if (post_for_rest)
            PostLocked(NewEvent(EVT_DebugMsg), Qt::LowEventPriority);
        return false;
    }
    if (m_batch.isEmpty()) {
        m_batch.swap(m_dbg_msg_queue);
        m_batch_was_large = m_batch.size() > 2 * batch_size;
    }
    return true;
}

void DbgCollector::HandleDbgMsg(const DebugMessageDetails& details)
{
    bool is_formatted = false; // what no output wants need not be
    for (DbgServerInterface* const server : const_cast<const ServerMap&>(m_servers)) {
        if (!server->Wants(details))
            continue;
        if (!is_formatted)
            FormatRecord(details, m_record);
        is_formatted = true;
        server->WriteRecord(m_record);
    }
    if (m_record.capacity() > most_kept_text)
        m_record = QString();
}

void DbgCollector::RegisterModule(DebugModule* module)
{
    Instance().Post(ModuleRegEvent::NewRegisterEvent(module), Qt::NormalEventPriority);
}

void DbgCollector::DeRegisterModule(DebugModule* module)
{
    Instance().Post(ModuleRegEvent::NewDeregisterEvent(module), Qt::NormalEventPriority);
}

void DbgCollector::RegisterModuleEvent(DebugModule* module, const QString& id)
{
    m_modules.insert(id, module);
    ReCalculateGlobalMasks(id);
}

void DbgCollector::DeregisterModuleEvent(DebugModule* module, const QString& id)
{
    m_modules.remove(id, module);
}

DebugLevel DbgCollector::CalculateModuleGlobalMask(const QString& id)
{
    if (m_servers.isEmpty())
        return m_started ? no_level : ordinary_levels;
    DebugLevel mask = no_level;
    for (const DbgServerInterface* const server : const_cast<const ServerMap&>(m_servers))
        mask = mask | server->GetModuleMask(id);
    return mask;
}

void DbgCollector::ReCalculateGlobalMasks(const QString& id)
{
    const ModuleMap& modules = m_modules;
    const bool all = id == EveryModule();
    ModuleMap::const_iterator it = all ? modules.constBegin() : modules.lowerBound(id);
    const ModuleMap::const_iterator end = all ? modules.constEnd() : modules.upperBound(id);

    // A module without a name matches the key remembered first, so it stays silent.
    QString key;
    DebugLevel mask = no_level;
    for (; it != end; ++it) {
        if (it.key() != key) {
            key = it.key();
            mask = CalculateModuleGlobalMask(key);
        }
        DebugModule::SetMaskIfAlive(it.value(), key, mask);
    }
}

bool DbgCollector::ParseDebugServerOptions(const QStringList& options)
{
    if (options.isEmpty())
        return false;

    const QString& protocol_server = options.first();
    for (int i = 1; i < options.size(); ++i) {
        const QString& entry = options.at(i);
        const QLatin1Char separator('=');
        if (!entry.contains(separator))
            return false;
        CollectCfgMsg(protocol_server, entry.section(separator, 0, 0),
                      DbgUtils::ParseDebugMaskString(entry.section(separator, 1, 1)));
    }
    if (options.size() == 1)
        CollectCfgMsg(protocol_server, EveryModule(), DbgUtils::ParseDebugMaskString(QString()));
    return true;
}

void DbgCollector::CollectCfgMsg(const QString& protocol_server, const QString& module,
                                 DebugLevel mask)
{
    Instance().Post(ServerCfgEvent::NewServerConfigEvent(protocol_server, module, mask),
                    Qt::HighEventPriority);
}

void DbgCollector::RemoveDebugInterface(const QString& protocol_server)
{
    Instance().Post(ServerCfgEvent::NewRemoveServerEvent(protocol_server), Qt::HighEventPriority);
}

void DbgCollector::ServerConfigEvent(ServerCfgEvent* ev)
{
    if (ev)
        HandleServerCfg(ev->GetProtocolServer(), ev->GetModule(), ev->GetMask());
}

void DbgCollector::RemoveServerEvent(ServerCfgEvent* ev)
{
    if (ev)
        HandleRemoveServer(ev->GetProtocolServer());
}

void DbgCollector::HandleServerCfg(const QString& protocol_server, const QString& module,
                                   DebugLevel mask)
{
    if (protocol_server.isEmpty())
        return;
    const OutputAddress address(protocol_server);
    DbgServerInterface* output =
        m_servers.value(ServerInterfaceKey(address.protocol, address.server));
    if (!output)
        output = CreateServerInterface(address.protocol, address.server, address.option);
    if (!output)
        return; // the registry said why
    output->DoServerCfg(module, mask);
    ReCalculateGlobalMasks(module);
}

void DbgCollector::HandleRemoveServer(const QString& protocol_server)
{
    if (protocol_server.isEmpty())
        return;
    const OutputAddress address(protocol_server);
    DbgServerInterface* const output =
        m_servers.take(ServerInterfaceKey(address.protocol, address.server));
    if (!output)
        return;
    delete output;
    ReCalculateGlobalMasks(EveryModule());
}

DbgServerInterface* DbgCollector::CreateServerInterface(const QString& protocol,
                                                        const QString& server,
                                                        const QString& option)
{
    DbgServerInterface* const output =
        DebugInterfaceFactoryStore::Instance().DoCreate(protocol, server, option);
    if (output) {
        m_servers.insert(ServerInterfaceKey(protocol, server), output);
        if (++m_created_outputs[protocol] <= covered_outputs) {
            CoverNewObjects();
            m_outputs_are_new = true;
        }
    }
    return output;
}

void DbgCollector::SendLogFileSpaceAvailable(bool available)
{
    Instance().Post(NewEvent(available ? EVT_DbgLogDiskHasSpace : EVT_DbgLogDiskFull),
                    Qt::HighEventPriority);
}

void DbgCollector::SendLoggingPause()
{
    Instance().Post(NewEvent(EVT_DbgLogPause), Qt::HighEventPriority);
}

void DbgCollector::SendLoggingResume()
{
    Instance().Post(NewEvent(EVT_DbgLogResume), Qt::HighEventPriority);
}

void DbgCollector::DbgLogPauseEvent()
{
    if (!m_logging_paused.exchange(true) && !m_disk_full)
        DbgLogStateChange();
}

void DbgCollector::DbgLogResumeEvent()
{
    if (m_logging_paused.exchange(false) && !m_disk_full)
        DbgLogStateChange();
}

void DbgCollector::DbgLogDiskFullEvent()
{
    if (!m_disk_full.exchange(true) && !m_logging_paused)
        DbgLogStateChange();
}

void DbgCollector::DbgLogDiskHasSpaceEvent()
{
    if (m_disk_full.exchange(false) && !m_logging_paused)
        DbgLogStateChange();
}

void DbgCollector::DbgLogStateChange()
{
    bool masks_changed = false;
    for (DbgServerInterface* const server : const_cast<const ServerMap&>(m_servers)) {
        const bool suspend = m_disk_full || m_logging_paused;
        if (suspend ? server->SuspendDiskIO() : server->ResumeDiskIO())
            masks_changed = true;
    }
    if (masks_changed)
        ReCalculateGlobalMasks(EveryModule());
}

void DbgCollector::CollectMetric(const QString& file, unsigned int line)
{
    DbgCollector& c = Instance();
    if (c.m_forked)
        return;
    c.m_metrics.Update(file, line);
    if (!c.m_dump_requested.exchange(true))
        c.Post(NewEvent(EVT_DbgMetric), Qt::NormalEventPriority);
}

void DbgCollector::timerEvent(QTimerEvent* event)
{
    ExitGate::Passage passage;
    if (event->timerId() == m_metric_timer_id)
        HandleMetric(false);
}

void DbgCollector::HandleMetric(bool reset_timer)
{
    const QString header = DbgUtils::FormatDbgHeader(
        QDateTime::currentDateTime(), OwnModule(), QtCompat::FromNarrow(__FILE__),
        metric_record_line, QLatin1String("void Zol::DbgCollector::HandleMetric(bool)"), DBG_TRACE,
        OwnModule());
    QString text = DbgUtils::FormatDbgMessage(header, QLatin1String("Dumping metric table")) +
                   QLatin1Char('\n');
    m_metrics.Dump(text);
    for (DbgServerInterface* const server : const_cast<const ServerMap&>(m_servers))
        server->WriteText(text);
    m_dump_requested = false;

    if (reset_timer && m_metric_timer_id) {
        killTimer(m_metric_timer_id);
        m_metric_timer_id = 0;
    }
    if (!m_metric_timer_id)
        m_metric_timer_id = startTimer(metric_interval);
}

} // namespace Zol
