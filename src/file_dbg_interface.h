#ifndef ZOLDEBUG_FILE_DBG_INTERFACE_H
#define ZOLDEBUG_FILE_DBG_INTERFACE_H

#include "dbg_server_interface.h"
#include "zoldebug_export.h"

#include <QtCore/QFile>
#include <QtCore/QString>

namespace Zol {

/**
 * The output of the protocol "file": appends records to a log file.
 *
 * A file that cannot be opened is written to in vain; no folder is created. Like all outputs it
 * belongs to the collector's thread.
 */
class ZOLDEBUG_EXPORT FileDbgInterface : public DbgServerInterface
{
public:
    /**
     * Opens the file and writes the restart marker to it.
     *
     * @param server  path of the file
     * @param option  letters: "t" truncates the file at this first opening, "u" opens it
     *                unbuffered; others are ignored
     */
    FileDbgInterface(const QString& server, QString option);

    /** Closes the file. */
    ~FileDbgInterface();

    /**
     * Closes the file and lets nothing pass until ResumeDiskIO().
     *
     * @return false if the file is not open, which changes nothing
     */
    bool SuspendDiskIO() override;

    /**
     * Opens the file again, for appending if it was ever suspended.
     *
     * @return false if the file is open, which changes nothing; true even if it cannot be opened
     */
    bool ResumeDiskIO() override;

private:
    Q_DISABLE_COPY(FileDbgInterface)

    void Open();
    void Close();

    QString m_file_name;
    QFile m_log_file;
    bool m_force_append;
};

} // namespace Zol

#endif
