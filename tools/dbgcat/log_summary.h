#ifndef DBGCAT_LOG_SUMMARY_H
#define DBGCAT_LOG_SUMMARY_H

#include "log_item.h"
#include "log_time.h"

namespace DbgCat {

/** Something that is made of all the items of a log. */
class LogSummary
{
public:
    virtual ~LogSummary() {}

    virtual void Take(const LogItem& item, LogTime time) = 0;

    /** Whether nothing was taken that it shows. */
    virtual bool IsEmpty() const = 0;

    /** Appends it as text for people. */
    virtual void AppendText(QByteArray& out) const = 0;
};

} // namespace DbgCat

#endif
