#ifndef ZOLDEBUG_DBG_SERVER_INTERFACE_H
#define ZOLDEBUG_DBG_SERVER_INTERFACE_H

#include "dbg_utils.h"
#include "zoldebug_export.h"

#include <QtCore/QByteArray>
#include <QtCore/QIODevice>
#include <QtCore/QMap>
#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QString>
#include <QtCore/QTextStream>

namespace Zol {

class DebugMessageDetails;

/**
 * The base of every output: a text stream on a device, and the masks that say which levels of which
 * module it wants.
 *
 * To write an output of your own, derive from it with a constructor that takes (server, option),
 * hand your device to SetIODevice(), and define a static ConcreteDebugInterfaceFactory for it. The
 * collector creates, uses and deletes outputs on its own thread; all functions belong to that
 * thread unless nothing else knows the object yet.
 */
class ZOLDEBUG_EXPORT DbgServerInterface : public QObject
{
    Q_OBJECT

public:
    /** A table from module name to mask; the name "*" stands for every module without an entry. */
    class ZOLDEBUG_EXPORT ModuleStatusMap
    {
    public:
        /** An empty table. */
        ModuleStatusMap();

        /** The entry of @p module, else that of "*", else DBG_WARN to DBG_FATAL (60). */
        DebugLevel GetStatus(const QString& module) const;

        /** Sets an entry. Setting "*" overwrites every entry there is. */
        void SetLevelMask(const QString& module, DebugLevel mask);

        /** Gives @p module an entry of its effective mask and @p lvl. */
        void SetLevelOn(const QString& module, DebugLevel lvl);

        /** Gives @p module an entry of its effective mask without @p lvl. */
        void SetLevelOff(const QString& module, DebugLevel lvl);

    private:
        Q_DISABLE_COPY(ModuleStatusMap)

        QMap<QString, DebugLevel> m_impl;
    };

    /**
     * An output that writes to the null device until SetIODevice() gives it another.
     *
     * @param server  where the output writes, the second field of its address
     * @param option  for the concrete output's own use, the third field
     */
    DbgServerInterface(const QString& server, const QString& option);

    /** Flushes the stream and deletes the device if it is owned. Writes no closing mark. */
    ~DbgServerInterface();

    /** The option given at construction. */
    const QString& GetOption() const { return m_option; }

    /**
     * Replaces the device and writes the restart marker line to the new one.
     *
     * A device that is not owned must be deleted between two records only, on any thread; the
     * output then falls back to the null device. A device that is not open for writing is taken
     * too: what is written to it is lost.
     *
     * @param device  the new device; may be the present one
     * @param own     whether the output deletes it when it lets go of it
     * @return        false for a null device, which changes nothing, or if memory ran out
     */
    bool SetIODevice(QIODevice* device, bool own);

    /**
     * Writes @p text and a line end as one flushed write if the selected masks let the record
     * pass. A record that cannot be written is dropped; the next one begins a line of its own.
     *
     * @param details  the record, for its module and level
     * @param text     the formatted record
     */
    void HandleMsg(const DebugMessageDetails& details, const QString& text);

    /** Sets the mask of a module, or of "*"; an empty name is ignored. */
    void DoServerCfg(const QString& module, DebugLevel mask);

    /** Whether there is a stream to write to. */
    bool Enabled() const { return m_output != nullptr; }

    /** The stream. What is streamed into it is written at the latest with the next record. */
    QTextStream& GetOutput() const { return *m_output; }

    /** The mask of modules that have no entry. */
    DebugLevel GetDefaultMask() const;

    /** The mask of @p module in the selected table. */
    DebugLevel GetModuleMask(const QString& module) const { return m_status->GetStatus(module); }

    /**
     * Called when logging pauses or the storage is full: stop using the medium.
     *
     * @return whether this changed the masks of the output; the base does nothing, false
     */
    virtual bool SuspendDiskIO();

    /**
     * Called when logging goes on: use the medium again.
     *
     * @return whether this changed the masks of the output; the base does nothing, false
     */
    virtual bool ResumeDiskIO();

protected:
    /** Selects the table that lets nothing pass. */
    void SelectAlternateModuleMaskMap() { m_status = m_alternate_map; }

    /** Selects the configured masks. */
    void SelectMainModuleMaskMap() { m_status = m_main_map; }

    /** A new device, owned by the caller, that discards what is written to it. */
    static QIODevice* NewNullFile();

private Q_SLOTS:
    void DeviceDestroyed(QObject* dev);

private:
    Q_DISABLE_COPY(DbgServerInterface)
    friend class DbgCollector;

    bool Wants(const DebugMessageDetails& details) const;
    void WriteRecord(const QString& text);
    void WriteText(const QString& text);
    void Write(const QString& text, const char* line_end);
    void Encode(const char* begin, const QString& text, const char* end);
    void CloseStream();
    void ReleaseDevice();

    QIODevice* m_device;
    bool m_i_own_device;
    QTextStream* m_output;
    ModuleStatusMap* m_main_map;
    ModuleStatusMap* m_alternate_map;
    ModuleStatusMap* m_status;
    QString m_server;
    QString m_option;

    QPointer<QIODevice> m_live_device;     // null as soon as m_device has died
    QPointer<QIODevice> m_cut_line_device; // whose last line a failed write cut short
    int m_encoding;                        // of the stream when it was last used
    QByteArray m_bytes;                    // the last record as it was written, for its memory
};

} // namespace Zol

#endif
