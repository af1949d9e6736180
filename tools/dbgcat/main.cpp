/*
 * Shows, filters, follows, converts and sums up logs of the library.
 */

#include "csv_writer.h"
#include "help_text.h"
#include "html_report.h"
#include "json_writer.h"
#include "last_items.h"
#include "log_merger.h"
#include "options.h"
#include "output.h"
#include "plain_writer.h"
#include "xml_writer.h"

#include <QtCore/QFile>
#include <QtCore/QSaveFile>

#include <poll.h>
#include <stdio.h>
#include <unistd.h>

using namespace DbgCat;

namespace {

enum ExitCode // as of grep
{
    Selected = 0,
    NothingSelected = 1,
    Failed = 2
};

const int look_again_after = 100; // milliseconds

bool IsTerminal()
{
    return isatty(STDOUT_FILENO) == 1;
}

bool IsOn(Options::When when, bool automatic)
{
    return when == Options::Auto ? automatic : when == Options::Always;
}

bool WantsColour(const Options& options)
{
    const bool is_declined = !qgetenv("NO_COLOR").isEmpty() || qgetenv("TERM") == "dumb";
    return IsOn(options.colour, IsTerminal() && !is_declined);
}

std::unique_ptr<ItemWriter> NewWriter(const Options& options)
{
    const bool visible = IsOn(options.escape, IsTerminal());
    switch (options.form) {
    case Options::Json:
        return std::unique_ptr<ItemWriter>(new JsonWriter(options.with_log, visible));
    case Options::Xml:
        return std::unique_ptr<ItemWriter>(new XmlWriter(options.with_log, visible));
    case Options::Csv:
        return std::unique_ptr<ItemWriter>(new CsvWriter(options.with_log, visible));
    default:
        break;
    }
    PlainWriter::Style style;
    style.colour = WantsColour(options);
    style.visible = visible;
    style.source = options.verbose;
    style.log = options.with_log;
    return std::unique_ptr<ItemWriter>(new PlainWriter(style));
}

/** Writes the items that are there now; true if there were any. */
bool WriteItems(LogMerger& merger, LogFilter& filter, ItemWriter& writer, Output& output)
{
    bool selected = false;
    while (LogSource* const source = merger.Next()) {
        if (!filter.Admits(source->Item(), source->Time()))
            continue;
        writer.Append(source->Item(), source->Name(), output.Buffer());
        selected = selected || source->Item().kind != LogItem::Rubbish;
        if (!output.FlushIfLarge())
            break;
    }
    return selected;
}

/** The same for the last items alone. */
bool WriteLastItems(LogMerger& merger, LogFilter& filter, ItemWriter& writer, Output& output,
                    qint64 last)
{
    LastItems items(last);
    QByteArray text;
    while (LogSource* const source = merger.Next()) {
        if (!filter.Admits(source->Item(), source->Time()))
            continue;
        text.resize(0);
        writer.Append(source->Item(), source->Name(), text);
        items.Add(text, source->Item().kind == LogItem::Record);
    }
    if (items.Missing() > 0)
        fprintf(stderr, "dbgcat: %lld of the last records are left out to save memory\n",
                static_cast<long long>(items.Missing()));
    for (const QByteArray& item : items.Texts()) {
        output.Buffer() += item;
        output.FlushIfLarge();
    }
    return !items.Texts().empty();
}

bool Follow(LogMerger& merger, LogFilter& filter, ItemWriter& writer, Output& output)
{
    bool selected = false;
    while (output.Flush() && !merger.IsFinished()) {
        merger.ReportDamage();
        poll(0, 0, look_again_after);
        merger.LookAgain();
        selected = WriteItems(merger, filter, writer, output) || selected;
    }
    return selected;
}

bool ShowItems(LogMerger& merger, Options& options, Output& output)
{
    const std::unique_ptr<ItemWriter> writer = NewWriter(options);
    writer->AppendBegin(output.Buffer());
    bool selected = options.last >= 0
                        ? WriteLastItems(merger, options.filter, *writer, output, options.last)
                        : WriteItems(merger, options.filter, *writer, output);
    if (options.follow)
        selected = Follow(merger, options.filter, *writer, output) || selected;
    writer->AppendEnd(output.Buffer());
    return selected;
}

void TakeItems(LogMerger& merger, LogFilter& filter, const std::vector<LogSummary*>& summaries)
{
    while (LogSource* const source = merger.Next()) {
        if (!filter.Admits(source->Item(), source->Time()))
            continue;
        for (LogSummary* const summary : summaries)
            summary->Take(source->Item(), source->Time());
    }
}

bool ShowSummary(LogMerger& merger, Options& options, LogSummary& summary, Output& output)
{
    TakeItems(merger, options.filter, {&summary});
    summary.AppendText(output.Buffer());
    return !summary.IsEmpty();
}

bool WriteReport(LogMerger& merger, Options& options, Output& output, bool& failed)
{
    RecordSummary records;
    MetricSummary metrics;
    TimingSummary timing;
    TakeItems(merger, options.filter, {&records, &metrics, &timing});
    QByteArray page;
    HtmlReport(options.logs, merger.DamageText()).Append(records, metrics, timing, page);
    if (options.report == "-") {
        output.Buffer() += page;
        return !records.IsEmpty();
    }
    QSaveFile file(QFile::decodeName(options.report));
    if (!file.open(QIODevice::WriteOnly) || file.write(page) != page.size() || !file.commit()) {
        fprintf(stderr, "dbgcat: %s cannot be written: %s\n", options.report.constData(),
                qPrintable(file.errorString()));
        failed = true;
    }
    return !records.IsEmpty();
}

int Run(Options& options)
{
    Output output;
    LogSource::Settings settings;
    settings.follow = options.follow;
    settings.before_wait = [&output] { output.Flush(); };
    LogMerger merger(options.logs, settings);

    bool selected = false;
    bool failed = false;
    if (options.WritesItems()) {
        selected = ShowItems(merger, options, output);
    } else if (options.form == Options::Report) {
        selected = WriteReport(merger, options, output, failed);
    } else if (options.form == Options::Statistics) {
        RecordSummary summary;
        selected = ShowSummary(merger, options, summary, output);
    } else if (options.form == Options::Metrics) {
        MetricSummary summary;
        selected = ShowSummary(merger, options, summary, output);
    } else {
        TimingSummary summary;
        selected = ShowSummary(merger, options, summary, output);
    }
    output.Flush();
    merger.ReportDamage();
    if (output.HasFailed())
        fprintf(stderr, "dbgcat: standard output cannot be written\n");
    if (failed || output.HasFailed() || merger.HasFailed())
        return Failed;
    return selected ? Selected : NothingSelected;
}

} // namespace

int main(int argc, char** argv)
{
    Options options;
    if (!options.Parse(argc, argv, Now()))
        return Failed;
    if (options.form == Options::Help || options.form == Options::Version) {
        fputs(options.form == Options::Help ? help_text : version_text, stdout);
        return fflush(stdout) == 0 ? Selected : Failed;
    }
    return Run(options);
}
