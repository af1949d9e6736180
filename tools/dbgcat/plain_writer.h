#ifndef DBGCAT_PLAIN_WRITER_H
#define DBGCAT_PLAIN_WRITER_H

#include "item_writer.h"

namespace DbgCat {

/** The form for people: a line a record, with the further lines of its text indented. */
class PlainWriter : public ItemWriter
{
public:
    struct Style
    {
        Style()
            : colour(false)
            , visible(false)
            , source(false)
            , log(false)
        {
        }

        bool colour;
        bool visible; ///< control characters are made visible
        bool source;  ///< with file, line and function
        bool log;     ///< with the name of the log
    };

    explicit PlainWriter(const Style& style);

    void Append(const LogItem& item, const QByteArray& log, QByteArray& out) override;

private:
    void AppendRecord(const LogItem& record, QByteArray& out);
    void AppendLevel(const ByteSpan& level, QByteArray& out);
    void AppendSource(const LogItem& record, QByteArray& out);
    void AppendBody(const ByteSpan& body, QByteArray& out);
    void AppendRubbish(const LogItem& rubbish, QByteArray& out);
    void AppendName(const ByteSpan& name, QByteArray& out);
    void AppendText(const ByteSpan& text, QByteArray& out);
    void AppendDim(const char* text, QByteArray& out);

    const Style m_style;
    QByteArray m_unescaped;
};

} // namespace DbgCat

#endif
