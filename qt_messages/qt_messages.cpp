#include "qt_messages.h"

#include "debug.h"
#include "qt_compat.h"

#include <QtCore/QByteArray>
#include <QtCore/QThread>

#include <atomic>

namespace Zol {

namespace {

/** A category that was seen. The list only grows, so that it needs no lock, not even at a fork. */
struct Category
{
    Category(const QByteArray& category_name, Category* next_category)
        : name(category_name)
        , module(QString::fromUtf8(category_name))
        , next(next_category)
    {
    }

    const QByteArray name;
    const DebugModule module;
    Category* next;
};

std::atomic<Category*> categories(0);

std::atomic<bool> collects(false);
std::atomic<bool> passes_on(false);
std::atomic<QtCompat::MessageHandler> handler_before(0);
bool is_installed = false; // perhaps behind a handler that was installed later

// What the library says while it is given a message must not become one.
thread_local bool is_busy = false;

const Category* Find(const QByteArray& name, Category* list)
{
    while (list && list->name != name)
        list = list->next;
    return list;
}

const DebugModule& ModuleOf(const char* category)
{
    const QByteArray name(category && *category ? category : "default");
    Category* head = categories;
    const Category* known = Find(name, head);
    if (known)
        return known->module;

    Category* const added = new Category(name, head);
    while (!categories.compare_exchange_weak(head, added)) {
        known = Find(name, head);
        if (known) { // another thread was faster
            delete added;
            return known->module;
        }
        added->next = head;
    }
    return added->module;
}

DebugLevel LevelOf(QtMsgType type)
{
    if (QtCompat::IsInfo(type))
        return DBG_INFO;
    switch (type) {
    case QtDebugMsg:
        return DBG_TRACE;
    case QtWarningMsg:
        return DBG_WARN;
    case QtFatalMsg:
        return DBG_FATAL;
    default:
        return DBG_CRITICAL;
    }
}

void Log(const QtCompat::Message& message)
{
    const DebugModule& module = ModuleOf(message.category);
    const DebugLevel level = LevelOf(message.type);
    if (module.LvlDisabled(level))
        return;
    DBG_OBJ(module.Id(), message.file ? message.file : "", static_cast<unsigned int>(message.line),
            message.function ? message.function : "", level)
            .Dbg()
        << message.text;
}

bool IsCollectorsThread()
{
    return qobject_cast<DbgCollector*>(QThread::currentThread()) != 0;
}

/** Collects a message, and tells which handler it goes to next. */
QtCompat::MessageHandler Take(const QtCompat::Message& message)
{
    if (!collects || is_busy || IsCollectorsThread())
        return handler_before;
    const bool is_fatal = message.type == QtFatalMsg;
    is_busy = true;
    Log(message);
    if (is_fatal)
        DbgCollector::Stop(); // Qt ends the process next
    is_busy = false;
    return passes_on || is_fatal ? handler_before.load() : 0;
}

const QtCompat::MessageHandler own_handler = QtCompat::HandleMessage<Take>;

} // namespace

QtMessages::QtMessages(Route route)
    : m_collects(!collects.exchange(true))
{
    if (!m_collects)
        return;
    passes_on = route == CollectAndPassOn;
    // The collector has to be there before its creation can be the reason for a message.
    ModuleOf(0);
    if (is_installed)
        return;
    handler_before = QtCompat::InstallMessageHandler(0);
    QtCompat::InstallMessageHandler(own_handler);
    is_installed = true;
}

QtMessages::~QtMessages()
{
    if (!m_collects)
        return;
    const QtCompat::MessageHandler current = QtCompat::InstallMessageHandler(handler_before);
    if (current == own_handler)
        is_installed = false;
    else
        QtCompat::InstallMessageHandler(current); // which may pass on to this one
    collects = false;
}

} // namespace Zol
