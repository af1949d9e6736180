#include "csv_writer.h"

#include "log_text.h"
#include "log_time.h"

namespace DbgCat {

CsvWriter::CsvWriter(bool with_log, bool visible)
    : m_with_log(with_log)
    , m_visible(visible)
{
}

void CsvWriter::AppendBegin(QByteArray& out)
{
    out += m_with_log ? "log," : "";
    out += "time,level,module,thread,file,line,function,message\n";
}

void CsvWriter::Append(const LogItem& item, const QByteArray& log, QByteArray& out)
{
    if (item.kind != LogItem::Record)
        return;
    if (m_with_log) {
        AppendField(ByteSpan(log), out);
        out += ',';
    }
    QByteArray time;
    AppendTime(time, item.time, ' ');
    AppendField(ByteSpan(time), out);
    const ByteSpan names[] = {item.level, item.module, item.thread, item.file, item.line};
    for (const ByteSpan& name : names) {
        out += ',';
        AppendField(name, out);
    }
    out += ',';
    AppendEscapedField(item.function, out);
    out += ',';
    AppendEscapedField(item.body, out);
    out += '\n';
}

void CsvWriter::AppendField(const ByteSpan& text, QByteArray& out)
{
    QByteArray visible;
    if (m_visible)
        AppendVisible(visible, text);
    const QByteArray field = m_visible ? visible : text.View();
    const bool is_quoted =
        field.contains('"') || field.contains(',') || field.contains('\n') || field.contains('\r');
    if (!is_quoted) {
        out += field;
        return;
    }
    out += '"';
    out += QByteArray(field).replace('"', "\"\"");
    out += '"';
}

void CsvWriter::AppendEscapedField(const ByteSpan& text, QByteArray& out)
{
    m_unescaped.resize(0);
    AppendUnescaped(m_unescaped, text);
    AppendField(ByteSpan(m_unescaped), out);
}

} // namespace DbgCat
