#include "server_cfg_event.h"

#include "qt_compat.h"

namespace Zol {

ServerCfgEvent* ServerCfgEvent::NewServerConfigEvent(const QString& protocol_server,
                                                     const QString& module, DebugLevel mask)
{
    return new ServerCfgEvent(DbgCollector::EVT_ServerCfgMsg, protocol_server, module, mask);
}

ServerCfgEvent* ServerCfgEvent::NewRemoveServerEvent(const QString& protocol_server)
{
    return new ServerCfgEvent(DbgCollector::EVT_DeleteServer, protocol_server,
                              QString(QLatin1String("")), static_cast<DebugLevel>(0));
}

ServerCfgEvent::ServerCfgEvent(DbgCollector::EventType type, const QString& protocol_server,
                               const QString& module, DebugLevel mask)
    : QEvent(static_cast<QEvent::Type>(type))
    , m_protocol_server(QtCompat::Owned(protocol_server))
    , m_module(QtCompat::Owned(module))
    , m_mask(mask)
{
}

ServerCfgEvent::~ServerCfgEvent() {}

} // namespace Zol
