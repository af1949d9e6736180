#include "record_header.h"

namespace DbgCat {

namespace {

/** Takes a value without quotation marks up to @p mark, which begins with the closing one. */
inline bool Take(const char*& at, const char* to, const char* mark, int mark_size, ByteSpan& value)
{
    const char* const quote = Find(at, to, '"');
    if (!quote || to - quote < mark_size ||
        memcmp(quote, mark, static_cast<size_t>(mark_size)) != 0)
        return false;
    value = ByteSpan(at, quote);
    at = quote + mark_size;
    return true;
}

bool ParseCleanHeader(const char* from, const char* to, LogItem& item)
{
    const char* at = from;
    if (!Take(at, to, "\" m=\"", 5, item.time) || !Take(at, to, "\" f=\"", 5, item.module) ||
        !Take(at, to, "\" l=\"", 5, item.file) || !Take(at, to, "\" fnc=\"", 7, item.line) ||
        !Take(at, to, "\" lvl=\"", 7, item.function) ||
        !Take(at, to, "\" thrd=\"", 8, item.level) || Find(at, to, '"'))
        return false;
    item.thread = ByteSpan(at, to);
    return true;
}

bool IsNumber(const ByteSpan& text)
{
    for (const char byte : text) {
        if (byte < '0' || byte > '9')
            return false;
    }
    return text.size > 0;
}

bool IsLevelName(const ByteSpan& text)
{
    for (const char byte : text) {
        if ((byte < 'A' || byte > 'Z') && byte != '_')
            return false;
    }
    return true;
}

/** The escaped part in the middle, which names cannot be mistaken for unless they imitate it. */
bool TakeMiddle(const char* at, const char* to, LogItem& item)
{
    if (!Take(at, to, "\" fnc=\"", 7, item.line) || !Take(at, to, "\" lvl=\"", 7, item.function) ||
        !Take(at, to, "\" thrd=\"", 8, item.level))
        return false;
    item.thread = ByteSpan(at, to);
    return IsNumber(item.line) && IsLevelName(item.level);
}

/** Takes a value that may hold anything but @p mark. */
bool TakeUpTo(const char*& at, const char* to, const char* mark, ByteSpan& value)
{
    const char* const end = Find(at, to, mark);
    if (!end)
        return false;
    value = ByteSpan(at, end);
    at = end + strlen(mark);
    return true;
}

const char* const line_mark = "\" l=\"";
const int line_mark_size = 5;

/** Where the names before the line number end; null if there is no such place. */
const char* FindMiddle(const char* from, const char* to, LogItem& item)
{
    for (const char* at = from; const char* const mark = Find(at, to, line_mark);) {
        at = mark + line_mark_size;
        if (TakeMiddle(at, to, item))
            return mark;
    }
    return 0;
}

/** The same for attributes that went one place on, as a "%" in a name makes them do. */
const char* FindShiftedMiddle(const char* from, const char* to, LogItem& item)
{
    const char* const mark = Find(from, to, line_mark);
    if (!mark)
        return 0;
    const char* at = mark + line_mark_size;
    if (!TakeUpTo(at, to, "\" fnc=\"", item.line) ||
        !TakeUpTo(at, to, "\" lvl=\"", item.function) ||
        !TakeUpTo(at, to, "\" thrd=\"", item.level))
        return 0;
    item.thread = ByteSpan(at, to);
    return mark;
}

} // namespace

bool ParseHeader(const char* from, const char* to, LogItem& item)
{
    if (ParseCleanHeader(from, to, item))
        return true;
    const char* at = from;
    if (!TakeUpTo(at, to, "\" m=\"", item.time))
        return false;
    const char* middle = FindMiddle(at, to, item);
    if (!middle)
        middle = FindShiftedMiddle(at, to, item);
    if (!middle || !TakeUpTo(at, middle, "\" f=\"", item.module))
        return false;
    item.file = ByteSpan(at, middle);
    return true;
}

} // namespace DbgCat
