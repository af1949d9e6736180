#ifndef DBGCAT_HTML_REPORT_H
#define DBGCAT_HTML_REPORT_H

#include "metric_summary.h"
#include "record_summary.h"
#include "timing_summary.h"

namespace DbgCat {

/** All summaries as one HTML page, which needs nothing but itself. */
class HtmlReport
{
public:
    /**
     * @param logs    the names of the logs
     * @param damage  what the logs have that could not be read, one a line
     */
    HtmlReport(const std::vector<QByteArray>& logs, const QByteArray& damage);

    void Append(const RecordSummary& records, const MetricSummary& metrics,
                const TimingSummary& timing, QByteArray& out) const;

private:
    const std::vector<QByteArray> m_logs;
    const QByteArray m_damage;
};

} // namespace DbgCat

#endif
