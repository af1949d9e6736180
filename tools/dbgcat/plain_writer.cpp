#include "plain_writer.h"

#include "level_names.h"
#include "log_text.h"
#include "log_time.h"

namespace DbgCat {

namespace {

const char* const normal = "\x1b[0m";
const char* const dim = "\x1b[2m";
const char* const indentation = "    ";

const char* LevelColour(int index)
{
    if (index == level_count)
        return dim;
    switch (LevelAt(index)) {
    case Zol::DBG_FATAL:
    case Zol::DBG_CRITICAL:
        return "\x1b[1;31m";
    case Zol::DBG_ERROR:
        return "\x1b[31m";
    case Zol::DBG_WARN:
        return "\x1b[33m";
    case Zol::DBG_INFO:
        return "\x1b[32m";
    case Zol::DBG_TRACE:
        return dim;
    default:
        return "\x1b[36m";
    }
}

} // namespace

PlainWriter::PlainWriter(const Style& style)
    : m_style(style)
{
}

void PlainWriter::Append(const LogItem& item, const QByteArray& log, QByteArray& out)
{
    if (item.kind == LogItem::Rubbish) {
        AppendRubbish(item, out);
        return;
    }
    if (m_style.log) {
        AppendName(ByteSpan(log), out);
        out += ": ";
    }
    switch (item.kind) {
    case LogItem::Record:
        AppendRecord(item, out);
        break;
    case LogItem::Restart:
        AppendDim("-- restart --", out);
        break;
    case LogItem::Metric:
        out += "metric ";
        AppendName(item.file, out);
        out += ':';
        out.append(item.line.data, item.line.size);
        out += ' ';
        out.append(item.count.data, item.count.size);
        break;
    case LogItem::Rubbish:
        break;
    }
    out += '\n';
}

void PlainWriter::AppendRecord(const LogItem& record, QByteArray& out)
{
    if (m_style.visible && ParseRecordTime(record.time) == no_time)
        AppendName(record.time, out);
    else
        AppendTime(out, record.time, ' ');
    out += ' ';
    AppendLevel(record.level, out);
    out += ' ';
    AppendName(record.module, out);
    out += " [";
    AppendName(record.thread, out);
    out += "] ";
    if (m_style.source)
        AppendSource(record, out);
    AppendBody(record.body, out);
    if (record.torn)
        AppendDim(" [torn]", out);
    if (record.cut)
        AppendDim(" [cut]", out);
}

void PlainWriter::AppendLevel(const ByteSpan& level, QByteArray& out)
{
    const int width = 8;
    const int index = LevelIndex(level);
    if (m_style.colour)
        out += LevelColour(index);
    const int before = static_cast<int>(out.size());
    if (index < level_count)
        out += ShortLevelName(index);
    else if (level.size > 0)
        AppendName(level, out);
    else
        out += '-';
    const int size = static_cast<int>(out.size()) - before;
    if (m_style.colour)
        out += normal;
    if (size < width)
        out.append("        ", width - size);
}

void PlainWriter::AppendSource(const LogItem& record, QByteArray& out)
{
    AppendName(record.file, out);
    out += ':';
    AppendName(record.line, out);
    out += ' ';
    m_unescaped.resize(0);
    AppendUnescaped(m_unescaped, record.function);
    AppendName(ByteSpan(m_unescaped), out);
    out += ": ";
}

void PlainWriter::AppendBody(const ByteSpan& body, QByteArray& out)
{
    m_unescaped.resize(0);
    AppendUnescaped(m_unescaped, body);
    const ByteSpan text(m_unescaped);
    const char* line = text.begin();
    for (const char* line_end; (line_end = Find(line, text.end(), '\n')) != 0;) {
        AppendText(ByteSpan(line, line_end), out);
        out += '\n';
        line = line_end + 1;
        if (line != text.end() && *line != '\n')
            out += indentation;
    }
    AppendText(ByteSpan(line, text.end()), out);
}

void PlainWriter::AppendRubbish(const LogItem& rubbish, QByteArray& out)
{
    if (m_style.colour)
        out += dim;
    AppendText(rubbish.body, out);
    if (m_style.colour)
        out += normal;
    if (rubbish.ends_line)
        out += '\n';
}

void PlainWriter::AppendName(const ByteSpan& name, QByteArray& out)
{
    if (!Find(name.begin(), name.end(), '\n')) {
        AppendText(name, out);
        return;
    }
    QByteArray line;
    AppendInOneLine(line, name);
    AppendText(ByteSpan(line), out);
}

void PlainWriter::AppendText(const ByteSpan& text, QByteArray& out)
{
    if (m_style.visible)
        AppendVisible(out, text);
    else
        out.append(text.data, text.size);
}

void PlainWriter::AppendDim(const char* text, QByteArray& out)
{
    if (m_style.colour)
        out += dim;
    out += text;
    if (m_style.colour)
        out += normal;
}

} // namespace DbgCat
