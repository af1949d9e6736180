#include "dbg_server_interface.h"

#include "dbg_msg_details.h"
#include "exit_gate.h"
#include "open_file.h"
#include "qt_compat.h"

#include <QtCore/QByteArray>
#include <QtCore/QFile>

#include <errno.h>
#include <string.h>
#include <unistd.h>

#include <new>
#include <typeinfo>

namespace Zol {

namespace {

const int most_kept_bytes = 65536;
const DebugLevel built_in_mask = DBG_WARN | DBG_ERROR | DBG_CRITICAL | DBG_FATAL;

/** Writes past Qt's buffers, and returns how many bytes were written. */
qint64 WriteToDescriptor(int descriptor, const QByteArray& bytes)
{
    qint64 written = 0;
    while (written < bytes.size()) {
        const ssize_t some = ::write(descriptor, bytes.constData() + written,
                                     static_cast<size_t>(bytes.size() - written));
        if (some < 0 && errno == EINTR)
            continue;
        if (some <= 0)
            break;
        written += some;
    }
    return written;
}

/** Whether nobody but the library's own writing moves the position of this device. */
bool IsPlainLogFile(QIODevice& device)
{
    return typeid(device) == typeid(QFile) && !device.isReadable() &&
           !static_cast<QFile&>(device).fileName().isEmpty();
}

/** Writes and flushes @p bytes, and returns how many of them the device took. */
qint64 WriteBytes(QIODevice& device, const QByteArray& bytes)
{
    // A QFile would keep what it could not write in its buffer, with no way to take it back.
    if (IsPlainLogFile(device)) {
        QFile& file = static_cast<QFile&>(device);
        return file.flush() ? WriteToDescriptor(file.handle(), bytes) : 0;
    }
    if (!QtCompat::Flush(device))
        return 0; // there is still no room for what it buffers
    const qint64 written = device.write(bytes);
    QtCompat::Flush(device);
    return written;
}

/** Appends @p text to @p bytes if all of it is ASCII, and says whether it is. */
bool AppendAscii(QByteArray& bytes, const QString& text)
{
    const int block = 16; // of which a compiler makes few instructions
    const int size = static_cast<int>(text.size());
    const int before = static_cast<int>(bytes.size());
    bytes.resize(before + size);
    const QChar* const from = text.constData();
    char* const to = bytes.data() + before;
    unsigned int all = 0;
    int done = 0;
    for (; done + block <= size; done += block) {
        unsigned short wide[block];
        memcpy(wide, static_cast<const void*>(from + done), sizeof(wide));
        unsigned short any = 0;
        for (int i = 0; i < block; ++i)
            any = static_cast<unsigned short>(any | wide[i]);
        char narrow[block];
        for (int i = 0; i < block; ++i)
            narrow[i] = static_cast<char>(wide[i]);
        memcpy(to + done, narrow, sizeof(narrow));
        all |= any;
    }
    for (; done < size; ++done) {
        all |= from[done].unicode();
        to[done] = static_cast<char>(from[done].unicode());
    }
    return all < 128;
}

const QString& Wildcard()
{
    static const QString& name = *new QString(QLatin1Char('*'));
    return name;
}

} // namespace

DbgServerInterface::ModuleStatusMap::ModuleStatusMap() {}

DebugLevel DbgServerInterface::ModuleStatusMap::GetStatus(const QString& module) const
{
    QMap<QString, DebugLevel>::const_iterator entry = m_impl.constFind(module);
    if (entry == m_impl.constEnd())
        entry = m_impl.constFind(Wildcard());
    return entry == m_impl.constEnd() ? built_in_mask : entry.value();
}

void DbgServerInterface::ModuleStatusMap::SetLevelMask(const QString& module, DebugLevel mask)
{
    m_impl.insert(module, mask);
    if (module != Wildcard())
        return;
    for (QMap<QString, DebugLevel>::iterator entry = m_impl.begin(); entry != m_impl.end(); ++entry)
        entry.value() = mask;
}

void DbgServerInterface::ModuleStatusMap::SetLevelOn(const QString& module, DebugLevel lvl)
{
    SetLevelMask(module, GetStatus(module) | lvl);
}

void DbgServerInterface::ModuleStatusMap::SetLevelOff(const QString& module, DebugLevel lvl)
{
    SetLevelMask(module, GetStatus(module) & ~lvl);
}

DbgServerInterface::DbgServerInterface(const QString& server, const QString& option)
    : m_device(NewNullFile())
    , m_i_own_device(true)
    , m_output(new (std::nothrow) QTextStream(m_device))
    , m_main_map(new ModuleStatusMap)
    , m_alternate_map(new ModuleStatusMap)
    , m_status(m_main_map)
    , m_server(server)
    , m_option(option)
    , m_live_device(m_device)
    , m_encoding(QtCompat::EncodesOtherwise)
{
    m_alternate_map->SetLevelMask(Wildcard(), static_cast<DebugLevel>(0));
}

DbgServerInterface::~DbgServerInterface()
{
    delete m_main_map;
    delete m_alternate_map;
    CloseStream();
    ReleaseDevice();
}

bool DbgServerInterface::SetIODevice(QIODevice* device, bool own)
{
    if (!device)
        return false;

    CloseStream();
    if (device != m_live_device)
        ReleaseDevice();
    m_i_own_device = own;
    m_device = device;
    m_live_device = device;
    m_output = new (std::nothrow) QTextStream(device);
    if (!m_output)
        return false;
    // Unique, since a device that is not owned stays connected when another takes its place, and
    // may come back.
    connect(device, SIGNAL(destroyed(QObject*)), this, SLOT(DeviceDestroyed(QObject*)),
            static_cast<Qt::ConnectionType>(Qt::QueuedConnection | Qt::UniqueConnection));
    WriteText(QLatin1String("<DEBUG_SERVER_RESTART/>\n"));
    return true;
}

bool DbgServerInterface::Wants(const DebugMessageDetails& details) const
{
    return (m_status->GetStatus(details.m_module) & details.m_lvl) != 0;
}

void DbgServerInterface::WriteRecord(const QString& text)
{
    Write(text, "\n");
}

void DbgServerInterface::HandleMsg(const DebugMessageDetails& details, const QString& text)
{
    if (Wants(details))
        WriteRecord(text);
}

void DbgServerInterface::DoServerCfg(const QString& module, DebugLevel mask)
{
    if (!module.isEmpty())
        m_main_map->SetLevelMask(module, mask);
}

DebugLevel DbgServerInterface::GetDefaultMask() const
{
    return GetModuleMask(Wildcard());
}

bool DbgServerInterface::SuspendDiskIO()
{
    return false;
}

bool DbgServerInterface::ResumeDiskIO()
{
    return false;
}

QIODevice* DbgServerInterface::NewNullFile()
{
    QFile* const null_file = new QFile(QLatin1String("/dev/null"));
    OpenForWriting(*null_file, QIODevice::Append);
    return null_file;
}

void DbgServerInterface::DeviceDestroyed(QObject* dev)
{
    // The notice is old if the device that now has this address is alive.
    if (!m_output || m_output->device() != dev || m_live_device)
        return;
    m_i_own_device = false;
    SetIODevice(NewNullFile(), true);
}

/*
 * Writes whole lines past the stream's own buffer. A QTextStream keeps its error and its buffer
 * once a write has failed, so a medium that was full for a moment would stay silent for ever.
 */
void DbgServerInterface::WriteText(const QString& text)
{
    Write(text, "");
}

/** Writes @p text and @p line_end, an ASCII text. */
void DbgServerInterface::Write(const QString& text, const char* line_end)
{
    if (!m_output || !m_live_device || !m_device->isWritable())
        return;
    const bool has_cut_line = m_cut_line_device == m_device;
    Encode(has_cut_line ? "\n" : "", text, line_end);
    const qint64 written = WriteBytes(*m_device, m_bytes);
    const bool is_whole = written == m_bytes.size();
    if (m_bytes.capacity() > most_kept_bytes)
        m_bytes = QByteArray();
    if (written <= 0)
        return;
    const bool ends_cut_line = has_cut_line && written == 1;
    if (!is_whole && !ends_cut_line)
        m_cut_line_device = m_device;
    else if (has_cut_line)
        m_cut_line_device = nullptr;
}

/** Encodes three texts, the first and the last in ASCII, one behind the other into m_bytes. */
void DbgServerInterface::Encode(const char* begin, const QString& text, const char* end)
{
    // Late in the exit of the process the stream's encoder may be gone.
    const bool has_encoder = !ExitGate::ProcessExits();
    if (has_encoder) {
        m_output->resetStatus();
        m_output->flush();
        m_encoding = QtCompat::EncodingOf(*m_output);
    }

    m_bytes.reserve(static_cast<int>(text.size()) + 2); // keeps the memory that it has
    m_bytes.resize(0);
    m_bytes.append(begin);
    if (m_encoding != QtCompat::EncodesOtherwise && AppendAscii(m_bytes, text)) {
        m_bytes.append(end);
        return;
    }
    const QString all = QLatin1String(begin) + text + QLatin1String(end);
    if (has_encoder)
        m_bytes = QtCompat::Encode(*m_output, all);
    else
        m_bytes = m_encoding == QtCompat::EncodesLatin1 ? all.toLatin1() : QtCompat::ToUtf8(all);
}

void DbgServerInterface::CloseStream()
{
    if (!m_output)
        return;
    if (!m_live_device || !m_device->isWritable())
        m_output->setStatus(QTextStream::WriteFailed); // keeps it from flushing into the device
    delete m_output;
    m_output = 0;
}

void DbgServerInterface::ReleaseDevice()
{
    if (!m_live_device || !m_i_own_device)
        return;
    QObject::disconnect(m_device, nullptr, this, nullptr);
    delete m_device;
}

} // namespace Zol
