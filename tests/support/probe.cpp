#include "probe.h"

#include "concrete_debug_interface_factory.h"
#include "log_record.h"
#include "wait.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QMap>
#include <QtCore/QMutexLocker>

namespace ZolTest {

namespace {

Zol::ConcreteDebugInterfaceFactory<ProbeOutput> probe_factory(QLatin1String("probe"));

} // namespace

Probe& Probe::Get(const QString& name)
{
    static QMutex& mutex = *new QMutex;
    static QMap<QString, Probe*>& probes = *new QMap<QString, Probe*>;
    QMutexLocker lock(&mutex);
    Probe*& probe = probes[name];
    if (!probe)
        probe = new Probe;
    return *probe;
}

Probe::Probe()
    : m_masks_change(false)
    , m_switches_masks(false)
{
}

QByteArray Probe::Bytes()
{
    QMutexLocker lock(&m_mutex);
    return m_bytes;
}

QList<QByteArray> Probe::Lines()
{
    QList<QByteArray> lines = Bytes().split('\n');
    if (lines.last().isEmpty())
        lines.removeLast();
    return lines;
}

QList<QByteArray> Probe::Records()
{
    return RecordsOf(Bytes());
}

QList<QByteArray> Probe::Messages(const QByteArray& module)
{
    return MessagesOf(Bytes(), module);
}

QList<int> Probe::WriteSizes()
{
    QMutexLocker lock(&m_mutex);
    return m_write_sizes;
}

QList<QByteArray> Probe::Calls()
{
    QMutexLocker lock(&m_mutex);
    return m_calls;
}

bool Probe::WaitFor(const QByteArray& text)
{
    QElapsedTimer timer;
    timer.start();
    QMutexLocker lock(&m_mutex);
    int from = 0;
    while (m_bytes.indexOf(text, from) < 0) {
        from = qMax(0, int(m_bytes.size() - text.size()));
        const qint64 left = WaitBound() - timer.elapsed();
        if (left <= 0)
            return false;
        m_changed.wait(&m_mutex, static_cast<unsigned long>(left));
    }
    return true;
}

bool Probe::WaitForCall(const QByteArray& call, int count)
{
    QElapsedTimer timer;
    timer.start();
    QMutexLocker lock(&m_mutex);
    while (m_calls.count(call) < count) {
        const qint64 left = WaitBound() - timer.elapsed();
        if (left <= 0)
            return false;
        m_changed.wait(&m_mutex, static_cast<unsigned long>(left));
    }
    return true;
}

void Probe::SetOnWrite(const std::function<void(const QByteArray&)>& on_write)
{
    QMutexLocker lock(&m_mutex);
    m_on_write = on_write;
}

void Probe::SetOnCall(const std::function<void(const QByteArray&)>& on_call)
{
    QMutexLocker lock(&m_mutex);
    m_on_call = on_call;
}

void Probe::SetMasksChange(bool change)
{
    QMutexLocker lock(&m_mutex);
    m_masks_change = change;
}

bool Probe::MasksChange()
{
    QMutexLocker lock(&m_mutex);
    return m_masks_change;
}

void Probe::SetSwitchesMasks(bool switches)
{
    QMutexLocker lock(&m_mutex);
    m_switches_masks = switches;
}

bool Probe::SwitchesMasks()
{
    QMutexLocker lock(&m_mutex);
    return m_switches_masks;
}

void Probe::NoteWrite(const QByteArray& bytes)
{
    std::function<void(const QByteArray&)> on_write;
    {
        QMutexLocker lock(&m_mutex);
        m_bytes += bytes;
        m_write_sizes.append(static_cast<int>(bytes.size()));
        on_write = m_on_write;
        m_changed.wakeAll();
    }
    if (on_write)
        on_write(bytes);
}

void Probe::NoteCall(const QByteArray& call)
{
    std::function<void(const QByteArray&)> on_call;
    {
        QMutexLocker lock(&m_mutex);
        m_calls.append(call);
        on_call = m_on_call;
        m_changed.wakeAll();
    }
    if (on_call)
        on_call(call);
}

ProbeDevice::ProbeDevice(Probe& probe)
    : m_probe(probe)
{
    open(QIODevice::WriteOnly | QIODevice::Unbuffered);
}

qint64 ProbeDevice::readData(char*, qint64)
{
    return -1;
}

qint64 ProbeDevice::writeData(const char* data, qint64 size)
{
    m_probe.NoteWrite(QByteArray(data, static_cast<int>(size)));
    return size;
}

ProbeOutput::ProbeOutput(const QString& server, const QString& option)
    : DbgServerInterface(server, option)
    , m_probe(Probe::Get(server))
{
    m_probe.NoteCall("create:" + option.toLatin1());
    SetIODevice(new ProbeDevice(m_probe), true);
}

ProbeOutput::~ProbeOutput()
{
    m_probe.NoteCall("delete");
}

bool ProbeOutput::SuspendDiskIO()
{
    if (m_probe.SwitchesMasks())
        SelectAlternateModuleMaskMap();
    m_probe.NoteCall("suspend");
    return m_probe.MasksChange();
}

bool ProbeOutput::ResumeDiskIO()
{
    if (m_probe.SwitchesMasks())
        SelectMainModuleMaskMap();
    m_probe.NoteCall("resume");
    return m_probe.MasksChange();
}

} // namespace ZolTest
