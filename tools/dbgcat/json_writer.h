#ifndef DBGCAT_JSON_WRITER_H
#define DBGCAT_JSON_WRITER_H

#include "item_writer.h"

namespace DbgCat {

/** One JSON object a line. */
class JsonWriter : public ItemWriter
{
public:
    /**
     * @param with_log  whether each object names its log
     * @param visible   whether characters that command a terminal are escaped, too
     */
    JsonWriter(bool with_log, bool visible);

    void Append(const LogItem& item, const QByteArray& log, QByteArray& out) override;

private:
    const bool m_with_log;
    const bool m_visible;
};

} // namespace DbgCat

#endif
