#ifndef DBGCAT_XML_WRITER_H
#define DBGCAT_XML_WRITER_H

#include "item_writer.h"

namespace DbgCat {

/** One well-formed XML document with the elements that the log has itself. */
class XmlWriter : public ItemWriter
{
public:
    /**
     * @param with_log  whether each element names its log
     * @param visible   whether characters that command a terminal are written as their codes
     */
    XmlWriter(bool with_log, bool visible);

    void AppendBegin(QByteArray& out) override;
    void Append(const LogItem& item, const QByteArray& log, QByteArray& out) override;
    void AppendEnd(QByteArray& out) override;

private:
    void AppendLogName(const QByteArray& log, QByteArray& out) const;
    void AppendAttribute(const char* name, const ByteSpan& value, QByteArray& out) const;
    void AppendAttribute(const char* name, const QString& value, QByteArray& out) const;

    /** @p normalised are the characters that a reader would not give back if they were as is. */
    void AppendText(const QString& text, const char* normalised, QByteArray& out) const;

    const bool m_with_log;
    const bool m_visible;
};

} // namespace DbgCat

#endif
