#include "plugin.h"

#include "concrete_debug_interface_factory.h"
#include "dbg_server_interface.h"
#include "debug.h"

#include <QtCore/QBuffer>
#include <QtCore/QMutex>
#include <QtCore/QMutexLocker>

namespace Plugin {

namespace {

QMutex& LinesMutex()
{
    static QMutex mutex;
    return mutex;
}

QByteArray& Text()
{
    static QByteArray text;
    return text;
}

void Note(const QByteArray& bytes)
{
    const QMutexLocker lock(&LinesMutex());
    Text() += bytes;
}

class PluginDevice : public QIODevice
{
public:
    PluginDevice() { open(QIODevice::WriteOnly | QIODevice::Unbuffered); }

    bool isSequential() const override { return true; }

protected:
    qint64 readData(char*, qint64) override { return -1; }

    qint64 writeData(const char* data, qint64 size) override
    {
        Note(QByteArray(data, static_cast<int>(size)));
        return size;
    }
};

class PluginOutput : public Zol::DbgServerInterface
{
public:
    PluginOutput(const QString& server, const QString& option)
        : DbgServerInterface(server, option)
    {
        Note("created " + server.toLatin1() + ' ' + option.toLatin1() + '\n');
        SetIODevice(new PluginDevice, true);
    }

    ~PluginOutput() { Note("deleted\n"); }
};

// Built when the plugin is loaded, which may be before the library itself is initialised.
Zol::ConcreteDebugInterfaceFactory<PluginOutput> plugin_factory(QLatin1String("plugin"));
Zol::DebugModule plugin_module(QLatin1String("plugin module"));

} // namespace

QStringList Lines()
{
    const QMutexLocker lock(&LinesMutex());
    return QString::fromLatin1(Text().constData()).split(QLatin1Char('\n'));
}

void LogForPlugin()
{
    ZOL_INFO(plugin_module) << "from the plugin";
}

} // namespace Plugin
