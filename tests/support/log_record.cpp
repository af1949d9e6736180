#include "log_record.h"

#include <QtCore/QFile>

namespace ZolTest {

namespace {

QByteArray Unescape(QByteArray text)
{
    text.replace("&lt;", "<");
    text.replace("&gt;", ">");
    text.replace("&apos;", "'");
    text.replace("&quot;", "\"");
    text.replace("&amp;", "&");
    return text;
}

/** Takes what stands between @p before and @p after from the front of @p rest. */
bool Take(QByteArray& rest, const char* before, const char* after, QByteArray& taken)
{
    if (!rest.startsWith(before))
        return false;
    const int start = static_cast<int>(qstrlen(before));
    const int end = static_cast<int>(rest.indexOf(after, start));
    if (end < 0)
        return false;
    taken = rest.mid(start, end - start);
    rest = rest.mid(end);
    return true;
}

} // namespace

LogRecord ParseRecord(const QByteArray& text)
{
    LogRecord record;
    QByteArray rest = text;
    record.valid = Take(rest, "<dbg><h><d t=\"", "\" m=\"", record.time) &&
                   Take(rest, "\" m=\"", "\" f=\"", record.module) &&
                   Take(rest, "\" f=\"", "\" l=\"", record.file) &&
                   Take(rest, "\" l=\"", "\" fnc=\"", record.line) &&
                   Take(rest, "\" fnc=\"", "\" lvl=\"", record.function) &&
                   Take(rest, "\" lvl=\"", "\" thrd=\"", record.level) &&
                   Take(rest, "\" thrd=\"", "\"/></h><b>", record.thread) &&
                   Take(rest, "\"/></h><b>", "</b></dbg>", record.message) && rest == "</b></dbg>";
    record.function = Unescape(record.function);
    record.message = Unescape(record.message);
    return record;
}

QList<QByteArray> RecordsOf(const QByteArray& log)
{
    QList<QByteArray> records;
    const QList<QByteArray> lines = log.split('\n');
    for (const QByteArray& line : lines) {
        if (ParseRecord(line).valid)
            records.append(line);
    }
    return records;
}

QList<QByteArray> MessagesOf(const QByteArray& log, const QByteArray& module)
{
    QList<QByteArray> messages;
    const QList<QByteArray> records = RecordsOf(log);
    for (const QByteArray& text : records) {
        const LogRecord record = ParseRecord(text);
        if (record.module == module)
            messages.append(record.message);
    }
    return messages;
}

QByteArray ReadFile(const QByteArray& path)
{
    QFile file(QFile::decodeName(path));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace ZolTest
