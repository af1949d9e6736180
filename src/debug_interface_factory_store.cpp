#include "debug_interface_factory_store.h"

#include "abstract_debug_interface_factory.h"
#include "dbg_server_interface.h"

#include <QtCore/QByteArray>

#include <iostream>

namespace Zol {

namespace {

bool IsAscii(const QString& text)
{
    for (int i = 0; i < text.size(); ++i) {
        if (text.at(i).unicode() >= 0x80)
            return false;
    }
    return true;
}

// Factories register themselves before the QCoreApplication sets the locale. Asking Qt for the
// locale's encoding so early would fix it to that of the "C" locale, for the log files too.
QByteArray ToLocal(const QString& text)
{
    return IsAscii(text) ? text.toLatin1() : text.toLocal8Bit();
}

void Print(const QString& line)
{
    static const std::ios_base::Init streams_are_ready; // in whatever order libraries are loaded
    std::cout << ToLocal(line).constData() << std::endl;
}

} // namespace

DebugInterfaceFactoryStore& DebugInterfaceFactoryStore::Instance()
{
    // Never destroyed: the collector's thread may outlive the static objects.
    static DebugInterfaceFactoryStore& the_instance = *new DebugInterfaceFactoryStore;
    return the_instance;
}

DebugInterfaceFactoryStore::DebugInterfaceFactoryStore()
    : m_map(new DebugInterfaceFactoryMap)
{
}

DebugInterfaceFactoryStore::~DebugInterfaceFactoryStore()
{
    delete m_map;
    m_map = 0;
}

void DebugInterfaceFactoryStore::Register(const QString& key,
                                          AbstractDebugInterfaceFactory* debug_interface_factory)
{
    m_map->insert(key, debug_interface_factory);
    Print(QLatin1String("DebugInterfaceFactoryStore::Register registered "
                        "AbstractDebugInterfaceFactory with key ") +
          key);
}

bool DebugInterfaceFactoryStore::DebugInterfaceFactoryRegistered(const QString& key)
{
    return m_map->contains(key);
}

QStringList DebugInterfaceFactoryStore::GetRegisteredClasses()
{
    return m_map->keys();
}

DbgServerInterface* DebugInterfaceFactoryStore::DoCreate(const QString& protocol,
                                                         const QString& server,
                                                         const QString& option)
{
    AbstractDebugInterfaceFactory* const factory = m_map->value(protocol);
    if (!factory) {
        Print(QString(QLatin1String("DebugInterfaceFactoryStore::DoCreate No "
                                    "debug_interface_factory for key: '%1'"))
                  .arg(protocol));
        return 0;
    }

    DbgServerInterface* const created = factory->Create(server, option);
    const QLatin1String outcome(
        created ? "DebugInterfaceFactoryStore::DoCreate Created Object with protocol '%1' with "
                  "server '%2' and option '%3'"
                : "DebugInterfaceFactoryStore::DoCreate Failed to create Object with protocol "
                  "'%1' with server '%2' and option '%3'");
    Print(QString(outcome).arg(protocol, server, option));
    return created;
}

} // namespace Zol
