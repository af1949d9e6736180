#ifndef ZOLDEBUG_TESTS_LOG_RECORD_H
#define ZOLDEBUG_TESTS_LOG_RECORD_H

#include <QtCore/QByteArray>
#include <QtCore/QList>

namespace ZolTest {

/** One log record taken apart; for texts without markup in the unescaped attributes. */
struct LogRecord
{
    bool valid; ///< whether the line is a whole record
    QByteArray time;
    QByteArray module;
    QByteArray file;
    QByteArray line;
    QByteArray function; ///< unescaped
    QByteArray level;
    QByteArray thread;
    QByteArray message; ///< unescaped
};

/** Takes one record, without its line end, apart. */
LogRecord ParseRecord(const QByteArray& text);

/** The whole records among the lines of @p log, whose bodies have no line feeds. */
QList<QByteArray> RecordsOf(const QByteArray& log);

/** The unescaped texts of the records of one module. */
QList<QByteArray> MessagesOf(const QByteArray& log, const QByteArray& module);

/** All that a file holds; empty if it cannot be read. */
QByteArray ReadFile(const QByteArray& path);

} // namespace ZolTest

#endif
