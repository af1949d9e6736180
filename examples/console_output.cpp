#include "console_output.h"

#include <zoldebug/concrete_debug_interface_factory.h>

#include <QtCore/QFile>

#include <stdio.h>

namespace {

// This object is all it takes to make the protocol "console" known to the library.
Zol::ConcreteDebugInterfaceFactory<ConsoleOutput> console_factory(QLatin1String("console"));

} // namespace

ConsoleOutput::ConsoleOutput(const QString& server, const QString& option)
    : DbgServerInterface(server, option)
{
    QFile* const console = new QFile;
    console->open(server == QLatin1String("stderr") ? stderr : stdout, QIODevice::WriteOnly);
    SetIODevice(console, true);
}
