#ifndef DBGCAT_CSV_WRITER_H
#define DBGCAT_CSV_WRITER_H

#include "item_writer.h"

namespace DbgCat {

/** A table of the records, with a line that names the columns. */
class CsvWriter : public ItemWriter
{
public:
    /**
     * @param with_log  whether there is a column for the log
     * @param visible   whether characters that command a terminal are made visible
     */
    CsvWriter(bool with_log, bool visible);

    void AppendBegin(QByteArray& out) override;
    void Append(const LogItem& item, const QByteArray& log, QByteArray& out) override;

private:
    void AppendField(const ByteSpan& text, QByteArray& out);
    void AppendEscapedField(const ByteSpan& text, QByteArray& out);

    const bool m_with_log;
    const bool m_visible;
    QByteArray m_unescaped;
};

} // namespace DbgCat

#endif
