#ifndef ZOLDEBUG_ABSTRACT_DEBUG_INTERFACE_FACTORY_H
#define ZOLDEBUG_ABSTRACT_DEBUG_INTERFACE_FACTORY_H

#include "zoldebug_export.h"

#include <QtCore/QString>

namespace Zol {

class DbgServerInterface;

/**
 * Creates the outputs of one protocol.
 *
 * A factory registers itself and stays registered, so it has to live as long as the process: make
 * it a static object. See ConcreteDebugInterfaceFactory.
 */
class ZOLDEBUG_EXPORT AbstractDebugInterfaceFactory
{
public:
    /**
     * Registers the factory under the protocol @p key in place of any earlier one. One thread at a
     * time, and before outputs are configured.
     */
    explicit AbstractDebugInterfaceFactory(const QString& key);

    /** Leaves the factory registered; it must not be used any more. */
    virtual ~AbstractDebugInterfaceFactory();

    /**
     * Makes an output. Called on the collector's thread.
     *
     * @param server  the second field of the output's address
     * @param option  the third field
     * @return        the output, which belongs to the caller, or null if it could not be made
     */
    virtual DbgServerInterface* Create(const QString& server, const QString& option) = 0;

    /** The protocol. */
    const QString& GetKey() { return m_key; }

private:
    Q_DISABLE_COPY(AbstractDebugInterfaceFactory)

    AbstractDebugInterfaceFactory();

    QString m_key;
};

} // namespace Zol

#endif
