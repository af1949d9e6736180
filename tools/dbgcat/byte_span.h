#ifndef DBGCAT_BYTE_SPAN_H
#define DBGCAT_BYTE_SPAN_H

#include <QtCore/QByteArray>

#include <string.h>

namespace DbgCat {

/** Bytes that somebody else owns, mostly a reader's buffer. */
struct ByteSpan
{
    ByteSpan()
        : data("")
        , size(0)
    {
    }
    ByteSpan(const char* from, int length)
        : data(from)
        , size(length)
    {
    }
    ByteSpan(const char* from, const char* to)
        : data(from)
        , size(static_cast<int>(to - from))
    {
    }
    explicit ByteSpan(const QByteArray& bytes)
        : data(bytes.constData())
        , size(static_cast<int>(bytes.size()))
    {
    }

    const char* begin() const { return data; }
    const char* end() const { return data + size; }

    bool Is(const char* text) const
    {
        return size == static_cast<int>(strlen(text)) && memcmp(data, text, strlen(text)) == 0;
    }
    bool StartsWith(const char* text) const
    {
        return size >= static_cast<int>(strlen(text)) && memcmp(data, text, strlen(text)) == 0;
    }

    QByteArray Copy() const { return QByteArray(data, size); }

    /** The same bytes without a copy, for as long as they stay where they are. */
    QByteArray View() const { return QByteArray::fromRawData(data, size); }

    const char* data;
    int size;
};

/** Where @p text stands first in [@p from, @p to), null where it does not. */
inline const char* Find(const char* from, const char* to, const char* text)
{
    return static_cast<const char*>(
        memmem(from, static_cast<size_t>(to - from), text, strlen(text)));
}

/** Where @p byte stands first in [@p from, @p to), null where it does not. */
inline const char* Find(const char* from, const char* to, char byte)
{
    return static_cast<const char*>(memchr(from, byte, static_cast<size_t>(to - from)));
}

} // namespace DbgCat

#endif
