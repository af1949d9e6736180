#include "file_dbg_interface.h"

#include "concrete_debug_interface_factory.h"
#include "open_file.h"

namespace Zol {

namespace {

// Never destroyed: the collector's thread may still create outputs while the process exits.
ConcreteDebugInterfaceFactory<FileDbgInterface>& FileDbgInterfaceInterface_factory =
    *new ConcreteDebugInterfaceFactory<FileDbgInterface>(QLatin1String("file"));

} // namespace

FileDbgInterface::FileDbgInterface(const QString& server, QString option)
    : DbgServerInterface(server, option)
    , m_file_name(server)
    , m_force_append(false)
{
    Open();
    SetIODevice(&m_log_file, false);
}

FileDbgInterface::~FileDbgInterface()
{
    Close();
}

bool FileDbgInterface::SuspendDiskIO()
{
    if (!m_log_file.isOpen())
        return false;
    m_force_append = true;
    Close();
    SelectAlternateModuleMaskMap();
    SetIODevice(NewNullFile(), true);
    return true;
}

bool FileDbgInterface::ResumeDiskIO()
{
    if (m_log_file.isOpen())
        return false;
    Open();
    SelectMainModuleMaskMap();
    SetIODevice(&m_log_file, false);
    return true;
}

void FileDbgInterface::Open()
{
    const bool truncate = GetOption().contains(QLatin1Char('t')) && !m_force_append;
    QIODevice::OpenMode mode =
        QIODevice::WriteOnly | (truncate ? QIODevice::Truncate : QIODevice::Append);
    if (GetOption().contains(QLatin1Char('u')))
        mode |= QIODevice::Unbuffered;
    m_log_file.setFileName(m_file_name);
    OpenForWriting(m_log_file, mode);
}

void FileDbgInterface::Close()
{
    if (!m_log_file.isOpen())
        return; // Qt would warn about the flush
    m_log_file.flush();
    m_log_file.close();
}

} // namespace Zol
