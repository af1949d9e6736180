// Uses the registry of factories; the test compares what it prints.
// Usage: host_factories SCENARIO, or: host_factories create PROTOCOL SERVER OPTION

#include "concrete_debug_interface_factory.h"
#include "dbg_server_interface.h"
#include "debug_interface_factory_store.h"
#include "file_dbg_interface.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QStringList>

#include <iostream>
#include <memory>

#include <unistd.h>

namespace {

QString Text(const char* text)
{
    return QString::fromUtf8(text);
}

class OwnOutput : public Zol::DbgServerInterface
{
public:
    OwnOutput(const QString& server, const QString& option)
        : DbgServerInterface(server, option)
    {
    }
};

typedef Zol::ConcreteDebugInterfaceFactory<OwnOutput> OwnFactory;

class BrokenFactory : public Zol::AbstractDebugInterfaceFactory
{
public:
    explicit BrokenFactory(const QString& key)
        : AbstractDebugInterfaceFactory(key)
    {
    }

    Zol::DbgServerInterface* Create(const QString&, const QString&) override { return nullptr; }
};

void Create(const QString& protocol, const QString& server, const QString& option)
{
    const std::unique_ptr<Zol::DbgServerInterface> output(
        Zol::DebugInterfaceFactoryStore::Instance().DoCreate(protocol, server, option));
    if (dynamic_cast<Zol::FileDbgInterface*>(output.get()))
        std::cout << "file output\n";
    else if (dynamic_cast<OwnOutput*>(output.get()))
        std::cout << "own output\n";
    else
        std::cout << (output ? "strange output\n" : "nothing\n");
}

void List()
{
    const QStringList keys = Zol::DebugInterfaceFactoryStore::Instance().GetRegisteredClasses();
    std::cout << keys.join(Text("|")).toUtf8().constData() << '\n';
}

void Fail()
{
    BrokenFactory factory(Text("broken"));
    Create(Text("broken"), Text("server"), Text("option"));
}

void FailWithMarkers()
{
    BrokenFactory factory(Text("b%2"));
    Create(Text("b%2"), Text("%3%1"), Text("%1%2"));
}

void Register()
{
    OwnFactory one(Text("one"));
    OwnFactory two(Text("two"));
    OwnFactory again(Text("one"));
    OwnFactory empty((QString()));
    List();
}

void RegisterMarkers()
{
    OwnFactory one(Text("%1"));
    OwnFactory two(Text("%2%%"));
}

void Markers()
{
    OwnFactory factory(Text("p%3%1"));
    Create(Text("p%3%1"), Text("%1%3"), Text("%1"));
}

void NonAscii()
{
    OwnFactory factory(Text("p\xc3\xa4"));
    Create(Text("p\xc3\xa4"), Text("s\xe2\x82\xac"), Text("o\xc3\x9f"));
    Create(Text("u\xc3\xbc"), Text("s"), Text("o"));
}

void Flush()
{
    OwnFactory factory(Text("own"));
    Zol::DebugInterfaceFactoryStore& store = Zol::DebugInterfaceFactoryStore::Instance();
    std::unique_ptr<Zol::DbgServerInterface> output(
        store.DoCreate(Text("own"), Text("s"), Text("o")));
    output.reset(store.DoCreate(Text("none"), Text("s"), Text("o")));
    _exit(0); // drops what is buffered
}

void Replace()
{
    OwnFactory factory(Text("file"));
    Create(Text("file"), Text("s"), Text("o"));
    List();
}

bool Run(const QString& scenario)
{
    if (scenario == Text("load"))
        return true;
    if (scenario == Text("list"))
        List();
    else if (scenario == Text("fail"))
        Fail();
    else if (scenario == Text("fail-markers"))
        FailWithMarkers();
    else if (scenario == Text("register"))
        Register();
    else if (scenario == Text("register-markers"))
        RegisterMarkers();
    else if (scenario == Text("markers"))
        Markers();
    else if (scenario == Text("non-ascii"))
        NonAscii();
    else if (scenario == Text("flush"))
        Flush();
    else if (scenario == Text("replace"))
        Replace();
    else
        return false;
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    std::ios_base::sync_with_stdio(false); // std::cout buffers, unless it is flushed
    QCoreApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    if (arguments.size() == 5 && arguments.at(1) == Text("create")) {
        Create(arguments.at(2), arguments.at(3), arguments.at(4));
        return 0;
    }
    return arguments.size() == 2 && Run(arguments.at(1)) ? 0 : 2;
}
