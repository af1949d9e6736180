#include "dbg_msg_details.h"
#include "dbg_server_interface.h"
#include "log_record.h"
#include "temp_dir.h"

#include <QtCore/QBuffer>
#include <QtCore/QFile>
#include <QtCore/QTextStream>
#include <QtTest/QtTest>

#include <functional>
#include <new>
#include <type_traits>

using namespace Zol;

namespace {

const char restart[] = "<DEBUG_SERVER_RESTART/>\n";
const char text_of_file[] = "first\nsecond\nthird\n";

typedef std::function<void(QIODevice&)> Use;

class Output : public DbgServerInterface
{
public:
    Output()
        : DbgServerInterface(QString(), QString())
    {
    }
};

void Write(DbgServerInterface& output, const char* text)
{
    const DebugMessageDetails details(QDateTime(), QLatin1String("M"), QString(), 0, QString(),
                                      DBG_FATAL, QString(), QString());
    output.HandleMsg(details, QString::fromLatin1(text));
}

/** What a file holds, and what the device of its user said of it, after all was written. */
struct FileState
{
    QByteArray bytes;
    QList<qint64> positions;
};

FileState StateOf(const QString& path, const QList<qint64>& positions)
{
    const FileState state = {ZolTest::ReadFile(QFile::encodeName(path)), positions};
    return state;
}

void MakeFile(QFile& file, const QByteArray& bytes, QIODevice::OpenMode mode)
{
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(bytes), qint64(bytes.size()));
    file.close();
    QVERIFY(file.open(mode));
}

/** Writes two records to a file that its owner uses before and between. */
FileState WriteByOutput(const QString& path, const QByteArray& bytes, QIODevice::OpenMode mode,
                        const Use& before, const Use& between)
{
    QFile file(path);
    MakeFile(file, bytes, mode);
    before(file);
    QList<qint64> positions;
    {
        Output output;
        output.SetIODevice(&file, false);
        positions.append(file.pos());
        between(file);
        Write(output, "record");
        positions.append(file.pos());
        between(file);
        output.GetOutput() << "text ";
        Write(output, "other");
        positions.append(file.pos());
    }
    file.close();
    return StateOf(path, positions);
}

/** The same by means of Qt alone. */
FileState WriteByStream(const QString& path, const QByteArray& bytes, QIODevice::OpenMode mode,
                        const Use& before, const Use& between)
{
    QFile file(path);
    MakeFile(file, bytes, mode);
    before(file);
    QList<qint64> positions;
    {
        QTextStream stream(&file);
        stream << restart;
        stream.flush();
        positions.append(file.pos());
        between(file);
        stream << "record\n";
        stream.flush();
        positions.append(file.pos());
        between(file);
        stream << "text other\n";
        stream.flush();
        positions.append(file.pos());
    }
    file.close();
    return StateOf(path, positions);
}

void CompareWithStream(const QByteArray& bytes, QIODevice::OpenMode mode, const Use& before,
                       const Use& between)
{
    const ZolTest::TempDir dir;
    const FileState actual = WriteByOutput(dir.Path("output"), bytes, mode, before, between);
    const FileState expected = WriteByStream(dir.Path("stream"), bytes, mode, before, between);
    QCOMPARE(actual.bytes, expected.bytes);
    QCOMPARE(actual.positions, expected.positions);
    QVERIFY(actual.bytes.contains("text other\n"));
}

void DoNothing(QIODevice&) {}

void ReadLine(QIODevice& device)
{
    device.readLine();
}

void ReadThreeBytes(QIODevice& device)
{
    QCOMPARE(device.read(3).size(), 3);
}

void Peek(QIODevice& device)
{
    device.peek(4);
}

void UnreadByte(QIODevice& device)
{
    char byte = 0;
    QVERIFY(device.getChar(&byte));
    device.ungetChar(byte);
}

void ReadAll(QIODevice& device)
{
    device.readAll();
}

void SeekToEnd(QIODevice& device)
{
    QVERIFY(device.seek(device.size()));
}

void ReadAndSeekBack(QIODevice& device)
{
    device.readLine();
    QVERIFY(device.seek(2));
}

void WriteAndRead(QIODevice& device)
{
    device.write("own");
    device.readLine();
}

void ReadAndWrite(QIODevice& device)
{
    device.readLine();
    device.write("own");
}

const struct
{
    const char* name;
    void (*function)(QIODevice&);
} uses[] = {{"not used", DoNothing},
            {"a line read", ReadLine},
            {"three bytes read", ReadThreeBytes},
            {"peeked", Peek},
            {"a byte put back", UnreadByte},
            {"all read", ReadAll},
            {"at the end", SeekToEnd},
            {"read and sought", ReadAndSeekBack},
            {"written and read", WriteAndRead},
            {"read and written", ReadAndWrite}};

void AddUses()
{
    QTest::addColumn<int>("use");
    for (int i = 0; i < static_cast<int>(sizeof uses / sizeof *uses); ++i)
        QTest::newRow(uses[i].name) << i;
}

/** A device in memory with limited space. */
class SmallDevice : public QIODevice
{
public:
    SmallDevice(QByteArray& bytes, qint64 space)
        : m_bytes(bytes)
        , m_space(space)
    {
        open(QIODevice::WriteOnly | QIODevice::Unbuffered);
    }

    bool isSequential() const override { return true; }

    void SetSpace(qint64 space) { m_space = space; }

protected:
    qint64 readData(char*, qint64) override { return -1; }

    qint64 writeData(const char* data, qint64 size) override
    {
        const qint64 taken = qMin(size, m_space);
        m_space -= taken;
        m_bytes.append(data, static_cast<int>(taken));
        return taken > 0 ? taken : -1;
    }

private:
    QByteArray& m_bytes;
    qint64 m_space;
};

const qint64 plenty = 1000000;
const qint64 restart_size = sizeof restart - 1;

/** Room for one device after the other at the same address. */
class Place
{
public:
    SmallDevice* Build(QByteArray& bytes, qint64 space)
    {
        return new (&m_memory) SmallDevice(bytes, space);
    }

private:
    std::aligned_storage<sizeof(SmallDevice), alignof(SmallDevice)>::type m_memory;
};

} // namespace

class TestDevicePositions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void outputWritesWhereAStreamWould_data();
    void outputWritesWhereAStreamWould();
    void outputWritesWhereAStreamWouldToAnUnbufferedFile_data();
    void outputWritesWhereAStreamWouldToAnUnbufferedFile();
    void outputWritesWhereAStreamWouldToAnAppendedFile_data();
    void outputWritesWhereAStreamWouldToAnAppendedFile();
    void outputWritesWhereAStreamWouldToATextFile_data();
    void outputWritesWhereAStreamWouldToATextFile();
    void outputWritesWhereAStreamWouldWhileItsOwnerReadsOn_data();
    void outputWritesWhereAStreamWouldWhileItsOwnerReadsOn();
    void outputOverwritesWhatFollowsThePosition();
    void outputWritesIntoAPartlyReadBuffer();

    void cutLineIsNotEndedOnANewDeviceAtTheSameAddress();
    void cutLineIsNotEndedOnALaterDeviceAtTheSameAddress();
    void cutLineOfALivingDeviceIsEnded();
    void cutLineWhoseEndAloneFitsIsEndedOnce();
    void cutLineWhoseEndAloneFitsIsEndedOnceForManyRecords();
    void cutLineEndedByTheRestartMarkerIsEndedOnce();
};

void TestDevicePositions::outputWritesWhereAStreamWould_data()
{
    AddUses();
}

void TestDevicePositions::outputWritesWhereAStreamWould()
{
    QFETCH(int, use);
    CompareWithStream(text_of_file, QIODevice::ReadWrite, uses[use].function, DoNothing);
    // A file that is larger than what is read ahead.
    CompareWithStream(QByteArray(text_of_file).repeated(5000), QIODevice::ReadWrite,
                      uses[use].function, DoNothing);
}

void TestDevicePositions::outputWritesWhereAStreamWouldToAnUnbufferedFile_data()
{
    AddUses();
}

void TestDevicePositions::outputWritesWhereAStreamWouldToAnUnbufferedFile()
{
    QFETCH(int, use);
    CompareWithStream(text_of_file, QIODevice::ReadWrite | QIODevice::Unbuffered,
                      uses[use].function, DoNothing);
}

void TestDevicePositions::outputWritesWhereAStreamWouldToAnAppendedFile_data()
{
    AddUses();
}

void TestDevicePositions::outputWritesWhereAStreamWouldToAnAppendedFile()
{
    QFETCH(int, use);
    const QIODevice::OpenMode mode = QIODevice::ReadWrite | QIODevice::Append;
    // Such a file begins at its end.
    CompareWithStream(
        text_of_file, mode,
        [use](QIODevice& device) {
            QVERIFY(device.seek(0));
            uses[use].function(device);
        },
        DoNothing);
}

void TestDevicePositions::outputWritesWhereAStreamWouldToATextFile_data()
{
    AddUses();
}

void TestDevicePositions::outputWritesWhereAStreamWouldToATextFile()
{
    QFETCH(int, use);
    CompareWithStream("first\r\nsecond\r\nthird\r\n", QIODevice::ReadWrite | QIODevice::Text,
                      uses[use].function, DoNothing);
}

void TestDevicePositions::outputWritesWhereAStreamWouldWhileItsOwnerReadsOn_data()
{
    AddUses();
}

void TestDevicePositions::outputWritesWhereAStreamWouldWhileItsOwnerReadsOn()
{
    QFETCH(int, use);
    const QByteArray bytes = QByteArray(text_of_file).repeated(50);
    CompareWithStream(bytes, QIODevice::ReadWrite, DoNothing, uses[use].function);
    CompareWithStream(bytes, QIODevice::ReadWrite, ReadLine, uses[use].function);
}

void TestDevicePositions::outputOverwritesWhatFollowsThePosition()
{
    const ZolTest::TempDir dir;
    QFile file(dir.Path("file"));
    MakeFile(file, text_of_file, QIODevice::ReadWrite);
    QCOMPARE(file.readLine(), QByteArray("first\n"));
    {
        Output output;
        output.SetIODevice(&file, false);
        Write(output, "record");
    }
    QCOMPARE(file.pos(), qint64(6) + restart_size + 7);
    file.close();
    QCOMPARE(ZolTest::ReadFile(QFile::encodeName(dir.Path("file"))),
             QByteArray("first\n") + restart + "record\n");
}

void TestDevicePositions::outputWritesIntoAPartlyReadBuffer()
{
    QBuffer buffer;
    buffer.setData(text_of_file);
    QVERIFY(buffer.open(QIODevice::ReadWrite));
    buffer.readLine();
    Output output;
    output.SetIODevice(&buffer, false);
    Write(output, "record");
    QCOMPARE(buffer.data(), QByteArray("first\n") + restart + "record\n");
}

void TestDevicePositions::cutLineIsNotEndedOnANewDeviceAtTheSameAddress()
{
    Place place;
    QByteArray first, second, between;
    SmallDevice other(between, plenty);
    Output output;
    SmallDevice* const old_device = place.Build(first, restart_size + 4);
    output.SetIODevice(old_device, false);
    Write(output, "cut short");
    QCOMPARE(first, restart + QByteArray("cut "));
    output.SetIODevice(&other, false);
    old_device->~SmallDevice();
    SmallDevice* const new_device = place.Build(second, plenty);
    QVERIFY(new_device == old_device);
    output.SetIODevice(new_device, false);
    QCOMPARE(second, QByteArray(restart));
    Write(output, "record");
    output.SetIODevice(&other, false);
    new_device->~SmallDevice();
    QCOMPARE(second, restart + QByteArray("record\n"));
    QCOMPARE(between, QByteArray(restart) + restart);
}

void TestDevicePositions::cutLineIsNotEndedOnALaterDeviceAtTheSameAddress()
{
    Place place;
    QByteArray first, second, between;
    SmallDevice other(between, plenty);
    Output output;
    SmallDevice* device = place.Build(first, restart_size + 4);
    output.SetIODevice(device, false);
    Write(output, "cut short");
    output.SetIODevice(&other, false);
    Write(output, "record");
    device->~SmallDevice();
    Write(output, "record");
    QCoreApplication::sendPostedEvents();
    device = place.Build(second, plenty);
    output.SetIODevice(device, false);
    QCoreApplication::sendPostedEvents();
    Write(output, "record");
    QCOMPARE(second, restart + QByteArray("record\n"));
    output.SetIODevice(&other, false);
    device->~SmallDevice();
}

void TestDevicePositions::cutLineOfALivingDeviceIsEnded()
{
    QByteArray bytes, between;
    SmallDevice device(bytes, restart_size + 4);
    SmallDevice other(between, plenty);
    Output output;
    output.SetIODevice(&device, false);
    Write(output, "cut short");
    output.SetIODevice(&other, false);
    device.SetSpace(plenty);
    output.SetIODevice(&device, false);
    Write(output, "record");
    QCOMPARE(bytes, restart + QByteArray("cut \n") + restart + "record\n");
}

void TestDevicePositions::cutLineWhoseEndAloneFitsIsEndedOnce()
{
    QByteArray bytes;
    SmallDevice device(bytes, restart_size + 4);
    Output output;
    output.SetIODevice(&device, false);
    Write(output, "cut short");
    device.SetSpace(1);
    Write(output, "dropped");
    device.SetSpace(plenty);
    Write(output, "record");
    QCOMPARE(bytes, restart + QByteArray("cut \nrecord\n"));
}

void TestDevicePositions::cutLineWhoseEndAloneFitsIsEndedOnceForManyRecords()
{
    QByteArray bytes;
    SmallDevice device(bytes, restart_size + 4);
    Output output;
    output.SetIODevice(&device, false);
    Write(output, "cut short");
    Write(output, "dropped");
    device.SetSpace(1);
    Write(output, "dropped");
    Write(output, "dropped");
    device.SetSpace(3);
    Write(output, "cut again");
    device.SetSpace(1);
    Write(output, "dropped");
    device.SetSpace(plenty);
    Write(output, "record");
    QCOMPARE(bytes, restart + QByteArray("cut \ncut\nrecord\n"));
}

void TestDevicePositions::cutLineEndedByTheRestartMarkerIsEndedOnce()
{
    QByteArray bytes;
    SmallDevice device(bytes, restart_size + 4);
    Output output;
    output.SetIODevice(&device, false);
    Write(output, "cut short");
    device.SetSpace(1);
    output.SetIODevice(&device, false);
    device.SetSpace(plenty);
    Write(output, "record");
    const QByteArray begin = restart + QByteArray("cut \n");
    QVERIFY(bytes == begin + "record\n" || bytes == begin + restart + "record\n");
}

QTEST_MAIN(TestDevicePositions)
#include "tst_device_positions.moc"
