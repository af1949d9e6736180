#ifndef ZOLDEBUG_RECORD_TEXT_H
#define ZOLDEBUG_RECORD_TEXT_H

#include "dbg_utils.h"

#include <QtCore/QDateTime>
#include <QtCore/QString>

namespace Zol {

class DebugMessageDetails;

/** @p in with the characters that have a meaning in XML as entities. */
QString EscapedText(const QString& in);

/** The text of a header, see DbgUtils::FormatDbgHeader(). */
QString HeaderText(const QDateTime& now, const QString& module, const QString& file,
                   unsigned int line_no, const QString& func, DebugLevel lvl,
                   const QString& thread);

/** The text of a record around a header, see DbgUtils::FormatDbgMessage(). */
QString RecordText(const QString& header, const QString& message);

/** Replaces @p record by the text of header and record, in the memory that it has, if it can. */
void FormatRecord(const DebugMessageDetails& details, QString& record);

/** The name of a single level, empty for anything else. */
const QString& LevelName(DebugLevel lvl);

} // namespace Zol

#endif
