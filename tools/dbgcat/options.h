#ifndef DBGCAT_OPTIONS_H
#define DBGCAT_OPTIONS_H

#include "log_filter.h"

#include <vector>

namespace DbgCat {

/** What the command line asks for. */
struct Options
{
    enum Form
    {
        Plain,
        Json,
        Xml,
        Csv,
        Statistics,
        Metrics,
        Timing,
        Report,
        Help,
        Version
    };

    enum When
    {
        Auto,
        Always,
        Never
    };

    Options();

    /**
     * Takes the command line apart. False if there is something wrong with it, which was said on
     * standard error.
     */
    bool Parse(int argc, char** argv, LogTime now);

    /** Whether the form is one in which the items of the log are written one after the other. */
    bool WritesItems() const { return form <= Csv; }

    Form form;
    LogFilter filter;
    qint64 last; ///< only so many records; -1 for all
    bool follow;
    bool verbose;
    bool with_log;
    When colour;
    When escape;
    QByteArray report;
    std::vector<QByteArray> logs;

private:
    bool Take(int option, const QByteArray& value, LogTime now);
    bool TakeLevels(const QByteArray& names);
    bool TakeMask(const QByteArray& mask);
    bool TakeForm(Form wanted);
    bool TakeLast(const QByteArray& number);
    bool AreCompatible() const;

    bool m_has_form;
};

} // namespace DbgCat

#endif
