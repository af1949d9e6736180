#ifndef ZOLDEBUG_DBG_MSG_DETAILS_H
#define ZOLDEBUG_DBG_MSG_DETAILS_H

#include "dbg_utils.h"
#include "zoldebug_export.h"

#include <QtCore/QDateTime>
#include <QtCore/QString>

#include <stddef.h>

#include <new>
#include <utility>

namespace Zol {

/**
 * One message on its way from the emitting thread to the outputs.
 *
 * A value that owns all its text, so it may outlive the thread that produced it.
 */
class ZOLDEBUG_EXPORT DebugMessageDetails
{
public:
    /** A record with a null time stamp, empty texts, line 0 and no level. */
    DebugMessageDetails();

    /** A record with exactly these contents. @p message is the unescaped text. */
    DebugMessageDetails(QDateTime time, QString module, QString file, unsigned int line_no,
                        QString func, DebugLevel lvl, QString thread, QString message);

    /** @{ */
    /** As usual, but with memory of records that the collector has written, if it can be. */
    static void* operator new(size_t size);
    static void* operator new(size_t size, const std::nothrow_t& nothrow) noexcept;
    static void* operator new(size_t, void* place) noexcept { return place; }
    static void operator delete(void* memory) noexcept;
    static void operator delete(void* memory, const std::nothrow_t&) noexcept;
    static void operator delete(void*, void*) noexcept {}
#ifdef __cpp_aligned_new
    static void* operator new(size_t size, std::align_val_t alignment)
    {
        return ::operator new(size, alignment);
    }
    static void operator delete(void* memory, std::align_val_t alignment) noexcept
    {
        ::operator delete(memory, alignment);
    }
#endif
    /** @} */

    QDateTime m_time_stamp; ///< when the message was produced
    QString m_module;       ///< identifier of the emitting module
    QString m_file;         ///< source file of the emitting statement
    unsigned int m_line_no; ///< source line of the emitting statement
    QString m_func;         ///< signature of the emitting function
    DebugLevel m_lvl;       ///< the single level of the message
    QString m_thread;       ///< name of the emitting thread
    QString m_message;      ///< the text, unescaped

private:
    friend class DbgClient;

    /** A record that is made where its contents are no longer needed. */
    struct TakesOver
    {
    };

    DebugMessageDetails(TakesOver, QDateTime& time, QString& module, QString&& file,
                        unsigned int line_no, QString&& func, DebugLevel lvl, QString& thread,
                        QString& message)
        : m_time_stamp(std::move(time))
        , m_module(std::move(module))
        , m_file(std::move(file))
        , m_line_no(line_no)
        , m_func(std::move(func))
        , m_lvl(lvl)
        , m_thread(std::move(thread))
        , m_message(std::move(message))
    {
    }
};

} // namespace Zol

#endif
