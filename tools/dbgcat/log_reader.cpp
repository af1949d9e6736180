#include "log_reader.h"

#include "record_header.h"

#include <algorithm>

namespace DbgCat {

namespace {

const char record_start[] = "<dbg><h><d t=\"";
const char header_end_mark[] = "\"/></h><b>";
const char header_close[] = "</h><b>"; // its part from the first "<" on
const char record_end[] = "</b></dbg>";
const char metric_start[] = "<metric f=\"";
const char restart_line[] = "<DEBUG_SERVER_RESTART/>";

template <size_t size>
constexpr int Length(const char (&)[size])
{
    return static_cast<int>(size) - 1;
}

enum Match
{
    Different,
    Same,
    Unknown // the bytes end before it shows
};

template <size_t size>
Match Compare(const char* at, const char* end, const char (&text)[size])
{
    const int available = static_cast<int>(std::min<qint64>(end - at, Length(text)));
    if (memcmp(at, text, static_cast<size_t>(available)) != 0)
        return Different;
    return available == Length(text) ? Same : Unknown;
}

/** Whether a marker, a metric or a record begins at @p at, where a "<" stands. */
Match CompareStart(const char* at, const char* end)
{
    bool unknown = false;
    const Match matches[] = {Compare(at, end, record_start), Compare(at, end, restart_line),
                             Compare(at, end, metric_start)};
    for (const Match match : matches) {
        if (match == Same)
            return Same;
        unknown = unknown || match == Unknown;
    }
    return unknown ? Unknown : Different;
}

/** The same within a header, whose names may hold markup: only what no name is likely to hold. */
Match CompareStartInHeader(const char* at, const char* end)
{
    if (at[-1] == '\n')
        return CompareStart(at, end);
    Match match = Compare(at, end, record_start);
    const char* const year = at + Length(record_start);
    if (match == Same) {
        for (int i = 0; i < 5; ++i) {
            if (year + i == end)
                return Unknown;
            if (i < 4 ? year[i] < '0' || year[i] > '9' : year[i] != '/')
                return Different;
        }
        return Same;
    }
    if (match == Unknown)
        return Unknown;
    match = Compare(at, end, restart_line);
    if (match != Same)
        return match;
    const char* const behind = at + Length(restart_line);
    return behind == end ? Unknown : *behind == '\n' || *behind == '\r' ? Same : Different;
}

/** Where the body has to be cut so that no entity or UTF-8 sequence is cut in two. */
const char* WholeEnd(const char* from, const char* to)
{
    const char* const near_end = to - std::min<qint64>(to - from, 5);
    for (const char* at = to; at != near_end; --at) {
        if (at[-1] == ';')
            break;
        if (at[-1] == '&')
            return at - 1;
    }
    const char* end = to;
    while (end != near_end && (end[-1] & 0xc0) == 0x80)
        --end;
    return end != near_end && (end[-1] & 0xc0) == 0xc0 ? end - 1 : to;
}

const char* WithoutLineEnd(const char* from, const char* to)
{
    if (to != from && to[-1] == '\n')
        --to;
    if (to != from && to[-1] == '\r')
        --to;
    return to;
}

const char* WithoutNulls(const char* from, const char* to)
{
    while (to != from && to[-1] == '\0')
        --to;
    return to;
}

/** Leaves out the beginning of the record's end, if that is what is there of it. */
const char* WithoutRecordEnd(const char* from, const char* to)
{
    for (int size = Length(record_end) - 1; size > 0; --size) {
        if (to - from >= size && memcmp(to - size, record_end, static_cast<size_t>(size)) == 0)
            return to - size;
    }
    return to;
}

qint64 CountNulls(const char* from, const char* to)
{
    return std::find_if(from, to, [](char byte) { return byte != '\0'; }) - from;
}

bool TakeFromEnd(const char* from, const char*& to, const char* text)
{
    const int size = static_cast<int>(strlen(text));
    if (to - from < size || memcmp(to - size, text, static_cast<size_t>(size)) != 0)
        return false;
    to -= size;
    return true;
}

bool TakeNumberFromEnd(const char* from, const char*& to, ByteSpan& number)
{
    const char* at = to;
    while (at != from && at[-1] >= '0' && at[-1] <= '9')
        --at;
    number = ByteSpan(at, to);
    to = at;
    return number.size > 0;
}

} // namespace

const int LogReader::longest_record;
const int LogReader::longest_piece;

LogReader::LogReader(int buffer_size)
    : m_buffer_size(buffer_size)
    , m_buffer(static_cast<size_t>(buffer_size))
    , m_begin(0)
    , m_end(0)
    , m_consumed(0)
    , m_state(AtItem)
    , m_ended(false)
{
}

char* LogReader::Room(int* size)
{
    const int length = Size();
    memmove(m_buffer.data(), At(), static_cast<size_t>(length));
    m_begin = 0;
    m_end = length;
    const int capacity = static_cast<int>(m_buffer.size());
    if (length == capacity) {
        m_buffer.resize(m_buffer.size() * 2);
    } else if (capacity > m_buffer_size && length < m_buffer_size / 2) {
        m_buffer.resize(static_cast<size_t>(m_buffer_size));
        m_buffer.shrink_to_fit();
    }
    *size = static_cast<int>(m_buffer.size()) - m_end;
    return m_buffer.data() + m_end;
}

void LogReader::Added(int size)
{
    m_end += size;
}

void LogReader::End()
{
    m_ended = true;
}

void LogReader::Begin()
{
    m_begin = 0;
    m_end = 0;
    m_consumed = 0;
    m_state = AtItem;
    m_ended = false;
    m_damage = Damage();
}

bool LogReader::Next(LogItem& item)
{
    while (m_begin != m_end) {
        const Result result = m_state == AtItem      ? NextItem(item)
                              : m_state == InCutBody ? PassCutBody()
                                                     : NextRubbish(item);
        if (result != Nothing)
            return result == Found;
    }
    return false;
}

LogReader::Result LogReader::NextItem(LogItem& item)
{
    const char* const at = At();
    if (*at == '\0')
        return PassNulls();
    if (*at != '<')
        return NextRubbish(item);
    const Match record = Compare(at, BufferEnd(), record_start);
    if (record == Same)
        return NextRecord(item);
    const Match metric = Compare(at, BufferEnd(), metric_start);
    if (metric == Same)
        return NextMetric(item);
    const Match restart = Compare(at, BufferEnd(), restart_line);
    if (restart == Same)
        return NextRestart(item);
    const bool unknown = record == Unknown || metric == Unknown || restart == Unknown;
    return unknown && !m_ended ? NeedsMore : NextRubbish(item);
}

/** A record as nearly all are: no markup in the names, and the end where the body ends. */
LogReader::Result LogReader::NextRecord(LogItem& item)
{
    const char* const end = BufferEnd();
    const char* const header = At() + Length(record_start);
    const char* const close = Find(header, end, '<');
    if (!close || close - header < 3 || memcmp(close - 3, "\"/>", 3) != 0 ||
        Compare(close, end, header_close) != Same)
        return NextDoubtfulRecord(item);
    const char* const body = close + Length(header_close);
    const char* const body_end = Find(body, end, '<');
    if (!body_end || body_end - At() >= longest_record ||
        Compare(body_end, end, record_end) != Same || !ParseHeader(header, close - 3, item))
        return NextDoubtfulRecord(item);
    const char* behind = body_end + Length(record_end);
    if (!TakeLineEnd(behind, &behind))
        return NeedsMore;
    item.kind = LogItem::Record;
    item.body = ByteSpan(body, body_end);
    item.torn = false;
    item.cut = false;
    Consume(behind);
    return Found;
}

/** Any other record: looks at each "<" for the record's end, or for what comes behind a torn one.
 */
LogReader::Result LogReader::NextDoubtfulRecord(LogItem& item)
{
    const bool too_long = Size() >= longest_record;
    const char* const end = too_long ? At() + longest_record : BufferEnd();
    const bool is_all = m_ended && !too_long;
    const char* const header = At() + Length(record_start);
    const char* header_end = 0; // the last one so far, as none can stand in a body
    for (const char* at = header; (at = Find(at, end, '<')) != 0; ++at) {
        const Match start = header_end ? CompareStart(at, end) : CompareStartInHeader(at, end);
        if (start == Same)
            return PassTornRecord(item, header_end, at);
        const Match close = Compare(at, end, record_end);
        if ((start == Unknown || close == Unknown) && !is_all)
            return too_long ? PassCutRecord(item, header_end) : NeedsMore;
        if (close == Same) {
            const char* behind = at + Length(record_end);
            const char* const line_end = behind;
            if (!TakeLineEnd(behind, &behind))
                return NeedsMore;
            const bool line_ends = behind != line_end || behind == BufferEnd();
            const Match next = line_ends ? Same : CompareStart(behind, BufferEnd());
            if (next == Unknown && !m_ended)
                return NeedsMore;
            if (next == Different)
                continue; // it stands in a name
            if (!header_end || !ParseHeader(header, header_end, item))
                return PassBadRecord(item, behind);
            item.kind = LogItem::Record;
            item.body = ByteSpan(header_end + Length(header_end_mark), at);
            item.torn = false;
            item.cut = false;
            Consume(behind);
            return Found;
        }
        const char* const quote = at - (Length(header_end_mark) - Length(header_close));
        if (quote >= header && Compare(quote, end, header_end_mark) == Same)
            header_end = quote;
    }
    if (is_all)
        return PassTornRecord(item, header_end, end);
    return too_long ? PassCutRecord(item, header_end) : NeedsMore;
}

LogReader::Result LogReader::PassTornRecord(LogItem& item, const char* header_end, const char* to)
{
    const char* const header = At() + Length(record_start);
    if (!header_end || !ParseHeader(header, header_end, item))
        return PassBadRecord(item, to);
    const char* const body = header_end + Length(header_end_mark);
    const char* const body_end =
        WithoutRecordEnd(body, WithoutLineEnd(body, WithoutNulls(body, to)));
    NoteDamage();
    ++m_damage.torn_records;
    item.kind = LogItem::Record;
    item.body = ByteSpan(body, body_end);
    item.torn = true;
    item.cut = false;
    Consume(to);
    return Found;
}

LogReader::Result LogReader::PassCutRecord(LogItem& item, const char* header_end)
{
    const char* const header = At() + Length(record_start);
    if (!header_end || !ParseHeader(header, header_end, item))
        return PassRubbish(item, At() + longest_piece, false);
    const char* const body = header_end + Length(header_end_mark);
    const char* const body_end = WholeEnd(body, At() + longest_record);
    NoteDamage();
    ++m_damage.cut_records;
    item.kind = LogItem::Record;
    item.body = ByteSpan(body, body_end);
    item.torn = false;
    item.cut = true;
    Consume(body_end);
    m_state = InCutBody;
    return Found;
}

LogReader::Result LogReader::PassCutBody()
{
    const char* const from = At();
    const char* const end = BufferEnd();
    const char* stop = end;
    const char* behind = end;
    for (const char* at = from; (at = Find(at, end, '<')) != 0; ++at) {
        const Match close = Compare(at, end, record_end);
        const Match start = CompareStart(at, end);
        if (close == Same || start == Same) {
            stop = at;
            behind = close == Same ? at + Length(record_end) : at;
            if (close == Same && !TakeLineEnd(behind, &behind))
                behind = stop; // comes again when there is more
            else
                m_state = AtItem;
            break;
        }
        if ((close == Unknown || start == Unknown) && !m_ended) {
            stop = at;
            behind = at;
            break;
        }
    }
    m_damage.cut_bytes += stop - from;
    Consume(behind);
    return m_state == InCutBody && behind != end ? NeedsMore : Nothing;
}

LogReader::Result LogReader::NextRestart(LogItem& item)
{
    const char* behind = At() + Length(restart_line);
    if (!TakeLineEnd(behind, &behind))
        return NeedsMore;
    item.kind = LogItem::Restart;
    Consume(behind);
    return Found;
}

LogReader::Result LogReader::NextMetric(LogItem& item)
{
    const char* const at = At();
    const char* const line_end = Find(at, BufferEnd(), '\n');
    if (!line_end && !m_ended && Size() < longest_piece)
        return NeedsMore;
    if (!line_end || line_end - at >= longest_piece)
        return NextRubbish(item);

    const char* const name = at + Length(metric_start);
    const char* to = WithoutLineEnd(name, line_end);
    if (!TakeFromEnd(name, to, "\"/>"))
        return NextRubbish(item);
    // From the end, as the file's name may hold anything.
    if (!TakeNumberFromEnd(name, to, item.count) || !TakeFromEnd(name, to, "\" c=\"") ||
        !TakeNumberFromEnd(name, to, item.line) || !TakeFromEnd(name, to, "\" l=\""))
        return NextRubbish(item);
    item.kind = LogItem::Metric;
    item.file = ByteSpan(name, to);
    Consume(line_end + 1);
    return Found;
}

/** What is no item, up to the end of its line or to where an item begins within it. */
LogReader::Result LogReader::NextRubbish(LogItem& item)
{
    const char* const from = At();
    const char* const end = BufferEnd();
    const char* const limit = from + std::min(Size(), longest_piece);
    const char* const line_end = Find(from, limit, '\n');
    const char* const to = line_end ? line_end : limit;
    // What an item begins with was looked at already, unless this is the middle of a line.
    const char* at = m_state == InRubbish ? from : from + 1;
    for (; at < to && (at = Find(at, to, '<')) != 0; ++at) {
        const Match start = CompareStart(at, end);
        if (start == Unknown && !m_ended)
            return NeedsMore;
        if (start != Same)
            continue;
        if (at != from)
            return PassRubbish(item, at, true);
        m_state = AtItem;
        return Nothing;
    }
    if (line_end)
        return PassRubbish(item, line_end + 1, true);
    if (Size() >= longest_piece)
        return PassRubbish(item, limit, false);
    return m_ended ? PassRubbish(item, end, true) : NeedsMore;
}

LogReader::Result LogReader::PassRubbish(LogItem& item, const char* to, bool ends_line)
{
    const char* const from = At();
    NoteDamage();
    if (m_state != InRubbish)
        ++m_damage.rubbish_lines;
    const char* const text_end = ends_line ? WithoutLineEnd(from, to) : to;
    const char* const text = std::min(from + CountNulls(from, text_end), text_end);
    item.kind = LogItem::Rubbish;
    item.body = ByteSpan(text, WithoutNulls(text, text_end));
    const qint64 nulls = text_end - from - item.body.size;
    m_damage.null_bytes += nulls;
    m_damage.rubbish_bytes += to - from - nulls;
    item.ends_line = ends_line;
    m_state = ends_line ? AtItem : InRubbish;
    Consume(to);
    return Found;
}

/** What begins as a record and is none, with the lines that it may have; @p to is behind it. */
LogReader::Result LogReader::PassBadRecord(LogItem& item, const char* to)
{
    if (to - At() <= longest_piece)
        return PassRubbish(item, to, true);
    return PassRubbish(item, At() + longest_piece, false);
}

LogReader::Result LogReader::PassNulls()
{
    const char* const end = BufferEnd();
    const char* behind = At() + CountNulls(At(), end);
    if (behind == end && !m_ended) {
        --behind; // a line end may follow
        if (behind == At())
            return NeedsMore;
    }
    NoteDamage();
    m_damage.null_bytes += behind - At();
    Consume(behind != end && *behind == '\n' ? behind + 1 : behind);
    return Nothing;
}

/**
 * Sets @p behind behind the line end that stands at @p at, if one does; false if bytes are missing
 * to tell.
 */
bool LogReader::TakeLineEnd(const char* at, const char** behind) const
{
    const char* const end = BufferEnd();
    *behind = at;
    if (at == end)
        return m_ended;
    if (*at == '\r' && at + 1 == end)
        return m_ended;
    if (*at == '\n')
        *behind = at + 1;
    else if (*at == '\r' && at[1] == '\n')
        *behind = at + 2;
    return true;
}

void LogReader::Consume(const char* to)
{
    const int size = static_cast<int>(to - At());
    m_begin += size;
    m_consumed += size;
}

void LogReader::NoteDamage()
{
    if (m_damage.first_at < 0)
        m_damage.first_at = m_consumed;
}

} // namespace DbgCat
