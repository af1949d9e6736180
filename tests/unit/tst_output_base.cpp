#include "dbg_msg_details.h"
#include "dbg_server_interface.h"
#include "host_process.h"
#include "log_record.h"
#include "temp_dir.h"

#include <QtCore/QBuffer>
#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QMetaMethod>
#include <QtCore/QMetaObject>
#include <QtCore/QThread>
#include <QtTest/QtTest>

#include <cstddef>
#include <memory>
#include <new>
#include <type_traits>

#include <unistd.h>

using namespace Zol;

namespace {

typedef DbgServerInterface::ModuleStatusMap ModuleStatusMap;

const char restart[] = "<DEBUG_SERVER_RESTART/>\n";

QString Text(const char* text)
{
    return QString::fromUtf8(text);
}

DebugLevel Mask(int mask)
{
    return static_cast<DebugLevel>(mask);
}

/** What became of a device and of what was written to it. */
struct Sink
{
    Sink()
        : deletions(0)
        , space(-1)
        , most_per_write(-1)
        , refusal(-1)
    {
    }

    QByteArray bytes;
    QList<QByteArray> writes;
    int deletions;
    qint64 space;          ///< how many bytes still fit in; negative for any number
    qint64 most_per_write; ///< how many bytes one write takes; negative for any number
    qint64 refusal;        ///< what a write returns that takes nothing
};

class TestDevice : public QIODevice
{
public:
    explicit TestDevice(Sink& sink)
        : m_sink(sink)
    {
        open(QIODevice::WriteOnly | QIODevice::Unbuffered);
    }

    ~TestDevice() { ++m_sink.deletions; }

    bool isSequential() const override { return true; }

    int DestroyedListeners() const { return receivers(SIGNAL(destroyed(QObject*))); }

protected:
    qint64 readData(char*, qint64) override { return -1; }

    qint64 writeData(const char* data, qint64 size) override
    {
        qint64 taken = size;
        if (m_sink.most_per_write >= 0)
            taken = qMin(taken, m_sink.most_per_write);
        if (m_sink.space >= 0)
            taken = qMin(taken, m_sink.space);
        if (taken == 0)
            return m_sink.refusal;
        const QByteArray written(data, static_cast<int>(taken));
        m_sink.bytes += written;
        m_sink.writes.append(written);
        if (m_sink.space >= 0)
            m_sink.space -= taken;
        return taken;
    }

private:
    Sink& m_sink;
};

/** A device on the heap that always lies at the same address; one of them at a time. */
class OnePlaceDevice : public TestDevice
{
public:
    explicit OnePlaceDevice(Sink& sink)
        : TestDevice(sink)
    {
    }

    static void* operator new(std::size_t)
    {
        static std::aligned_storage<1024, alignof(std::max_align_t)>::type place;
        return &place;
    }

    static void operator delete(void*) {}
};

static_assert(sizeof(OnePlaceDevice) <= 1024, "the place is too small");

class Output : public DbgServerInterface
{
public:
    Output()
        : DbgServerInterface(Text("server"), Text("option"))
    {
    }

    using DbgServerInterface::NewNullFile;
    using DbgServerInterface::SelectAlternateModuleMaskMap;
    using DbgServerInterface::SelectMainModuleMaskMap;
};

void Write(DbgServerInterface& output, const QString& text, const char* module = "M",
           int level = DBG_ERROR)
{
    const DebugMessageDetails details(QDateTime(), Text(module), QString(), 0, QString(),
                                      Mask(level), QString(), QString());
    output.HandleMsg(details, text);
}

void Write(DbgServerInterface& output, const char* text, const char* module = "M",
           int level = DBG_ERROR)
{
    Write(output, Text(text), module, level);
}

/** Lets queued notices arrive. */
void Deliver()
{
    QCoreApplication::sendPostedEvents();
}

/** Whether the output wrote something else than a device of the test to a device that takes it. */
bool IsOnNullDevice(const DbgServerInterface& output)
{
    QIODevice* const device = output.GetOutput().device();
    return device && device->isOpen() && device->isWritable() && !dynamic_cast<TestDevice*>(device);
}

class Deleter : public QThread
{
public:
    explicit Deleter(QObject* object)
        : m_object(object)
    {
    }

protected:
    void run() override { delete m_object; }

private:
    QObject* const m_object;
};

qint64 ResidentMegabytes()
{
    QFile file(QLatin1String("/proc/self/statm"));
    if (!file.open(QIODevice::ReadOnly))
        return -1;
    const QList<QByteArray> fields = file.readAll().split(' ');
    return fields.value(1).toLongLong() * sysconf(_SC_PAGESIZE) / (1024 * 1024);
}

} // namespace

class TestOutputBase : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void emptyTableAnswersTheBuiltInDefault();
    void entryIsAnsweredForItsModule();
    void wildcardIsAnsweredForOtherModules();
    void entriesAreCaseSensitive();
    void laterWildcardOverwritesEarlierEntries();
    void entryAfterTheWildcardSurvives();
    void entryIsReplaced();
    void setLevelOnStartsFromTheWildcard();
    void setLevelOnStartsFromTheBuiltInDefault();
    void setLevelOnWritesAnOwnEntry();
    void setLevelOffStartsFromTheWildcard();
    void setLevelOffStartsFromTheBuiltInDefault();
    void setLevelOnOfTheWildcardReachesEveryEntry();
    void setLevelOffOfTheWildcardReachesEveryEntry();
    void tableKeepsAnyNumber();

    void classHasItsMetaObject();
    void classHasOneSlotAndNothingElse();
    void classIsNotCopyable();
    void classIsDeletedThroughItsBase();
    void newOutputHasNoParent();
    void newOutputHasItsOption();
    void newOutputIsEnabledOnANullDevice();
    void newOutputAnswersTheBuiltInDefault();
    void newNullFilesDiscardAndBelongToTheCaller();

    void configurationSetsAMask();
    void configurationOrderMatters();
    void configurationOfTheEmptyNameChangesNothing();
    void alternateMasksAreAllZero();
    void nothingIsWrittenUnderTheAlternateMasks();
    void configurationGoesToTheMainTableMeanwhile();
    void baseSuspendsAndResumesNothing();

    void recordPassesItsMask_data();
    void recordPassesItsMask();
    void recordIsWrittenWithALineEnd();
    void recordIsOneWrite();
    void largeRecordIsOneWrite();
    void recordIsWrittenAtOnceToABufferedFile();
    void recordIsWrittenAsItIs();
    void recordIsEncodedForTheLocale();
    void recordOfAnyLengthIsEncodedWithAnyLetterAnywhere();
    void streamedTextComesBeforeTheNextRecord();

    void nullDeviceIsRefused();
    void deviceBeginsWithTheRestartMarker();
    void everyReplacementWritesOneRestartMarker();
    void streamedTextGoesToTheOldDevice();
    void ownedOldDeviceIsDeleted();
    void deletionOfTheOldDeviceIsNotNoticed();
    void otherOldDeviceIsLeftAlone();
    void otherOldDeviceStaysConnected();
    void deathOfAnOldDeviceIsIgnored();
    void ownedDeviceDiesWithTheOutput();
    void otherDeviceOutlivesTheOutput();
    void nothingIsWrittenOnDestruction();
    void streamedTextIsWrittenOnDestruction();

    void sameDeviceIsTakenAgain();
    void sameOwnedDeviceIsTakenAgain();
    void ownedDeviceCanBeGivenBack();
    void ownershipCanBeTakenLater();
    void sameDeviceKeepsItsStreamedText();
    void sameDeviceIsConnectedOnce();
    void sameOwnedDeviceIsConnectedOnce();
    void returningDeviceIsConnectedOnce();
    void deathOfADeviceTakenTwiceIsNoticed();

    void deathOfTheDeviceLeadsToTheNullDevice();
    void deathOfTheOwnedDeviceLeadsToTheNullDevice();
    void deathIsNoticedOnAnotherThread();
    void recordAfterTheDeathIsDropped();
    void streamedTextOfADeadDeviceIsDropped();
    void streamedTextOfADeadDeviceIsDroppedByTheNextRecord();
    void outputDiesAfterItsDevice();
    void outputDiesAfterItsDeviceWithStreamedText();
    void outputDiesAfterItsOwnedDevice();
    void deviceIsReplacedAfterItsDeath();
    void deviceIsReplacedAfterItsDeathWithStreamedText();
    void noticeFromAnotherDeviceIsIgnored();
    void noticeIsIgnoredOnceTheDeviceWasReplaced();
    void newDeviceAtTheOldAddressStays();
    void newDeviceAtTheOldAddressStaysWithStreamedText();
    void newOwnedDeviceAtTheOldAddressStays();
    void newDeviceAtTheOldAddressBeginsWithTheRestartMarker();
    void deathOfTheNewDeviceAtTheOldAddressIsNoticed();
    void outputDiesWithItsNoticePending();
    void deviceDiesAfterTheOutput();

    void failedRecordsAreDropped_data();
    void failedRecordsAreDropped();
    void recordBehindACutLineBeginsALine();
    void everyCutLineIsEnded();
    void lineEndThatDoesNotFitIsWrittenLater();
    void cutRestartMarkerIsEnded();
    void lostRestartMarkerHidesNoRecord();
    void shortWritesNeverJoinTwoRecords();
    void replacementOfACutDeviceBeginsClean();
    void cutDeviceTakenAgainBeginsALine();
    void streamedTextIsWrittenAgainAfterAFailure();
    void unopenedDeviceIsTaken();
    void closedDeviceDropsRecordsUntilItIsOpenedAgain();
    void unopenedDeviceIsWrittenOnceOpen();
    void memoryDoesNotGrowOnAFullDevice();
    void memoryDoesNotGrowOnAClosedDevice();
    void memoryDoesNotGrowOnAFullFile();

    void nothingIsPrintedOnStandardError_data();
    void nothingIsPrintedOnStandardError();
};

void TestOutputBase::emptyTableAnswersTheBuiltInDefault()
{
    const ModuleStatusMap map;
    QCOMPARE(static_cast<int>(map.GetStatus(Text("A"))), 60);
    QCOMPARE(static_cast<int>(map.GetStatus(Text("*"))), 60);
    QCOMPARE(static_cast<int>(map.GetStatus(QString())), 60);
}

void TestOutputBase::entryIsAnsweredForItsModule()
{
    ModuleStatusMap map;
    map.SetLevelMask(Text("A"), Mask(2));
    QCOMPARE(static_cast<int>(map.GetStatus(Text("A"))), 2);
    QCOMPARE(static_cast<int>(map.GetStatus(Text("B"))), 60);
    QCOMPARE(static_cast<int>(map.GetStatus(Text("*"))), 60);
}

void TestOutputBase::wildcardIsAnsweredForOtherModules()
{
    ModuleStatusMap map;
    map.SetLevelMask(Text("*"), Mask(8));
    map.SetLevelMask(Text("A"), Mask(0));
    QCOMPARE(static_cast<int>(map.GetStatus(Text("A"))), 0);
    QCOMPARE(static_cast<int>(map.GetStatus(Text("B"))), 8);
    QCOMPARE(static_cast<int>(map.GetStatus(QString())), 8);
}

void TestOutputBase::entriesAreCaseSensitive()
{
    ModuleStatusMap map;
    map.SetLevelMask(Text("net"), Mask(2));
    QCOMPARE(static_cast<int>(map.GetStatus(Text("NET"))), 60);
    QCOMPARE(static_cast<int>(map.GetStatus(Text("net "))), 60);
    QCOMPARE(static_cast<int>(map.GetStatus(Text("ne"))), 60);
}

void TestOutputBase::laterWildcardOverwritesEarlierEntries()
{
    ModuleStatusMap map;
    map.SetLevelMask(Text("A"), Mask(2));
    map.SetLevelMask(Text("z"), Mask(4));
    map.SetLevelMask(Text("!"), Mask(1)); // sorts before "*"
    map.SetLevelMask(Text("*"), Mask(8));
    QCOMPARE(static_cast<int>(map.GetStatus(Text("A"))), 8);
    QCOMPARE(static_cast<int>(map.GetStatus(Text("z"))), 8);
    QCOMPARE(static_cast<int>(map.GetStatus(Text("!"))), 8);
}

void TestOutputBase::entryAfterTheWildcardSurvives()
{
    ModuleStatusMap map;
    map.SetLevelMask(Text("*"), Mask(8));
    map.SetLevelMask(Text("A"), Mask(2));
    QCOMPARE(static_cast<int>(map.GetStatus(Text("A"))), 2);
    QCOMPARE(static_cast<int>(map.GetStatus(Text("B"))), 8);
}

void TestOutputBase::entryIsReplaced()
{
    ModuleStatusMap map;
    map.SetLevelMask(Text("A"), Mask(2));
    map.SetLevelMask(Text("A"), Mask(5));
    QCOMPARE(static_cast<int>(map.GetStatus(Text("A"))), 5);
}

void TestOutputBase::setLevelOnStartsFromTheWildcard()
{
    ModuleStatusMap map;
    map.SetLevelMask(Text("*"), Mask(8));
    map.SetLevelOn(Text("B"), DBG_TRACE);
    QCOMPARE(static_cast<int>(map.GetStatus(Text("B"))), 9);
    QCOMPARE(static_cast<int>(map.GetStatus(Text("C"))), 8);
}

void TestOutputBase::setLevelOnStartsFromTheBuiltInDefault()
{
    ModuleStatusMap map;
    map.SetLevelOn(Text("B"), DBG_TRACE);
    QCOMPARE(static_cast<int>(map.GetStatus(Text("B"))), 61);
    QCOMPARE(static_cast<int>(map.GetStatus(Text("C"))), 60);
}

void TestOutputBase::setLevelOnWritesAnOwnEntry()
{
    ModuleStatusMap map;
    map.SetLevelOn(Text("B"), DBG_TRACE);
    map.SetLevelOn(Text("B"), DBG_INFO);
    map.SetLevelOff(Text("B"), DBG_WARN);
    QCOMPARE(static_cast<int>(map.GetStatus(Text("B"))), 59);
}

void TestOutputBase::setLevelOffStartsFromTheWildcard()
{
    ModuleStatusMap map;
    map.SetLevelMask(Text("*"), Mask(9));
    map.SetLevelOff(Text("B"), DBG_TRACE);
    QCOMPARE(static_cast<int>(map.GetStatus(Text("B"))), 8);
    QCOMPARE(static_cast<int>(map.GetStatus(Text("C"))), 9);
}

void TestOutputBase::setLevelOffStartsFromTheBuiltInDefault()
{
    ModuleStatusMap map;
    map.SetLevelOff(Text("B"), DBG_ERROR | DBG_FATAL);
    QCOMPARE(static_cast<int>(map.GetStatus(Text("B"))), 20);
    QCOMPARE(static_cast<int>(map.GetStatus(Text("C"))), 60);
}

void TestOutputBase::setLevelOnOfTheWildcardReachesEveryEntry()
{
    ModuleStatusMap map;
    map.SetLevelMask(Text("A"), Mask(2));
    map.SetLevelOn(Text("*"), DBG_TRACE);
    QCOMPARE(static_cast<int>(map.GetStatus(Text("A"))), 61);
    QCOMPARE(static_cast<int>(map.GetStatus(Text("B"))), 61);
}

void TestOutputBase::setLevelOffOfTheWildcardReachesEveryEntry()
{
    ModuleStatusMap map;
    map.SetLevelMask(Text("A"), Mask(2));
    map.SetLevelOff(Text("*"), DBG_FATAL);
    QCOMPARE(static_cast<int>(map.GetStatus(Text("A"))), 28);
    QCOMPARE(static_cast<int>(map.GetStatus(Text("B"))), 28);
}

void TestOutputBase::tableKeepsAnyNumber()
{
    ModuleStatusMap map;
    map.SetLevelMask(Text("A"), Mask(0x7FFFFFFF));
    QCOMPARE(static_cast<int>(map.GetStatus(Text("A"))), 0x7FFFFFFF);
    map.SetLevelOff(Text("A"), DBG_TRACE);
    QCOMPARE(static_cast<int>(map.GetStatus(Text("A"))), 0x7FFFFFFE);
}

void TestOutputBase::classHasItsMetaObject()
{
    const Output output;
    QCOMPARE(QByteArray(output.metaObject()->className()), QByteArray("Zol::DbgServerInterface"));
    QVERIFY(output.inherits("QObject"));
}

void TestOutputBase::classHasOneSlotAndNothingElse()
{
    const QMetaObject& meta = DbgServerInterface::staticMetaObject;
    QCOMPARE(meta.methodCount() - meta.methodOffset(), 1);
    QCOMPARE(meta.indexOfSlot("DeviceDestroyed(QObject*)"), meta.methodOffset());
    const QMetaMethod slot = meta.method(meta.methodOffset());
    QVERIFY(slot.methodType() == QMetaMethod::Slot);
    QVERIFY(slot.access() == QMetaMethod::Private);
    QCOMPARE(meta.propertyCount() - meta.propertyOffset(), 0);
}

void TestOutputBase::classIsNotCopyable()
{
    QVERIFY(!std::is_copy_constructible<DbgServerInterface>::value);
    QVERIFY(!std::is_copy_assignable<DbgServerInterface>::value);
    QVERIFY(!std::is_copy_constructible<ModuleStatusMap>::value);
    QVERIFY(!std::is_copy_assignable<ModuleStatusMap>::value);
}

void TestOutputBase::classIsDeletedThroughItsBase()
{
    QVERIFY(std::has_virtual_destructor<DbgServerInterface>::value);
}

void TestOutputBase::newOutputHasNoParent()
{
    const Output output;
    QVERIFY(!output.parent());
}

void TestOutputBase::newOutputHasItsOption()
{
    const Output output;
    QCOMPARE(output.GetOption(), Text("option"));
}

void TestOutputBase::newOutputIsEnabledOnANullDevice()
{
    Output output;
    QVERIFY(output.Enabled());
    QVERIFY(IsOnNullDevice(output));
    Write(output, "record");
    QVERIFY(output.GetOutput().status() == QTextStream::Ok);
}

void TestOutputBase::newOutputAnswersTheBuiltInDefault()
{
    const Output output;
    QCOMPARE(static_cast<int>(output.GetDefaultMask()), 60);
    QCOMPARE(static_cast<int>(output.GetModuleMask(Text("M"))), 60);
    QCOMPARE(static_cast<int>(output.GetModuleMask(QString())), 60);
}

void TestOutputBase::newNullFilesDiscardAndBelongToTheCaller()
{
    const std::unique_ptr<QIODevice> first(Output::NewNullFile());
    const std::unique_ptr<QIODevice> second(Output::NewNullFile());
    QVERIFY(first.get() != second.get());
    QVERIFY(!first->parent());
    QVERIFY(first->isWritable());
    QVERIFY(!first->isReadable());
    QVERIFY((first->openMode() & QIODevice::Append) != 0);
    QCOMPARE(first->write("text"), Q_INT64_C(4));
}

void TestOutputBase::configurationSetsAMask()
{
    Output output;
    output.DoServerCfg(Text("A"), Mask(2));
    QCOMPARE(static_cast<int>(output.GetModuleMask(Text("A"))), 2);
    QCOMPARE(static_cast<int>(output.GetModuleMask(Text("B"))), 60);
    QCOMPARE(static_cast<int>(output.GetDefaultMask()), 60);
}

void TestOutputBase::configurationOrderMatters()
{
    Output first;
    first.DoServerCfg(Text("A"), Mask(2));
    first.DoServerCfg(Text("*"), Mask(8));
    QCOMPARE(static_cast<int>(first.GetModuleMask(Text("A"))), 8);

    Output second;
    second.DoServerCfg(Text("*"), Mask(8));
    second.DoServerCfg(Text("A"), Mask(2));
    QCOMPARE(static_cast<int>(second.GetModuleMask(Text("A"))), 2);
    QCOMPARE(static_cast<int>(second.GetModuleMask(Text("B"))), 8);
    QCOMPARE(static_cast<int>(second.GetDefaultMask()), 8);
}

void TestOutputBase::configurationOfTheEmptyNameChangesNothing()
{
    Output output;
    output.DoServerCfg(QString(), Mask(2));
    output.DoServerCfg(Text(""), Mask(2));
    QCOMPARE(static_cast<int>(output.GetModuleMask(QString())), 60);
    QCOMPARE(static_cast<int>(output.GetModuleMask(Text("A"))), 60);
    QCOMPARE(static_cast<int>(output.GetDefaultMask()), 60);
}

void TestOutputBase::alternateMasksAreAllZero()
{
    Output output;
    output.DoServerCfg(Text("A"), Mask(2));
    output.SelectAlternateModuleMaskMap();
    QCOMPARE(static_cast<int>(output.GetModuleMask(Text("A"))), 0);
    QCOMPARE(static_cast<int>(output.GetModuleMask(Text("B"))), 0);
    QCOMPARE(static_cast<int>(output.GetDefaultMask()), 0);
}

void TestOutputBase::nothingIsWrittenUnderTheAlternateMasks()
{
    Sink sink;
    Output output;
    output.SetIODevice(new TestDevice(sink), true);
    output.SelectAlternateModuleMaskMap();
    Write(output, "held back", "M", 0x7FFFFFFF);
    output.SelectMainModuleMaskMap();
    Write(output, "written", "M", 0x7FFFFFFF);
    QCOMPARE(sink.bytes, restart + QByteArray("written\n"));
}

void TestOutputBase::configurationGoesToTheMainTableMeanwhile()
{
    Output output;
    output.SelectAlternateModuleMaskMap();
    output.DoServerCfg(Text("*"), Mask(8));
    output.DoServerCfg(Text("A"), Mask(2));
    QCOMPARE(static_cast<int>(output.GetModuleMask(Text("A"))), 0);
    QCOMPARE(static_cast<int>(output.GetDefaultMask()), 0);
    output.SelectMainModuleMaskMap();
    QCOMPARE(static_cast<int>(output.GetModuleMask(Text("A"))), 2);
    QCOMPARE(static_cast<int>(output.GetDefaultMask()), 8);
}

void TestOutputBase::baseSuspendsAndResumesNothing()
{
    Sink sink;
    Output output;
    output.SetIODevice(new TestDevice(sink), true);
    QVERIFY(!output.ResumeDiskIO());
    QVERIFY(!output.SuspendDiskIO());
    Write(output, "record");
    QVERIFY(!output.ResumeDiskIO());
    QCOMPARE(static_cast<int>(output.GetDefaultMask()), 60);
    QCOMPARE(sink.bytes, restart + QByteArray("record\n"));
}

void TestOutputBase::recordPassesItsMask_data()
{
    QTest::addColumn<QString>("module");
    QTest::addColumn<int>("level");
    QTest::addColumn<bool>("passes");
    QTest::newRow("enabled level") << Text("A") << 2 << true;
    QTest::newRow("disabled level") << Text("A") << 8 << false;
    QTest::newRow("one of two levels") << Text("A") << 10 << true;
    QTest::newRow("no level") << Text("A") << 0 << false;
    QTest::newRow("wildcard, enabled level") << Text("B") << 8 << true;
    QTest::newRow("wildcard, disabled level") << Text("B") << 2 << false;
    QTest::newRow("wildcard, other case") << Text("a") << 2 << false;
    QTest::newRow("wildcard, empty module") << QString() << 8 << true;
    QTest::newRow("bit without a level") << Text("C") << 0x40000000 << true;
}

void TestOutputBase::recordPassesItsMask()
{
    QFETCH(QString, module);
    QFETCH(int, level);
    QFETCH(bool, passes);
    Sink sink;
    Output output;
    output.DoServerCfg(Text("*"), Mask(8));
    output.DoServerCfg(Text("A"), Mask(2));
    output.DoServerCfg(Text("C"), Mask(0x40000000));
    output.SetIODevice(new TestDevice(sink), true);
    Write(output, "record", module.toUtf8().constData(), level);
    QCOMPARE(sink.bytes, QByteArray(restart) + (passes ? "record\n" : ""));
}

void TestOutputBase::recordIsWrittenWithALineEnd()
{
    Sink sink;
    Output output;
    output.SetIODevice(new TestDevice(sink), true);
    Write(output, "one");
    Write(output, "");
    Write(output, "two");
    QCOMPARE(sink.bytes, restart + QByteArray("one\n\ntwo\n"));
}

void TestOutputBase::recordIsOneWrite()
{
    Sink sink;
    Output output;
    output.SetIODevice(new TestDevice(sink), true);
    QCOMPARE(sink.writes, QList<QByteArray>() << restart);
    Write(output, "one");
    Write(output, "two");
    QCOMPARE(sink.writes, QList<QByteArray>() << restart << "one\n"
                                              << "two\n");
}

void TestOutputBase::largeRecordIsOneWrite()
{
    const QString text(1000000, QLatin1Char('x'));
    Sink sink;
    Output output;
    output.SetIODevice(new TestDevice(sink), true);
    Write(output, text);
    QCOMPARE(static_cast<int>(sink.writes.size()), 2);
    QVERIFY(sink.writes.last() == text.toLatin1() + '\n');
}

void TestOutputBase::recordIsWrittenAtOnceToABufferedFile()
{
    const ZolTest::TempDir folder;
    QFile file(folder.Path("log"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    Output output;
    output.SetIODevice(&file, false);
    Write(output, "record");
    QCOMPARE(ZolTest::ReadFile(QFile::encodeName(file.fileName())),
             restart + QByteArray("record\n"));
    output.SetIODevice(Output::NewNullFile(), true);
}

void TestOutputBase::recordIsWrittenAsItIs()
{
    Sink sink;
    Output output;
    output.SetIODevice(new TestDevice(sink), true);
    Write(output, "%1 <a>&amp;'\"\r\n\n\tb ");
    QCOMPARE(sink.bytes, restart + QByteArray("%1 <a>&amp;'\"\r\n\n\tb \n"));
}

void TestOutputBase::recordIsEncodedForTheLocale()
{
    Sink sink;
    Output output;
    output.SetIODevice(new TestDevice(sink), true);
    Write(output, "\xc3\xa4 \xe2\x82\xac \xf0\x9f\x98\x80");
    QCOMPARE(sink.bytes, restart + QByteArray("\xc3\xa4 \xe2\x82\xac \xf0\x9f\x98\x80\n"));
}

void TestOutputBase::recordOfAnyLengthIsEncodedWithAnyLetterAnywhere()
{
    const ushort letters[] = {'a', 0x7f, 0x80, 0xe4, 0x100, 0x20ac};
    Sink sink;
    Output output;
    output.SetIODevice(new TestDevice(sink), true);
    for (int length = 1; length <= 40; ++length) {
        for (const ushort letter : letters) {
            QString text(length, QLatin1Char('x'));
            text[length * 7 % length] = QChar(letter);
            text[length / 2] = QChar(letter);
            sink.bytes.clear();
            Write(output, text);
            QCOMPARE(sink.bytes, text.toLocal8Bit() + '\n');
        }
    }
}

void TestOutputBase::streamedTextComesBeforeTheNextRecord()
{
    Sink sink;
    Output output;
    output.SetIODevice(new TestDevice(sink), true);
    output.GetOutput() << "metrics " << 5 << '\n';
    Write(output, "record");
    QCOMPARE(sink.bytes, restart + QByteArray("metrics 5\nrecord\n"));
}

void TestOutputBase::nullDeviceIsRefused()
{
    Sink sink;
    Output output;
    output.SetIODevice(new TestDevice(sink), true);
    const QTextStream* const stream = &output.GetOutput();
    QVERIFY(!output.SetIODevice(nullptr, true));
    QVERIFY(!output.SetIODevice(nullptr, false));
    QVERIFY(&output.GetOutput() == stream);
    QCOMPARE(sink.deletions, 0);
    Write(output, "record");
    QCOMPARE(sink.bytes, restart + QByteArray("record\n"));
}

void TestOutputBase::deviceBeginsWithTheRestartMarker()
{
    Sink sink;
    Output output;
    QVERIFY(output.SetIODevice(new TestDevice(sink), true));
    QCOMPARE(sink.bytes, QByteArray(restart));
}

void TestOutputBase::everyReplacementWritesOneRestartMarker()
{
    Sink sinks[3];
    Output output;
    for (Sink& sink : sinks) {
        QVERIFY(output.SetIODevice(new TestDevice(sink), true));
        Write(output, "record");
    }
    for (const Sink& sink : sinks)
        QCOMPARE(sink.bytes, restart + QByteArray("record\n"));
}

void TestOutputBase::streamedTextGoesToTheOldDevice()
{
    Sink first, second;
    Output output;
    output.SetIODevice(new TestDevice(first), true);
    output.GetOutput() << "text";
    output.SetIODevice(new TestDevice(second), true);
    QCOMPARE(first.bytes, restart + QByteArray("text"));
    QCOMPARE(second.bytes, QByteArray(restart));
}

void TestOutputBase::ownedOldDeviceIsDeleted()
{
    Sink first, second;
    Output output;
    output.SetIODevice(new TestDevice(first), true);
    QCOMPARE(first.deletions, 0);
    output.SetIODevice(new TestDevice(second), true);
    QCOMPARE(first.deletions, 1);
    QCOMPARE(second.deletions, 0);
}

void TestOutputBase::deletionOfTheOldDeviceIsNotNoticed()
{
    Sink first, second;
    Output output;
    output.SetIODevice(new TestDevice(first), true);
    output.SetIODevice(new TestDevice(second), true);
    Deliver();
    Write(output, "record");
    QCOMPARE(second.bytes, restart + QByteArray("record\n"));
}

void TestOutputBase::otherOldDeviceIsLeftAlone()
{
    Sink first, second;
    TestDevice device(first);
    Output output;
    output.SetIODevice(&device, false);
    output.SetIODevice(new TestDevice(second), true);
    Write(output, "record");
    QCOMPARE(first.deletions, 0);
    QVERIFY(device.isOpen());
    QCOMPARE(first.bytes, QByteArray(restart));
}

void TestOutputBase::otherOldDeviceStaysConnected()
{
    Sink first, second;
    TestDevice device(first);
    Output output;
    output.SetIODevice(&device, false);
    QCOMPARE(device.DestroyedListeners(), 1);
    output.SetIODevice(new TestDevice(second), true);
    QCOMPARE(device.DestroyedListeners(), 1);
}

void TestOutputBase::deathOfAnOldDeviceIsIgnored()
{
    Sink first, second;
    std::unique_ptr<TestDevice> device(new TestDevice(first));
    Output output;
    output.SetIODevice(device.get(), false);
    output.SetIODevice(new TestDevice(second), true);
    device.reset();
    Deliver();
    Write(output, "record");
    QCOMPARE(second.bytes, restart + QByteArray("record\n"));
}

void TestOutputBase::ownedDeviceDiesWithTheOutput()
{
    Sink sink;
    {
        Output output;
        output.SetIODevice(new TestDevice(sink), true);
    }
    QCOMPARE(sink.deletions, 1);
}

void TestOutputBase::otherDeviceOutlivesTheOutput()
{
    Sink sink;
    TestDevice device(sink);
    {
        Output output;
        output.SetIODevice(&device, false);
    }
    QCOMPARE(sink.deletions, 0);
    QVERIFY(device.isOpen());
    QCOMPARE(device.DestroyedListeners(), 0);
}

void TestOutputBase::nothingIsWrittenOnDestruction()
{
    Sink sink;
    {
        Output output;
        output.SetIODevice(new TestDevice(sink), true);
        Write(output, "record");
    }
    QCOMPARE(sink.bytes, restart + QByteArray("record\n"));
}

void TestOutputBase::streamedTextIsWrittenOnDestruction()
{
    Sink owned, other;
    TestDevice device(other);
    {
        Output first, second;
        first.SetIODevice(new TestDevice(owned), true);
        second.SetIODevice(&device, false);
        first.GetOutput() << "text";
        second.GetOutput() << "text";
    }
    QCOMPARE(owned.bytes, restart + QByteArray("text"));
    QCOMPARE(other.bytes, restart + QByteArray("text"));
}

void TestOutputBase::sameDeviceIsTakenAgain()
{
    Sink sink;
    TestDevice device(sink);
    Output output;
    QVERIFY(output.SetIODevice(&device, false));
    QVERIFY(output.SetIODevice(&device, false));
    Write(output, "record");
    QCOMPARE(sink.bytes, QByteArray(restart) + restart + "record\n");
}

void TestOutputBase::sameOwnedDeviceIsTakenAgain()
{
    Sink sink;
    {
        Output output;
        TestDevice* const device = new TestDevice(sink);
        QVERIFY(output.SetIODevice(device, true));
        QVERIFY(output.SetIODevice(device, true));
        Deliver();
        QCOMPARE(sink.deletions, 0);
        Write(output, "record");
    }
    QCOMPARE(sink.deletions, 1);
    QCOMPARE(sink.bytes, QByteArray(restart) + restart + "record\n");
}

void TestOutputBase::ownedDeviceCanBeGivenBack()
{
    Sink sink;
    const std::unique_ptr<TestDevice> device(new TestDevice(sink));
    {
        Output output;
        QVERIFY(output.SetIODevice(device.get(), true));
        QVERIFY(output.SetIODevice(device.get(), false));
    }
    QCOMPARE(sink.deletions, 0);
}

void TestOutputBase::ownershipCanBeTakenLater()
{
    Sink sink;
    {
        Output output;
        TestDevice* const device = new TestDevice(sink);
        QVERIFY(output.SetIODevice(device, false));
        QVERIFY(output.SetIODevice(device, true));
    }
    QCOMPARE(sink.deletions, 1);
}

void TestOutputBase::sameDeviceKeepsItsStreamedText()
{
    Sink sink;
    Output output;
    TestDevice* const device = new TestDevice(sink);
    output.SetIODevice(device, true);
    output.GetOutput() << "text\n";
    output.SetIODevice(device, true);
    QCOMPARE(sink.bytes, restart + QByteArray("text\n") + restart);
}

void TestOutputBase::sameDeviceIsConnectedOnce()
{
    Sink sink;
    TestDevice device(sink);
    Output output;
    for (int i = 0; i < 5; ++i) {
        output.SetIODevice(&device, false);
        QCOMPARE(device.DestroyedListeners(), 1);
    }
}

void TestOutputBase::sameOwnedDeviceIsConnectedOnce()
{
    Sink sink;
    Output output;
    TestDevice* const device = new TestDevice(sink);
    for (int i = 0; i < 5; ++i) {
        output.SetIODevice(device, true);
        QCOMPARE(device->DestroyedListeners(), 1);
    }
}

void TestOutputBase::returningDeviceIsConnectedOnce()
{
    Sink sink;
    TestDevice device(sink);
    Output output;
    for (int i = 0; i < 5; ++i) {
        output.SetIODevice(&device, false);
        output.SetIODevice(Output::NewNullFile(), true);
        QCOMPARE(device.DestroyedListeners(), 1);
    }
}

void TestOutputBase::deathOfADeviceTakenTwiceIsNoticed()
{
    Sink sink;
    std::unique_ptr<TestDevice> device(new TestDevice(sink));
    Output output;
    output.SetIODevice(device.get(), false);
    output.SetIODevice(device.get(), false);
    device.reset();
    Deliver();
    QVERIFY(IsOnNullDevice(output));
}

void TestOutputBase::deathOfTheDeviceLeadsToTheNullDevice()
{
    Sink sink;
    std::unique_ptr<TestDevice> device(new TestDevice(sink));
    Output output;
    output.SetIODevice(device.get(), false);
    device.reset();
    Deliver();
    QVERIFY(output.Enabled());
    QVERIFY(IsOnNullDevice(output));
    Write(output, "record");
    QVERIFY(output.GetOutput().status() == QTextStream::Ok);
    QCOMPARE(sink.bytes, QByteArray(restart));
}

void TestOutputBase::deathOfTheOwnedDeviceLeadsToTheNullDevice()
{
    Sink sink;
    {
        Output output;
        TestDevice* const device = new TestDevice(sink);
        output.SetIODevice(device, true);
        delete device;
        Deliver();
        QVERIFY(IsOnNullDevice(output));
    }
    QCOMPARE(sink.deletions, 1);
}

void TestOutputBase::deathIsNoticedOnAnotherThread()
{
    Sink sink;
    Output output;
    TestDevice* const device = new TestDevice(sink);
    output.SetIODevice(device, false);
    Deleter deleter(device);
    deleter.start();
    deleter.wait();
    Write(output, "record");
    Deliver();
    QVERIFY(IsOnNullDevice(output));
    QCOMPARE(sink.bytes, QByteArray(restart));
}

void TestOutputBase::recordAfterTheDeathIsDropped()
{
    Sink first, second;
    std::unique_ptr<TestDevice> device(new TestDevice(first));
    Output output;
    output.SetIODevice(device.get(), false);
    device.reset();
    Write(output, "dropped");
    Write(output, QString(100000, QLatin1Char('x')));
    Deliver();
    output.SetIODevice(new TestDevice(second), true);
    Write(output, "record");
    QCOMPARE(second.bytes, restart + QByteArray("record\n"));
}

void TestOutputBase::streamedTextOfADeadDeviceIsDropped()
{
    Sink first, second;
    std::unique_ptr<TestDevice> device(new TestDevice(first));
    Output output;
    output.SetIODevice(device.get(), false);
    output.GetOutput() << "text";
    device.reset();
    Deliver();
    QVERIFY(IsOnNullDevice(output));
    output.SetIODevice(new TestDevice(second), true);
    QCOMPARE(second.bytes, QByteArray(restart));
}

void TestOutputBase::streamedTextOfADeadDeviceIsDroppedByTheNextRecord()
{
    Sink first, second;
    std::unique_ptr<TestDevice> device(new TestDevice(first));
    Output output;
    output.SetIODevice(device.get(), false);
    output.GetOutput() << "text";
    device.reset();
    Write(output, "dropped");
    output.SetIODevice(new TestDevice(second), true);
    Deliver();
    Write(output, "record");
    QCOMPARE(second.bytes, restart + QByteArray("record\n"));
}

void TestOutputBase::outputDiesAfterItsDevice()
{
    Sink sink;
    std::unique_ptr<TestDevice> device(new TestDevice(sink));
    {
        Output output;
        output.SetIODevice(device.get(), false);
        device.reset();
    }
    Deliver();
    QCOMPARE(sink.deletions, 1);
    QCOMPARE(sink.bytes, QByteArray(restart));
}

void TestOutputBase::outputDiesAfterItsDeviceWithStreamedText()
{
    Sink sink;
    std::unique_ptr<TestDevice> device(new TestDevice(sink));
    {
        Output output;
        output.SetIODevice(device.get(), false);
        output.GetOutput() << "text";
        device.reset();
    }
    QCOMPARE(sink.bytes, QByteArray(restart));
}

void TestOutputBase::outputDiesAfterItsOwnedDevice()
{
    Sink sink;
    {
        Output output;
        TestDevice* const device = new TestDevice(sink);
        output.SetIODevice(device, true);
        output.GetOutput() << "text";
        delete device;
    }
    QCOMPARE(sink.deletions, 1);
}

void TestOutputBase::deviceIsReplacedAfterItsDeath()
{
    Sink first, second;
    Output output;
    TestDevice* const device = new TestDevice(first);
    output.SetIODevice(device, true);
    delete device;
    QVERIFY(output.SetIODevice(new TestDevice(second), true));
    Deliver();
    Write(output, "record");
    QCOMPARE(first.deletions, 1);
    QCOMPARE(second.bytes, restart + QByteArray("record\n"));
}

void TestOutputBase::deviceIsReplacedAfterItsDeathWithStreamedText()
{
    Sink first, second;
    std::unique_ptr<TestDevice> device(new TestDevice(first));
    Output output;
    output.SetIODevice(device.get(), false);
    output.GetOutput() << "text";
    device.reset();
    QVERIFY(output.SetIODevice(new TestDevice(second), true));
    Deliver();
    QCOMPARE(second.bytes, QByteArray(restart));
}

void TestOutputBase::noticeFromAnotherDeviceIsIgnored()
{
    Sink first, second;
    TestDevice stranger(second);
    Output output;
    output.SetIODevice(new TestDevice(first), true);
    QVERIFY(QMetaObject::invokeMethod(&output, "DeviceDestroyed", Qt::DirectConnection,
                                      Q_ARG(QObject*, &stranger)));
    Write(output, "record");
    QCOMPARE(first.bytes, restart + QByteArray("record\n"));
    QCOMPARE(second.bytes, QByteArray());
}

void TestOutputBase::noticeIsIgnoredOnceTheDeviceWasReplaced()
{
    Sink first, second;
    std::unique_ptr<TestDevice> device(new TestDevice(first));
    Output output;
    output.SetIODevice(device.get(), false);
    device.reset();
    output.SetIODevice(new TestDevice(second), true);
    Deliver();
    Deliver();
    Write(output, "record");
    QCOMPARE(second.bytes, restart + QByteArray("record\n"));
}

void TestOutputBase::newDeviceAtTheOldAddressStays()
{
    Sink first, second;
    std::aligned_storage<sizeof(TestDevice), alignof(TestDevice)>::type place;
    Output output;
    TestDevice* device = new (&place) TestDevice(first);
    output.SetIODevice(device, false);
    device->~TestDevice();
    device = new (&place) TestDevice(second);
    output.SetIODevice(device, false);
    Deliver();
    Write(output, "record");
    QCOMPARE(first.bytes, QByteArray(restart));
    QCOMPARE(second.bytes, restart + QByteArray("record\n"));
    output.SetIODevice(Output::NewNullFile(), true);
    QCOMPARE(second.deletions, 0);
    device->~TestDevice();
}

void TestOutputBase::newDeviceAtTheOldAddressStaysWithStreamedText()
{
    Sink first, second;
    std::aligned_storage<sizeof(TestDevice), alignof(TestDevice)>::type place;
    Output output;
    TestDevice* device = new (&place) TestDevice(first);
    output.SetIODevice(device, false);
    output.GetOutput() << "text for the first";
    device->~TestDevice();
    device = new (&place) TestDevice(second);
    output.SetIODevice(device, false);
    output.GetOutput() << "text\n";
    Deliver();
    Write(output, "record");
    QCOMPARE(second.bytes, restart + QByteArray("text\nrecord\n"));
    output.SetIODevice(Output::NewNullFile(), true);
    device->~TestDevice();
}

void TestOutputBase::newOwnedDeviceAtTheOldAddressStays()
{
    Sink first, second;
    {
        Output output;
        OnePlaceDevice* const device = new OnePlaceDevice(first);
        output.SetIODevice(device, true);
        delete device;
        OnePlaceDevice* const successor = new OnePlaceDevice(second);
        QVERIFY(output.SetIODevice(successor, true));
        Deliver();
        QCOMPARE(second.deletions, 0);
        Write(output, "record");
        QCOMPARE(successor->DestroyedListeners(), 1);
    }
    QCOMPARE(first.deletions, 1);
    QCOMPARE(second.deletions, 1);
    QCOMPARE(second.bytes, restart + QByteArray("record\n"));
}

void TestOutputBase::newDeviceAtTheOldAddressBeginsWithTheRestartMarker()
{
    Sink first, second;
    Output output;
    OnePlaceDevice* const device = new OnePlaceDevice(first);
    output.SetIODevice(device, false);
    first.space = 3; // the line that is cut is not the successor's
    Write(output, "cut");
    delete device;
    output.SetIODevice(new OnePlaceDevice(second), true);
    QCOMPARE(second.bytes, QByteArray(restart));
}

void TestOutputBase::deathOfTheNewDeviceAtTheOldAddressIsNoticed()
{
    Sink first, second;
    Output output;
    OnePlaceDevice* const device = new OnePlaceDevice(first);
    output.SetIODevice(device, false);
    delete device;
    OnePlaceDevice* const successor = new OnePlaceDevice(second);
    output.SetIODevice(successor, false);
    Deliver();
    delete successor;
    Write(output, "dropped");
    Deliver();
    QVERIFY(IsOnNullDevice(output));
    QCOMPARE(second.bytes, QByteArray(restart));
}

void TestOutputBase::outputDiesWithItsNoticePending()
{
    Sink sink;
    std::unique_ptr<TestDevice> device(new TestDevice(sink));
    std::unique_ptr<Output> output(new Output);
    output->SetIODevice(device.get(), false);
    device.reset();
    output.reset();
    Deliver();
    QCOMPARE(sink.deletions, 1);
}

void TestOutputBase::deviceDiesAfterTheOutput()
{
    Sink sink;
    std::unique_ptr<TestDevice> device(new TestDevice(sink));
    std::unique_ptr<Output> output(new Output);
    output->SetIODevice(device.get(), false);
    output->GetOutput() << "text";
    output.reset();
    device.reset();
    Deliver();
    QCOMPARE(sink.bytes, restart + QByteArray("text"));
}

void TestOutputBase::failedRecordsAreDropped_data()
{
    QTest::addColumn<int>("refusal");
    QTest::newRow("error") << -1;
    QTest::newRow("nothing taken") << 0;
}

void TestOutputBase::failedRecordsAreDropped()
{
    QFETCH(int, refusal);
    Sink sink;
    sink.refusal = refusal;
    Output output;
    output.SetIODevice(new TestDevice(sink), true);
    Write(output, "first");
    sink.space = 0;
    for (int i = 0; i < 10; ++i)
        Write(output, "dropped");
    sink.space = -1;
    Write(output, "second");
    Write(output, "third");
    QCOMPARE(sink.bytes, restart + QByteArray("first\nsecond\nthird\n"));
}

void TestOutputBase::recordBehindACutLineBeginsALine()
{
    Sink sink;
    Output output;
    output.SetIODevice(new TestDevice(sink), true);
    sink.space = 4;
    Write(output, "cut short");
    Write(output, "dropped");
    sink.space = -1;
    Write(output, "whole");
    Write(output, "next");
    QCOMPARE(sink.bytes, restart + QByteArray("cut \nwhole\nnext\n"));
}

void TestOutputBase::everyCutLineIsEnded()
{
    Sink sink;
    Output output;
    output.SetIODevice(new TestDevice(sink), true);
    for (int i = 0; i < 3; ++i) {
        sink.space = 4;
        Write(output, "cut short");
        Write(output, "dropped");
        sink.space = -1;
        Write(output, "whole");
    }
    const QList<QByteArray> lines = sink.bytes.split('\n');
    QCOMPARE(static_cast<int>(lines.count("whole")), 3);
    for (const QByteArray& line : lines)
        QVERIFY(line == "whole" || QByteArray("cut short").startsWith(line) ||
                line + '\n' == restart);
}

void TestOutputBase::lineEndThatDoesNotFitIsWrittenLater()
{
    Sink sink;
    Output output;
    output.SetIODevice(new TestDevice(sink), true);
    sink.space = 5;
    Write(output, "exact");
    sink.space = -1;
    Write(output, "whole");
    QCOMPARE(sink.bytes, restart + QByteArray("exact\nwhole\n"));
}

void TestOutputBase::cutRestartMarkerIsEnded()
{
    Sink sink;
    sink.space = 6;
    Output output;
    QVERIFY(output.SetIODevice(new TestDevice(sink), true));
    sink.space = -1;
    Write(output, "whole");
    QCOMPARE(sink.bytes, QByteArray("<DEBUG\nwhole\n"));
}

void TestOutputBase::lostRestartMarkerHidesNoRecord()
{
    Sink sink;
    sink.space = 0;
    Output output;
    QVERIFY(output.SetIODevice(new TestDevice(sink), true));
    Write(output, "dropped");
    sink.space = -1;
    Write(output, "whole");
    QVERIFY(sink.bytes == "whole\n" || sink.bytes == restart + QByteArray("whole\n"));
}

void TestOutputBase::shortWritesNeverJoinTwoRecords()
{
    Sink sink;
    Output output;
    output.SetIODevice(new TestDevice(sink), true);
    sink.most_per_write = 7;
    const QByteArray record = "a record of some length";
    for (int i = 0; i < 5; ++i)
        Write(output, record.constData());
    const QList<QByteArray> lines =
        sink.bytes.mid(static_cast<int>(sizeof restart) - 1).split('\n');
    QVERIFY(lines.size() >= 5);
    for (const QByteArray& line : lines)
        QVERIFY(record.startsWith(line));
}

void TestOutputBase::replacementOfACutDeviceBeginsClean()
{
    Sink first, second;
    Output output;
    output.SetIODevice(new TestDevice(first), true);
    first.space = 4;
    Write(output, "cut short");
    output.SetIODevice(new TestDevice(second), true);
    Write(output, "whole");
    QCOMPARE(second.bytes, restart + QByteArray("whole\n"));
}

void TestOutputBase::cutDeviceTakenAgainBeginsALine()
{
    Sink sink;
    TestDevice device(sink);
    Output output;
    output.SetIODevice(&device, false);
    sink.space = 4;
    Write(output, "cut short");
    output.SetIODevice(Output::NewNullFile(), true);
    sink.space = -1;
    output.SetIODevice(&device, false);
    Write(output, "whole");
    QCOMPARE(sink.bytes, restart + QByteArray("cut \n") + restart + "whole\n");
}

void TestOutputBase::streamedTextIsWrittenAgainAfterAFailure()
{
    Sink sink;
    Output output;
    output.SetIODevice(new TestDevice(sink), true);
    sink.space = 0;
    Write(output, "dropped");
    sink.space = -1;
    Write(output, "first");
    output.GetOutput() << "text\n";
    Write(output, "second");
    QCOMPARE(sink.bytes, restart + QByteArray("first\ntext\nsecond\n"));
}

void TestOutputBase::unopenedDeviceIsTaken()
{
    QBuffer buffer;
    Output output;
    QVERIFY(output.SetIODevice(&buffer, false));
    QVERIFY(output.Enabled());
    Write(output, "dropped");
    QVERIFY(output.GetOutput().device() == &buffer);
    QCOMPARE(buffer.data(), QByteArray());
}

void TestOutputBase::closedDeviceDropsRecordsUntilItIsOpenedAgain()
{
    Sink sink;
    TestDevice device(sink);
    Output output;
    output.SetIODevice(&device, false);
    device.close();
    Write(output, "dropped");
    device.open(QIODevice::WriteOnly | QIODevice::Unbuffered);
    Write(output, "record");
    QCOMPARE(sink.bytes, restart + QByteArray("record\n"));
}

void TestOutputBase::unopenedDeviceIsWrittenOnceOpen()
{
    QBuffer buffer;
    Output output;
    output.SetIODevice(&buffer, false);
    Write(output, "dropped");
    buffer.open(QIODevice::WriteOnly);
    Write(output, "record");
    QVERIFY(buffer.data() == "record\n" || buffer.data() == restart + QByteArray("record\n"));
}

void TestOutputBase::memoryDoesNotGrowOnAFullDevice()
{
    const QString text(65536, QLatin1Char('x'));
    Sink sink;
    Output output;
    output.SetIODevice(new TestDevice(sink), true);
    sink.space = 0;
    const qint64 before = ResidentMegabytes();
    for (int i = 0; i < 10000; ++i) {
        Write(output, text);
        if (i % 2 == 0)
            output.GetOutput() << text;
    }
    const qint64 growth = ResidentMegabytes() - before;
    sink.space = -1;
    QVERIFY2(growth < 400, QByteArray::number(growth).constData());
}

void TestOutputBase::memoryDoesNotGrowOnAClosedDevice()
{
    const QString text(65536, QLatin1Char('x'));
    QBuffer buffer;
    Output output;
    output.SetIODevice(&buffer, false);
    const qint64 before = ResidentMegabytes();
    for (int i = 0; i < 10000; ++i)
        Write(output, text);
    const qint64 growth = ResidentMegabytes() - before;
    QVERIFY2(growth < 400, QByteArray::number(growth).constData());
}

void TestOutputBase::memoryDoesNotGrowOnAFullFile()
{
    // A buffered file accepts what the full disk behind it does not.
    const QString text(8000, QLatin1Char('x'));
    QFile file(QLatin1String("/dev/full"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    Output output;
    output.SetIODevice(&file, false);
    const qint64 before = ResidentMegabytes();
    for (int i = 0; i < 80000; ++i)
        Write(output, text);
    const qint64 growth = ResidentMegabytes() - before;
    QVERIFY2(growth < 400, QByteArray::number(growth).constData());
    output.SetIODevice(Output::NewNullFile(), true);
}

void TestOutputBase::nothingIsPrintedOnStandardError_data()
{
    static const char* const scenarios[] = {
        "null",        "unopened-buffer", "unopened-file",  "closed-buffer",   "read-only",
        "dead-device", "full-device",     "full-file",      "file-plain",      "file-null",
        "file-full",   "file-directory",  "file-no-folder", "file-empty-name", "file-standard-out"};
    QTest::addColumn<QString>("scenario");
    for (const char* scenario : scenarios)
        QTest::newRow(scenario) << Text(scenario);
}

void TestOutputBase::nothingIsPrintedOnStandardError()
{
    QFETCH(QString, scenario);
    const ZolTest::HostResult result =
        ZolTest::RunHost(Text("host_output_stderr"), QStringList() << scenario);
    QVERIFY(result.exited);
    QCOMPARE(result.exit_code, 0);
    QCOMPARE(result.standard_error, QByteArray());
    QVERIFY(result.standard_output.endsWith("done\n"));
}

QTEST_MAIN(TestOutputBase)
#include "tst_output_base.moc"
