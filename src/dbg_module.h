#ifndef ZOLDEBUG_DBG_MODULE_H
#define ZOLDEBUG_DBG_MODULE_H

#include "dbg_utils.h"
#include "zoldebug_export.h"

#include <QtCore/QString>

#include <atomic>

namespace Zol {

/**
 * A named source of messages and the mask of the levels that some output wants from it.
 *
 * Host code declares one per component, usually static. Modules may be built and destroyed on any
 * thread, before the collector starts and after it stopped; several may share an identifier. A
 * module with an empty identifier is silent once the collector has seen it.
 */
class ZOLDEBUG_EXPORT DebugModule
{
public:
    /**
     * Registers a module under the identifier @p mod_id without waiting for the collector.
     *
     * The six levels from DBG_TRACE to DBG_FATAL are enabled until the collector, once it runs,
     * replaces them by what the outputs want.
     */
    explicit DebugModule(const QString& mod_id);

    /** Deregisters the module without waiting for the collector. */
    ~DebugModule();

    /** Whether no level of @p lvl, a level or a mask, is enabled. Any thread; one load and test. */
    bool LvlDisabled(DebugLevel lvl) const
    {
        return (lvl & m_mask.load(std::memory_order_relaxed)) == 0;
    }

    /** Replaces the mask. For the collector. */
    void SetMask(DebugLevel lvl) { m_mask.store(lvl, std::memory_order_relaxed); }

    /** The identifier. */
    const QString& Id() const { return m_id; }

private:
    Q_DISABLE_COPY(DebugModule)
    friend class DbgCollector;

    DebugModule();
    static void LockLiveModules();
    static void UnlockLiveModules();
    static void SetMaskIfAlive(DebugModule* module, const QString& id, DebugLevel mask);

    QString m_id;
    // Relaxed order makes this the plain word that it costs to read, without being a data race.
    std::atomic<DebugLevel> m_mask;
};

} // namespace Zol

#endif
