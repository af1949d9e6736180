#include "json_writer.h"

#include "log_text.h"
#include "log_time.h"

#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

namespace DbgCat {

namespace {

const QLatin1String type_key("type");

QJsonValue NumberOr(const ByteSpan& text)
{
    bool is_number = false;
    const qlonglong number = text.View().toLongLong(&is_number);
    return is_number ? QJsonValue(number) : QJsonValue(Decode(text));
}

void InsertRecord(const LogItem& record, QJsonObject& object)
{
    QByteArray time;
    AppendTime(time, record.time, 'T');
    object.insert(type_key, QLatin1String("record"));
    object.insert(QLatin1String("time"), Decode(ByteSpan(time)));
    object.insert(QLatin1String("level"), Decode(record.level));
    object.insert(QLatin1String("module"), Decode(record.module));
    object.insert(QLatin1String("thread"), Decode(record.thread));
    object.insert(QLatin1String("file"), Decode(record.file));
    object.insert(QLatin1String("line"), NumberOr(record.line));
    object.insert(QLatin1String("function"), DecodeUnescaped(record.function));
    object.insert(QLatin1String("message"), DecodeUnescaped(record.body));
    if (record.torn)
        object.insert(QLatin1String("torn"), true);
    if (record.cut)
        object.insert(QLatin1String("cut"), true);
}

/** Qt escapes what JSON wants escaped, which leaves out what only terminals take amiss. */
QByteArray EscapeForTerminal(const QByteArray& json)
{
    const QString text = QString::fromUtf8(json);
    QString escaped;
    for (const QChar character : text) {
        if (CommandsTerminal(character.unicode()))
            escaped +=
                QString::fromLatin1("\\u%1").arg(character.unicode(), 4, 16, QLatin1Char('0'));
        else
            escaped += character;
    }
    return escaped.toUtf8();
}

} // namespace

JsonWriter::JsonWriter(bool with_log, bool visible)
    : m_with_log(with_log)
    , m_visible(visible)
{
}

void JsonWriter::Append(const LogItem& item, const QByteArray& log, QByteArray& out)
{
    QJsonObject object;
    switch (item.kind) {
    case LogItem::Record:
        InsertRecord(item, object);
        break;
    case LogItem::Restart:
        object.insert(type_key, QLatin1String("restart"));
        break;
    case LogItem::Metric:
        object.insert(type_key, QLatin1String("metric"));
        object.insert(QLatin1String("file"), Decode(item.file));
        object.insert(QLatin1String("line"), NumberOr(item.line));
        object.insert(QLatin1String("count"), NumberOr(item.count));
        break;
    case LogItem::Rubbish:
        return;
    }
    if (m_with_log)
        object.insert(QLatin1String("log"), Decode(ByteSpan(log)));
    const QByteArray json = QJsonDocument(object).toJson(QJsonDocument::Compact);
    out += m_visible ? EscapeForTerminal(json) : json;
    out += '\n';
}

} // namespace DbgCat
