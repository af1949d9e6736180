#include "xml_writer.h"

#include "log_text.h"

namespace DbgCat {

namespace {

/** What stands for a character that XML cannot hold in any form. */
QChar Substitute(ushort code)
{
    const ushort control_pictures = 0x2400;
    const ushort replacement = 0xfffd;
    return QChar(code < 0x20 ? static_cast<ushort>(control_pictures + code) : replacement);
}

bool IsAllowed(ushort code)
{
    return code >= 0x20 ? code < 0xfffe : code == '\t' || code == '\n' || code == '\r';
}

} // namespace

XmlWriter::XmlWriter(bool with_log, bool visible)
    : m_with_log(with_log)
    , m_visible(visible)
{
}

void XmlWriter::AppendBegin(QByteArray& out)
{
    out += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<log>\n";
}

void XmlWriter::Append(const LogItem& item, const QByteArray& log, QByteArray& out)
{
    switch (item.kind) {
    case LogItem::Record:
        out += "<dbg";
        AppendLogName(log, out);
        if (item.torn)
            out += " torn=\"true\"";
        if (item.cut)
            out += " cut=\"true\"";
        out += "><h><d";
        AppendAttribute("t", item.time, out);
        AppendAttribute("m", item.module, out);
        AppendAttribute("f", item.file, out);
        AppendAttribute("l", item.line, out);
        AppendAttribute("fnc", DecodeUnescaped(item.function), out);
        AppendAttribute("lvl", item.level, out);
        AppendAttribute("thrd", item.thread, out);
        out += "/></h><b>";
        AppendText(DecodeUnescaped(item.body), "\r", out);
        out += "</b></dbg>\n";
        break;
    case LogItem::Restart:
        out += "<DEBUG_SERVER_RESTART";
        AppendLogName(log, out);
        out += "/>\n";
        break;
    case LogItem::Metric:
        out += "<metric";
        AppendLogName(log, out);
        AppendAttribute("f", item.file, out);
        AppendAttribute("l", item.line, out);
        AppendAttribute("c", item.count, out);
        out += "/>\n";
        break;
    case LogItem::Rubbish:
        break;
    }
}

void XmlWriter::AppendEnd(QByteArray& out)
{
    out += "</log>\n";
}

void XmlWriter::AppendLogName(const QByteArray& log, QByteArray& out) const
{
    if (m_with_log)
        AppendAttribute("log", ByteSpan(log), out);
}

void XmlWriter::AppendAttribute(const char* name, const ByteSpan& value, QByteArray& out) const
{
    AppendAttribute(name, Decode(value), out);
}

void XmlWriter::AppendAttribute(const char* name, const QString& value, QByteArray& out) const
{
    out += ' ';
    out += name;
    out += "=\"";
    AppendText(value, "\r\n\t", out);
    out += '"';
}

void XmlWriter::AppendText(const QString& text, const char* normalised, QByteArray& out) const
{
    QString escaped;
    escaped.reserve(text.size() + text.size() / 8);
    for (const QChar character : text) {
        const ushort code = character.unicode();
        if (code == '&')
            escaped += QLatin1String("&amp;");
        else if (code == '<')
            escaped += QLatin1String("&lt;");
        else if (code == '>')
            escaped += QLatin1String("&gt;");
        else if (code == '"')
            escaped += QLatin1String("&quot;");
        else if (!IsAllowed(code))
            escaped += Substitute(code);
        else if ((code < 0x20 && strchr(normalised, code)) || (m_visible && CommandsTerminal(code)))
            escaped += QString::fromLatin1("&#%1;").arg(code);
        else
            escaped += character;
    }
    out += escaped.toUtf8();
}

} // namespace DbgCat
