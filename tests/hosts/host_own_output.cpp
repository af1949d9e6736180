// Defines an output type of its own, with a static factory and without a QCoreApplication.

#include "concrete_debug_interface_factory.h"
#include "dbg_server_interface.h"
#include "debug_interface_factory_store.h"

#include <QtCore/QStringList>

#include <iostream>
#include <memory>

namespace {

class OwnOutput : public Zol::DbgServerInterface
{
public:
    OwnOutput(const QString& server, const QString& option)
        : DbgServerInterface(server, option)
        , m_name(server)
    {
    }

    QByteArray Name() const { return (m_name + QLatin1Char(' ') + GetOption()).toLatin1(); }

private:
    const QString m_name;
};

Zol::ConcreteDebugInterfaceFactory<OwnOutput> own_factory(QLatin1String("own"));

} // namespace

int main()
{
    std::cout << "in main" << std::endl;
    Zol::DebugInterfaceFactoryStore& store = Zol::DebugInterfaceFactoryStore::Instance();
    const std::unique_ptr<Zol::DbgServerInterface> output(
        store.DoCreate(QLatin1String("own"), QLatin1String("server"), QLatin1String("option")));
    const OwnOutput* const own = dynamic_cast<OwnOutput*>(output.get());
    if (!own)
        return 1;
    std::cout << "own output " << own->Name().constData() << std::endl;
    const QStringList keys = store.GetRegisteredClasses();
    std::cout << "keys: " << keys.join(QLatin1String(" ")).toLatin1().constData() << std::endl;
    return 0;
}
