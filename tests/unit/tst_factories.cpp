#include "concrete_debug_interface_factory.h"
#include "dbg_server_interface.h"
#include "debug_interface_factory_store.h"
#include "file_dbg_interface.h"
#include "host_process.h"
#include "log_record.h"
#include "temp_dir.h"

#include <QtCore/QFile>
#include <QtTest/QtTest>

#include <memory>
#include <type_traits>
#include <utility>

using namespace Zol;

namespace {

const char file_registered[] = "DebugInterfaceFactoryStore::Register registered "
                               "AbstractDebugInterfaceFactory with key file\n";

QString Text(const char* text)
{
    return QString::fromUtf8(text);
}

/** An output that only remembers what it was made with. */
class TestOutput : public DbgServerInterface
{
public:
    TestOutput(const QString& server, const QString& option)
        : DbgServerInterface(server, option)
        , m_made_for(server)
    {
    }

    const QString& MadeFor() const { return m_made_for; }

private:
    const QString m_made_for;
};

typedef ConcreteDebugInterfaceFactory<TestOutput> TestFactory;
typedef ConcreteDebugInterfaceFactory<FileDbgInterface> FileFactory;

ConcreteDebugInterfaceFactory<TestOutput> test_factory(Text("test"));

DebugInterfaceFactoryStore& Store()
{
    return DebugInterfaceFactoryStore::Instance();
}

/** What the host program printed after the line that the library prints when it is loaded. */
QByteArray OutputOf(const char* host, const QStringList& arguments)
{
    const ZolTest::HostResult result = ZolTest::RunHost(Text(host), arguments);
    if (!result.exited || result.exit_code != 0)
        return "failed";
    if (!result.standard_error.isEmpty())
        return "standard error: " + result.standard_error;
    if (!result.standard_output.startsWith(file_registered))
        return "unexpected start: " + result.standard_output;
    return result.standard_output.mid(static_cast<int>(sizeof file_registered) - 1);
}

QByteArray OutputOf(const char* scenario)
{
    return OutputOf("host_factories", QStringList() << Text(scenario));
}

QByteArray Registered(const char* key)
{
    return QByteArray("DebugInterfaceFactoryStore::Register registered "
                      "AbstractDebugInterfaceFactory with key ") +
           key + '\n';
}

QByteArray NoFactory(const char* key)
{
    return QByteArray(
               "DebugInterfaceFactoryStore::DoCreate No debug_interface_factory for key: '") +
           key + "'\n";
}

QByteArray Created(const char* protocol, const QByteArray& server, const char* option)
{
    return QByteArray("DebugInterfaceFactoryStore::DoCreate Created Object with protocol '") +
           protocol + "' with server '" + server + "' and option '" + option + "'\n";
}

QByteArray FailedToCreate(const char* protocol, const char* server, const char* option)
{
    return QByteArray(
               "DebugInterfaceFactoryStore::DoCreate Failed to create Object with protocol '") +
           protocol + "' with server '" + server + "' and option '" + option + "'\n";
}

QStringList Create(const char* protocol, const QString& server, const char* option)
{
    return QStringList() << Text("create") << Text(protocol) << server << Text(option);
}

} // namespace

class TestFactories : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void storeIsOneObject();
    void storeIsNotCopyable();
    void factoriesHaveAKey();
    void factoriesAreDeletedThroughTheirBase();
    void libraryRegistersTheFileOutput();
    void staticFactoryOfTheHostIsRegistered();
    void keysAreExact_data();
    void keysAreExact();
    void keysAreInAscendingOrder();
    void factoryKeepsItsKey();
    void factoryMakesItsOutput();
    void factoryMakesANewOutputEachTime();
    void factoryMakesItsOutputThroughItsBase();
    void storeMakesTheFileOutput();
    void storeMakesTheOutputOfTheHost();
    void storeMakesNothingForAnUnknownProtocol();
    void laterFactoryReplacesTheEarlierOne();
    void destroyedFactoryStaysRegistered();

    void libraryAlonePrintsOneLine();
    void libraryAloneHasOneKey();
    void creationIsPrinted();
    void creationWithoutAnOptionIsPrinted();
    void unknownProtocolIsPrinted_data();
    void unknownProtocolIsPrinted();
    void failedCreationIsPrinted();
    void everyRegistrationIsPrinted();
    void markersInACreationArePrinted();
    void markersInAFailedCreationArePrinted();
    void markersInARegistrationArePrinted();
    void textsArePrintedInTheLocalEncoding();
    void linesAreFlushed();
    void hostDefinesAnOutput();
    void hostReplacesTheFileOutput();
};

void TestFactories::storeIsOneObject()
{
    QVERIFY(&DebugInterfaceFactoryStore::Instance() == &DebugInterfaceFactoryStore::Instance());
}

void TestFactories::storeIsNotCopyable()
{
    QVERIFY(!std::is_default_constructible<DebugInterfaceFactoryStore>::value);
    QVERIFY(!std::is_copy_constructible<DebugInterfaceFactoryStore>::value);
    QVERIFY(!std::is_copy_assignable<DebugInterfaceFactoryStore>::value);
}

void TestFactories::factoriesHaveAKey()
{
    QVERIFY(!std::is_default_constructible<TestFactory>::value);
}

void TestFactories::factoriesAreDeletedThroughTheirBase()
{
    QVERIFY(std::has_virtual_destructor<AbstractDebugInterfaceFactory>::value);
}

void TestFactories::libraryRegistersTheFileOutput()
{
    QVERIFY(Store().DebugInterfaceFactoryRegistered(Text("file")));
}

void TestFactories::staticFactoryOfTheHostIsRegistered()
{
    QVERIFY(Store().DebugInterfaceFactoryRegistered(Text("test")));
}

void TestFactories::keysAreExact_data()
{
    QTest::addColumn<QString>("key");
    QTest::newRow("other case") << Text("File");
    QTest::newRow("empty") << Text("");
    QTest::newRow("null") << QString();
    QTest::newRow("blank before") << Text(" file");
    QTest::newRow("blank behind") << Text("file ");
    QTest::newRow("part") << Text("fil");
    QTest::newRow("more") << Text("files");
}

void TestFactories::keysAreExact()
{
    QFETCH(QString, key);
    QVERIFY(!Store().DebugInterfaceFactoryRegistered(key));
}

void TestFactories::keysAreInAscendingOrder()
{
    static TestFactory lower(Text("zebra")), upper(Text("Zebra")), first(Text("Apple"));
    const QStringList keys = Store().GetRegisteredClasses();
    QCOMPARE(static_cast<int>(keys.count(Text("zebra"))), 1);
    QStringList sorted = keys;
    sorted.sort();
    QCOMPARE(keys, sorted);
    QCOMPARE(keys.first(), Text("Apple"));
    QVERIFY(keys.indexOf(Text("Zebra")) < keys.indexOf(Text("file")));
    QCOMPARE(keys.last(), Text("zebra"));
}

void TestFactories::factoryKeepsItsKey()
{
    QCOMPARE(test_factory.GetKey(), Text("test"));
}

void TestFactories::factoryMakesItsOutput()
{
    QVERIFY(
        (std::is_same<decltype(test_factory.Create(QString(), QString())), TestOutput*>::value));
    QVERIFY((std::is_same<decltype(std::declval<FileFactory&>().Create(QString(), QString())),
                          FileDbgInterface*>::value));
    const std::unique_ptr<TestOutput> output(test_factory.Create(Text("server"), Text("option")));
    QCOMPARE(output->MadeFor(), Text("server"));
    QCOMPARE(output->GetOption(), Text("option"));
}

void TestFactories::factoryMakesANewOutputEachTime()
{
    const std::unique_ptr<TestOutput> first(test_factory.Create(Text("s"), Text("o")));
    const std::unique_ptr<TestOutput> second(test_factory.Create(Text("s"), Text("o")));
    QVERIFY(first.get() != second.get());
}

void TestFactories::factoryMakesItsOutputThroughItsBase()
{
    AbstractDebugInterfaceFactory& factory = test_factory;
    const std::unique_ptr<DbgServerInterface> output(factory.Create(Text("s"), Text("o")));
    QVERIFY(dynamic_cast<TestOutput*>(output.get()));
}

void TestFactories::storeMakesTheFileOutput()
{
    const ZolTest::TempDir folder;
    const QString path = folder.Path("log");
    const std::unique_ptr<DbgServerInterface> output(
        Store().DoCreate(Text("file"), path, Text("u")));
    QVERIFY(dynamic_cast<FileDbgInterface*>(output.get()));
    QCOMPARE(output->GetOption(), Text("u"));
    QCOMPARE(ZolTest::ReadFile(QFile::encodeName(path)), QByteArray("<DEBUG_SERVER_RESTART/>\n"));
}

void TestFactories::storeMakesTheOutputOfTheHost()
{
    const std::unique_ptr<DbgServerInterface> output(
        Store().DoCreate(Text("test"), Text("a:b"), Text("o")));
    const TestOutput* const made = dynamic_cast<TestOutput*>(output.get());
    QVERIFY(made);
    QCOMPARE(made->MadeFor(), Text("a:b"));
    QCOMPARE(made->GetOption(), Text("o"));
}

void TestFactories::storeMakesNothingForAnUnknownProtocol()
{
    QVERIFY(!Store().DoCreate(Text("File"), Text("s"), Text("o")));
    QVERIFY(!Store().DoCreate(QString(), Text("s"), Text("o")));
}

void TestFactories::laterFactoryReplacesTheEarlierOne()
{
    static FileFactory earlier(Text("twice"));
    static TestFactory later(Text("twice"));
    const std::unique_ptr<DbgServerInterface> output(
        Store().DoCreate(Text("twice"), Text("s"), Text("o")));
    QVERIFY(dynamic_cast<TestOutput*>(output.get()));
    QCOMPARE(static_cast<int>(Store().GetRegisteredClasses().count(Text("twice"))), 1);
}

void TestFactories::destroyedFactoryStaysRegistered()
{
    {
        TestFactory factory(Text("short-lived"));
        QVERIFY(Store().DebugInterfaceFactoryRegistered(Text("short-lived")));
    }
    QVERIFY(Store().DebugInterfaceFactoryRegistered(Text("short-lived")));
}

void TestFactories::libraryAlonePrintsOneLine()
{
    QCOMPARE(OutputOf("load"), QByteArray());
}

void TestFactories::libraryAloneHasOneKey()
{
    QCOMPARE(OutputOf("list"), QByteArray("file\n"));
}

void TestFactories::creationIsPrinted()
{
    const ZolTest::TempDir folder;
    const QString path = folder.Path("log");
    QCOMPARE(OutputOf("host_factories", Create("file", path, "tu")),
             Created("file", path.toUtf8(), "tu") + "file output\n");
}

void TestFactories::creationWithoutAnOptionIsPrinted()
{
    const ZolTest::TempDir folder;
    const QString path = folder.Path("log");
    QCOMPARE(OutputOf("host_factories", Create("file", path, "")),
             Created("file", path.toUtf8(), "") + "file output\n");
}

void TestFactories::unknownProtocolIsPrinted_data()
{
    QTest::addColumn<QString>("protocol");
    QTest::newRow("other case") << Text("File");
    QTest::newRow("empty") << Text("");
    QTest::newRow("unknown") << Text("tcp");
    QTest::newRow("marker") << Text("%1");
    QTest::newRow("markers") << Text("%2%1%L1%");
}

void TestFactories::unknownProtocolIsPrinted()
{
    QFETCH(QString, protocol);
    const QByteArray key = protocol.toUtf8();
    QCOMPARE(OutputOf("host_factories", Create(key.constData(), Text("server"), "option")),
             NoFactory(key.constData()) + "nothing\n");
}

void TestFactories::failedCreationIsPrinted()
{
    QCOMPARE(OutputOf("fail"),
             Registered("broken") + FailedToCreate("broken", "server", "option") + "nothing\n");
}

void TestFactories::everyRegistrationIsPrinted()
{
    QCOMPARE(OutputOf("register"), Registered("one") + Registered("two") + Registered("one") +
                                       Registered("") + "|file|one|two\n");
}

void TestFactories::markersInACreationArePrinted()
{
    QCOMPARE(OutputOf("markers"),
             Registered("p%3%1") + Created("p%3%1", "%1%3", "%1") + "own output\n");
}

void TestFactories::markersInAFailedCreationArePrinted()
{
    QCOMPARE(OutputOf("fail-markers"),
             Registered("b%2") + FailedToCreate("b%2", "%3%1", "%1%2") + "nothing\n");
}

void TestFactories::markersInARegistrationArePrinted()
{
    QCOMPARE(OutputOf("register-markers"), Registered("%1") + Registered("%2%%"));
}

void TestFactories::textsArePrintedInTheLocalEncoding()
{
    QCOMPARE(OutputOf("non-ascii"), Registered("p\xc3\xa4") +
                                        Created("p\xc3\xa4", "s\xe2\x82\xac", "o\xc3\x9f") +
                                        "own output\n" + NoFactory("u\xc3\xbc") + "nothing\n");
}

void TestFactories::linesAreFlushed()
{
    QCOMPARE(OutputOf("flush"), Registered("own") + Created("own", "s", "o") + NoFactory("none"));
}

void TestFactories::hostDefinesAnOutput()
{
    QCOMPARE(OutputOf("host_own_output", QStringList()),
             Registered("own") + "in main\n" + Created("own", "server", "option") +
                 "own output server option\n" + "keys: file own\n");
}

void TestFactories::hostReplacesTheFileOutput()
{
    QCOMPARE(OutputOf("replace"),
             Registered("file") + Created("file", "s", "o") + "own output\n" + "file\n");
}

QTEST_MAIN(TestFactories)
#include "tst_factories.moc"
