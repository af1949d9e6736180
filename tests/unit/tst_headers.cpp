// Neither the order of the headers nor Qt's keywords nor names of the library outside its namespace
// may get in a host's way.
#include "server_cfg_event.h"

#include "debug_interface_factory_store.h"

#include "module_reg_event.h"

#include "concrete_debug_interface_factory.h"

#include "file_dbg_interface.h"

#include "debug.h"

#include "metric_table.h"

#include "dbg_msg_details.h"

#include <QtCore/QDateTime>
#include <QtCore/QTextStream>
#include <QtTest/QtTest>

#include <memory>
#include <type_traits>
#include <typeinfo>

// Names of a host's own in the global namespace.
struct DbgUtils
{
};
struct DebugModule
{
};
struct DbgCollector
{
};
enum DebugLevel
{
    DBG_INFO = 77
};

namespace {

/** An output defined outside the library. */
class HostOutput : public Zol::FileDbgInterface
{
public:
    HostOutput(const QString& server, const QString& option)
        : FileDbgInterface(server, option)
    {
    }
};

Zol::ConcreteDebugInterfaceFactory<HostOutput> host_factory(QLatin1String("host"));

} // namespace

class TestHeaders : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void keywordsOfQtStayFree();
    void namesStayInTheirNamespace();
    void macrosBearTheLibrarysPrefixOnly();
    void levelNamesAreExported();
    void eventsAreExportedWithTheirTypes();
    void valueTypesAreExported();
    void tablesAreExported();
    void outputsCanBeDerivedAndCastOutside();
    void factoriesCanBeDefinedOutside();
    void collectorFunctionsAreExported();
    void classesThatHoldAddressesCannotBeCopied();
};

void TestHeaders::keywordsOfQtStayFree()
{
    const int signals = 1;
    const int slots = 2;
    const int emit = 4;
    const int foreach = 8;
    QCOMPARE(signals + slots + emit + foreach, 15);
}

void TestHeaders::namesStayInTheirNamespace()
{
    const DbgUtils utils = DbgUtils();
    const DebugModule module = DebugModule();
    const DbgCollector collector = DbgCollector();
    Q_UNUSED(utils)
    Q_UNUSED(module)
    Q_UNUSED(collector)
    QCOMPARE(static_cast<int>(DBG_INFO), 77);
    QCOMPARE(static_cast<int>(Zol::DBG_INFO), 2);
    QVERIFY((!std::is_same<DebugLevel, Zol::DebugLevel>::value));
}

void TestHeaders::macrosBearTheLibrarysPrefixOnly()
{
    bool foreign = false;
#if defined(LOG) || defined(INFO) || defined(WARN) || defined(ERROR) || defined(TRACE) ||          \
    defined(DBG) || defined(DEBUG_LOG) || defined(AMP) || defined(LT) || defined(GT)
    foreign = true;
#endif
    QVERIFY(!foreign);
}

void TestHeaders::levelNamesAreExported()
{
    typedef const QString& (*Name)();
    const Name names[] = {
        Zol::S_DBG_TRACE,      Zol::S_DBG_INFO,  Zol::S_DBG_WARN,         Zol::S_DBG_ERROR,
        Zol::S_DBG_CRITICAL,   Zol::S_DBG_FATAL, Zol::S_DBG_MEMORY_ALLOC, Zol::S_DBG_MEMORY_FREE,
        Zol::S_DBG_TIME_TRACE, Zol::S_DBG_LOAD,  Zol::S_DBG_CONF,         Zol::S_DBG_JITTER,
        Zol::S_DBG_ACCOUNTING, Zol::S_DBG_EVENT, Zol::S_DBG_CONT_LOG,     Zol::S_DBG_DEVEL};
    for (const Name name : names)
        QCOMPARE(Zol::DbgUtils::DbgLvlToQS(Zol::DbgUtils::QSToDbgLvl(name())), name());

    QString text;
    QTextStream stream(&text);
    stream << Zol::DBG_WARN;
    QCOMPARE(text, Zol::S_DBG_WARN());
}

void TestHeaders::eventsAreExportedWithTheirTypes()
{
    const std::unique_ptr<QEvent> configuration(Zol::ServerCfgEvent::NewServerConfigEvent(
        QLatin1String("file:a"), QLatin1String("net"), Zol::DBG_WARN));
    const Zol::ServerCfgEvent* const server =
        dynamic_cast<const Zol::ServerCfgEvent*>(configuration.get());
    QVERIFY(server);
    QCOMPARE(server->GetProtocolServer(), QString::fromLatin1("file:a"));
    QCOMPARE(server->GetModule(), QString::fromLatin1("net"));
    QVERIFY(server->GetMask() == Zol::DBG_WARN);
    QCOMPARE(static_cast<int>(server->type()), 1003);

    const std::unique_ptr<Zol::ServerCfgEvent> removal(
        Zol::ServerCfgEvent::NewRemoveServerEvent(QLatin1String("file:a")));
    QCOMPARE(static_cast<int>(removal->type()), 1004);
    QCOMPARE(removal->GetProtocolServer(), QString::fromLatin1("file:a"));
    QVERIFY(removal->GetModule().isEmpty());
    QCOMPARE(static_cast<int>(removal->GetMask()), 0);

    Zol::DebugModule module(QLatin1String("net"));
    const std::unique_ptr<QEvent> registration(Zol::ModuleRegEvent::NewRegisterEvent(&module));
    QVERIFY(typeid(*registration) == typeid(Zol::ModuleRegEvent));
    QCOMPARE(static_cast<int>(registration->type()), 1001);
    const std::unique_ptr<Zol::ModuleRegEvent> deregistration(
        Zol::ModuleRegEvent::NewDeregisterEvent(&module));
    QCOMPARE(static_cast<int>(deregistration->type()), 1002);
    QVERIFY(deregistration->GetModule() == &module);
}

void TestHeaders::valueTypesAreExported()
{
    const Zol::DebugMessageDetails none;
    Zol::DebugMessageDetails details(QDateTime(), QLatin1String("m"), QLatin1String("f"), 3,
                                     QLatin1String("g"), Zol::DBG_WARN, QLatin1String("t"),
                                     QLatin1String("text"));
    const Zol::DebugMessageDetails copy(details);
    details = none;
    QCOMPARE(copy.m_message, QString::fromLatin1("text"));
    QCOMPARE(details.m_line_no, 0U);

    const Zol::DbgCollector::ServerInterfaceKey a(QLatin1String("a"), QLatin1String("s"));
    const Zol::DbgCollector::ServerInterfaceKey b(QLatin1String("b"), QLatin1String("s"));
    QVERIFY(a < b);
    QVERIFY(Zol::MetricTable::MetricKey(QLatin1String("f"), 1) <
            Zol::MetricTable::MetricKey(QLatin1String("f"), 2));
}

void TestHeaders::tablesAreExported()
{
    Zol::DbgServerInterface::ModuleStatusMap masks;
    masks.SetLevelMask(QLatin1String("*"), Zol::DBG_ERROR);
    masks.SetLevelOn(QLatin1String("a"), Zol::DBG_TRACE);
    masks.SetLevelOff(QLatin1String("b"), Zol::DBG_ERROR);
    QCOMPARE(static_cast<int>(masks.GetStatus(QLatin1String("a"))), 9);
    QCOMPARE(static_cast<int>(masks.GetStatus(QLatin1String("b"))), 0);

    Zol::MetricTable metrics;
    metrics.Update(QLatin1String("f"), 1);
    QString text;
    metrics.Dump(text);
    QCOMPARE(text, QString::fromLatin1("<metric f=\"f\" l=\"1\" c=\"1\"/>\n"));
}

void TestHeaders::outputsCanBeDerivedAndCastOutside()
{
    const HostOutput output(QLatin1String("/dev/null"), QLatin1String("u"));
    const QObject* const object = &output;
    QVERIFY(dynamic_cast<const Zol::FileDbgInterface*>(object));
    QVERIFY(qobject_cast<const Zol::DbgServerInterface*>(object));
    QCOMPARE(object->metaObject()->className(), "Zol::DbgServerInterface");
    QVERIFY(object->inherits("Zol::DbgServerInterface"));
    QVERIFY(output.Enabled());
    QCOMPARE(output.GetOption(), QString::fromLatin1("u"));
}

void TestHeaders::factoriesCanBeDefinedOutside()
{
    Zol::DebugInterfaceFactoryStore& store = Zol::DebugInterfaceFactoryStore::Instance();
    QVERIFY(store.DebugInterfaceFactoryRegistered(QLatin1String("host")));
    QCOMPARE(store.GetRegisteredClasses(), QStringList()
                                               << QLatin1String("file") << QLatin1String("host"));
    const std::unique_ptr<Zol::DbgServerInterface> output(
        store.DoCreate(QLatin1String("host"), QLatin1String("/dev/null"), QString()));
    QVERIFY(dynamic_cast<HostOutput*>(output.get()));
    QCOMPARE(host_factory.GetKey(), QString::fromLatin1("host"));
}

void TestHeaders::collectorFunctionsAreExported()
{
    Zol::DbgCollector::SendLoggingPause();
    Zol::DbgCollector::SendLoggingResume();
    Zol::DbgCollector::SendLogFileSpaceAvailable(true);
    Zol::DbgCollector::CollectMetric(QLatin1String("f"), 1);
    Zol::DbgCollector::CollectCfgMsg(QLatin1String("host:/dev/null"), QLatin1String("*"),
                                     Zol::DBG_WARN);
    QVERIFY(
        Zol::DbgCollector::ParseDebugServerOptions(QStringList(QLatin1String("host:/dev/null"))));
    Zol::DbgCollector::RemoveDebugInterface(QLatin1String("host:/dev/null"));
    Zol::DbgCollector::CollectMsg(QDateTime::currentDateTime(), QLatin1String("net"), "f", 1, "g",
                                  Zol::DBG_WARN, QString(), QString());
    QVERIFY(Zol::DBG_OBJ(QLatin1String("net"), "f", 1, "g", Zol::DBG_WARN).Metric("f", 1));
    Zol::DbgCollector::Start();
    Zol::DbgCollector::Stop();
    QCOMPARE(Zol::DbgCollector::staticMetaObject.className(), "Zol::DbgCollector");
}

void TestHeaders::classesThatHoldAddressesCannotBeCopied()
{
    QVERIFY(!std::is_copy_constructible<Zol::DbgServerInterface>::value);
    QVERIFY(!std::is_copy_constructible<Zol::DbgServerInterface::ModuleStatusMap>::value);
    QVERIFY(!std::is_copy_constructible<Zol::FileDbgInterface>::value);
    QVERIFY(!std::is_copy_constructible<Zol::MetricTable>::value);
    QVERIFY(!std::is_copy_constructible<Zol::DebugInterfaceFactoryStore>::value);
    QVERIFY(!std::is_copy_constructible<Zol::ServerCfgEvent>::value);
    QVERIFY(!std::is_default_constructible<Zol::ServerCfgEvent>::value);
    QVERIFY(!std::is_default_constructible<Zol::DebugInterfaceFactoryStore>::value);
    QVERIFY(
        (!std::is_default_constructible<Zol::ConcreteDebugInterfaceFactory<HostOutput>>::value));
}

QTEST_MAIN(TestHeaders)

#include "tst_headers.moc"
