#ifndef ZOLDEBUG_TESTS_RECORD_MODEL_H
#define ZOLDEBUG_TESTS_RECORD_MODEL_H

#include <QtCore/QDateTime>
#include <QtCore/QString>

namespace ZolTest {

// A second writing of how a record is formatted, one substitution after the other, for texts that
// nobody would think of.

/** @p text with the characters of markup replaced by their entities. */
QString ModelEscape(QString text);

/** The header of a record; @p level is the level's name. */
QString ModelHeader(const QDateTime& now, const QString& module, const QString& file,
                    unsigned int line_no, const QString& func, const QString& level,
                    const QString& thread);

/** The whole record. */
QString ModelRecord(const QString& header, const QString& message);

} // namespace ZolTest

#endif
