#include "log_source.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

namespace DbgCat {

namespace {

bool IsInput(const QByteArray& name)
{
    return name == "-";
}

void AppendCount(QByteArray& out, qint64 count, const char* one, const char* many,
                 const QByteArray& detail = QByteArray())
{
    if (count <= 0)
        return;
    out += out.isEmpty() ? "" : ", ";
    out += QByteArray::number(count) + ' ' + (count == 1 ? one : many) + detail;
}

} // namespace

LogSource::LogSource(const QByteArray& name, const Settings& settings)
    : m_name(name)
    , m_settings(settings)
    , m_fd(-1)
    , m_regular(false)
    , m_missing(false)
    , m_finished(false)
    , m_failed(false)
    , m_device(0)
    , m_inode(0)
    , m_reader(settings.buffer_size)
    , m_time(no_time)
{
    if (!m_settings.before_wait)
        m_settings.before_wait = [] {};
    m_reader.End();
}

LogSource::~LogSource()
{
    Close();
}

bool LogSource::Next()
{
    for (;;) {
        if (m_reader.Next(m_item)) {
            NoteTime();
            return true;
        }
        if (m_finished)
            return false;
        if (m_reader.HasEnded() ? !Open() : !Fill())
            return false;
    }
}

bool LogSource::Open()
{
    ReportDamage();
    Close();
    // Without O_NONBLOCK a pipe that nobody writes to would hold up the files beside it.
    const int flags = O_RDONLY | O_CLOEXEC | (m_settings.follow ? O_NONBLOCK : 0);
    m_fd = IsInput(m_name) ? dup(STDIN_FILENO) : open(m_name.constData(), flags);
    if (m_fd < 0 && m_settings.follow && errno == ENOENT) {
        if (!m_missing)
            Say("is not there; waiting for it");
        m_missing = true;
        return false;
    }
    struct stat status;
    if (m_fd < 0 || fstat(m_fd, &status) != 0) {
        Fail("cannot be opened");
        return false;
    }
    if (m_missing)
        Say("is there now");
    m_missing = false;
    m_regular = S_ISREG(status.st_mode);
    m_device = status.st_dev;
    m_inode = status.st_ino;
    m_reader.Begin();
    m_reported = Damage();
    return true;
}

void LogSource::Close()
{
    if (m_fd >= 0)
        close(m_fd);
    m_fd = -1;
}

/** Reads more; false if there is nothing more yet. */
bool LogSource::Fill()
{
    if (!m_regular && !HasData(0)) {
        if (m_settings.follow)
            return false;
        m_settings.before_wait();
        HasData(-1);
    }
    int room = 0;
    char* const to = m_reader.Room(&room);
    const ssize_t size = read(m_fd, to, static_cast<size_t>(room));
    if (size > 0) {
        m_reader.Added(static_cast<int>(size));
        return true;
    }
    if (size < 0 && (errno == EINTR || errno == EAGAIN))
        return errno == EINTR || !m_settings.follow;
    if (size < 0)
        Fail("cannot be read");
    return size < 0 || EndOfFile();
}

/** Whether the reader can go on with what it has, or with another file. */
bool LogSource::EndOfFile()
{
    if (!m_settings.follow || IsInput(m_name) || !m_regular) {
        m_finished = !m_settings.follow || IsInput(m_name);
        if (m_finished)
            m_reader.End();
        return m_finished;
    }
    struct stat open_file;
    struct stat named_file;
    if (fstat(m_fd, &open_file) != 0 || stat(m_name.constData(), &named_file) != 0)
        return false; // moved away; its writer may still write to it until the next one is there
    const bool replaced = named_file.st_dev != m_device || named_file.st_ino != m_inode;
    const bool truncated = open_file.st_size < lseek(m_fd, 0, SEEK_CUR);
    if (!replaced && !truncated)
        return false;
    Say(replaced ? "was replaced" : "was truncated");
    m_reader.End();
    return true;
}

bool LogSource::HasData(int timeout) const
{
    struct pollfd wanted = {m_fd, POLLIN, 0};
    return poll(&wanted, 1, timeout) > 0;
}

void LogSource::NoteTime()
{
    if (m_item.kind != LogItem::Record)
        return;
    const LogTime time = ParseRecordTime(m_item.time);
    if (time != no_time)
        m_time = time;
}

void LogSource::Fail(const char* what)
{
    const int error = errno;
    Say(QByteArray(what) + ": " + QByteArray(strerror(error)));
    m_failed = true;
    m_finished = true;
    m_reader.End();
}

void LogSource::Say(const QByteArray& text) const
{
    m_settings.before_wait(); // what was read before is shown before
    fprintf(stderr, "dbgcat: %s %s\n", IsInput(m_name) ? "standard input" : m_name.constData(),
            text.constData());
}

QByteArray LogSource::DamageText() const
{
    const Damage& damage = m_reader.GetDamage();
    const qint64 rubbish = damage.rubbish_bytes - m_reported.rubbish_bytes;
    const qint64 left_out = damage.cut_bytes - m_reported.cut_bytes;
    QByteArray text;
    AppendCount(text, damage.rubbish_lines - m_reported.rubbish_lines, "line that is no record",
                "lines that are no records", " (" + QByteArray::number(rubbish) + " bytes)");
    AppendCount(text, damage.torn_records - m_reported.torn_records, "torn record", "torn records");
    AppendCount(text, damage.cut_records - m_reported.cut_records, "record cut at 1 MiB",
                "records cut at 1 MiB", " (" + QByteArray::number(left_out) + " bytes left out)");
    AppendCount(text, damage.null_bytes - m_reported.null_bytes, "null byte", "null bytes");
    if (!text.isEmpty())
        text += ", the first at byte " + QByteArray::number(damage.first_at);
    return text;
}

void LogSource::ReportDamage()
{
    const QByteArray text = DamageText();
    if (!text.isEmpty())
        Say("has " + text);
    m_reported = m_reader.GetDamage();
}

} // namespace DbgCat
