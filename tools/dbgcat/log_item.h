#ifndef DBGCAT_LOG_ITEM_H
#define DBGCAT_LOG_ITEM_H

#include "byte_span.h"

namespace DbgCat {

/** One thing that a log holds, as it stands there; valid until its reader is asked for the next. */
struct LogItem
{
    enum Kind
    {
        Record,
        Restart, ///< the line that an output writes where it begins
        Metric,  ///< one counted place; has a file, a line and a count
        Rubbish  ///< anything else: a line, or a piece of a long one
    };

    LogItem()
        : kind(Rubbish)
        , torn(false)
        , cut(false)
        , ends_line(true)
    {
    }

    Kind kind;
    ByteSpan time;
    ByteSpan module;
    ByteSpan file;
    ByteSpan line;
    ByteSpan function; ///< escaped
    ByteSpan level;
    ByteSpan thread;
    ByteSpan body; ///< escaped; of rubbish, its bytes
    ByteSpan count;
    bool torn;      ///< the record's end is missing
    bool cut;       ///< the record is too long, and only its beginning is here
    bool ends_line; ///< of rubbish: no more of its line follows
};

} // namespace DbgCat

#endif
