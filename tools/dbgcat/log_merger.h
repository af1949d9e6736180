#ifndef DBGCAT_LOG_MERGER_H
#define DBGCAT_LOG_MERGER_H

#include "log_source.h"

#include <memory>
#include <vector>

namespace DbgCat {

/** Several logs as one, by time. Each keeps its own order, even where its clock went back. */
class LogMerger
{
public:
    LogMerger(const std::vector<QByteArray>& names, LogSource::Settings settings);

    /**
     * The log whose item comes next; null if there is none. A followed log that had nothing is
     * passed over until LookAgain().
     */
    LogSource* Next();
    void LookAgain();

    bool IsFinished() const;
    bool HasFailed() const;
    void ReportDamage();

    /** The logs that have something that is no whole item, and what; one a line. */
    QByteArray DamageText() const;

private:
    struct Head
    {
        std::unique_ptr<LogSource> source;
        bool waits; ///< has an item that was not given out yet
        bool idle;  ///< had none when it was asked last
    };

    std::vector<Head> m_heads;
};

} // namespace DbgCat

#endif
