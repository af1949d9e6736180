#include "dbg_collector.h"

namespace Zol {

DbgCollector::ServerInterfaceKey::ServerInterfaceKey(const QString& protocol, const QString& server)
    : m_protocol(protocol)
    , m_server(server)
{
}

bool operator<(const DbgCollector::ServerInterfaceKey& a, const DbgCollector::ServerInterfaceKey& b)
{
    if (a.GetProtocol() == b.GetProtocol())
        return a.GetServer() < b.GetServer();
    return a.GetProtocol() < b.GetProtocol();
}

} // namespace Zol
