#include "record_text.h"

#include "dbg_msg_details.h"
#include "exit_gate.h"
#include "qt_compat.h"

#include <stdio.h>
#include <string.h>

namespace Zol {

namespace {

const char* const header_format =
    "<h><d t=\"%1\" m=\"%2\" f=\"%3\" l=\"%4\" fnc=\"%5\" lvl=\"%6\" thrd=\"%7\"/></h>";
const char* const time_format = "yyyy/MM/dd (MMM) (ddd) hh:mm:ss.zzz";
const QLatin1Char marker('%');
const int millisecond_digits = 3;

/** The time as the log has it where Qt's locales are gone, late in the exit of the process. */
QString TimeWithoutLocale(const QDateTime& time)
{
    static const char* const months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                         "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    static const char* const days[] = {"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};
    const QDate date = time.date();
    const QTime clock = time.time();
    char text[64];
    snprintf(text, sizeof(text), "%04d/%02d/%02d (%s) (%s) %02d:%02d:%02d.%03d", date.year(),
             date.month(), date.day(), months[date.month() - 1], days[date.dayOfWeek() - 1],
             clock.hour(), clock.minute(), clock.second(), clock.msec());
    return QString::fromLatin1(text);
}

QString LiteralTimeText(const QDateTime& time)
{
    const bool has_locale = QtCompat::HasLocale(ExitGate::ProcessExits());
    const QString text = has_locale ? time.toString(QLatin1String(time_format)) : QString();
    return text.isEmpty() && time.isValid() ? TimeWithoutLocale(time) : text;
}

/** The text of the second that a thread formatted last; trivial, so that it can be used late. */
struct SecondText
{
    bool IsOf(qint64 the_day, int the_second) const
    {
        return day == the_day && second == the_second;
    }

    qint64 day;
    int second;
    int length; // 0 while there is none
    QChar text[60];
};

thread_local SecondText last_second;

void KeepSecond(SecondText& kept, qint64 day, int second, int milliseconds, const QString& text)
{
    const int capacity = static_cast<int>(sizeof(kept.text) / sizeof(kept.text[0]));
    const QString digits =
        QString::fromLatin1("%1").arg(milliseconds, millisecond_digits, 10, QLatin1Char('0'));
    // A locale may have digits of its own.
    const bool fits = text.size() <= capacity && text.endsWith(digits) && !text.contains(marker);
    kept.length = fits ? static_cast<int>(text.size()) : 0;
    kept.day = day;
    kept.second = second;
    for (int i = 0; i < kept.length; ++i)
        kept.text[i] = text.at(i);
}

/** The text of a time, which is worked out once a second. Valid until the thread makes the next. */
class TimeText
{
public:
    explicit TimeText(const QDateTime& time)
        : m_characters(last_second.text)
        , m_size(0)
        , m_has_marker(false)
    {
        if (time.isValid() && TakeLastSecond(time))
            return;
        m_literal = LiteralTimeText(time);
        m_characters = m_literal.constData();
        m_size = static_cast<int>(m_literal.size());
        m_has_marker = m_literal.contains(marker);
    }

    const QChar* Characters() const { return m_characters; }
    int Size() const { return m_size; }
    bool HasMarker() const { return m_has_marker; }

private:
    Q_DISABLE_COPY(TimeText)

    bool TakeLastSecond(const QDateTime& time)
    {
        SecondText& kept = last_second;
        const qint64 day = time.date().toJulianDay();
        const int milliseconds_of_day = QTime(0, 0).msecsTo(time.time());
        const int second = milliseconds_of_day / 1000;
        const int milliseconds = milliseconds_of_day % 1000;
        if (!kept.IsOf(day, second))
            KeepSecond(kept, day, second, milliseconds, LiteralTimeText(time));
        if (kept.length == 0)
            return false;
        QChar* const digits = kept.text + kept.length - millisecond_digits;
        digits[0] = QLatin1Char(static_cast<char>('0' + milliseconds / 100));
        digits[1] = QLatin1Char(static_cast<char>('0' + milliseconds / 10 % 10));
        digits[2] = QLatin1Char(static_cast<char>('0' + milliseconds % 10));
        m_size = kept.length;
        return true;
    }

    const QChar* m_characters;
    int m_size;
    bool m_has_marker;
    QString m_literal;
};

/** A line number in decimal digits. */
class LineText
{
public:
    explicit LineText(unsigned int line_no)
        : m_begin(sizeof(m_digits) / sizeof(m_digits[0]))
    {
        do {
            m_digits[--m_begin] = QLatin1Char(static_cast<char>('0' + line_no % 10));
            line_no /= 10;
        } while (line_no != 0);
    }

    const QChar* Characters() const { return m_digits + m_begin; }
    int Size() const { return static_cast<int>(sizeof(m_digits) / sizeof(m_digits[0])) - m_begin; }

private:
    int m_begin;
    QChar m_digits[10];
};

struct Entity
{
    const char* text;
    int size;
};

/** Whether a character has to be escaped: one of " & ' < and >. */
bool IsSpecial(QChar character)
{
    const quint64 specials = Q_UINT64_C(1) << '"' | Q_UINT64_C(1) << '&' | Q_UINT64_C(1) << '\'' |
                             Q_UINT64_C(1) << '<' | Q_UINT64_C(1) << '>';
    const ushort unit = character.unicode();
    return unit < 64 && (specials >> unit & 1) != 0;
}

/** The entity of a character that has to be escaped. */
Entity EntityOf(QChar special)
{
    switch (special.unicode()) {
    case '&':
        return {"&amp;", 5};
    case '<':
        return {"&lt;", 4};
    case '>':
        return {"&gt;", 4};
    case '\'':
        return {"&apos;", 6};
    default:
        return {"&quot;", 6};
    }
}

/** How much longer the entities make a text. */
int GrowthOf(const QChar* from, const QChar* to)
{
    int growth = 0;
    for (; from != to; ++from) {
        if (IsSpecial(*from))
            growth += EntityOf(*from).size - 1;
    }
    return growth;
}

#if defined(__SSE2__) || defined(__ARM_NEON)

const int block_size = 8; // characters

/** Whether one of a block of characters has to be escaped. */
bool HasSpecial(const QChar* block)
{
    typedef quint16 Units __attribute__((vector_size(block_size * sizeof(quint16))));
    Units units;
    memcpy(&units, static_cast<const void*>(block), sizeof(units));
    // Those that differ in one bit are asked for together.
    const auto special =
        ((units & 0xfffb) == '"') | ((units & 0xfffe) == '&') | ((units & 0xfffd) == '<');
    quint64 halves[2];
    static_assert(sizeof(special) == sizeof(halves), "blocks are two words");
    memcpy(halves, &special, sizeof(halves));
    return (halves[0] | halves[1]) != 0;
}

#else

const int block_size = 1;

bool HasSpecial(const QChar* block)
{
    return IsSpecial(*block);
}

#endif

int GrowthOf(const QString& text)
{
    const QChar* at = text.constData();
    const QChar* const end = at + text.size();
    int growth = 0;
    for (; end - at >= block_size; at += block_size) {
        if (HasSpecial(at))
            growth += GrowthOf(at, at + block_size);
    }
    return growth + GrowthOf(at, end);
}

/** A text as it will be when it is escaped. */
class EscapedView
{
public:
    explicit EscapedView(const QString& text)
        : m_text(text)
        , m_growth(GrowthOf(text))
    {
    }

    const QString& Text() const { return m_text; }
    bool IsPlain() const { return m_growth == 0; }
    int Size() const { return static_cast<int>(m_text.size()) + m_growth; }

private:
    Q_DISABLE_COPY(EscapedView)

    const QString& m_text;
    const int m_growth;
};

/** Takes the same texts as a TextWriter and says how much room they need. */
class TextCounter
{
public:
    TextCounter()
        : m_size(0)
    {
    }

    template <size_t size>
    void Put(const char16_t (&)[size])
    {
        m_size += static_cast<int>(size) - 1;
    }

    void Put(const QChar*, int size) { m_size += size; }
    void Put(const QString& text) { m_size += static_cast<int>(text.size()); }
    void Put(const EscapedView& escaped) { m_size += escaped.Size(); }
    int Size() const { return m_size; }

private:
    Q_DISABLE_COPY(TextCounter)

    int m_size;
};

/** Writes one text behind the other into memory that has the room. */
class TextWriter
{
public:
    explicit TextWriter(QChar* to)
        : m_to(to)
    {
    }

    void Put(const char* text, int size)
    {
        for (int i = 0; i < size; ++i)
            m_to[i] = QLatin1Char(text[i]);
        m_to += size;
    }

    template <size_t size>
    void Put(const char16_t (&literal)[size])
    {
        memcpy(static_cast<void*>(m_to), literal, (size - 1) * sizeof(QChar));
        m_to += size - 1;
    }

    void Put(const QChar* characters, int size)
    {
        if (size > 0)
            memcpy(static_cast<void*>(m_to), characters, static_cast<size_t>(size) * sizeof(QChar));
        m_to += size;
    }

    void Put(const QString& text) { Put(text.constData(), static_cast<int>(text.size())); }

    void Put(const EscapedView& escaped)
    {
        if (escaped.IsPlain())
            Put(escaped.Text());
        else
            PutEscaped(escaped.Text());
    }

private:
    Q_DISABLE_COPY(TextWriter)

    void PutEscaped(const QString& text)
    {
        const QChar* at = text.constData();
        const QChar* const end = at + text.size();
        for (; end - at >= block_size; at += block_size) {
            if (HasSpecial(at))
                PutEscaped(at, at + block_size);
            else
                Put(at, block_size);
        }
        PutEscaped(at, end);
    }

    void PutEscaped(const QChar* from, const QChar* to)
    {
        for (; from != to; ++from) {
            if (!IsSpecial(*from)) {
                *m_to++ = *from;
                continue;
            }
            const Entity entity = EntityOf(*from);
            Put(entity.text, entity.size);
        }
    }

    QChar* m_to;
};

/** A header in one pass, where none of its texts holds a marker. */
class Header
{
public:
    Header(const TimeText& time, const QString& module, const QString& file, unsigned int line_no,
           const QString& func, DebugLevel lvl, const QString& thread)
        : m_time(time)
        , m_module(module)
        , m_file(file)
        , m_line(line_no)
        , m_func(func)
        , m_level(LevelName(lvl))
        , m_thread(thread)
    {
    }

    template <class Out>
    void WriteTo(Out& out) const
    {
        out.Put(u"<h><d t=\"");
        out.Put(m_time.Characters(), m_time.Size());
        out.Put(u"\" m=\"");
        out.Put(m_module);
        out.Put(u"\" f=\"");
        out.Put(m_file);
        out.Put(u"\" l=\"");
        out.Put(m_line.Characters(), m_line.Size());
        out.Put(u"\" fnc=\"");
        out.Put(m_func);
        out.Put(u"\" lvl=\"");
        out.Put(m_level);
        out.Put(u"\" thrd=\"");
        out.Put(m_thread);
        out.Put(u"\"/></h>");
    }

private:
    Q_DISABLE_COPY(Header)

    const TimeText& m_time;
    const QString& m_module;
    const QString& m_file;
    const LineText m_line;
    const EscapedView m_func;
    const QString& m_level;
    const QString& m_thread;
};

/** A record around a header. */
template <class HeaderType>
class Record
{
public:
    Record(const HeaderType& header, const QString& message)
        : m_header(header)
        , m_message(message)
    {
    }

    template <class Out>
    void WriteTo(Out& out) const
    {
        out.Put(u"<dbg>");
        m_header.WriteTo(out);
        out.Put(u"<b>");
        out.Put(m_message);
        out.Put(u"</b></dbg>");
    }

private:
    Q_DISABLE_COPY(Record)

    const HeaderType& m_header;
    const EscapedView m_message;
};

/** A text that is written as it is. */
class Verbatim
{
public:
    explicit Verbatim(const QString& text)
        : m_text(text)
    {
    }

    template <class Out>
    void WriteTo(Out& out) const
    {
        out.Put(m_text);
    }

private:
    Q_DISABLE_COPY(Verbatim)

    const QString& m_text;
};

/** A text with the characters that have a meaning in XML as entities. */
class Escaped
{
public:
    explicit Escaped(const QString& text)
        : m_text(text)
    {
    }

    bool IsPlain() const { return m_text.IsPlain(); }

    template <class Out>
    void WriteTo(Out& out) const
    {
        out.Put(m_text);
    }

private:
    Q_DISABLE_COPY(Escaped)

    const EscapedView m_text;
};

/** Replaces @p text by what @p source writes. */
template <class Source>
void Write(const Source& source, QString& text)
{
    TextCounter counter;
    source.WriteTo(counter);
    text.resize(counter.Size());
    TextWriter writer(text.data());
    source.WriteTo(writer);
}

/** The header by successive substitution, in which a "%" in a name counts as a marker. */
QString SubstitutedHeader(const QString& time, const QString& module, const QString& file,
                          unsigned int line_no, const QString& func, DebugLevel lvl,
                          const QString& thread)
{
    return QString(QLatin1String(header_format))
        .arg(time, module, file)
        .arg(line_no)
        .arg(EscapedText(func), LevelName(lvl), thread);
}

bool HasMarker(const TimeText& time, const QString& module, const QString& file)
{
    return module.contains(marker) || file.contains(marker) || time.HasMarker();
}

} // namespace

QString EscapedText(const QString& in)
{
    const Escaped escaped(in);
    if (escaped.IsPlain())
        return in;
    QString out;
    Write(escaped, out);
    return out;
}

QString HeaderText(const QDateTime& now, const QString& module, const QString& file,
                   unsigned int line_no, const QString& func, DebugLevel lvl, const QString& thread)
{
    const TimeText time(now);
    if (HasMarker(time, module, file))
        return SubstitutedHeader(QString(time.Characters(), time.Size()), module, file, line_no,
                                 func, lvl, thread);
    QString header;
    Write(Header(time, module, file, line_no, func, lvl, thread), header);
    return header;
}

QString RecordText(const QString& header, const QString& message)
{
    QString record;
    Write(Record<Verbatim>(Verbatim(header), message), record);
    return record;
}

void FormatRecord(const DebugMessageDetails& details, QString& record)
{
    const TimeText time(details.m_time_stamp);
    if (HasMarker(time, details.m_module, details.m_file)) {
        record = RecordText(SubstitutedHeader(QString(time.Characters(), time.Size()),
                                              details.m_module, details.m_file, details.m_line_no,
                                              details.m_func, details.m_lvl, details.m_thread),
                            details.m_message);
        return;
    }
    const Header header(time, details.m_module, details.m_file, details.m_line_no, details.m_func,
                        details.m_lvl, details.m_thread);
    Write(Record<Header>(header, details.m_message), record);
}

} // namespace Zol
