#ifndef ZOLDEBUG_OPEN_FILE_H
#define ZOLDEBUG_OPEN_FILE_H

#include <QtCore/QFile>
#include <QtCore/QIODevice>

namespace Zol {

/**
 * Opens @p file for writing by its name, but without the warning that Qt 5 and 6 print when
 * something that is no file is opened for appending. Such a device loses its name while it is open.
 */
bool OpenForWriting(QFile& file, QIODevice::OpenMode mode);

} // namespace Zol

#endif
