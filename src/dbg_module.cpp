#include "dbg_module.h"

#include "dbg_collector.h"
#include "qt_compat.h"

#include <QtCore/QMutex>
#include <QtCore/QMutexLocker>
#include <QtCore/QSet>

namespace Zol {

namespace {

/**
 * The modules that exist. The collector learns of them by events, so its registry lags behind: it
 * may name a module that is gone, or whose place another module has taken.
 */
struct LiveModules
{
    QMutex mutex; // held for one look-up, so that no module waits for the collector's work
    QSet<const DebugModule*> modules;
};

LiveModules& Live()
{
    static LiveModules& live = *new LiveModules; // static modules are destroyed after all else
    return live;
}

} // namespace

DebugModule::DebugModule(const QString& mod_id)
    : m_id(QtCompat::Owned(mod_id))
    , m_mask(DBG_TRACE | DBG_INFO | DBG_WARN | DBG_ERROR | DBG_CRITICAL | DBG_FATAL)
{
    {
        LiveModules& live = Live();
        QMutexLocker lock(&live.mutex);
        live.modules.insert(this);
    }
    DbgCollector::RegisterModule(this);
}

DebugModule::~DebugModule()
{
    DbgCollector::DeRegisterModule(this);
    LiveModules& live = Live();
    QMutexLocker lock(&live.mutex);
    live.modules.remove(this);
}

void DebugModule::LockLiveModules()
{
    Live().mutex.lock();
}

void DebugModule::UnlockLiveModules()
{
    Live().mutex.unlock();
}

void DebugModule::SetMaskIfAlive(DebugModule* module, const QString& id, DebugLevel mask)
{
    LiveModules& live = Live();
    QMutexLocker lock(&live.mutex);
    if (live.modules.contains(module) && module->m_id == id)
        module->SetMask(mask);
}

} // namespace Zol
