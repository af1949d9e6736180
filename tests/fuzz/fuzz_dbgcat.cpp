// Takes the input for a log, but for its first byte: so many bytes of the log are read at a time.
// What is found must not depend on that, and every form of it must be sound.

#include "csv_writer.h"
#include "html_report.h"
#include "json_writer.h"
#include "log_filter.h"
#include "log_text.h"
#include "plain_writer.h"
#include "reader_text.h"
#include "xml_writer.h"

#include <QtCore/QJsonDocument>
#include <QtCore/QXmlStreamReader>

#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>

#include <functional>

using namespace DbgCat;

namespace {

void Require(bool condition, const char* what)
{
    if (condition)
        return;
    fprintf(stderr, "fuzz_dbgcat: %s\n", what);
    abort();
}

void ForEachItem(const QByteArray& log, const std::function<void(const LogItem&)>& take)
{
    LogReader reader;
    LogItem item;
    int room = 0;
    char* const to = reader.Room(&room);
    const int size = qMin(room, static_cast<int>(log.size()));
    memcpy(to, log.constData(), static_cast<size_t>(size));
    reader.Added(size);
    reader.End();
    while (reader.Next(item))
        take(item);
}

QByteArray Written(const QByteArray& log, ItemWriter& writer)
{
    QByteArray out;
    writer.AppendBegin(out);
    ForEachItem(log, [&](const LogItem& item) { writer.Append(item, "a.log", out); });
    writer.AppendEnd(out);
    return out;
}

void CheckXml(const QByteArray& log, bool visible)
{
    XmlWriter writer(true, visible);
    QXmlStreamReader xml(Written(log, writer));
    while (!xml.atEnd())
        xml.readNext();
    Require(!xml.hasError(), "the XML document is not well-formed");
}

void CheckJson(const QByteArray& log, bool visible)
{
    JsonWriter writer(true, visible);
    const QList<QByteArray> lines = Written(log, writer).split('\n');
    for (const QByteArray& line : lines) {
        Require(line.isEmpty() || QJsonDocument::fromJson(line).isObject(),
                "a line of JSON is no object");
    }
}

void CheckTerminal(ItemWriter& writer, const QByteArray& log)
{
    const QString text = QString::fromUtf8(Written(log, writer));
    for (const QChar character : text)
        Require(!CommandsTerminal(character.unicode()), "the terminal gets a command");
}

void CheckSummaries(const QByteArray& log)
{
    RecordSummary records;
    MetricSummary metrics;
    TimingSummary timing;
    LogTime time = no_time;
    ForEachItem(log, [&](const LogItem& item) {
        if (item.kind == LogItem::Record && ParseRecordTime(item.time) != no_time)
            time = ParseRecordTime(item.time);
        records.Take(item, time);
        metrics.Take(item, time);
        timing.Take(item, time);
    });
    QByteArray out;
    records.AppendText(out);
    metrics.AppendText(out);
    timing.AppendText(out);
    HtmlReport({"a.log"}, QByteArray()).Append(records, metrics, timing, out);
    const QString text = QString::fromUtf8(out);
    for (const QChar character : text)
        Require(!CommandsTerminal(character.unicode()), "a summary has a command for the terminal");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0 || size > 100000)
        return 0;
    const int portion = data[0] + 1;
    const QByteArray log(reinterpret_cast<const char*>(data) + 1, static_cast<int>(size) - 1);
    Require(ZolTest::ReaderText(log, portion) ==
                ZolTest::ReaderText(log, static_cast<int>(log.size()) + 1),
            "what is found depends on how the log comes");

    PlainWriter::Style style;
    style.visible = true;
    style.source = true;
    PlainWriter plain(style);
    CheckTerminal(plain, log);
    CsvWriter csv(true, true);
    CheckTerminal(csv, log);
    JsonWriter json(true, true);
    CheckTerminal(json, log);
    XmlWriter xml(true, true);
    CheckTerminal(xml, log);
    for (const bool visible : {false, true}) {
        CheckXml(log, visible);
        CheckJson(log, visible);
    }
    CheckSummaries(log);
    return 0;
}
