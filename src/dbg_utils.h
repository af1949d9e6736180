#ifndef ZOLDEBUG_DBG_UTILS_H
#define ZOLDEBUG_DBG_UTILS_H

#include "zoldebug_export.h"

#include <QtCore/QString>

QT_FORWARD_DECLARE_CLASS(QDateTime)
QT_FORWARD_DECLARE_CLASS(QObject)
QT_FORWARD_DECLARE_CLASS(QTextStream)

namespace Zol {

/**
 * The level of a message, one bit each. A mask is any OR of levels, held in the same type.
 *
 * The underlying type is fixed so that a mask may hold bits that carry no level. The library itself
 * uses DBG_TRACE, DBG_INFO and DBG_TIME_TRACE; what a host takes the others for is its own affair.
 */
enum DebugLevel : int
{
    DBG_TRACE = 0x1,         ///< functions that are entered and left
    DBG_INFO = 0x2,          ///< what goes on
    DBG_WARN = 0x4,          ///< what is odd
    DBG_ERROR = 0x8,         ///< what failed
    DBG_CRITICAL = 0x10,     ///< what endangers the host
    DBG_FATAL = 0x20,        ///< what ends it
    DBG_MEMORY_ALLOC = 0x40, ///< memory that is taken
    DBG_MEMORY_FREE = 0x80,  ///< memory that is given back
    DBG_TIME_TRACE = 0x100,  ///< the time that functions take
    DBG_LOAD = 0x200,        ///< how busy the host is
    DBG_CONF = 0x400,        ///< how it is configured
    DBG_JITTER = 0x800,      ///< what is not in time
    DBG_ACCOUNTING = 0x1000, ///< what is counted and measured
    DBG_EVENT = 0x2000,      ///< what arrives from outside
    DBG_CONT_LOG = 0x4000,   ///< what is logged all the time
    DBG_DEVEL = 0x8000000    ///< what only its developers want to know
};

/** The mask with the levels of both operands. */
constexpr DebugLevel operator|(DebugLevel a, DebugLevel b)
{
    return static_cast<DebugLevel>(static_cast<int>(a) | static_cast<int>(b));
}

/** The mask with the levels that both operands share. */
constexpr DebugLevel operator&(DebugLevel a, DebugLevel b)
{
    return static_cast<DebugLevel>(static_cast<int>(a) & static_cast<int>(b));
}

/** The mask with every bit that @p a lacks. */
constexpr DebugLevel operator~(DebugLevel a)
{
    return static_cast<DebugLevel>(~static_cast<int>(a));
}

/** Writes the name of a single level, nothing for any other value, and returns @p stream. */
ZOLDEBUG_EXPORT QTextStream& operator<<(QTextStream& stream, DebugLevel lvl);

/** @{ */
/** The name of a level, which is exactly that of its enumerator. Any thread. */
ZOLDEBUG_EXPORT const QString& S_DBG_TRACE();
ZOLDEBUG_EXPORT const QString& S_DBG_INFO();
ZOLDEBUG_EXPORT const QString& S_DBG_WARN();
ZOLDEBUG_EXPORT const QString& S_DBG_ERROR();
ZOLDEBUG_EXPORT const QString& S_DBG_CRITICAL();
ZOLDEBUG_EXPORT const QString& S_DBG_FATAL();
ZOLDEBUG_EXPORT const QString& S_DBG_MEMORY_ALLOC();
ZOLDEBUG_EXPORT const QString& S_DBG_MEMORY_FREE();
ZOLDEBUG_EXPORT const QString& S_DBG_TIME_TRACE();
ZOLDEBUG_EXPORT const QString& S_DBG_LOAD();
ZOLDEBUG_EXPORT const QString& S_DBG_CONF();
ZOLDEBUG_EXPORT const QString& S_DBG_JITTER();
ZOLDEBUG_EXPORT const QString& S_DBG_ACCOUNTING();
ZOLDEBUG_EXPORT const QString& S_DBG_EVENT();
ZOLDEBUG_EXPORT const QString& S_DBG_CONT_LOG();
ZOLDEBUG_EXPORT const QString& S_DBG_DEVEL();
/** @} */

/**
 * Formatting, level names and mask strings, and the host's notices to the collector.
 *
 * A scope for static functions only. All of them may be called from any thread.
 */
class ZOLDEBUG_EXPORT DbgUtils
{
public:
    /**
     * The name of a single level ("DBG_WARN"); empty for 0, for a combination of levels and for a
     * bit that carries no level.
     */
    static QString DbgLvlToQS(DebugLevel lvl);

    /** The level of an exact, case-sensitive name; DBG_FATAL for any other text. */
    static DebugLevel QSToDbgLvl(const QString& str);

    /**
     * The mask that a mask string denotes.
     *
     * White space is simplified first. A string that begins with a digit is a number: hexadecimal
     * behind a second character "x" or "X", decimal otherwise, and 0 where it cannot be converted
     * to a signed 32-bit integer. Any other string is a list of tokens between commas, applied from
     * left to right to DBG_ERROR | DBG_CRITICAL | DBG_FATAL: "+NAME" adds a level, "-NAME" removes
     * one, an unknown name stands for DBG_FATAL, and a token without an operator is ignored.
     */
    static DebugLevel ParseDebugMaskString(const QString& mask_string);

    /** @p in with & < > ' and " replaced by their XML entities; nothing else is touched. */
    static QString XMLiseString(const QString& in);

    /**
     * The header element of one record. Only @p func is escaped.
     *
     * @param now      when the message was produced, written in the process's locale
     * @param module   identifier of the module; a "%" marker in it takes part in the substitution
     * @param file     source file; a "%" marker in it takes part in the substitution
     * @param line_no  source line
     * @param func     function signature
     * @param lvl      level; anything but a single level is written as an empty attribute
     * @param thread   name of the emitting thread
     */
    static QString FormatDbgHeader(const QDateTime& now, const QString& module, const QString& file,
                                   unsigned int line_no, const QString& func, DebugLevel lvl,
                                   const QString& thread);

    /** The whole record, without a line end: @p hdr as it is and @p msg escaped. */
    static QString FormatDbgMessage(const QString& hdr, const QString& msg);

    /**
     * The signals, slots and invokable methods of @p object, which must not be null, one a line.
     *
     * Behind them comes one line without a signature for each method that the class inherits.
     */
    static QString DumpMethods(QObject* object);

    /** Stops all outputs from writing until SignalLoggingResume(); pauses do not nest. */
    static void SignalLoggingPause();

    /** Lets the outputs write again, unless the storage is full. */
    static void SignalLoggingResume();

    /** Tells whether the storage that takes the logs has space; without it no output writes. */
    static void SignalLogFreeStatus(bool have_space_for_logs);
};

} // namespace Zol

#endif
