#ifndef ZOLDEBUG_TESTS_PROBE_H
#define ZOLDEBUG_TESTS_PROBE_H

#include "dbg_server_interface.h"

#include <QtCore/QByteArray>
#include <QtCore/QIODevice>
#include <QtCore/QList>
#include <QtCore/QMutex>
#include <QtCore/QString>
#include <QtCore/QWaitCondition>

#include <functional>

namespace ZolTest {

/**
 * What an output of the protocol "probe" saw. The server of the output's address names the probe:
 * "probe:a" writes to Probe::Get("a"). Any thread may ask.
 */
class Probe
{
public:
    /** The probe of this name, which lives as long as the process. */
    static Probe& Get(const QString& name);

    /** All that was written so far. */
    QByteArray Bytes();

    /** The lines written so far, without their line ends. */
    QList<QByteArray> Lines();

    /** The lines that are log records. */
    QList<QByteArray> Records();

    /** The unescaped texts of the records of one module. */
    QList<QByteArray> Messages(const QByteArray& module);

    /** One entry a write: how many bytes it had. */
    QList<int> WriteSizes();

    /** What happened to the outputs of this name: "create:OPTION", "suspend", "resume", "delete".
     */
    QList<QByteArray> Calls();

    /** Waits until @p text was written; false if that takes longer than WaitBound(). */
    bool WaitFor(const QByteArray& text);

    /** Waits until @p call happened @p count times; false if that takes too long. */
    bool WaitForCall(const QByteArray& call, int count = 1);

    /** Called on the collector's thread after each write, with the bytes of that write. */
    void SetOnWrite(const std::function<void(const QByteArray&)>& on_write);

    /** Called on the collector's thread within each of Calls(), before it returns. */
    void SetOnCall(const std::function<void(const QByteArray&)>& on_call);

    /** What SuspendDiskIO() and ResumeDiskIO() of the outputs of this name return (false). */
    void SetMasksChange(bool change);
    bool MasksChange();

    /** Whether SuspendDiskIO() also selects the alternate masks, and ResumeDiskIO() the main ones.
     */
    void SetSwitchesMasks(bool switches);
    bool SwitchesMasks();

    void NoteWrite(const QByteArray& bytes);
    void NoteCall(const QByteArray& call);

private:
    Probe();

    QMutex m_mutex;
    QWaitCondition m_changed;
    QByteArray m_bytes;
    QList<int> m_write_sizes;
    QList<QByteArray> m_calls;
    std::function<void(const QByteArray&)> m_on_write;
    std::function<void(const QByteArray&)> m_on_call;
    bool m_masks_change;
    bool m_switches_masks;
};

/** A device, open for writing, that hands each write to a probe. */
class ProbeDevice : public QIODevice
{
public:
    explicit ProbeDevice(Probe& probe);

    bool isSequential() const override { return true; }

protected:
    qint64 readData(char* data, qint64 max_size) override;
    qint64 writeData(const char* data, qint64 size) override;

private:
    Probe& m_probe;
};

/** The output of the protocol "probe", registered with the library by this support code. */
class ProbeOutput : public Zol::DbgServerInterface
{
public:
    ProbeOutput(const QString& server, const QString& option);
    ~ProbeOutput();

    bool SuspendDiskIO() override;
    bool ResumeDiskIO() override;

private:
    Probe& m_probe;
};

} // namespace ZolTest

#endif
