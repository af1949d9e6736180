#include "open_file.h"

#include <QtCore/QByteArray>

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Zol {

namespace {

/** Whether the path names something that exists and is no file, such as a pipe or a terminal. */
bool IsSpecial(const QByteArray& path)
{
    struct stat status;
    return ::stat(path.constData(), &status) == 0 && !S_ISREG(status.st_mode);
}

int OpenDescriptor(const QByteArray& path)
{
    int descriptor;
    do {
        descriptor = ::open(path.constData(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
    } while (descriptor == -1 && errno == EINTR);
    return descriptor;
}

bool CanSeek(int descriptor)
{
    return ::lseek(descriptor, 0, SEEK_CUR) != -1;
}

} // namespace

bool OpenForWriting(QFile& file, QIODevice::OpenMode mode)
{
    const QByteArray path = QFile::encodeName(file.fileName());
    if (path.isEmpty())
        return false; // Qt would warn about it
    if (!IsSpecial(path))
        return file.open(mode);

    const int descriptor = OpenDescriptor(path);
    if (descriptor == -1)
        return false;
    if (!CanSeek(descriptor)) // a pipe: Qt would look for its end in vain, and fail
        mode = (mode & ~QIODevice::Append) | QIODevice::WriteOnly;
    if (file.open(descriptor, mode, QFile::AutoCloseHandle))
        return true;
    ::close(descriptor);
    return false;
}

} // namespace Zol
