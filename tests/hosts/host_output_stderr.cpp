// Writes to devices that do not take it all; the test looks at standard error.
// Usage: host_output_stderr SCENARIO

#include "dbg_msg_details.h"
#include "dbg_server_interface.h"
#include "file_dbg_interface.h"
#include "temp_dir.h"

#include <QtCore/QBuffer>
#include <QtCore/QCoreApplication>
#include <QtCore/QFile>

#include <cstdio>
#include <memory>

namespace {

class Output : public Zol::DbgServerInterface
{
public:
    Output()
        : DbgServerInterface(QString(), QString())
    {
    }

    using DbgServerInterface::NewNullFile;
};

class FullDevice : public QIODevice
{
public:
    FullDevice()
        : m_space(100)
    {
        open(QIODevice::WriteOnly | QIODevice::Unbuffered);
    }

    bool isSequential() const override { return true; }

protected:
    qint64 readData(char*, qint64) override { return -1; }

    qint64 writeData(const char*, qint64 size) override
    {
        const qint64 taken = qMin(size, m_space);
        m_space -= taken;
        return taken ? taken : -1;
    }

private:
    qint64 m_space;
};

void Write(Zol::DbgServerInterface& output)
{
    const Zol::DebugMessageDetails details(QDateTime(), QLatin1String("M"), QString(), 0, QString(),
                                           Zol::DBG_ERROR, QString(), QString());
    for (int i = 0; i < 10; ++i)
        output.HandleMsg(details, QLatin1String("a record"));
    output.HandleMsg(details, QString(100000, QLatin1Char('x')));
    output.GetOutput() << "some text\n";
    output.HandleMsg(details, QLatin1String("a record"));
    output.GetOutput() << "some text\n";
    QCoreApplication::sendPostedEvents();
}

void WriteSuspendAndResume(Zol::DbgServerInterface& output)
{
    Write(output);
    output.ResumeDiskIO();
    Write(output);
    output.SuspendDiskIO();
    Write(output);
    output.SuspendDiskIO();
    output.ResumeDiskIO();
    Write(output);
}

void WriteTo(QIODevice& device)
{
    {
        Output output;
        output.SetIODevice(&device, false);
        Write(output);
        output.SetIODevice(&device, false);
        Write(output);
        output.SetIODevice(Output::NewNullFile(), true);
        Write(output);
    }
    Output output;
    output.SetIODevice(&device, false);
    Write(output);
}

void WriteToFile(const QString& path)
{
    const char* const options[] = {"", "t", "u", "tu"};
    for (const char* option : options) {
        Zol::FileDbgInterface output(path, QLatin1String(option));
        WriteSuspendAndResume(output);
    }
    Zol::FileDbgInterface suspended(path, QString());
    suspended.SuspendDiskIO();
    Write(suspended);
}

void Null()
{
    Output output;
    WriteSuspendAndResume(output);
}

void UnopenedBuffer()
{
    QBuffer buffer;
    WriteTo(buffer);
}

void UnopenedFile()
{
    QFile file;
    WriteTo(file);
}

void ClosedBuffer()
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    Output output;
    output.SetIODevice(&buffer, false);
    Write(output);
    buffer.close();
    Write(output);
    Write(output);
}

void ReadOnly()
{
    QBuffer buffer;
    buffer.open(QIODevice::ReadOnly);
    WriteTo(buffer);
}

void DeadDevice()
{
    std::unique_ptr<QBuffer> buffer(new QBuffer);
    buffer->open(QIODevice::WriteOnly);
    Output output;
    output.SetIODevice(buffer.get(), false);
    Write(output);
    buffer.reset();
    Write(output);
    Write(output);
}

void FullMemory()
{
    FullDevice device;
    WriteTo(device);
}

void FullFile()
{
    const QIODevice::OpenMode modes[] = {QIODevice::WriteOnly,
                                         QIODevice::WriteOnly | QIODevice::Unbuffered};
    for (QIODevice::OpenMode mode : modes) {
        QFile file(QLatin1String("/dev/full"));
        file.open(mode);
        WriteTo(file);
    }
}

bool Run(const QString& scenario)
{
    const ZolTest::TempDir folder;
    if (scenario == QLatin1String("null"))
        Null();
    else if (scenario == QLatin1String("unopened-buffer"))
        UnopenedBuffer();
    else if (scenario == QLatin1String("unopened-file"))
        UnopenedFile();
    else if (scenario == QLatin1String("closed-buffer"))
        ClosedBuffer();
    else if (scenario == QLatin1String("read-only"))
        ReadOnly();
    else if (scenario == QLatin1String("dead-device"))
        DeadDevice();
    else if (scenario == QLatin1String("full-device"))
        FullMemory();
    else if (scenario == QLatin1String("full-file"))
        FullFile();
    else if (scenario == QLatin1String("file-plain"))
        WriteToFile(folder.Path("log"));
    else if (scenario == QLatin1String("file-null"))
        WriteToFile(QLatin1String("/dev/null"));
    else if (scenario == QLatin1String("file-full"))
        WriteToFile(QLatin1String("/dev/full"));
    else if (scenario == QLatin1String("file-directory"))
        WriteToFile(QLatin1String("/"));
    else if (scenario == QLatin1String("file-no-folder"))
        WriteToFile(folder.Path("missing/log"));
    else if (scenario == QLatin1String("file-empty-name"))
        WriteToFile(QString());
    else if (scenario == QLatin1String("file-standard-out"))
        WriteToFile(QLatin1String("/dev/stdout"));
    else
        return false;
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    if (argc != 2 || !Run(QString::fromLatin1(argv[1])))
        return 2;
    std::printf("done\n");
    return 0;
}
