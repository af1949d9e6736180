#include "abstract_debug_interface_factory.h"

#include "debug_interface_factory_store.h"

namespace Zol {

AbstractDebugInterfaceFactory::AbstractDebugInterfaceFactory(const QString& key)
    : m_key(key)
{
    DebugInterfaceFactoryStore::Instance().Register(m_key, this);
}

AbstractDebugInterfaceFactory::~AbstractDebugInterfaceFactory() {}

} // namespace Zol
