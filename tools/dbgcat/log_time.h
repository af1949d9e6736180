#ifndef DBGCAT_LOG_TIME_H
#define DBGCAT_LOG_TIME_H

#include "byte_span.h"

#include <limits>

namespace DbgCat {

/**
 * A moment as clock and calendar show it, in milliseconds: logs hold local times without a zone, so
 * such times are compared as they stand.
 */
typedef qint64 LogTime;

const LogTime no_time = std::numeric_limits<LogTime>::min();

/** The time of a record; no_time if it does not look like one. */
LogTime ParseRecordTime(const ByteSpan& text);

/**
 * A time on the command line: a date, a time of today's, both, a record's time as it stands in the
 * log, or how long ago, such as "10min"; no_time if it is none of these.
 */
LogTime ParseTimeOption(const QByteArray& text, LogTime now);

/** What the clock shows now. */
LogTime Now();

/** Appends a record's time as "2026-11-21 14:03:07.045", or with a "T" for the @p separator. */
void AppendTime(QByteArray& out, const ByteSpan& text, char separator);

/** The same for a time, down to milliseconds if it has them and @p with_milliseconds. */
QByteArray TimeText(LogTime time, bool with_milliseconds = true);

} // namespace DbgCat

#endif
