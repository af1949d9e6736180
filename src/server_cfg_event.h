#ifndef ZOLDEBUG_SERVER_CFG_EVENT_H
#define ZOLDEBUG_SERVER_CFG_EVENT_H

#include "dbg_collector.h"
#include "dbg_utils.h"
#include "zoldebug_export.h"

#include <QtCore/QEvent>
#include <QtCore/QString>

namespace Zol {

/** Tells the collector to configure or to remove an output. Made on any thread; Qt deletes it. */
class ZOLDEBUG_EXPORT ServerCfgEvent : public QEvent
{
public:
    /** A new event that sets the mask of @p module in the output @p protocol_server. */
    static ServerCfgEvent* NewServerConfigEvent(const QString& protocol_server,
                                                const QString& module, DebugLevel mask);

    /** A new event that removes the output @p protocol_server. */
    static ServerCfgEvent* NewRemoveServerEvent(const QString& protocol_server);

    /** Frees the texts. */
    virtual ~ServerCfgEvent();

    /** The output's address, "protocol:server:option". */
    const QString& GetProtocolServer() const { return m_protocol_server; }

    /** The identifier of the module to configure; empty in a removal. */
    const QString& GetModule() const { return m_module; }

    /** The mask to set; 0 in a removal. */
    DebugLevel GetMask() const { return m_mask; }

private:
    Q_DISABLE_COPY(ServerCfgEvent)

    ServerCfgEvent();
    ServerCfgEvent(DbgCollector::EventType type, const QString& protocol_server,
                   const QString& module, DebugLevel mask);

    QString m_protocol_server;
    QString m_module;
    DebugLevel m_mask;
};

} // namespace Zol

#endif
