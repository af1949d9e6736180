#ifndef ZOLDEBUG_CONCRETE_DEBUG_INTERFACE_FACTORY_H
#define ZOLDEBUG_CONCRETE_DEBUG_INTERFACE_FACTORY_H

#include "abstract_debug_interface_factory.h"

namespace Zol {

/**
 * The factory of the output type T, which has a constructor that takes (server, option).
 *
 * One object of it at namespace scope makes the protocol available:
 * @code
 * static Zol::ConcreteDebugInterfaceFactory<ConsoleOutput> console_factory("console");
 * @endcode
 */
template <class T>
class ConcreteDebugInterfaceFactory : public AbstractDebugInterfaceFactory
{
public:
    /** Registers the factory under the protocol @p key. */
    explicit ConcreteDebugInterfaceFactory(const QString& key)
        : AbstractDebugInterfaceFactory(key)
    {
    }

    /** A new T(@p server, @p option), which belongs to the caller. */
    T* Create(const QString& server, const QString& option) override
    {
        return new T(server, option);
    }

private:
    ConcreteDebugInterfaceFactory();
};

} // namespace Zol

#endif
