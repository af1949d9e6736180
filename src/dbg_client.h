#ifndef ZOLDEBUG_DBG_CLIENT_H
#define ZOLDEBUG_DBG_CLIENT_H

#include "dbg_utils.h"
#include "zoldebug_export.h"

#include <QtCore/QDateTime>
#include <QtCore/QString>
#include <QtCore/QTextStream>

namespace Zol {

struct EmitterState;

/**
 * One message while it is being composed.
 *
 * Made by DBG_OBJ() where the message is, filled through Dbg(), and handed to the collector by its
 * destructor. It filters nothing: ask DebugModule::LvlDisabled() before making one, or let the
 * macros of debug.h do so. It belongs to the thread that made it.
 */
class ZOLDEBUG_EXPORT DbgClient
{
public:
    /**
     * Takes the time and the name of the current thread.
     *
     * @param module   identifier of the emitting module
     * @param file     source file; not copied, a literal as a rule
     * @param line_no  source line
     * @param func     function signature; not copied, a literal as a rule
     * @param lvl      the level of the message
     */
    DbgClient(const QString& module, const char* file, unsigned int line_no, const char* func,
              DebugLevel lvl);

    /** Hands the message to the collector, an empty one too. */
    ~DbgClient();

    /** The stream that takes the text of the message. */
    QTextStream& Dbg() { return m_output; }

    /** Counts a hit of the code location (@p file, @p line). Always returns true. */
    bool Metric(const char* file, unsigned int line);

private:
    Q_DISABLE_COPY(DbgClient)

    DbgClient(EmitterState* thread, const QString& module, const char* file, unsigned int line_no,
              const char* func, DebugLevel lvl);

    QDateTime m_time_stamp;
    QString m_module;
    const char* m_file;
    unsigned int m_line_no;
    const char* m_func;
    DebugLevel m_lvl;
    QString m_thread_name;
    QString m_message;
    QTextStream m_output;
};

/**
 * Makes a DbgClient in the caller's storage; the message is collected when that object dies, as a
 * rule at the end of the statement. The parameters are those of DbgClient's constructor. Any
 * thread.
 */
ZOLDEBUG_EXPORT DbgClient DBG_OBJ(const QString& ModuleID, const char* file, unsigned int line_no,
                                  const char* func, DebugLevel lvl);

/** Counts a hit of the code location (@p file, @p line), without a message. Any thread. */
ZOLDEBUG_EXPORT void CountHit(const char* file, unsigned int line);

} // namespace Zol

#endif
