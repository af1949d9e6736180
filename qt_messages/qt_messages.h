#ifndef ZOLDEBUG_QT_MESSAGES_H
#define ZOLDEBUG_QT_MESSAGES_H

#include <QtCore/qglobal.h>

namespace Zol {

/**
 * Hands Qt's own messages, those of qDebug(), qWarning() and the logging categories, to the
 * collector for the time of a scope, as a rule that of main().
 *
 * @code
 * int main(int argc, char** argv)
 * {
 *     QCoreApplication application(argc, argv);
 *     ...
 *     const Zol::CollectorScope logging;
 *     const Zol::QtMessages messages;
 * @endcode
 *
 * The category of a message is the identifier of its module; messages without one, and all of
 * Qt 4, have the module "default". The module's mask decides, after Qt's own filter rules. The
 * levels are DBG_TRACE for debug, DBG_INFO, DBG_WARN, DBG_CRITICAL and DBG_FATAL. A module lives as
 * long as the process, so categories should not be made up at run time.
 *
 * Messages come from any thread. What the collector's own thread says, its outputs included, goes
 * to the handler that was there before: collected, it would make the next such message. A fatal
 * message stops the collector, so that it is written before Qt ends the process, and goes to the
 * handler before, too.
 *
 * Make and end it on one thread. Messages before Start() wait for it like all others. What comes
 * after Stop() is lost, unless it is passed on; end the scope before, by declaring it behind the
 * CollectorScope.
 */
class QtMessages
{
public:
    /** What becomes of a message that the collector has got. */
    enum Route
    {
        Collect,         ///< it goes nowhere else
        CollectAndPassOn ///< it goes to the handler that was there before, too
    };

    /** Installs the message handler. Only the first of several at a time counts. */
    explicit QtMessages(Route route = Collect);

    /** Puts the handler back that was there before, unless another one was installed meanwhile. */
    ~QtMessages();

private:
    Q_DISABLE_COPY(QtMessages)

    bool m_collects;
};

} // namespace Zol

#endif
