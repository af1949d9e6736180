#ifndef ZOLDEBUG_METRIC_TABLE_H
#define ZOLDEBUG_METRIC_TABLE_H

#include "zoldebug_export.h"

#include <QtCore/QScopedPointer>
#include <QtCore/QString>

namespace Zol {

/** Hit counters of code locations. Any thread may call it. */
class ZOLDEBUG_EXPORT MetricTable
{
public:
    /** A code location. */
    class ZOLDEBUG_EXPORT MetricKey
    {
    public:
        /** The line @p line of the source file @p file. */
        MetricKey(const QString& file, unsigned int line);

        QString m_file;         ///< source file as its caller names it
        unsigned int m_line_no; ///< source line
    };

    /** An empty table. */
    MetricTable();

    /** Forgets all counters. */
    ~MetricTable();

    /** Adds one hit to the location (@p file, @p line). */
    void Update(const QString& file, unsigned int line);

    /**
     * Appends one line per location to @p out, ordered by file, then line. Nothing is escaped. Hits
     * may be counted meanwhile.
     */
    void Dump(QString& out);

private:
    Q_DISABLE_COPY(MetricTable)

    class Impl;
    const QScopedPointer<Impl> m_impl;
};

/** Orders by file, in UTF-16 code units, then by line. */
ZOLDEBUG_EXPORT bool operator<(const MetricTable::MetricKey& a, const MetricTable::MetricKey& b);

} // namespace Zol

#endif
