#include "log_text.h"

namespace DbgCat {

namespace {

struct Entity
{
    const char* name;
    int size;
    char character;
};

const Entity entities[] = {
    {"&amp;", 5, '&'}, {"&lt;", 4, '<'}, {"&gt;", 4, '>'}, {"&apos;", 6, '\''}, {"&quot;", 6, '"'}};

const Entity* EntityAt(const char* at, const char* end)
{
    for (const Entity& entity : entities) {
        if (end - at >= entity.size &&
            memcmp(at, entity.name, static_cast<size_t>(entity.size)) == 0)
            return &entity;
    }
    return 0;
}

unsigned int Byte(const char* at)
{
    return static_cast<unsigned char>(*at);
}

/** How many bytes the UTF-8 sequence at @p at has; 0 if it is none. */
int SequenceSize(const char* at, const char* end)
{
    const unsigned int first = Byte(at);
    const int size = first < 0x80                     ? 1
                     : first >= 0xc2 && first < 0xe0  ? 2
                     : (first & 0xf0) == 0xe0         ? 3
                     : first >= 0xf0 && first <= 0xf4 ? 4
                                                      : 0;
    if (size == 0 || end - at < size)
        return 0;
    for (int i = 1; i < size; ++i) {
        if ((Byte(at + i) & 0xc0) != 0x80)
            return 0;
    }
    // Longer than it has to be, half of a surrogate pair, or beyond the last character.
    const unsigned int second = size > 1 ? Byte(at + 1) : 0;
    const bool wrong = (first == 0xe0 && second < 0xa0) || (first == 0xed && second >= 0xa0) ||
                       (first == 0xf0 && second < 0x90) || (first == 0xf4 && second >= 0x90);
    return wrong ? 0 : size;
}

bool IsUtf8(const ByteSpan& text)
{
    for (const char* at = text.begin(); at != text.end();) {
        const int size = SequenceSize(at, text.end());
        if (size == 0)
            return false;
        at += size;
    }
    return true;
}

void AppendHex(QByteArray& out, unsigned int byte)
{
    static const char digits[] = "0123456789abcdef";
    out += "\\x";
    out += digits[byte >> 4];
    out += digits[byte & 15];
}

/** The character of a sequence of so many bytes; a blank for one of four, as none of these matters.
 */
unsigned int CodeOf(const char* at, int size)
{
    switch (size) {
    case 1:
        return Byte(at);
    case 2:
        return (Byte(at) & 31) << 6 | (Byte(at + 1) & 63);
    case 3:
        return (Byte(at) & 15) << 12 | (Byte(at + 1) & 63) << 6 | (Byte(at + 2) & 63);
    default:
        return ' ';
    }
}

/** Appends the character at @p at so that it can be seen, and returns its size. */
int AppendVisibleCharacter(QByteArray& out, const char* at, const char* end)
{
    const int size = SequenceSize(at, end);
    if (size == 0) {
        AppendHex(out, Byte(at));
        return 1;
    }
    const unsigned int code = CodeOf(at, size);
    if (!CommandsTerminal(code))
        out.append(at, size);
    else if (code < 0x100)
        AppendHex(out, code);
    else
        out += "\\u" + QByteArray::number(code, 16);
    return size;
}

bool IsPlain(char byte)
{
    return (byte >= ' ' && byte < '\x7f') || byte == '\t' || byte == '\n';
}

} // namespace

void AppendUnescaped(QByteArray& out, const ByteSpan& text)
{
    const char* copied = text.begin();
    for (const char* at = copied; (at = Find(at, text.end(), '&')) != 0;) {
        const Entity* const entity = EntityAt(at, text.end());
        if (!entity) {
            ++at;
            continue;
        }
        out.append(copied, static_cast<int>(at - copied));
        out += entity->character;
        at += entity->size;
        copied = at;
    }
    out.append(copied, static_cast<int>(text.end() - copied));
}

QString Decode(const ByteSpan& text)
{
    return IsUtf8(text) ? QString::fromUtf8(text.data, text.size)
                        : QString::fromLatin1(text.data, text.size);
}

QString DecodeUnescaped(const ByteSpan& text)
{
    if (!Find(text.begin(), text.end(), '&'))
        return Decode(text);
    QByteArray unescaped;
    unescaped.reserve(text.size);
    AppendUnescaped(unescaped, text);
    return Decode(ByteSpan(unescaped));
}

bool CommandsTerminal(unsigned int code)
{
    if (code < 0xa0)
        return code >= 0x7f || (code < ' ' && code != '\t' && code != '\n');
    return (code >= 0x202a && code <= 0x202e) || (code >= 0x2066 && code <= 0x2069) ||
           code == 0x200e || code == 0x200f || code == 0x2028 || code == 0x2029 || code == 0x061c;
}

void AppendVisible(QByteArray& out, const ByteSpan& text)
{
    const char* copied = text.begin();
    for (const char* at = copied; at != text.end();) {
        if (IsPlain(*at)) {
            ++at;
            continue;
        }
        out.append(copied, static_cast<int>(at - copied));
        at += AppendVisibleCharacter(out, at, text.end());
        copied = at;
    }
    out.append(copied, static_cast<int>(text.end() - copied));
}

void AppendInOneLine(QByteArray& out, const ByteSpan& text)
{
    const char* copied = text.begin();
    for (const char* at = copied; (at = Find(at, text.end(), '\n')) != 0; copied = ++at) {
        out.append(copied, static_cast<int>(at - copied));
        out += "\\n";
    }
    out.append(copied, static_cast<int>(text.end() - copied));
}

} // namespace DbgCat
