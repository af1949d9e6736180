#ifndef DBGCAT_LOG_SOURCE_H
#define DBGCAT_LOG_SOURCE_H

#include "log_reader.h"
#include "log_time.h"

#include <sys/types.h>

#include <functional>

namespace DbgCat {

/** A file, or standard input, as a sequence of items; a followed one grows, and is opened again. */
class LogSource
{
public:
    struct Settings
    {
        Settings()
            : follow(false)
            , buffer_size(1 << 18)
        {
        }

        bool follow;
        int buffer_size;
        std::function<void()> before_wait; ///< called before reading what may take its time
    };

    /** The log in the file @p name; "-" is standard input. */
    LogSource(const QByteArray& name, const Settings& settings);
    ~LogSource();

    /** Takes the next item; false if there is none, or, where the source is followed, not yet. */
    bool Next();

    /** What Next() took, until it is called again. */
    const LogItem& Item() const { return m_item; }

    /** When it was logged; for what has no time, the time of what came before it. */
    LogTime Time() const { return m_time; }

    /** Whether nothing more can come. */
    bool IsFinished() const { return m_finished; }

    /** Whether it could not be opened or read. */
    bool HasFailed() const { return m_failed; }

    const QByteArray& Name() const { return m_name; }

    /** Says what was met that is no whole item since it was last reported; empty if nothing was. */
    QByteArray DamageText() const;

    /** Says that on standard error. */
    void ReportDamage();

private:
    Q_DISABLE_COPY(LogSource)

    bool Open();
    void Close();
    bool Fill();
    bool EndOfFile();
    bool HasData(int timeout) const;
    void NoteTime();
    void Fail(const char* what);
    void Say(const QByteArray& text) const;

    QByteArray m_name;
    Settings m_settings;
    int m_fd;
    bool m_regular;
    bool m_missing; // said so already
    bool m_finished;
    bool m_failed;
    dev_t m_device;
    ino_t m_inode;
    LogReader m_reader;
    LogItem m_item;
    LogTime m_time;
    Damage m_reported;
};

} // namespace DbgCat

#endif
