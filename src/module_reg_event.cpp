#include "module_reg_event.h"

#include "dbg_module.h"

namespace Zol {

ModuleRegEvent* ModuleRegEvent::NewRegisterEvent(DebugModule* module)
{
    return new ModuleRegEvent(module, DbgCollector::EVT_RegisterModule);
}

ModuleRegEvent* ModuleRegEvent::NewDeregisterEvent(DebugModule* module)
{
    return new ModuleRegEvent(module, DbgCollector::EVT_DeregisterModule);
}

ModuleRegEvent::ModuleRegEvent(DebugModule* module, DbgCollector::EventType type)
    : QEvent(static_cast<QEvent::Type>(type))
    , m_module(module)
    , m_id(module->Id())
{
}

ModuleRegEvent::~ModuleRegEvent() {}

} // namespace Zol
