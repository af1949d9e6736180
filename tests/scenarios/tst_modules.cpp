#include "dbg_collector.h"
#include "dbg_module.h"
#include "module_masks.h"
#include "module_place.h"
#include "probe.h"
#include "wait.h"

#include <QtCore/QSemaphore>
#include <QtCore/QVector>
#include <QtTest/QtTest>

#include <atomic>
#include <memory>
#include <thread>
#include <type_traits>
#include <vector>

using namespace Zol;
using ZolTest::MaskOf;
using ZolTest::ModulePlace;
using ZolTest::Probe;
using ZolTest::Settle;
using ZolTest::SettledMask;

namespace {

const int birth_mask = 63;

DebugLevel Mask(int bits)
{
    return static_cast<DebugLevel>(bits);
}

void Configure(const char* address, const char* module, int mask)
{
    DbgCollector::CollectCfgMsg(QLatin1String(address), QLatin1String(module), Mask(mask));
}

/**
 * Holds the collector's thread inside the creation of an output that wants nothing. Everything
 * posted meanwhile is pending together when the thread goes on.
 */
class CollectorHold
{
public:
    explicit CollectorHold(const char* name)
        : m_gate(std::make_shared<Gate>())
    {
        const std::shared_ptr<Gate> gate = m_gate;
        Probe::Get(QLatin1String(name)).SetOnCall([gate](const QByteArray& call) {
            if (call.startsWith("create:")) {
                gate->entered.release();
                gate->leave.tryAcquire(1, ZolTest::WaitBound());
            }
        });
        DbgCollector::CollectCfgMsg(QLatin1String("probe:") + QLatin1String(name),
                                    QLatin1String("*"), Mask(0));
    }

    ~CollectorHold() { Release(); }

    /** Waits until the collector's thread is held. */
    bool Await() { return m_gate->entered.tryAcquire(1, ZolTest::WaitBound()); }

    void Release() { m_gate->leave.release(); }

private:
    struct Gate
    {
        QSemaphore entered;
        QSemaphore leave;
    };

    std::shared_ptr<Gate> m_gate;
};

// The levels that tell two identifiers apart; a new module has none of them.
const int even_levels = DBG_MEMORY_ALLOC | DBG_TIME_TRACE;
const int odd_levels = DBG_MEMORY_FREE | DBG_LOAD;

/** Builds and destroys modules of two identifiers in turn at one address. */
void BuildModules(int count, std::atomic<int>& foreign_masks)
{
    ModulePlace place;
    for (int i = 0; i < count; ++i) {
        const bool even = i % 2 == 0;
        DebugModule* const module = place.Build(even ? "even" : "odd");
        std::this_thread::yield();
        if (!module->LvlDisabled(Mask(even ? odd_levels : even_levels)))
            ++foreign_masks;
        place.Destroy(module);
        if (!place.Untouched())
            ++foreign_masks;
    }
}

} // namespace

class TestModules : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();

    void newModuleLetsTheSixOrdinaryLevelsPass();
    void everyLevelIsTestedByItself();
    void zeroMaskDisablesEveryLevel();
    void setMaskReplacesTheMask();
    void combinationPassesIfOneOfItsLevelsDoes();
    void noLevelIsAlwaysDisabled();
    void maskMayHoldBitsWithoutLevel();
    void identifierIsCopied();
    void modulesCannotBeCopiedOrBuiltWithoutIdentifier();

    void maskStaysAtBirthUntilTheCollectorRuns();
    void maskStaysAtBirthIfTheCollectorStopsBeforeItStarts();
    void moduleBuiltAfterStopKeepsItsBirthMask();
    void stopLeavesMasksAlone();
    void moduleFollowsTheWildcardOfTheOnlyOutput();
    void outputWithoutEntryOrWildcardWantsFourLevels();
    void registrationBeforeStartGetsTheMaskOfTheOutputs();
    void runningCollectorWithoutOutputsSilencesModules();
    void firstConfigurationEntryWakesItsModule();
    void entryForAnotherModuleWakesNothing();
    void maskIsTheUnionOfAllOutputs();
    void entryChangesEveryModuleOfItsIdentifier();
    void identifiersAreCaseSensitive();
    void entryForOneModuleRecomputesNoOther();
    void wildcardEntryRecomputesEveryModule();
    void registrationRecomputesModulesOfItsIdentifierOnly();
    void moduleNamedLikeTheWildcardRecomputesEveryModule();
    void moduleWithEmptyIdentifierIsSilent();
    void deregistrationChangesNoMask();
    void deregisteredModuleKeepsItsMask();
    void oneDeregistrationUndoesTwoRegistrations();
    void moduleCanRegisterAgain();
    void deregistrationLeavesModulesOfTheSameIdentifier();

    void moduleDestroyedBeforeStartIsNeverTouched();
    void moduleDestroyedBeforeItsRegistrationIsHandledIsNeverTouched();
    void configurationOvertakingADeregistrationTouchesNoDeadModule();
    void moduleAtTheAddressOfAnotherBeforeStartGetsItsOwnMask();
    void moduleAtTheAddressOfAnotherIsLeftAloneUntilItIsRegistered();
    void moduleRebuiltAtItsAddressFollowsItsIdentifier();
    void modulesComeAndGoOnManyThreadsWhileConfigurationFlies();

    void suspendedOutputsSilenceModules();
};

void TestModules::cleanup()
{
    DbgCollector::Stop();
}

void TestModules::newModuleLetsTheSixOrdinaryLevelsPass()
{
    const DebugModule module(QLatin1String("net"));

    QVERIFY(!module.LvlDisabled(DBG_INFO));
    QVERIFY(module.LvlDisabled(DBG_TIME_TRACE));
    QCOMPARE(MaskOf(module), 63);
}

void TestModules::everyLevelIsTestedByItself()
{
    const DebugLevel levels[] = {DBG_TRACE,      DBG_INFO,  DBG_WARN,         DBG_ERROR,
                                 DBG_CRITICAL,   DBG_FATAL, DBG_MEMORY_ALLOC, DBG_MEMORY_FREE,
                                 DBG_TIME_TRACE, DBG_LOAD,  DBG_CONF,         DBG_JITTER,
                                 DBG_ACCOUNTING, DBG_EVENT, DBG_CONT_LOG,     DBG_DEVEL};
    DebugModule module(QLatin1String("net"));
    for (const DebugLevel enabled : levels) {
        module.SetMask(enabled);
        for (const DebugLevel tested : levels)
            QCOMPARE(module.LvlDisabled(tested), tested != enabled);
    }
}

void TestModules::zeroMaskDisablesEveryLevel()
{
    DebugModule module(QLatin1String("net"));
    module.SetMask(Mask(0));

    QCOMPARE(MaskOf(module), 0);
    QVERIFY(module.LvlDisabled(Mask(0x7fffffff)));
}

void TestModules::setMaskReplacesTheMask()
{
    DebugModule module(QLatin1String("net"));
    module.SetMask(DBG_ERROR);
    QCOMPARE(MaskOf(module), static_cast<int>(DBG_ERROR));

    module.SetMask(DBG_INFO);
    QCOMPARE(MaskOf(module), static_cast<int>(DBG_INFO));
}

void TestModules::combinationPassesIfOneOfItsLevelsDoes()
{
    DebugModule module(QLatin1String("net"));
    module.SetMask(DBG_ERROR);

    QVERIFY(!module.LvlDisabled(DBG_ERROR | DBG_INFO));
    QVERIFY(module.LvlDisabled(DBG_WARN | DBG_INFO));
}

void TestModules::noLevelIsAlwaysDisabled()
{
    DebugModule module(QLatin1String("net"));
    module.SetMask(Mask(0x7fffffff));

    QVERIFY(module.LvlDisabled(Mask(0)));
}

void TestModules::maskMayHoldBitsWithoutLevel()
{
    DebugModule module(QLatin1String("net"));
    module.SetMask(Mask(0x7fffffff));
    QCOMPARE(MaskOf(module), 0x7fffffff);

    module.SetMask(Mask(0x40008000));
    QVERIFY(!module.LvlDisabled(Mask(0x8000)));
    QVERIFY(module.LvlDisabled(DBG_CONT_LOG));
}

void TestModules::identifierIsCopied()
{
    QString id = QString::fromUtf8("n\xc3\xa9t <1>");
    const DebugModule module(id);
    id = QLatin1String("changed");

    QCOMPARE(module.Id(), QString::fromUtf8("n\xc3\xa9t <1>"));
    QCOMPARE(DebugModule(QString()).Id(), QString());
}

void TestModules::modulesCannotBeCopiedOrBuiltWithoutIdentifier()
{
    QVERIFY(!std::is_copy_constructible<DebugModule>::value);
    QVERIFY(!std::is_copy_assignable<DebugModule>::value);
    QVERIFY(!std::is_move_constructible<DebugModule>::value);
    QVERIFY(!std::is_default_constructible<DebugModule>::value);
}

void TestModules::maskStaysAtBirthUntilTheCollectorRuns()
{
    Configure("probe:a", "*", 56);
    const DebugModule module(QLatin1String("net"));
    QCOMPARE(MaskOf(module), birth_mask);

    DbgCollector::Start();
    QCOMPARE(SettledMask(module), 56);
}

void TestModules::maskStaysAtBirthIfTheCollectorStopsBeforeItStarts()
{
    Configure("probe:a", "*", 1);
    const DebugModule module(QLatin1String("net"));
    DbgCollector::Stop();
    DbgCollector::Start();

    QCOMPARE(MaskOf(module), birth_mask);
}

void TestModules::moduleBuiltAfterStopKeepsItsBirthMask()
{
    Configure("probe:a", "*", 1);
    DbgCollector::Start();
    DbgCollector::Stop();

    const DebugModule module(QLatin1String("net"));
    QCOMPARE(MaskOf(module), birth_mask);
}

void TestModules::stopLeavesMasksAlone()
{
    Configure("probe:a", "*", 5);
    const DebugModule module(QLatin1String("net"));
    DbgCollector::Start();
    QCOMPARE(SettledMask(module), 5);
    DbgCollector::Stop();

    QCOMPARE(MaskOf(module), 5);
}

void TestModules::moduleFollowsTheWildcardOfTheOnlyOutput()
{
    DbgCollector::Start();
    Configure("probe:a", "*", 56);
    const DebugModule module(QLatin1String("net"));

    QCOMPARE(SettledMask(module), 56);
    QVERIFY(module.LvlDisabled(DBG_INFO));
}

void TestModules::outputWithoutEntryOrWildcardWantsFourLevels()
{
    DbgCollector::Start();
    Configure("probe:a", "disk", 1);
    const DebugModule module(QLatin1String("net"));

    QCOMPARE(SettledMask(module), 60);
}

void TestModules::registrationBeforeStartGetsTheMaskOfTheOutputs()
{
    const DebugModule net(QLatin1String("net"));
    const DebugModule disk(QLatin1String("disk"));
    Configure("probe:a", "*", 8);
    Configure("probe:a", "net", 2);
    DbgCollector::Start();

    QCOMPARE(SettledMask(net), 2);
    QCOMPARE(SettledMask(disk), 8);
}

void TestModules::runningCollectorWithoutOutputsSilencesModules()
{
    const DebugModule early(QLatin1String("early"));
    DbgCollector::Start();
    QCOMPARE(SettledMask(early), 0);

    const DebugModule late(QLatin1String("late"));
    QCOMPARE(SettledMask(late), 0);
}

void TestModules::firstConfigurationEntryWakesItsModule()
{
    DbgCollector::Start();
    const DebugModule module(QLatin1String("net"));
    QCOMPARE(SettledMask(module), 0);

    Configure("probe:a", "net", 58);
    QCOMPARE(SettledMask(module), 58);
}

void TestModules::entryForAnotherModuleWakesNothing()
{
    DbgCollector::Start();
    const DebugModule module(QLatin1String("net"));
    QCOMPARE(SettledMask(module), 0);

    Configure("probe:a", "disk", 58);
    QCOMPARE(SettledMask(module), 0);
    Configure("probe:a", "*", 57);
    QCOMPARE(SettledMask(module), 57);
}

void TestModules::maskIsTheUnionOfAllOutputs()
{
    Configure("probe:a", "*", 56);
    Configure("probe:a", "net", 58);
    Configure("probe:b", "*", 1);
    const DebugModule net(QLatin1String("net"));
    const DebugModule disk(QLatin1String("disk"));
    DbgCollector::Start();
    QCOMPARE(SettledMask(net), 59);
    QCOMPARE(SettledMask(disk), 57);

    DbgCollector::RemoveDebugInterface(QLatin1String("probe:b"));
    QCOMPARE(SettledMask(net), 58);
    QCOMPARE(SettledMask(disk), 56);

    DbgCollector::RemoveDebugInterface(QLatin1String("probe:a"));
    QCOMPARE(SettledMask(net), 0);
    QCOMPARE(SettledMask(disk), 0);
}

void TestModules::entryChangesEveryModuleOfItsIdentifier()
{
    Configure("probe:a", "*", 56);
    const DebugModule first(QLatin1String("io"));
    const DebugModule second(QLatin1String("io"));
    DbgCollector::Start();

    Configure("probe:a", "io", 3);
    QCOMPARE(SettledMask(first), 3);
    QCOMPARE(MaskOf(second), 3);

    Configure("probe:a", "net", 4);
    QCOMPARE(SettledMask(first), 3);
    QCOMPARE(MaskOf(second), 3);
}

void TestModules::identifiersAreCaseSensitive()
{
    Configure("probe:a", "*", 56);
    Configure("probe:a", "net", 1);
    const DebugModule module(QLatin1String("Net"));
    DbgCollector::Start();

    QCOMPARE(SettledMask(module), 56);
}

void TestModules::entryForOneModuleRecomputesNoOther()
{
    Configure("probe:a", "*", 56);
    DebugModule net(QLatin1String("net"));
    DebugModule disk(QLatin1String("disk"));
    DbgCollector::Start();
    QVERIFY(Settle());
    net.SetMask(Mask(5));
    disk.SetMask(Mask(5));

    Configure("probe:a", "net", 1);
    QCOMPARE(SettledMask(net), 1);
    QCOMPARE(MaskOf(disk), 5);
}

void TestModules::wildcardEntryRecomputesEveryModule()
{
    Configure("probe:a", "*", 56);
    DebugModule net(QLatin1String("net"));
    DebugModule disk(QLatin1String("disk"));
    DebugModule other_disk(QLatin1String("disk"));
    DbgCollector::Start();
    QVERIFY(Settle());

    Configure("probe:a", "*", 9);
    QCOMPARE(SettledMask(net), 9);
    QCOMPARE(MaskOf(disk), 9);
    QCOMPARE(MaskOf(other_disk), 9);
}

void TestModules::registrationRecomputesModulesOfItsIdentifierOnly()
{
    Configure("probe:a", "*", 56);
    DebugModule net(QLatin1String("net"));
    DebugModule disk(QLatin1String("disk"));
    DbgCollector::Start();
    QVERIFY(Settle());
    net.SetMask(Mask(5));
    disk.SetMask(Mask(5));

    const DebugModule second_net(QLatin1String("net"));
    QCOMPARE(SettledMask(second_net), 56);
    QCOMPARE(MaskOf(net), 56);
    QCOMPARE(MaskOf(disk), 5);
}

void TestModules::moduleNamedLikeTheWildcardRecomputesEveryModule()
{
    Configure("probe:a", "*", 56);
    Configure("probe:a", "net", 7);
    DebugModule net(QLatin1String("net"));
    DbgCollector::Start();
    QVERIFY(Settle());
    net.SetMask(Mask(1));

    const DebugModule star(QLatin1String("*"));
    QCOMPARE(SettledMask(star), 56);
    QCOMPARE(MaskOf(net), 7);
}

void TestModules::moduleWithEmptyIdentifierIsSilent()
{
    Configure("probe:a", "*", 63);
    Configure("probe:a", "", 63);
    const DebugModule empty(QLatin1String(""));
    const DebugModule null((QString()));
    const DebugModule net(QLatin1String("net"));
    DbgCollector::Start();
    QCOMPARE(SettledMask(net), 63);
    QCOMPARE(MaskOf(empty), 0);
    QCOMPARE(MaskOf(null), 0);

    Configure("probe:a", "*", 31);
    Configure("probe:a", "", 31);
    QCOMPARE(SettledMask(net), 31);
    QCOMPARE(MaskOf(empty), 0);
    QCOMPARE(MaskOf(null), 0);
}

void TestModules::deregistrationChangesNoMask()
{
    Configure("probe:a", "*", 56);
    DebugModule staying(QLatin1String("net"));
    DebugModule other(QLatin1String("disk"));
    std::unique_ptr<DebugModule> leaving(new DebugModule(QLatin1String("net")));
    DbgCollector::Start();
    QVERIFY(Settle());
    staying.SetMask(Mask(5));
    other.SetMask(Mask(5));

    leaving.reset();
    QCOMPARE(SettledMask(staying), 5);
    QCOMPARE(MaskOf(other), 5);
}

void TestModules::deregisteredModuleKeepsItsMask()
{
    Configure("probe:a", "*", 56);
    DebugModule module(QLatin1String("net"));
    DbgCollector::Start();
    QCOMPARE(SettledMask(module), 56);

    DbgCollector::DeRegisterModule(&module);
    QCOMPARE(SettledMask(module), 56);
    Configure("probe:a", "*", 1);
    QCOMPARE(SettledMask(module), 56);
}

void TestModules::oneDeregistrationUndoesTwoRegistrations()
{
    Configure("probe:a", "*", 56);
    DebugModule module(QLatin1String("net"));
    DbgCollector::RegisterModule(&module);
    DbgCollector::Start();
    QCOMPARE(SettledMask(module), 56);

    DbgCollector::DeRegisterModule(&module);
    QVERIFY(Settle());
    Configure("probe:a", "net", 1);
    Configure("probe:a", "*", 2);
    QCOMPARE(SettledMask(module), 56);
}

void TestModules::moduleCanRegisterAgain()
{
    Configure("probe:a", "*", 56);
    DebugModule module(QLatin1String("net"));
    DbgCollector::Start();
    DbgCollector::DeRegisterModule(&module);
    QVERIFY(Settle());
    Configure("probe:a", "*", 1);
    QCOMPARE(SettledMask(module), 56);

    DbgCollector::RegisterModule(&module);
    QCOMPARE(SettledMask(module), 1);
    Configure("probe:a", "*", 2);
    QCOMPARE(SettledMask(module), 2);
}

void TestModules::deregistrationLeavesModulesOfTheSameIdentifier()
{
    Configure("probe:a", "*", 56);
    const DebugModule staying(QLatin1String("net"));
    std::unique_ptr<DebugModule> leaving(new DebugModule(QLatin1String("net")));
    DbgCollector::Start();
    QVERIFY(Settle());
    leaving.reset();

    Configure("probe:a", "net", 3);
    QCOMPARE(SettledMask(staying), 3);
}

void TestModules::moduleDestroyedBeforeStartIsNeverTouched()
{
    ModulePlace place;
    Configure("probe:a", "*", 56);
    place.Destroy(place.Build("net"));
    DbgCollector::Start();

    QVERIFY(Settle());
    Configure("probe:a", "net", 1);
    Configure("probe:a", "*", 2);
    QVERIFY(Settle());
    QVERIFY(place.Untouched());
}

void TestModules::moduleDestroyedBeforeItsRegistrationIsHandledIsNeverTouched()
{
    ModulePlace place;
    DbgCollector::Start();
    CollectorHold hold("hold");
    QVERIFY(hold.Await());
    place.Destroy(place.Build("net"));
    Configure("probe:a", "net", 1);
    hold.Release();

    QVERIFY(Settle());
    QVERIFY(place.Untouched());
}

void TestModules::configurationOvertakingADeregistrationTouchesNoDeadModule()
{
    ModulePlace place;
    Configure("probe:a", "*", 56);
    DebugModule* const module = place.Build("net");
    DbgCollector::Start();
    QCOMPARE(SettledMask(*module), 56);

    CollectorHold hold("hold");
    QVERIFY(hold.Await());
    place.Destroy(module);
    Configure("probe:a", "net", 1);
    Configure("probe:a", "*", 2);
    DbgCollector::RemoveDebugInterface(QLatin1String("probe:a"));
    hold.Release();

    QVERIFY(Settle());
    QVERIFY(place.Untouched());
}

void TestModules::moduleAtTheAddressOfAnotherBeforeStartGetsItsOwnMask()
{
    ModulePlace place;
    Configure("probe:a", "old", 1);
    Configure("probe:a", "new", 2);
    place.Destroy(place.Build("old"));
    DebugModule* const module = place.Build("new");
    DbgCollector::Start();
    QCOMPARE(SettledMask(*module), 2);

    Configure("probe:a", "old", 4);
    QCOMPARE(SettledMask(*module), 2);
    Configure("probe:a", "new", 8);
    QCOMPARE(SettledMask(*module), 8);
    place.Destroy(module);
}

void TestModules::moduleAtTheAddressOfAnotherIsLeftAloneUntilItIsRegistered()
{
    ModulePlace place;
    Configure("probe:a", "old", 1);
    Configure("probe:a", "new", 2);
    DebugModule* const old_module = place.Build("old");
    DbgCollector::Start();
    QCOMPARE(SettledMask(*old_module), 1);

    CollectorHold before("before");
    QVERIFY(before.Await());
    place.Destroy(old_module);
    DebugModule* const module = place.Build("new");
    Configure("probe:a", "old", 4);
    Configure("probe:a", "*", 8);
    Configure("probe:a", "new", 16);
    CollectorHold between("between");
    before.Release();

    // The configuration is in force now, the two registrations are still to come.
    QVERIFY(between.Await());
    QCOMPARE(MaskOf(*module), birth_mask);
    between.Release();
    QCOMPARE(SettledMask(*module), 16);
    Configure("probe:a", "old", 4);
    QCOMPARE(SettledMask(*module), 16);
    place.Destroy(module);
}

void TestModules::moduleRebuiltAtItsAddressFollowsItsIdentifier()
{
    ModulePlace place;
    Configure("probe:a", "net", 1);
    DebugModule* module = place.Build("net");
    DbgCollector::Start();
    QCOMPARE(SettledMask(*module), 1);

    CollectorHold hold("hold");
    QVERIFY(hold.Await());
    place.Destroy(module);
    module = place.Build("net");
    hold.Release();
    QCOMPARE(SettledMask(*module), 1);
    Configure("probe:a", "net", 2);
    QCOMPARE(SettledMask(*module), 2);
    place.Destroy(module);
}

void TestModules::modulesComeAndGoOnManyThreadsWhileConfigurationFlies()
{
    Configure("probe:a", "even", even_levels);
    Configure("probe:a", "odd", odd_levels);
    const DebugModule even(QLatin1String("even"));
    const DebugModule odd(QLatin1String("odd"));

    std::atomic<int> foreign_masks(0);
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.push_back(std::thread([&foreign_masks] { BuildModules(3000, foreign_masks); }));
    for (int i = 0; i < 600; ++i) {
        if (i == 100)
            DbgCollector::Start();
        Configure("probe:a", "even", i % 2 ? DBG_MEMORY_ALLOC : DBG_TIME_TRACE);
        Configure("probe:a", "odd", i % 2 ? DBG_MEMORY_FREE : DBG_LOAD);
        Configure("probe:b", "*", i % 64);
        if (i % 20 == 0)
            DbgCollector::RemoveDebugInterface(QLatin1String("probe:b"));
        std::this_thread::yield();
    }
    for (std::thread& thread : threads)
        thread.join();
    QCOMPARE(foreign_masks.load(), 0);

    DbgCollector::RemoveDebugInterface(QLatin1String("probe:b"));
    Configure("probe:a", "even", even_levels);
    Configure("probe:a", "odd", odd_levels);
    QCOMPARE(SettledMask(even), even_levels);
    QCOMPARE(SettledMask(odd), odd_levels);
}

void TestModules::suspendedOutputsSilenceModules()
{
    Probe& probe = Probe::Get(QLatin1String("a"));
    probe.SetSwitchesMasks(true);
    probe.SetMasksChange(true);
    Configure("probe:a", "*", 56);
    Configure("probe:a", "net", 58);
    Configure("probe:b", "*", 1);
    const DebugModule net(QLatin1String("net"));
    DbgCollector::Start();
    QCOMPARE(SettledMask(net), 59);

    DbgCollector::SendLoggingPause();
    QVERIFY(probe.WaitForCall("suspend"));
    QCOMPARE(SettledMask(net), 1);
    DbgCollector::RemoveDebugInterface(QLatin1String("probe:b"));
    QCOMPARE(SettledMask(net), 0);
    const DebugModule disk(QLatin1String("disk"));
    QCOMPARE(SettledMask(disk), 0);

    DbgCollector::SendLoggingResume();
    QVERIFY(probe.WaitForCall("resume"));
    QCOMPARE(SettledMask(net), 58);
    QCOMPARE(MaskOf(disk), 56);
}

QTEST_MAIN(TestModules)

#include "tst_modules.moc"
