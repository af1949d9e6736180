#ifndef DBGCAT_ITEM_WRITER_H
#define DBGCAT_ITEM_WRITER_H

#include "log_item.h"

namespace DbgCat {

/** One form in which a log is written. */
class ItemWriter
{
public:
    virtual ~ItemWriter() {}

    /** Appends what comes before the first item. */
    virtual void AppendBegin(QByteArray& out) { Q_UNUSED(out) }

    /** Appends an item of the log @p log; nothing if this form has no place for it. */
    virtual void Append(const LogItem& item, const QByteArray& log, QByteArray& out) = 0;

    /** Appends what comes behind the last item. */
    virtual void AppendEnd(QByteArray& out) { Q_UNUSED(out) }
};

} // namespace DbgCat

#endif
