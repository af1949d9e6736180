#include "dbg_msg_details.h"
#include "file_dbg_interface.h"
#include "log_record.h"
#include "temp_dir.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QMetaObject>
#include <QtTest/QtTest>

#include <type_traits>

#include <signal.h>
#include <sys/resource.h>

using namespace Zol;

namespace {

const QByteArray restart("<DEBUG_SERVER_RESTART/>\n");

QString Text(const char* text)
{
    return QString::fromUtf8(text);
}

void Write(DbgServerInterface& output, const char* text, int level = DBG_ERROR)
{
    const DebugMessageDetails details(QDateTime(), Text("M"), QString(), 0, QString(),
                                      static_cast<DebugLevel>(level), QString(), QString());
    output.HandleMsg(details, Text(text));
}

QByteArray BytesOf(const QString& path)
{
    return ZolTest::ReadFile(QFile::encodeName(path));
}

void Fill(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append) || file.write(bytes) != bytes.size())
        qFatal("cannot write %s", qPrintable(path));
}

QIODevice* DeviceOf(const DbgServerInterface& output)
{
    return output.GetOutput().device();
}

int Mode(const DbgServerInterface& output)
{
    return static_cast<int>(DeviceOf(output)->openMode());
}

QFileInfoList OpenFiles()
{
    return QDir(Text("/proc/self/fd")).entryInfoList(QDir::AllEntries | QDir::System);
}

bool IsOpen(const QString& path)
{
    const QFileInfoList files = OpenFiles();
    for (const QFileInfo& file : files) {
        if (QFile::symLinkTarget(file.filePath()) == path)
            return true;
    }
    return false;
}

/** Lets no file of this process grow beyond a size, like a full disk. */
class FullDisk
{
public:
    explicit FullDisk(qint64 size)
    {
        signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_before);
        struct rlimit limit = m_before;
        limit.rlim_cur = static_cast<rlim_t>(size);
        setrlimit(RLIMIT_FSIZE, &limit);
    }

    ~FullDisk() { setrlimit(RLIMIT_FSIZE, &m_before); }

private:
    Q_DISABLE_COPY(FullDisk)

    struct rlimit m_before;
};

/** Whether no line but those of "cut short" and "dropped" is cut, and none is joined. */
bool HasWholeLines(const QByteArray& log)
{
    const QList<QByteArray> lines = log.split('\n');
    for (const QByteArray& line : lines) {
        if (line != "first" && line != "whole" && line + '\n' != restart &&
            !QByteArray("cut short").startsWith(line) && !QByteArray("dropped").startsWith(line))
            return false;
    }
    return log.endsWith('\n');
}

void OptionRows()
{
    QTest::addColumn<QString>("option");
    QTest::newRow("none") << Text("");
    QTest::newRow("t") << Text("t");
    QTest::newRow("u") << Text("u");
    QTest::newRow("tu") << Text("tu");
}

} // namespace

class TestFileOutput : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void classHasNoMethodsOfItsOwn();
    void classIsNotCopyable();
    void optionIsKept();
    void fileIsTheDevice();
    void deviceBearsTheFileName();
    void openModeFollowsTheOption_data();
    void openModeFollowsTheOption();
    void openModeAfterASuspensionAppends_data();
    void openModeAfterASuspensionAppends();

    void newFileBeginsWithTheRestartMarker_data();
    void newFileBeginsWithTheRestartMarker();
    void recordReachesTheFileAtOnce_data();
    void recordReachesTheFileAtOnce();
    void recordBelowTheMaskIsNotWritten();
    void existingFileIsAppendedTo_data();
    void existingFileIsAppendedTo();
    void existingFileIsTruncated_data();
    void existingFileIsTruncated();
    void destructionWritesNothing_data();
    void destructionWritesNothing();
    void destructionClosesTheFile();
    void streamedTextReachesTheFileOnDestruction();
    void outputsShareAFile();
    void fileNameMayBeNonAscii();

    void freshOutputRefusesToResume();
    void suspensionIsDoneOnce();
    void resumptionIsDoneOnce();
    void suspensionSelectsTheAlternateMasks();
    void suspensionAttachesTheNullDevice();
    void suspensionWritesNothing();
    void suspensionClosesTheFile();
    void streamedTextReachesTheFileOnSuspension();
    void nothingIsWrittenWhileSuspended_data();
    void nothingIsWrittenWhileSuspended();
    void configurationWhileSuspendedIsInForceLater();
    void resumptionSelectsTheMainMasks();
    void resumptionWritesTheRestartMarker();
    void everyResumptionWritesTheRestartMarker_data();
    void everyResumptionWritesTheRestartMarker();
    void truncationHappensOnlyOnce_data();
    void truncationHappensOnlyOnce();
    void resumptionAppendsToWhatOthersWrote();
    void resumptionMakesAMissingFile();
    void suspendedOutputIsDestroyedInPeace();

    void missingFolderIsNotMade();
    void failedOpeningLeavesAClosedFile_data();
    void failedOpeningLeavesAClosedFile();
    void failedOpeningCountsAsSuspended();
    void failedOpeningKeepsTheMainMasks();
    void recordsForAMissingFileAreDropped();
    void everyResumptionRetriesTheOpening();
    void resumptionAfterAFailedOpeningStillTruncates();
    void failedResumptionReturnsTrueAndSelectsTheMainMasks();
    void failedResumptionAttachesTheClosedFile();
    void failedResumptionIsRetriedForAppending();
    void folderIsNoFile();

    void fullDeviceIsWrittenInVain_data();
    void fullDeviceIsWrittenInVain();
    void recordsOnAFullDiskAreDropped_data();
    void recordsOnAFullDiskAreDropped();
    void recordBehindACutLineBeginsALine_data();
    void recordBehindACutLineBeginsALine();
    void suspensionOnAFullDiskKeepsLinesApart_data();
    void suspensionOnAFullDiskKeepsLinesApart();
    void suspensionAfterAFullDiskKeepsLinesApart_data();
    void suspensionAfterAFullDiskKeepsLinesApart();
    void fullDiskMayReturn_data();
    void fullDiskMayReturn();
    void restartMarkerOnAFullDiskIsDropped_data();
    void restartMarkerOnAFullDiskIsDropped();
};

void TestFileOutput::classHasNoMethodsOfItsOwn()
{
    const ZolTest::TempDir folder;
    const FileDbgInterface output(folder.Path("log"), QString());
    QCOMPARE(output.metaObject()->methodCount(),
             DbgServerInterface::staticMetaObject.methodCount());
}

void TestFileOutput::classIsNotCopyable()
{
    QVERIFY(!std::is_copy_constructible<FileDbgInterface>::value);
    QVERIFY(!std::is_copy_assignable<FileDbgInterface>::value);
}

void TestFileOutput::optionIsKept()
{
    const ZolTest::TempDir folder;
    const FileDbgInterface output(folder.Path("log"), Text("xtu"));
    QCOMPARE(output.GetOption(), Text("xtu"));
}

void TestFileOutput::fileIsTheDevice()
{
    const ZolTest::TempDir folder;
    const FileDbgInterface output(folder.Path("log"), QString());
    QVERIFY(output.Enabled());
    QVERIFY(qobject_cast<QFile*>(DeviceOf(output)));
    QVERIFY(IsOpen(folder.Path("log")));
}

void TestFileOutput::deviceBearsTheFileName()
{
    const ZolTest::TempDir folder;
    const FileDbgInterface output(folder.Path("log"), QString());
    const QFile* const file = qobject_cast<QFile*>(DeviceOf(output));
    QVERIFY(file);
    QCOMPARE(file->fileName(), folder.Path("log"));
}

void TestFileOutput::openModeFollowsTheOption_data()
{
    QTest::addColumn<QString>("option");
    QTest::addColumn<int>("mode");
    QTest::newRow("none") << Text("") << 6;
    QTest::newRow("null") << QString() << 6;
    QTest::newRow("t") << Text("t") << 10;
    QTest::newRow("u") << Text("u") << 38;
    QTest::newRow("tu") << Text("tu") << 42;
    QTest::newRow("ut") << Text("ut") << 42;
    QTest::newRow("among others") << Text("--xt,9u..") << 42;
    QTest::newRow("in a word") << Text("last") << 10;
    QTest::newRow("in another word") << Text("buffer") << 38;
    QTest::newRow("twice") << Text("tt") << 10;
    QTest::newRow("T") << Text("T") << 6;
    QTest::newRow("U") << Text("U") << 6;
    QTest::newRow("TU") << Text("TU") << 6;
    QTest::newRow("Tu") << Text("Tu") << 38;
    QTest::newRow("unknown") << Text("abc") << 6;
    QTest::newRow("non-ASCII") << Text("\xc3\xbc\xc5\xa3") << 6;
}

void TestFileOutput::openModeFollowsTheOption()
{
    QFETCH(QString, option);
    QFETCH(int, mode);
    const ZolTest::TempDir folder;
    const FileDbgInterface output(folder.Path("log"), option);
    QCOMPARE(Mode(output), mode);
}

void TestFileOutput::openModeAfterASuspensionAppends_data()
{
    QTest::addColumn<QString>("option");
    QTest::addColumn<int>("mode");
    QTest::newRow("none") << Text("") << 6;
    QTest::newRow("t") << Text("t") << 6;
    QTest::newRow("u") << Text("u") << 38;
    QTest::newRow("tu") << Text("tu") << 38;
}

void TestFileOutput::openModeAfterASuspensionAppends()
{
    QFETCH(QString, option);
    QFETCH(int, mode);
    const ZolTest::TempDir folder;
    FileDbgInterface output(folder.Path("log"), option);
    QIODevice* const file = DeviceOf(output);
    for (int i = 0; i < 2; ++i) {
        output.SuspendDiskIO();
        output.ResumeDiskIO();
        QVERIFY(DeviceOf(output) == file);
        QCOMPARE(Mode(output), mode);
    }
}

void TestFileOutput::newFileBeginsWithTheRestartMarker_data()
{
    OptionRows();
}

void TestFileOutput::newFileBeginsWithTheRestartMarker()
{
    QFETCH(QString, option);
    const ZolTest::TempDir folder;
    const FileDbgInterface output(folder.Path("log"), option);
    QCOMPARE(BytesOf(folder.Path("log")), restart);
}

void TestFileOutput::recordReachesTheFileAtOnce_data()
{
    OptionRows();
}

void TestFileOutput::recordReachesTheFileAtOnce()
{
    QFETCH(QString, option);
    const ZolTest::TempDir folder;
    FileDbgInterface output(folder.Path("log"), option);
    Write(output, "one");
    QCOMPARE(BytesOf(folder.Path("log")), restart + "one\n");
    Write(output, "t\xc3\xa4wo");
    QCOMPARE(BytesOf(folder.Path("log")), restart + "one\nt\xc3\xa4wo\n");
}

void TestFileOutput::recordBelowTheMaskIsNotWritten()
{
    const ZolTest::TempDir folder;
    FileDbgInterface output(folder.Path("log"), QString());
    output.DoServerCfg(Text("M"), DBG_INFO);
    Write(output, "held back", DBG_ERROR);
    Write(output, "written", DBG_INFO);
    QCOMPARE(BytesOf(folder.Path("log")), restart + "written\n");
}

void TestFileOutput::existingFileIsAppendedTo_data()
{
    QTest::addColumn<QString>("option");
    QTest::newRow("none") << Text("");
    QTest::newRow("u") << Text("u");
    QTest::newRow("T") << Text("T");
    QTest::newRow("other letters") << Text("abcxyz");
}

void TestFileOutput::existingFileIsAppendedTo()
{
    QFETCH(QString, option);
    const ZolTest::TempDir folder;
    const QString path = folder.Path("log");
    Fill(path, "old\n");
    FileDbgInterface output(path, option);
    Write(output, "record");
    QCOMPARE(BytesOf(path), "old\n" + restart + "record\n");
}

void TestFileOutput::existingFileIsTruncated_data()
{
    QTest::addColumn<QString>("option");
    QTest::newRow("t") << Text("t");
    QTest::newRow("tu") << Text("tu");
    QTest::newRow("among others") << Text("xyutz");
}

void TestFileOutput::existingFileIsTruncated()
{
    QFETCH(QString, option);
    const ZolTest::TempDir folder;
    const QString path = folder.Path("log");
    Fill(path, QByteArray(100000, 'x'));
    FileDbgInterface output(path, option);
    Write(output, "record");
    QCOMPARE(BytesOf(path), restart + "record\n");
}

void TestFileOutput::destructionWritesNothing_data()
{
    OptionRows();
}

void TestFileOutput::destructionWritesNothing()
{
    QFETCH(QString, option);
    const ZolTest::TempDir folder;
    {
        FileDbgInterface output(folder.Path("log"), option);
        Write(output, "record");
    }
    QCOMPARE(BytesOf(folder.Path("log")), restart + "record\n");
}

void TestFileOutput::destructionClosesTheFile()
{
    const ZolTest::TempDir folder;
    const int before = static_cast<int>(OpenFiles().size());
    for (int i = 0; i < 20; ++i) {
        FileDbgInterface output(folder.Path("log"), QString());
        Write(output, "record");
        output.SuspendDiskIO();
        output.ResumeDiskIO();
    }
    QVERIFY(!IsOpen(folder.Path("log")));
    QCOMPARE(static_cast<int>(OpenFiles().size()), before);
}

void TestFileOutput::streamedTextReachesTheFileOnDestruction()
{
    const ZolTest::TempDir folder;
    {
        const FileDbgInterface output(folder.Path("log"), QString());
        output.GetOutput() << "text";
    }
    QCOMPARE(BytesOf(folder.Path("log")), restart + "text");
}

void TestFileOutput::outputsShareAFile()
{
    const ZolTest::TempDir folder;
    FileDbgInterface first(folder.Path("log"), QString());
    FileDbgInterface second(folder.Path("log"), Text("u"));
    Write(first, "one");
    Write(second, "two");
    Write(first, "three");
    QCOMPARE(BytesOf(folder.Path("log")), restart + restart + "one\ntwo\nthree\n");
}

void TestFileOutput::fileNameMayBeNonAscii()
{
    const ZolTest::TempDir folder;
    const QString path = folder.Path("l\xc3\xb6g \xe2\x82\xac%1");
    const FileDbgInterface output(path, QString());
    QCOMPARE(BytesOf(path), restart);
}

void TestFileOutput::freshOutputRefusesToResume()
{
    const ZolTest::TempDir folder;
    FileDbgInterface output(folder.Path("log"), Text("t"));
    Write(output, "one");
    QVERIFY(!output.ResumeDiskIO());
    Write(output, "two");
    QCOMPARE(Mode(output), 10);
    QCOMPARE(BytesOf(folder.Path("log")), restart + "one\ntwo\n");
}

void TestFileOutput::suspensionIsDoneOnce()
{
    const ZolTest::TempDir folder;
    FileDbgInterface output(folder.Path("log"), QString());
    QVERIFY(output.SuspendDiskIO());
    QIODevice* const device = DeviceOf(output);
    QVERIFY(!output.SuspendDiskIO());
    QVERIFY(DeviceOf(output) == device);
    QCOMPARE(static_cast<int>(output.GetDefaultMask()), 0);
}

void TestFileOutput::resumptionIsDoneOnce()
{
    const ZolTest::TempDir folder;
    FileDbgInterface output(folder.Path("log"), QString());
    output.SuspendDiskIO();
    QVERIFY(output.ResumeDiskIO());
    QVERIFY(!output.ResumeDiskIO());
    QCOMPARE(BytesOf(folder.Path("log")), restart + restart);
}

void TestFileOutput::suspensionSelectsTheAlternateMasks()
{
    const ZolTest::TempDir folder;
    FileDbgInterface output(folder.Path("log"), QString());
    output.DoServerCfg(Text("M"), DBG_INFO);
    output.SuspendDiskIO();
    QCOMPARE(static_cast<int>(output.GetModuleMask(Text("M"))), 0);
    QCOMPARE(static_cast<int>(output.GetDefaultMask()), 0);
}

void TestFileOutput::suspensionAttachesTheNullDevice()
{
    const ZolTest::TempDir folder;
    FileDbgInterface output(folder.Path("log"), QString());
    QIODevice* const file = DeviceOf(output);
    output.SuspendDiskIO();
    QVERIFY(output.Enabled());
    QVERIFY(DeviceOf(output) != file);
    QVERIFY(DeviceOf(output)->isOpen());
    QVERIFY(DeviceOf(output)->isWritable());
}

void TestFileOutput::suspensionWritesNothing()
{
    const ZolTest::TempDir folder;
    FileDbgInterface output(folder.Path("log"), QString());
    Write(output, "record");
    output.SuspendDiskIO();
    QCOMPARE(BytesOf(folder.Path("log")), restart + "record\n");
}

void TestFileOutput::suspensionClosesTheFile()
{
    const ZolTest::TempDir folder;
    FileDbgInterface output(folder.Path("log"), QString());
    output.SuspendDiskIO();
    QVERIFY(!IsOpen(folder.Path("log")));
}

void TestFileOutput::streamedTextReachesTheFileOnSuspension()
{
    const ZolTest::TempDir folder;
    FileDbgInterface output(folder.Path("log"), QString());
    output.GetOutput() << "text\n";
    output.SuspendDiskIO();
    QCOMPARE(BytesOf(folder.Path("log")), restart + "text\n");
}

void TestFileOutput::nothingIsWrittenWhileSuspended_data()
{
    OptionRows();
}

void TestFileOutput::nothingIsWrittenWhileSuspended()
{
    QFETCH(QString, option);
    const ZolTest::TempDir folder;
    FileDbgInterface output(folder.Path("log"), option);
    Write(output, "one");
    output.SuspendDiskIO();
    Write(output, "lost");
    output.GetOutput() << "lost too\n";
    output.ResumeDiskIO();
    Write(output, "two");
    QCOMPARE(BytesOf(folder.Path("log")), restart + "one\n" + restart + "two\n");
}

void TestFileOutput::configurationWhileSuspendedIsInForceLater()
{
    const ZolTest::TempDir folder;
    FileDbgInterface output(folder.Path("log"), QString());
    output.SuspendDiskIO();
    output.DoServerCfg(Text("*"), DBG_INFO);
    QCOMPARE(static_cast<int>(output.GetDefaultMask()), 0);
    output.ResumeDiskIO();
    QCOMPARE(static_cast<int>(output.GetDefaultMask()), 2);
}

void TestFileOutput::resumptionSelectsTheMainMasks()
{
    const ZolTest::TempDir folder;
    FileDbgInterface output(folder.Path("log"), QString());
    output.DoServerCfg(Text("M"), DBG_INFO);
    output.SuspendDiskIO();
    output.ResumeDiskIO();
    QCOMPARE(static_cast<int>(output.GetModuleMask(Text("M"))), 2);
    QCOMPARE(static_cast<int>(output.GetDefaultMask()), 60);
}

void TestFileOutput::resumptionWritesTheRestartMarker()
{
    const ZolTest::TempDir folder;
    FileDbgInterface output(folder.Path("log"), QString());
    output.SuspendDiskIO();
    output.ResumeDiskIO();
    QCOMPARE(BytesOf(folder.Path("log")), restart + restart);
}

void TestFileOutput::everyResumptionWritesTheRestartMarker_data()
{
    OptionRows();
}

void TestFileOutput::everyResumptionWritesTheRestartMarker()
{
    QFETCH(QString, option);
    const ZolTest::TempDir folder;
    FileDbgInterface output(folder.Path("log"), option);
    QByteArray expected = restart;
    for (int i = 0; i < 5; ++i) {
        Write(output, "record");
        QVERIFY(output.SuspendDiskIO());
        QVERIFY(output.ResumeDiskIO());
        expected += "record\n" + restart;
    }
    QCOMPARE(BytesOf(folder.Path("log")), expected);
}

void TestFileOutput::truncationHappensOnlyOnce_data()
{
    QTest::addColumn<QString>("option");
    QTest::newRow("t") << Text("t");
    QTest::newRow("tu") << Text("tu");
}

void TestFileOutput::truncationHappensOnlyOnce()
{
    QFETCH(QString, option);
    const ZolTest::TempDir folder;
    const QString path = folder.Path("log");
    Fill(path, "old\n");
    FileDbgInterface output(path, option);
    QCOMPARE(BytesOf(path), restart);
    Write(output, "one");
    output.SuspendDiskIO();
    output.ResumeDiskIO();
    Write(output, "two");
    QCOMPARE(BytesOf(path), restart + "one\n" + restart + "two\n");
}

void TestFileOutput::resumptionAppendsToWhatOthersWrote()
{
    const ZolTest::TempDir folder;
    const QString path = folder.Path("log");
    FileDbgInterface output(path, Text("t"));
    output.SuspendDiskIO();
    Fill(path, "other\n");
    output.ResumeDiskIO();
    QCOMPARE(BytesOf(path), restart + "other\n" + restart);
}

void TestFileOutput::resumptionMakesAMissingFile()
{
    const ZolTest::TempDir folder;
    const QString path = folder.Path("log");
    FileDbgInterface output(path, QString());
    output.SuspendDiskIO();
    QVERIFY(QFile::remove(path));
    output.ResumeDiskIO();
    Write(output, "record");
    QCOMPARE(BytesOf(path), restart + "record\n");
}

void TestFileOutput::suspendedOutputIsDestroyedInPeace()
{
    const ZolTest::TempDir folder;
    {
        FileDbgInterface output(folder.Path("log"), QString());
        output.SuspendDiskIO();
        output.GetOutput() << "lost";
    }
    QCOMPARE(BytesOf(folder.Path("log")), restart);
}

void TestFileOutput::missingFolderIsNotMade()
{
    const ZolTest::TempDir folder;
    FileDbgInterface output(folder.Path("missing/log"), QString());
    Write(output, "record");
    output.ResumeDiskIO();
    QVERIFY(!QFile::exists(folder.Path("missing")));
}

void TestFileOutput::failedOpeningLeavesAClosedFile_data()
{
    OptionRows();
}

void TestFileOutput::failedOpeningLeavesAClosedFile()
{
    QFETCH(QString, option);
    const ZolTest::TempDir folder;
    FileDbgInterface output(folder.Path("missing/log"), option);
    Write(output, "record");
    QVERIFY(output.Enabled());
    const QFile* const file = qobject_cast<QFile*>(DeviceOf(output));
    QVERIFY(file);
    QCOMPARE(file->fileName(), folder.Path("missing/log"));
    QCOMPARE(Mode(output), 0);
}

void TestFileOutput::failedOpeningCountsAsSuspended()
{
    const ZolTest::TempDir folder;
    FileDbgInterface output(folder.Path("missing/log"), QString());
    QIODevice* const file = DeviceOf(output);
    QVERIFY(!output.SuspendDiskIO());
    QVERIFY(DeviceOf(output) == file);
    QCOMPARE(static_cast<int>(output.GetDefaultMask()), 60);
}

void TestFileOutput::failedOpeningKeepsTheMainMasks()
{
    const ZolTest::TempDir folder;
    FileDbgInterface output(folder.Path("missing/log"), QString());
    output.DoServerCfg(Text("M"), DBG_INFO);
    QCOMPARE(static_cast<int>(output.GetModuleMask(Text("M"))), 2);
    QCOMPARE(static_cast<int>(output.GetDefaultMask()), 60);
}

void TestFileOutput::recordsForAMissingFileAreDropped()
{
    const ZolTest::TempDir folder;
    FileDbgInterface output(folder.Path("missing/log"), QString());
    Write(output, "dropped");
    QVERIFY(QDir().mkdir(folder.Path("missing")));
    Write(output, "dropped");
    QVERIFY(!QFile::exists(folder.Path("missing/log")));
    QVERIFY(output.ResumeDiskIO());
    Write(output, "record");
    QCOMPARE(BytesOf(folder.Path("missing/log")), restart + "record\n");
}

void TestFileOutput::everyResumptionRetriesTheOpening()
{
    const ZolTest::TempDir folder;
    FileDbgInterface output(folder.Path("missing/log"), QString());
    QVERIFY(output.ResumeDiskIO());
    QVERIFY(output.ResumeDiskIO());
    QVERIFY(!output.SuspendDiskIO());
    QVERIFY(QDir().mkdir(folder.Path("missing")));
    QVERIFY(output.ResumeDiskIO());
    QVERIFY(!output.ResumeDiskIO());
    QVERIFY(output.SuspendDiskIO());
    QCOMPARE(BytesOf(folder.Path("missing/log")), restart);
}

void TestFileOutput::resumptionAfterAFailedOpeningStillTruncates()
{
    const ZolTest::TempDir folder;
    FileDbgInterface output(folder.Path("missing/log"), Text("t"));
    QVERIFY(!output.SuspendDiskIO());
    QVERIFY(QDir().mkdir(folder.Path("missing")));
    Fill(folder.Path("missing/log"), "old\n");
    QVERIFY(output.ResumeDiskIO());
    QCOMPARE(Mode(output), 10);
    QCOMPARE(BytesOf(folder.Path("missing/log")), restart);
}

void TestFileOutput::failedResumptionReturnsTrueAndSelectsTheMainMasks()
{
    const ZolTest::TempDir folder;
    QVERIFY(QDir().mkdir(folder.Path("a")));
    FileDbgInterface output(folder.Path("a/log"), QString());
    output.SuspendDiskIO();
    QVERIFY(QDir().rename(folder.Path("a"), folder.Path("b")));
    QVERIFY(output.ResumeDiskIO());
    QCOMPARE(static_cast<int>(output.GetDefaultMask()), 60);
}

void TestFileOutput::failedResumptionAttachesTheClosedFile()
{
    const ZolTest::TempDir folder;
    QVERIFY(QDir().mkdir(folder.Path("a")));
    FileDbgInterface output(folder.Path("a/log"), QString());
    QIODevice* const file = DeviceOf(output);
    output.SuspendDiskIO();
    QVERIFY(QDir().rename(folder.Path("a"), folder.Path("b")));
    output.ResumeDiskIO();
    Write(output, "dropped");
    QVERIFY(DeviceOf(output) == file);
    QCOMPARE(Mode(output), 0);
    QVERIFY(!output.SuspendDiskIO());
    QCOMPARE(static_cast<int>(output.GetDefaultMask()), 60);
}

void TestFileOutput::failedResumptionIsRetriedForAppending()
{
    const ZolTest::TempDir folder;
    QVERIFY(QDir().mkdir(folder.Path("a")));
    FileDbgInterface output(folder.Path("a/log"), Text("t"));
    Write(output, "one");
    output.SuspendDiskIO();
    QVERIFY(QDir().rename(folder.Path("a"), folder.Path("b")));
    QVERIFY(output.ResumeDiskIO());
    Write(output, "dropped");
    QVERIFY(QDir().rename(folder.Path("b"), folder.Path("a")));
    QVERIFY(output.ResumeDiskIO());
    QVERIFY(!output.ResumeDiskIO());
    Write(output, "two");
    QCOMPARE(Mode(output), 6);
    QCOMPARE(BytesOf(folder.Path("a/log")), restart + "one\n" + restart + "two\n");
}

void TestFileOutput::folderIsNoFile()
{
    const ZolTest::TempDir folder;
    QVERIFY(QDir().mkdir(folder.Path("log")));
    FileDbgInterface output(folder.Path("log"), QString());
    Write(output, "dropped");
    QVERIFY(!output.SuspendDiskIO());
    QVERIFY(output.ResumeDiskIO());
    QCOMPARE(Mode(output), 0);
}

void TestFileOutput::fullDeviceIsWrittenInVain_data()
{
    OptionRows();
}

void TestFileOutput::fullDeviceIsWrittenInVain()
{
    QFETCH(QString, option);
    FileDbgInterface output(Text("/dev/full"), option);
    QIODevice* const file = DeviceOf(output);
    for (int i = 0; i < 100; ++i)
        Write(output, "dropped");
    QVERIFY(output.Enabled());
    QVERIFY(DeviceOf(output) == file);
    QVERIFY(output.SuspendDiskIO());
    QVERIFY(output.ResumeDiskIO());
    Write(output, "dropped");
    QVERIFY(output.SuspendDiskIO());
}

void TestFileOutput::recordsOnAFullDiskAreDropped_data()
{
    OptionRows();
}

void TestFileOutput::recordsOnAFullDiskAreDropped()
{
    QFETCH(QString, option);
    const ZolTest::TempDir folder;
    FileDbgInterface output(folder.Path("log"), option);
    Write(output, "first");
    {
        const FullDisk full(restart.size() + 6);
        for (int i = 0; i < 100; ++i)
            Write(output, "dropped");
    }
    Write(output, "whole");
    Write(output, "whole");
    QCOMPARE(BytesOf(folder.Path("log")), restart + "first\nwhole\nwhole\n");
}

void TestFileOutput::recordBehindACutLineBeginsALine_data()
{
    OptionRows();
}

void TestFileOutput::recordBehindACutLineBeginsALine()
{
    QFETCH(QString, option);
    const ZolTest::TempDir folder;
    FileDbgInterface output(folder.Path("log"), option);
    Write(output, "first");
    {
        const FullDisk full(restart.size() + 6 + 3);
        Write(output, "cut short");
        Write(output, "dropped");
    }
    Write(output, "whole");
    Write(output, "whole");
    QCOMPARE(BytesOf(folder.Path("log")), restart + "first\ncut\nwhole\nwhole\n");
}

void TestFileOutput::suspensionOnAFullDiskKeepsLinesApart_data()
{
    OptionRows();
}

void TestFileOutput::suspensionOnAFullDiskKeepsLinesApart()
{
    QFETCH(QString, option);
    const ZolTest::TempDir folder;
    FileDbgInterface output(folder.Path("log"), option);
    Write(output, "first");
    {
        const FullDisk full(restart.size() + 6 + 3);
        Write(output, "cut short");
        Write(output, "dropped");
        output.SuspendDiskIO();
    }
    output.ResumeDiskIO();
    Write(output, "whole");
    QCOMPARE(BytesOf(folder.Path("log")), restart + "first\ncut\n" + restart + "whole\n");
}

void TestFileOutput::suspensionAfterAFullDiskKeepsLinesApart_data()
{
    OptionRows();
}

void TestFileOutput::suspensionAfterAFullDiskKeepsLinesApart()
{
    QFETCH(QString, option);
    const ZolTest::TempDir folder;
    FileDbgInterface output(folder.Path("log"), option);
    Write(output, "first");
    {
        const FullDisk full(restart.size() + 6 + 3);
        Write(output, "cut short");
        Write(output, "dropped");
    }
    output.SuspendDiskIO();
    output.ResumeDiskIO();
    Write(output, "whole");
    const QByteArray bytes = BytesOf(folder.Path("log"));
    QVERIFY2(HasWholeLines(bytes), bytes.constData());
    QVERIFY2(bytes.endsWith('\n' + restart + "whole\n"), bytes.constData());
}

void TestFileOutput::fullDiskMayReturn_data()
{
    OptionRows();
}

void TestFileOutput::fullDiskMayReturn()
{
    QFETCH(QString, option);
    const ZolTest::TempDir folder;
    FileDbgInterface output(folder.Path("log"), option);
    for (int i = 0; i < 10; ++i) {
        Write(output, "whole");
        const FullDisk full(BytesOf(folder.Path("log")).size() + i % 5);
        Write(output, "cut short");
        Write(output, "dropped");
    }
    Write(output, "whole");
    const QByteArray bytes = BytesOf(folder.Path("log"));
    QVERIFY2(HasWholeLines(bytes), bytes.constData());
    QCOMPARE(static_cast<int>(bytes.count("\nwhole\n")), 11);
}

void TestFileOutput::restartMarkerOnAFullDiskIsDropped_data()
{
    OptionRows();
}

void TestFileOutput::restartMarkerOnAFullDiskIsDropped()
{
    QFETCH(QString, option);
    const ZolTest::TempDir folder;
    FileDbgInterface output(folder.Path("log"), option);
    Write(output, "first");
    output.SuspendDiskIO();
    {
        const FullDisk full(restart.size() + 6 + 4);
        output.ResumeDiskIO();
    }
    Write(output, "whole");
    QCOMPARE(BytesOf(folder.Path("log")), restart + "first\n<DEB\nwhole\n");
}

QTEST_MAIN(TestFileOutput)
#include "tst_file_output.moc"
