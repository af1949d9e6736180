#ifndef ZOLDEBUG_DEBUG_INTERFACE_FACTORY_STORE_H
#define ZOLDEBUG_DEBUG_INTERFACE_FACTORY_STORE_H

#include "zoldebug_export.h"

#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QStringList>

namespace Zol {

class AbstractDebugInterfaceFactory;
class DbgServerInterface;

/**
 * The process-wide registry of output factories by protocol.
 *
 * Its table has no lock: factories are registered while static objects are constructed, outputs
 * are created on the collector's thread. A host that registers factories later must do so before it
 * configures outputs.
 */
class ZOLDEBUG_EXPORT DebugInterfaceFactoryStore
{
public:
    /** The registry, made on first use. Any thread. */
    static DebugInterfaceFactoryStore& Instance();

    /**
     * Stores a factory, which is not owned, under @p key in place of any earlier one, and says so
     * on standard output.
     */
    void Register(const QString& key, AbstractDebugInterfaceFactory* debug_interface_factory);

    /** Whether there is a factory for exactly @p key. */
    bool DebugInterfaceFactoryRegistered(const QString& key);

    /** The protocols, in ascending order. */
    QStringList GetRegisteredClasses();

    /**
     * Has the factory of @p protocol make an output, and says on standard output what came of it.
     *
     * @return the output, which belongs to the caller, or null
     */
    DbgServerInterface* DoCreate(const QString& protocol, const QString& server,
                                 const QString& option);

private:
    Q_DISABLE_COPY(DebugInterfaceFactoryStore)

    typedef QMap<QString, AbstractDebugInterfaceFactory*> DebugInterfaceFactoryMap;

    DebugInterfaceFactoryStore();
    ~DebugInterfaceFactoryStore();

    DebugInterfaceFactoryMap* m_map;
};

} // namespace Zol

#endif
