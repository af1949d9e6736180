#include "concrete_debug_interface_factory.h"
#include "dbg_collector.h"
#include "dbg_module.h"
#include "host_process.h"
#include "log_record.h"
#include "module_masks.h"
#include "probe.h"
#include "temp_dir.h"
#include "wait.h"

#include <QtCore/QFile>
#include <QtCore/QMutex>
#include <QtCore/QMutexLocker>
#include <QtCore/QSemaphore>
#include <QtTest/QtTest>

#include <atomic>
#include <thread>
#include <vector>

using namespace Zol;
using ZolTest::MaskOf;
using ZolTest::Probe;
using ZolTest::Settle;
using ZolTest::SettledMask;

namespace {

typedef DbgCollector::ServerInterfaceKey Key;

/** The same output under a protocol that sorts before "probe". */
ZolTest::Probe& Alpha(const char* name)
{
    return Probe::Get(QLatin1String("alpha ") + QLatin1String(name));
}

class AlphaOutput : public ZolTest::ProbeOutput
{
public:
    AlphaOutput(const QString& server, const QString& option)
        : ProbeOutput(QLatin1String("alpha ") + server, option)
    {
    }
};

ConcreteDebugInterfaceFactory<AlphaOutput> alpha_factory(QLatin1String("alpha"));

/** Makes no output until it is allowed to. */
class ReluctantFactory : public AbstractDebugInterfaceFactory
{
public:
    explicit ReluctantFactory(const QString& key)
        : AbstractDebugInterfaceFactory(key)
        , m_tries(0)
        , m_willing(false)
    {
    }

    DbgServerInterface* Create(const QString& server, const QString& option) override
    {
        ++m_tries;
        return m_willing ? new ZolTest::ProbeOutput(server, option) : nullptr;
    }

    std::atomic<int> m_tries;
    std::atomic<bool> m_willing;
};

ReluctantFactory reluctant_factory(QLatin1String("reluctant"));

Probe& ProbeNamed(const char* name)
{
    return Probe::Get(QString::fromUtf8(name));
}

bool Parse(const char* address, const char* entry1 = nullptr, const char* entry2 = nullptr,
           const char* entry3 = nullptr)
{
    QStringList options(QString::fromUtf8(address));
    for (const char* const entry : {entry1, entry2, entry3}) {
        if (entry)
            options.append(QString::fromUtf8(entry));
    }
    return DbgCollector::ParseDebugServerOptions(options);
}

void Configure(const QString& address, const char* module, int mask)
{
    DbgCollector::CollectCfgMsg(address, QString::fromUtf8(module), static_cast<DebugLevel>(mask));
}

void Configure(const char* address, const char* module, int mask)
{
    Configure(QString::fromUtf8(address), module, mask);
}

void Remove(const char* address)
{
    DbgCollector::RemoveDebugInterface(QString::fromUtf8(address));
}

void Log(const char* module, const char* text, DebugLevel level = DBG_FATAL)
{
    DbgCollector::CollectMsg(QDateTime::currentDateTime(), QString::fromUtf8(module), "file", 1,
                             "func", level, QString(), QString::fromUtf8(text));
}

/** The mask that the only output of the running collector holds for a module. */
int MaskFor(const char* id)
{
    const DebugModule module(QString::fromUtf8(id));
    return SettledMask(module);
}

QList<QByteArray> List(const char* entry1, const char* entry2 = nullptr)
{
    QList<QByteArray> list;
    list.append(entry1);
    if (entry2)
        list.append(entry2);
    return list;
}

/** Calls of a probe, once the running collector has handled what was configured so far. */
QList<QByteArray> SettledCalls(Probe& probe)
{
    return Settle() ? probe.Calls() : List("the collector did not settle");
}

QByteArray UnknownProtocol(const QByteArray& protocol)
{
    return "DebugInterfaceFactoryStore::DoCreate No debug_interface_factory for key: '" + protocol +
           "'\n";
}

QByteArray Created(const QByteArray& protocol, const QByteArray& server, const QByteArray& option)
{
    return "DebugInterfaceFactoryStore::DoCreate Created Object with protocol '" + protocol +
           "' with server '" + server + "' and option '" + option + "'\n";
}

/** What creating outputs printed while a host carried out its arguments. */
QByteArray PrintedFor(const QStringList& arguments)
{
    const ZolTest::HostResult result =
        ZolTest::RunHost(QLatin1String("host_configuration"), arguments);
    if (!result.exited || result.exit_code != 0 || !result.standard_error.isEmpty())
        return "the host failed: " + result.standard_error;
    QByteArray printed;
    for (const QByteArray& line : result.standard_output.split('\n')) {
        if (!line.isEmpty() && !line.startsWith("DebugInterfaceFactoryStore::Register "))
            printed += line + '\n';
    }
    return printed;
}

} // namespace

class TestConfiguration : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();

    void keysHoldProtocolAndServer();
    void keysAreOrderedByProtocolThenServer();

    void emptyListIsRefusedAndConfiguresNothing();
    void addressAloneGivesEveryModuleTheDefaultMask();
    void addressAloneOverwritesEarlierEntries();
    void addressMayBeEmpty();
    void addressIsNotLookedAtForAnEqualsSign();
    void entryWithoutEqualsSignEndsTheListButNotTheEntriesBefore();
    void firstEntryWithoutEqualsSignConfiguresNothing();
    void emptyEntryIsRefused();
    void moduleEntriesAddNoWildcard();
    void entriesAreAppliedInListOrder();
    void laterWildcardOverwritesEarlierEntries();
    void entryBehindTheWildcardSurvives();
    void laterEntryReplacesTheEarlierOneOfItsModule();
    void textBehindTheSecondEqualsSignIsDropped();
    void emptyMaskStringIsTheDefaultMask();
    void maskStringMayHoldSeveralTokens();
    void maskMayBeANumber();
    void moduleNameIsNotTrimmed();
    void moduleNameIsCaseSensitive();
    void emptyModuleNameCreatesTheOutputOnly();
    void oneCallPerOutputConfiguresSeveralOutputs();

    void thirdFieldIsTheOption();
    void fieldsBehindTheOptionAreIgnored();
    void missingFieldsAreEmpty();
    void emptyServerIsAServer();
    void surroundingWhiteSpaceOfTheAddressIsIgnored();
    void innerWhiteSpaceOfTheAddressIsShortened();
    void whiteSpaceBehindTheColonBelongsToTheServer();
    void protocolWithTrailingSpaceIsUnknown();
    void protocolsAreCaseSensitive();
    void serversAreCaseSensitive();
    void addressMayHoldAnyLetters();

    void secondEntryReusesTheOutput();
    void optionOfAnExistingOutputIsIgnored();
    void optionOfAnExistingFileIsIgnored();
    void sameServerOfTwoProtocolsAreTwoOutputs();
    void recordsReachOutputsInKeyOrder();

    void removalDeletesTheOutput();
    void removalIgnoresTheOption();
    void removalSimplifiesTheAddress();
    void removalDropsTheLevelsOfTheOutput();
    void removalOfAnUnknownOutputIsIgnored();
    void removalOfAnEmptyAddressIsIgnored();
    void removalWritesNothing();
    void removedOutputGetsNoMoreRecords();
    void outputConfiguredAfterItsRemovalIsNew();
    void removalAndConfigurationKeepTheirOrder();
    void fileIsReachedWithAndWithoutWhiteSpaceAndOption();
    void fileProtocolWithTrailingSpaceMakesNoFile();

    void entryForAnUnknownProtocolChangesNoMask();
    void failedConstructionIsRetriedByEachEntry();
    void entriesOfFailedConstructionsAreDropped();
    void unknownProtocolIsReportedForEachEntry();
    void outputIsReportedOnceHoweverManyEntriesItHas();
    void emptyAddressReportsNothing();
    void blankAddressHasAnEmptyProtocol();
    void unusualAddressesAreReportedAsTheyWereSplit();
    void removalReportsNothing();

    void singleEntryTakesAnyMask();
    void singleEntryTakesAnyModuleName();
    void singleEntryWithEmptyModuleCreatesTheOutput();
    void singleEntryWithEmptyAddressIsIgnored();
    void wildcardEntryReachesEveryModule();

    void configurationBeforeStartIsInForceForTheFirstMessage();
    void configurationOfARunningCollectorTakesEffect();
    void configurationAfterStopIsHarmless();
    void configurationComesFromAnyThread();
};

void TestConfiguration::cleanup()
{
    DbgCollector::Stop();
}

void TestConfiguration::keysHoldProtocolAndServer()
{
    const Key key(QLatin1String("file"), QLatin1String("/tmp/a.log"));
    const Key copy(key);

    QCOMPARE(copy.GetProtocol(), QString::fromLatin1("file"));
    QCOMPARE(copy.GetServer(), QString::fromLatin1("/tmp/a.log"));
}

void TestConfiguration::keysAreOrderedByProtocolThenServer()
{
    const Key keys[] = {
        Key(QLatin1String(""), QLatin1String("z")),   Key(QLatin1String("A"), QLatin1String("z")),
        Key(QLatin1String("a"), QLatin1String("")),   Key(QLatin1String("a"), QLatin1String("B")),
        Key(QLatin1String("a"), QLatin1String("b")),  Key(QLatin1String("a"), QLatin1String("bb")),
        Key(QLatin1String("ab"), QLatin1String("a")), Key(QString(QChar(0xe9)), QString()),
    };
    const size_t count = sizeof keys / sizeof keys[0];
    for (size_t i = 0; i < count; ++i) {
        for (size_t j = 0; j < count; ++j)
            QCOMPARE(keys[i] < keys[j], i < j);
    }
}

void TestConfiguration::emptyListIsRefusedAndConfiguresNothing()
{
    QVERIFY(!DbgCollector::ParseDebugServerOptions(QStringList()));

    DbgCollector::Start();
    QCOMPARE(MaskFor("net"), 0);
}

void TestConfiguration::addressAloneGivesEveryModuleTheDefaultMask()
{
    QVERIFY(Parse("probe:a"));

    DbgCollector::Start();
    QCOMPARE(MaskFor("net"), 56);
    QCOMPARE(MaskFor("disk"), 56);
    QCOMPARE(SettledCalls(ProbeNamed("a")), List("create:"));
}

void TestConfiguration::addressAloneOverwritesEarlierEntries()
{
    QVERIFY(Parse("probe:a", "net=1"));
    QVERIFY(Parse("probe:a"));

    DbgCollector::Start();
    QCOMPARE(MaskFor("net"), 56);
}

void TestConfiguration::addressMayBeEmpty()
{
    QVERIFY(Parse(""));
    QVERIFY(Parse("", "net=1"));
    QVERIFY(!Parse("", "net"));

    DbgCollector::Start();
    QCOMPARE(MaskFor("net"), 0);
}

void TestConfiguration::addressIsNotLookedAtForAnEqualsSign()
{
    QVERIFY(Parse("probe:a=b:c=d", "net=1"));

    DbgCollector::Start();
    QCOMPARE(MaskFor("net"), 1);
    QCOMPARE(ProbeNamed("a=b").Calls(), List("create:c=d"));
}

void TestConfiguration::entryWithoutEqualsSignEndsTheListButNotTheEntriesBefore()
{
    QVERIFY(!Parse("probe:a", "a=+DBG_INFO", "b", "c=1"));

    DbgCollector::Start();
    QCOMPARE(MaskFor("a"), 58);
    QCOMPARE(MaskFor("b"), 60);
    QCOMPARE(MaskFor("c"), 60);
}

void TestConfiguration::firstEntryWithoutEqualsSignConfiguresNothing()
{
    QVERIFY(!Parse("probe:a", "a", "b=1"));

    DbgCollector::Start();
    QCOMPARE(MaskFor("b"), 0);
    QCOMPARE(ProbeNamed("a").Calls(), QList<QByteArray>());
}

void TestConfiguration::emptyEntryIsRefused()
{
    QVERIFY(!Parse("probe:a", ""));

    DbgCollector::Start();
    QCOMPARE(SettledCalls(ProbeNamed("a")), QList<QByteArray>());
}

void TestConfiguration::moduleEntriesAddNoWildcard()
{
    QVERIFY(Parse("probe:a", "net=1"));

    DbgCollector::Start();
    QCOMPARE(MaskFor("net"), 1);
    QCOMPARE(MaskFor("disk"), 60);
    QCOMPARE(MaskFor("*"), 60);
}

void TestConfiguration::entriesAreAppliedInListOrder()
{
    QVERIFY(Parse("probe:a", "*=1", "net=2", "*=4"));

    DbgCollector::Start();
    QCOMPARE(MaskFor("net"), 4);
    QVERIFY(Parse("probe:a", "*=1", "*=4", "net=2"));
    QCOMPARE(MaskFor("net"), 2);
    QCOMPARE(MaskFor("disk"), 4);
}

void TestConfiguration::laterWildcardOverwritesEarlierEntries()
{
    const ZolTest::TempDir dir;
    const QByteArray address = QFile::encodeName(QLatin1String("file:") + dir.Path("app.log"));
    QVERIFY(Parse(address.constData(), "net=+DBG_INFO", "*=0x3f"));

    DbgCollector::Start();
    QCOMPARE(MaskFor("net"), 63);
    QCOMPARE(MaskFor("disk"), 63);
}

void TestConfiguration::entryBehindTheWildcardSurvives()
{
    QVERIFY(Parse("probe:a", "*=0x3f", "net=+DBG_INFO"));

    DbgCollector::Start();
    QCOMPARE(MaskFor("net"), 58);
    QCOMPARE(MaskFor("disk"), 63);
}

void TestConfiguration::laterEntryReplacesTheEarlierOneOfItsModule()
{
    QVERIFY(Parse("probe:a", "net=1", "net=2"));

    DbgCollector::Start();
    QCOMPARE(MaskFor("net"), 2);
}

void TestConfiguration::textBehindTheSecondEqualsSignIsDropped()
{
    QVERIFY(Parse("probe:a", "x=+DBG_INFO=junk", "y=1=+DBG_INFO=3", "z==7"));

    DbgCollector::Start();
    QCOMPARE(MaskFor("x"), 58);
    QCOMPARE(MaskFor("y"), 1);
    QCOMPARE(MaskFor("z"), 56);
}

void TestConfiguration::emptyMaskStringIsTheDefaultMask()
{
    QVERIFY(Parse("probe:a", "net=", "disk=  "));

    DbgCollector::Start();
    QCOMPARE(MaskFor("net"), 56);
    QCOMPARE(MaskFor("disk"), 56);
}

void TestConfiguration::maskStringMayHoldSeveralTokens()
{
    QVERIFY(Parse("probe:a", "net=+DBG_INFO,-DBG_FATAL", "disk=+DBG_TRACE,+DBG_DEVEL"));

    DbgCollector::Start();
    QCOMPARE(MaskFor("net"), 26);
    QCOMPARE(MaskFor("disk"), 134217785);
}

void TestConfiguration::maskMayBeANumber()
{
    QVERIFY(Parse("probe:a", "net= 0x4007 ", "disk=10", "x=0"));

    DbgCollector::Start();
    QCOMPARE(MaskFor("net"), 0x4007);
    QCOMPARE(MaskFor("disk"), 10);
    QCOMPARE(MaskFor("x"), 0);
}

void TestConfiguration::moduleNameIsNotTrimmed()
{
    QVERIFY(Parse("probe:a", " net =1"));

    DbgCollector::Start();
    QCOMPARE(MaskFor("net"), 60);
    QCOMPARE(MaskFor(" net "), 1);
}

void TestConfiguration::moduleNameIsCaseSensitive()
{
    QVERIFY(Parse("probe:a", "net=1"));

    DbgCollector::Start();
    QCOMPARE(MaskFor("NET"), 60);
}

void TestConfiguration::emptyModuleNameCreatesTheOutputOnly()
{
    QVERIFY(Parse("probe:a", "=1"));

    DbgCollector::Start();
    QCOMPARE(MaskFor("net"), 60);
    QCOMPARE(ProbeNamed("a").Calls(), List("create:"));
}

void TestConfiguration::oneCallPerOutputConfiguresSeveralOutputs()
{
    QVERIFY(Parse("probe:a", "net=1"));
    QVERIFY(Parse("probe:b", "net=2"));

    DbgCollector::Start();
    QCOMPARE(MaskFor("net"), 3);
    Remove("probe:a");
    QCOMPARE(MaskFor("net"), 2);
}

void TestConfiguration::thirdFieldIsTheOption()
{
    QVERIFY(Parse("probe:a:some option"));

    DbgCollector::Start();
    QCOMPARE(SettledCalls(ProbeNamed("a")), List("create:some option"));
}

void TestConfiguration::fieldsBehindTheOptionAreIgnored()
{
    QVERIFY(Parse("probe:a:option:more:and more"));

    DbgCollector::Start();
    QCOMPARE(SettledCalls(ProbeNamed("a")), List("create:option"));
}

void TestConfiguration::missingFieldsAreEmpty()
{
    QVERIFY(Parse("probe"));

    DbgCollector::Start();
    QCOMPARE(SettledCalls(ProbeNamed("")), List("create:"));
}

void TestConfiguration::emptyServerIsAServer()
{
    QVERIFY(Parse("probe::option"));
    QVERIFY(Parse("probe:"));
    QVERIFY(Parse("probe"));

    DbgCollector::Start();
    QCOMPARE(SettledCalls(ProbeNamed("")), List("create:option"));
}

void TestConfiguration::surroundingWhiteSpaceOfTheAddressIsIgnored()
{
    QVERIFY(Parse("probe:a", "net=1"));
    QVERIFY(Parse(" \t probe:a\n ", "net=2"));

    DbgCollector::Start();
    QCOMPARE(MaskFor("net"), 2);
    QCOMPARE(ProbeNamed("a").Calls(), List("create:"));
}

void TestConfiguration::innerWhiteSpaceOfTheAddressIsShortened()
{
    QVERIFY(Parse("probe:a \t b:x\n\n y"));

    DbgCollector::Start();
    QCOMPARE(SettledCalls(ProbeNamed("a b")), List("create:x y"));
}

void TestConfiguration::whiteSpaceBehindTheColonBelongsToTheServer()
{
    QVERIFY(Parse("probe:a"));
    QVERIFY(Parse("probe:   a: x"));

    DbgCollector::Start();
    QCOMPARE(SettledCalls(ProbeNamed("a")), List("create:"));
    QCOMPARE(SettledCalls(ProbeNamed(" a")), List("create: x"));
}

void TestConfiguration::protocolWithTrailingSpaceIsUnknown()
{
    QVERIFY(Parse("probe :a"));
    QVERIFY(Parse("probe : a"));

    DbgCollector::Start();
    QCOMPARE(MaskFor("net"), 0);
    QCOMPARE(ProbeNamed("a").Calls(), QList<QByteArray>());
    QCOMPARE(ProbeNamed(" a").Calls(), QList<QByteArray>());
}

void TestConfiguration::protocolsAreCaseSensitive()
{
    QVERIFY(Parse("Probe:a"));

    DbgCollector::Start();
    QCOMPARE(SettledCalls(ProbeNamed("a")), QList<QByteArray>());
}

void TestConfiguration::serversAreCaseSensitive()
{
    QVERIFY(Parse("probe:a", "net=1"));
    QVERIFY(Parse("probe:A", "net=2"));

    DbgCollector::Start();
    QCOMPARE(MaskFor("net"), 3);
    QCOMPARE(ProbeNamed("a").Calls(), List("create:"));
    QCOMPARE(ProbeNamed("A").Calls(), List("create:"));
}

void TestConfiguration::addressMayHoldAnyLetters()
{
    QVERIFY(Parse("probe:%1/\xc3\xa9\xe2\x82\xac", "n\xc3\xa9t=1"));

    DbgCollector::Start();
    QCOMPARE(MaskFor("n\xc3\xa9t"), 1);
    QCOMPARE(ProbeNamed("%1/\xc3\xa9\xe2\x82\xac").Calls(), List("create:"));
}

void TestConfiguration::secondEntryReusesTheOutput()
{
    DbgCollector::Start();
    Configure("probe:a", "net", 1);
    QCOMPARE(MaskFor("net"), 1);
    Configure("probe:a", "disk", 2);

    QCOMPARE(MaskFor("disk"), 2);
    QCOMPARE(MaskFor("net"), 1);
    QCOMPARE(ProbeNamed("a").Calls(), List("create:"));
}

void TestConfiguration::optionOfAnExistingOutputIsIgnored()
{
    QVERIFY(Parse("probe:a:first", "net=1"));
    QVERIFY(Parse("probe:a:second", "net=2"));
    QVERIFY(Parse("probe:a", "disk=4"));

    DbgCollector::Start();
    QCOMPARE(MaskFor("net"), 2);
    QCOMPARE(MaskFor("disk"), 4);
    QCOMPARE(ProbeNamed("a").Calls(), List("create:first"));
}

void TestConfiguration::optionOfAnExistingFileIsIgnored()
{
    const ZolTest::TempDir dir;
    const QString address = QLatin1String("file:") + dir.Path("a.log");
    Configure(address, "*", 63);
    Configure("probe:a", "*", 63);
    DbgCollector::Start();
    Log("net", "first");
    // A record is in the file by the time that the probe has it.
    QVERIFY(ProbeNamed("a").WaitFor("first"));
    Configure(address + QLatin1String(":t"), "disk", 63);
    QVERIFY(Settle());
    Log("net", "second");
    QVERIFY(ProbeNamed("a").WaitFor("second"));

    const QByteArray log = ZolTest::ReadFile(QFile::encodeName(dir.Path("a.log")));
    QCOMPARE(ZolTest::MessagesOf(log, "net"), List("first", "second"));
    QCOMPARE(log.count("<DEBUG_SERVER_RESTART/>\n"), 1);
}

void TestConfiguration::sameServerOfTwoProtocolsAreTwoOutputs()
{
    QVERIFY(Parse("probe:a", "net=1"));
    QVERIFY(Parse("alpha:a", "net=2"));

    DbgCollector::Start();
    QCOMPARE(MaskFor("net"), 3);
    QCOMPARE(ProbeNamed("a").Calls(), List("create:"));
    QCOMPARE(Alpha("a").Calls(), List("create:"));
    Remove("probe:a");
    QCOMPARE(MaskFor("net"), 2);
    QCOMPARE(Alpha("a").Calls(), List("create:"));
}

void TestConfiguration::recordsReachOutputsInKeyOrder()
{
    // Written on the collector's thread, and read while nothing more is written.
    static QList<QByteArray> order;
    static QSemaphore written;
    const auto note = [](const char* output) {
        return [output](const QByteArray& bytes) {
            if (bytes.contains("sentinel")) {
                order.append(output);
                written.release();
            }
        };
    };
    for (const char* const server : {"b", "a", "C"}) {
        ProbeNamed(server).SetOnWrite(note(server));
        QVERIFY(Parse((QByteArray("probe:") + server).constData()));
    }
    Alpha("z").SetOnWrite(note("alpha z"));
    QVERIFY(Parse("alpha:z"));
    Log("net", "sentinel");
    DbgCollector::Start();

    QVERIFY(written.tryAcquire(4, ZolTest::WaitBound()));
    const QList<QByteArray> expected = List("alpha z", "C") + List("a", "b");
    QCOMPARE(order, expected);
}

void TestConfiguration::removalDeletesTheOutput()
{
    DbgCollector::Start();
    QVERIFY(Parse("probe:a"));
    QVERIFY(Parse("probe:b"));
    Remove("probe:a");

    QCOMPARE(SettledCalls(ProbeNamed("a")), List("create:", "delete"));
    QCOMPARE(ProbeNamed("b").Calls(), List("create:"));
}

void TestConfiguration::removalIgnoresTheOption()
{
    DbgCollector::Start();
    QVERIFY(Parse("probe:a"));
    Remove("probe:a:whatever");
    QCOMPARE(SettledCalls(ProbeNamed("a")), List("create:", "delete"));

    QVERIFY(Parse("probe:b:option"));
    Remove("probe:b");
    QCOMPARE(SettledCalls(ProbeNamed("b")), List("create:option", "delete"));
}

void TestConfiguration::removalSimplifiesTheAddress()
{
    DbgCollector::Start();
    QVERIFY(Parse("probe:a b"));
    Remove("  probe:a \t b\n");

    QCOMPARE(SettledCalls(ProbeNamed("a b")), List("create:", "delete"));
}

void TestConfiguration::removalDropsTheLevelsOfTheOutput()
{
    QVERIFY(Parse("probe:a", "*=1", "net=2"));
    QVERIFY(Parse("probe:b", "*=4", "net=8"));
    const DebugModule net(QLatin1String("net"));
    const DebugModule disk(QLatin1String("disk"));
    DbgCollector::Start();
    QCOMPARE(SettledMask(net), 10);
    QCOMPARE(MaskOf(disk), 5);

    Remove("probe:b");
    QCOMPARE(SettledMask(net), 2);
    QCOMPARE(MaskOf(disk), 1);
    Remove("probe:a");
    QCOMPARE(SettledMask(net), 0);
    QCOMPARE(MaskOf(disk), 0);
}

void TestConfiguration::removalOfAnUnknownOutputIsIgnored()
{
    QVERIFY(Parse("probe:a", "*=7"));
    DebugModule net(QLatin1String("net"));
    DbgCollector::Start();
    QCOMPARE(SettledMask(net), 7);
    net.SetMask(DBG_FATAL);

    Remove("probe:b");
    Remove("alpha:a");
    Remove("probe:A");
    Remove("probe");
    Remove("probe :a");
    QCOMPARE(SettledMask(net), static_cast<int>(DBG_FATAL));
    QCOMPARE(ProbeNamed("a").Calls(), List("create:"));
}

void TestConfiguration::removalOfAnEmptyAddressIsIgnored()
{
    QVERIFY(Parse("probe:a", "*=7"));
    DbgCollector::Start();
    Remove("");
    DbgCollector::RemoveDebugInterface(QString());
    Remove("  ");

    QCOMPARE(MaskFor("net"), 7);
    QCOMPARE(ProbeNamed("a").Calls(), List("create:"));
}

void TestConfiguration::removalWritesNothing()
{
    Probe& probe = ProbeNamed("a");
    QVERIFY(Parse("probe:a", "*=63"));
    DbgCollector::Start();
    // Behind the table that is written once at the start, nothing but records comes.
    QVERIFY(probe.WaitFor("Dumping metric table"));
    Log("net", "sentinel");
    QVERIFY(probe.WaitFor("sentinel"));
    Remove("probe:a");

    QVERIFY(probe.WaitForCall("delete"));
    QVERIFY(Settle());
    QVERIFY(probe.Bytes().endsWith("<b>sentinel</b></dbg>\n"));
}

void TestConfiguration::removedOutputGetsNoMoreRecords()
{
    Probe& probe = ProbeNamed("a");
    QVERIFY(Parse("probe:a", "*=63"));
    QVERIFY(Parse("probe:b", "*=63"));
    DbgCollector::Start();
    Log("net", "first");
    QVERIFY(probe.WaitFor("first"));
    Remove("probe:a");
    QVERIFY(probe.WaitForCall("delete"));
    Log("net", "second");
    QVERIFY(ProbeNamed("b").WaitFor("second"));

    QCOMPARE(probe.Messages("net"), List("first"));
    QCOMPARE(ProbeNamed("b").Messages("net"), List("first", "second"));
}

void TestConfiguration::outputConfiguredAfterItsRemovalIsNew()
{
    DbgCollector::Start();
    QVERIFY(Parse("probe:a:one", "net=1"));
    QCOMPARE(MaskFor("net"), 1);
    Remove("probe:a");
    QVERIFY(Parse("probe:a:two", "disk=2"));

    QCOMPARE(MaskFor("net"), 60);
    QCOMPARE(MaskFor("disk"), 2);
    QList<QByteArray> expected;
    expected << "create:one"
             << "delete"
             << "create:two";
    QCOMPARE(ProbeNamed("a").Calls(), expected);
}

void TestConfiguration::removalAndConfigurationKeepTheirOrder()
{
    Remove("probe:a");
    QVERIFY(Parse("probe:a:one", "net=1"));
    Remove("probe:a");
    QVERIFY(Parse("probe:a:two", "net=2"));
    QVERIFY(Parse("probe:b", "net=4"));
    Remove("probe:b");

    DbgCollector::Start();
    QCOMPARE(MaskFor("net"), 2);
    QList<QByteArray> expected;
    expected << "create:one"
             << "delete"
             << "create:two";
    QCOMPARE(ProbeNamed("a").Calls(), expected);
    QCOMPARE(ProbeNamed("b").Calls(), List("create:", "delete"));
}

void TestConfiguration::fileIsReachedWithAndWithoutWhiteSpaceAndOption()
{
    const ZolTest::TempDir dir;
    const QString address = QLatin1String("file:") + dir.Path("a.log");
    DbgCollector::Start();
    Configure(address, "net", 1);
    QCOMPARE(MaskFor("net"), 1);
    Configure(QLatin1String("  ") + address + QLatin1Char(' '), "net", 2);
    QCOMPARE(MaskFor("net"), 2);
    DbgCollector::RemoveDebugInterface(address + QLatin1String(":whatever"));
    QCOMPARE(MaskFor("net"), 0);

    const QByteArray log = ZolTest::ReadFile(QFile::encodeName(dir.Path("a.log")));
    QCOMPARE(log.count("<DEBUG_SERVER_RESTART/>\n"), 1);
}

void TestConfiguration::fileProtocolWithTrailingSpaceMakesNoFile()
{
    const ZolTest::TempDir dir;
    DbgCollector::Start();
    Configure(QLatin1String("file :") + dir.Path("a.log"), "net", 1);

    QCOMPARE(MaskFor("net"), 0);
    QVERIFY(!QFile::exists(dir.Path("a.log")));
}

void TestConfiguration::entryForAnUnknownProtocolChangesNoMask()
{
    QVERIFY(Parse("probe:a", "*=7"));
    DebugModule net(QLatin1String("net"));
    DbgCollector::Start();
    QCOMPARE(SettledMask(net), 7);
    net.SetMask(DBG_FATAL);

    QVERIFY(Parse("unknown:a", "net=63", "*=63"));
    QCOMPARE(SettledMask(net), static_cast<int>(DBG_FATAL));
    QCOMPARE(MaskFor("disk"), 7);
}

void TestConfiguration::failedConstructionIsRetriedByEachEntry()
{
    QVERIFY(Parse("reluctant:a", "net=1", "disk=2", "*=3"));

    DbgCollector::Start();
    QCOMPARE(MaskFor("net"), 0);
    QCOMPARE(reluctant_factory.m_tries.load(), 3);
    QVERIFY(Parse("reluctant:a"));
    QVERIFY(Settle());
    QCOMPARE(reluctant_factory.m_tries.load(), 4);
}

void TestConfiguration::entriesOfFailedConstructionsAreDropped()
{
    QVERIFY(Parse("reluctant:a:one", "net=1"));
    DbgCollector::Start();
    QCOMPARE(MaskFor("net"), 0);

    reluctant_factory.m_willing = true;
    QVERIFY(Parse("reluctant:a:two", "disk=2"));
    QVERIFY(Parse("reluctant:a:three", "io=4"));
    QCOMPARE(MaskFor("net"), 60);
    QCOMPARE(MaskFor("disk"), 2);
    QCOMPARE(MaskFor("io"), 4);
    QCOMPARE(reluctant_factory.m_tries.load(), 2);
    QCOMPARE(ProbeNamed("a").Calls(), List("create:two"));
}

void TestConfiguration::unknownProtocolIsReportedForEachEntry()
{
    QStringList arguments;
    arguments << QLatin1String("list") << QLatin1String("nope:a|net=1|disk=2")
              << QLatin1String("list") << QLatin1String("nope:a");

    QCOMPARE(PrintedFor(arguments),
             UnknownProtocol("nope") + UnknownProtocol("nope") + UnknownProtocol("nope"));
}

void TestConfiguration::outputIsReportedOnceHoweverManyEntriesItHas()
{
    QStringList arguments;
    arguments << QLatin1String("list") << QLatin1String("probe:a:x|net=1|disk=2")
              << QLatin1String("list") << QLatin1String("probe:a:y");

    QCOMPARE(PrintedFor(arguments), Created("probe", "a", "x"));
}

void TestConfiguration::emptyAddressReportsNothing()
{
    QStringList arguments;
    arguments << QLatin1String("list") << QString() << QLatin1String("remove") << QString();

    QCOMPARE(PrintedFor(arguments), QByteArray());
}

void TestConfiguration::blankAddressHasAnEmptyProtocol()
{
    QStringList arguments;
    arguments << QLatin1String("list") << QLatin1String("  ") << QLatin1String("list")
              << QLatin1String(":a:b");

    QCOMPARE(PrintedFor(arguments), UnknownProtocol("") + UnknownProtocol(""));
}

void TestConfiguration::unusualAddressesAreReportedAsTheyWereSplit()
{
    QStringList arguments;
    arguments << QLatin1String("list") << QLatin1String("file : /tmp/a.log")
              << QLatin1String("list") << QLatin1String("File:/tmp/a.log") << QLatin1String("list")
              << QLatin1String(" probe: a  b : c\td : e ") << QLatin1String("list")
              << QLatin1String("probe:%2:%1");

    QCOMPARE(PrintedFor(arguments), UnknownProtocol("file ") + UnknownProtocol("File") +
                                        Created("probe", " a b ", " c d ") +
                                        Created("probe", "%2", "%1"));
}

void TestConfiguration::removalReportsNothing()
{
    QStringList arguments;
    arguments << QLatin1String("remove") << QLatin1String("probe:a") << QLatin1String("remove")
              << QLatin1String("nope:a") << QLatin1String("list") << QLatin1String("probe:a")
              << QLatin1String("remove") << QLatin1String("probe:a:x") << QLatin1String("remove")
              << QLatin1String("probe:a");

    QCOMPARE(PrintedFor(arguments), Created("probe", "a", ""));
}

void TestConfiguration::singleEntryTakesAnyMask()
{
    DbgCollector::Start();
    Configure("probe:a", "net", 0x7fffffff);
    QCOMPARE(MaskFor("net"), 0x7fffffff);
    Configure("probe:a", "net", 0x40008000);
    QCOMPARE(MaskFor("net"), 0x40008000);
    Configure("probe:a", "net", 0);
    QCOMPARE(MaskFor("net"), 0);
}

void TestConfiguration::singleEntryTakesAnyModuleName()
{
    DbgCollector::Start();
    Configure("probe:a", "a=b", 1);
    Configure("probe:a", "c:d", 2);
    Configure("probe:a", "  x  y ", 4);

    QCOMPARE(MaskFor("a=b"), 1);
    QCOMPARE(MaskFor("c:d"), 2);
    QCOMPARE(MaskFor("  x  y "), 4);
    QCOMPARE(MaskFor("x y"), 60);
}

void TestConfiguration::singleEntryWithEmptyModuleCreatesTheOutput()
{
    DbgCollector::Start();
    Configure("probe:a:x", "", 1);

    QCOMPARE(MaskFor("net"), 60);
    QCOMPARE(ProbeNamed("a").Calls(), List("create:x"));
}

void TestConfiguration::singleEntryWithEmptyAddressIsIgnored()
{
    DbgCollector::Start();
    Configure("", "*", 63);
    Configure(QString(), "net", 63);

    QCOMPARE(MaskFor("net"), 0);
}

void TestConfiguration::wildcardEntryReachesEveryModule()
{
    QVERIFY(Parse("probe:a", "net=1", "disk=2"));
    const DebugModule net(QLatin1String("net"));
    const DebugModule disk(QLatin1String("disk"));
    const DebugModule io(QLatin1String("io"));
    DbgCollector::Start();
    QCOMPARE(SettledMask(io), 60);

    Configure("probe:a", "*", 8);
    QCOMPARE(SettledMask(net), 8);
    QCOMPARE(MaskOf(disk), 8);
    QCOMPARE(MaskOf(io), 8);
}

void TestConfiguration::configurationBeforeStartIsInForceForTheFirstMessage()
{
    Log("net", "first", DBG_INFO);
    Log("disk", "second", DBG_INFO);
    QVERIFY(Parse("probe:a", "*=2", "disk=8"));
    Log("net", "last", DBG_INFO);
    DbgCollector::Start();

    QVERIFY(ProbeNamed("a").WaitFor("last"));
    QCOMPARE(ProbeNamed("a").Messages("net"), List("first", "last"));
    QCOMPARE(ProbeNamed("a").Messages("disk"), QList<QByteArray>());
}

void TestConfiguration::configurationOfARunningCollectorTakesEffect()
{
    DbgCollector::Start();
    QVERIFY(Parse("probe:a", "*=2"));
    QVERIFY(Settle());
    Log("net", "first", DBG_INFO);
    QVERIFY(ProbeNamed("a").WaitFor("first"));
    QVERIFY(Parse("probe:a", "*=8"));
    QVERIFY(Settle());
    Log("net", "second", DBG_INFO);
    Log("net", "third", DBG_ERROR);
    QVERIFY(ProbeNamed("a").WaitFor("third"));

    QCOMPARE(ProbeNamed("a").Messages("net"), List("first", "third"));
}

void TestConfiguration::configurationAfterStopIsHarmless()
{
    QVERIFY(Parse("probe:a", "net=1"));
    DbgCollector::Start();
    DbgCollector::Stop();

    QVERIFY(Parse("probe:b"));
    QVERIFY(!Parse("probe:b", "net"));
    Remove("probe:a");
    QCOMPARE(ProbeNamed("a").Calls(), List("create:"));
    QCOMPARE(ProbeNamed("b").Calls(), QList<QByteArray>());
}

void TestConfiguration::configurationComesFromAnyThread()
{
    QMutex mutex;
    int accepted = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.push_back(std::thread([i, &mutex, &accepted] {
            const QByteArray address = "probe:" + QByteArray::number(i % 4);
            for (int round = 0; round < 50; ++round) {
                const QByteArray entry =
                    "module" + QByteArray::number(i) + '=' + QByteArray::number(round + 1);
                const bool taken = Parse(address.constData(), entry.constData(), "*x=1");
                Remove("probe:temporary");
                Configure("probe:temporary", "*", 0);
                QMutexLocker lock(&mutex);
                accepted += taken ? 1 : 0;
            }
        }));
        if (i == 4)
            DbgCollector::Start();
    }
    for (std::thread& thread : threads)
        thread.join();
    QCOMPARE(accepted, 8 * 50);
    Remove("probe:temporary");

    // Three of the four outputs have no entry for the module and want its 60.
    QVERIFY(Settle());
    for (int i = 0; i < 4; ++i)
        QCOMPARE(ProbeNamed(QByteArray::number(i).constData()).Calls(), List("create:"));
    for (int i = 1; i < 4; ++i)
        Remove(("probe:" + QByteArray::number(i)).constData());
    QCOMPARE(MaskFor("module0"), 50);
    QCOMPARE(MaskFor("module4"), 50);
    QCOMPARE(MaskFor("module1"), 60);
}

QTEST_MAIN(TestConfiguration)

#include "tst_configuration.moc"
