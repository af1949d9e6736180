#ifndef ZOLDEBUG_MODULE_REG_EVENT_H
#define ZOLDEBUG_MODULE_REG_EVENT_H

#include "dbg_collector.h"
#include "zoldebug_export.h"

#include <QtCore/QEvent>
#include <QtCore/QString>

namespace Zol {

class DebugModule;

/** Announces to the collector that a module came or went. Made on any thread; Qt deletes it. */
class ZOLDEBUG_EXPORT ModuleRegEvent : public QEvent
{
public:
    /** A new event that registers @p module. */
    static ModuleRegEvent* NewRegisterEvent(DebugModule* module);

    /** A new event that deregisters @p module. */
    static ModuleRegEvent* NewDeregisterEvent(DebugModule* module);

    /** Frees the identifier, not the module. */
    virtual ~ModuleRegEvent();

    /** The module; it may be gone by the time the event is handled. */
    DebugModule* GetModule() const { return m_module; }

    /** The module's identifier. */
    const QString& GetId() const { return m_id; }

private:
    Q_DISABLE_COPY(ModuleRegEvent)

    ModuleRegEvent(DebugModule* module, DbgCollector::EventType type);

    DebugModule* m_module;
    QString m_id; // a copy: the module does not wait for its events
};

} // namespace Zol

#endif
