// Takes the input for configurations of the running collector, with an empty line between them, and
// compares the outputs that it then has with those of a model. A configuration is an option list,
// one option a line, or a "!" and the address of an output to remove.

#include "abstract_debug_interface_factory.h"
#include "dbg_server_interface.h"
#include "debug.h"
#include "fuzz_input.h"
#include "mask_model.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QMap>
#include <QtCore/QPair>
#include <QtCore/QSet>
#include <QtCore/QStringList>

#include <condition_variable>
#include <iostream>
#include <mutex>

using namespace Zol;

namespace {

typedef QPair<QString, QString> Address; // protocol and server

const char* const module_name = "net";
const int built_in_mask = 60;
const int default_mask = 56;
const int levels = 0x7fffffff; // that can be asked a module for

QString Wildcard()
{
    return QLatin1String("*");
}

// --- The model
// ------------------------------------------------------------------------------------

struct ModelOutput
{
    int MaskOf(const QString& module) const
    {
        if (masks.contains(module))
            return masks.value(module);
        return masks.value(Wildcard(), built_in_mask);
    }

    QString option;
    QMap<QString, int> masks;
};

class Model
{
public:
    explicit Model(const QStringList& protocols)
        : m_protocols(protocols)
        , m_module_mask(0)
    {
    }

    bool Configure(const QStringList& options)
    {
        if (options.isEmpty())
            return false;
        for (int i = 1; i < options.size(); ++i) {
            const QString& entry = options.at(i);
            const QStringList parts = entry.split(QLatin1Char('='));
            if (parts.size() < 2)
                return false;
            SetMask(options.at(0), parts.at(0), Fuzz::ModelMask(parts.at(1)));
        }
        if (options.size() == 1)
            SetMask(options.at(0), Wildcard(), default_mask);
        return true;
    }

    void Remove(const QString& address)
    {
        if (address.isEmpty())
            return;
        const QStringList fields = address.simplified().split(QLatin1Char(':'));
        if (m_outputs.remove(Address(fields.value(0), fields.value(1))) > 0)
            RecalculateModule();
    }

    const QMap<Address, ModelOutput>& Outputs() const { return m_outputs; }
    int ModuleMask() const { return m_module_mask & levels; }
    const QSet<QString>& Modules() const { return m_modules; }

private:
    void SetMask(const QString& address, const QString& module, int mask)
    {
        m_modules.insert(module);
        if (address.isEmpty())
            return;
        const QStringList fields = address.simplified().split(QLatin1Char(':'));
        if (!m_protocols.contains(fields.value(0)))
            return;
        const Address key(fields.value(0), fields.value(1));
        if (!m_outputs.contains(key))
            m_outputs[key].option = fields.value(2);
        if (!module.isEmpty())
            SetMaskOf(m_outputs[key], module, mask);
        if (module == Wildcard() || module == QLatin1String(module_name))
            RecalculateModule();
    }

    static void SetMaskOf(ModelOutput& output, const QString& module, int mask)
    {
        output.masks[module] = mask;
        if (module != Wildcard())
            return;
        for (const QString& name : output.masks.keys())
            output.masks[name] = mask;
    }

    void RecalculateModule()
    {
        m_module_mask = 0;
        for (const ModelOutput& output : m_outputs.values())
            m_module_mask |= output.MaskOf(QLatin1String(module_name));
    }

    QStringList m_protocols;
    QMap<Address, ModelOutput> m_outputs;
    QSet<QString> m_modules; // that were named
    int m_module_mask;
};

// --- The outputs of the collector
// -----------------------------------------------------------------

class Output;
typedef QMap<Address, Output*> Outputs;

/** Only the collector's thread touches them, but while Settle() has it wait. */
Outputs& LiveOutputs()
{
    static Outputs& outputs = *new Outputs;
    return outputs;
}

class Output : public DbgServerInterface
{
public:
    Output(const Address& address, const QString& option)
        : DbgServerInterface(address.second, option)
        , m_address(address)
    {
        if (LiveOutputs().contains(address))
            Fuzz::Fail("an output is there twice", address.first, address.second);
        LiveOutputs().insert(address, this);
    }

    ~Output() { LiveOutputs().remove(m_address); }

private:
    const Address m_address;
};

class Factory : public AbstractDebugInterfaceFactory
{
public:
    explicit Factory(const QString& key)
        : AbstractDebugInterfaceFactory(key)
    {
    }

    DbgServerInterface* Create(const QString& server, const QString& option) override
    {
        return new Output(Address(GetKey(), server), option);
    }
};

/** Makes no output, but tells when it is asked for one: all that was posted before is handled. */
class Fence : public AbstractDebugInterfaceFactory
{
public:
    Fence()
        : AbstractDebugInterfaceFactory(Key())
        , m_passed(false)
    {
    }

    /** The protocol, which no input contains. */
    static QString Key() { return QString(QChar(0xffff)); }

    void Await()
    {
        DbgCollector::CollectCfgMsg(Key(), QString(), DBG_INFO);
        std::unique_lock<std::mutex> lock(m_mutex);
        m_change.wait(lock, [this] { return m_passed; });
        m_passed = false;
    }

    DbgServerInterface* Create(const QString&, const QString&) override
    {
        // Somebody waits, so this thread is not idle.
        QThread::currentThread()->setPriority(QThread::NormalPriority);
        std::lock_guard<std::mutex> lock(m_mutex);
        m_passed = true;
        m_change.notify_one();
        return nullptr;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_change;
    bool m_passed;
};

Fence& TheFence()
{
    static Fence& fence = *new Fence;
    return fence;
}

DebugModule& TheModule()
{
    static DebugModule& module = *new DebugModule(QLatin1String(module_name));
    return module;
}

int MaskOf(const DebugModule& module)
{
    int mask = 0;
    for (int bit = 0; bit < 31; ++bit) {
        if (!module.LvlDisabled(static_cast<DebugLevel>(1 << bit)))
            mask |= 1 << bit;
    }
    return mask;
}

// Instead of the library's own, so that no input writes a file; and one without a name.
QStringList Protocols()
{
    return QStringList() << QLatin1String("file") << QLatin1String("a") << QLatin1String("");
}

bool StartCollector()
{
    std::cout.rdbuf(nullptr); // the library tells there about each output
    static int argc = 1;
    static char name[] = "fuzz_options";
    static char* argv[] = {name, nullptr};
    new QCoreApplication(argc, argv);
    for (const QString& protocol : Protocols())
        new Factory(protocol);
    TheFence();
    DbgCollector::Start();
    while (!TheModule().LvlDisabled(DBG_FATAL)) // as long as the collector does not know of it
        QThread::msleep(1);
    return true;
}

// --- One input
// ------------------------------------------------------------------------------------

void Carry(const QStringList& configuration, Model& model)
{
    if (configuration.value(0).startsWith(QLatin1Char('!'))) {
        const QString address = configuration.at(0).mid(1);
        DbgCollector::RemoveDebugInterface(address);
        model.Remove(address);
        return;
    }
    const bool result = DbgCollector::ParseDebugServerOptions(configuration);
    Fuzz::Expect("the result differs", result, model.Configure(configuration));
}

void Compare(const ModelOutput& expected, const DbgServerInterface& output, const Model& model)
{
    Fuzz::Expect("the option differs", output.GetOption(), expected.option);
    Fuzz::Expect("the default mask differs", output.GetDefaultMask(), expected.MaskOf(Wildcard()));
    for (const QString& module : model.Modules())
        Fuzz::Expect("a mask differs", output.GetModuleMask(module), expected.MaskOf(module));
    const QString other = QLatin1String(module_name);
    Fuzz::Expect("the mask of a module differs", output.GetModuleMask(other),
                 expected.MaskOf(other));
}

void Compare(const Model& model)
{
    const Outputs& outputs = LiveOutputs();
    Fuzz::Expect("there are other outputs", static_cast<int>(outputs.size()),
                 static_cast<int>(model.Outputs().size()));
    for (const Address& address : model.Outputs().keys()) {
        if (!outputs.contains(address))
            Fuzz::Fail("an output is missing", address.first, address.second);
        Compare(model.Outputs().value(address), *outputs.value(address), model);
    }
    Fuzz::Expect("the mask in the module differs", MaskOf(TheModule()), model.ModuleMask());
}

void RemoveOutputs(const Model& model)
{
    // With an option, for a server may end in a blank.
    const QChar separator = QLatin1Char(':');
    for (const Address& address : model.Outputs().keys())
        DbgCollector::RemoveDebugInterface(address.first + separator + address.second + separator);
    TheFence().Await();
    Fuzz::Expect("outputs are left", static_cast<int>(LiveOutputs().size()), 0);
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const bool is_started = StartCollector();
    Q_UNUSED(is_started)

    const QString text = Fuzz::TextOf(data, size).remove(Fence::Key());
    Model model(Protocols());
    for (const QString& lines : text.split(QLatin1String("\n\n")))
        Carry(lines.split(QLatin1Char('\n')), model);
    TheFence().Await();
    Compare(model);
    RemoveOutputs(model);
    return 0;
}
