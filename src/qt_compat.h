#ifndef ZOLDEBUG_QT_COMPAT_H
#define ZOLDEBUG_QT_COMPAT_H

/* What differs between Qt 4.8, 5 and 6. No other file looks at the version of Qt. */

#include <QtCore/QByteArray>
#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QIODevice>
#include <QtCore/QMetaMethod>
#include <QtCore/QPointer>
#include <QtCore/QString>
#include <QtCore/QTextStream>

#include <stdio.h>
#include <string.h>

#include <new>

#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
#include <QtCore/QStringConverter>
#else
#include <QtCore/QTextCodec>
#endif

namespace Zol {
namespace QtCompat {

/** Text from a literal of the host's sources. */
inline QString FromNarrow(const char* text)
{
#if QT_VERSION < QT_VERSION_CHECK(5, 0, 0)
    return QString::fromAscii(text); // follows QTextCodec::codecForCStrings(), by default Latin-1
#else
    return QString::fromLatin1(text);
#endif
}

/**
 * @p text, with characters of its own. Those of a QStringLiteral belong to the component that it is
 * compiled into, which a host may unload while the library still needs the text.
 */
inline QString Owned(QString text)
{
    if (text.isEmpty())
        return text.isNull() ? QString() : QString(QLatin1String(""));
    if (text.capacity() < text.size())
        return QString(text.constData(), text.size());
    return text;
}

// Qt 4 would free the memory of a text that is made shorter by much.
inline void EmptyKeepingMemory(QString& text)
{
#if QT_VERSION < QT_VERSION_CHECK(5, 0, 0)
    text.data(); // has memory of its own from now on
    text.reserve(text.capacity());
#endif
    text.resize(0);
}

/** Whether the text of a literal is always the same; in Qt 4 it depends on a codec. */
inline bool KeepsLiterals()
{
#if QT_VERSION < QT_VERSION_CHECK(5, 0, 0)
    return false;
#else
    return true;
#endif
}

/** A text that lives as long as the process, so that its copies need not count references. */
class ImmortalText
{
public:
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    explicit ImmortalText(const QString& text)
        : m_text(*new QString(text))
        , m_view(QString::fromRawData(m_text.constData(), m_text.size()))
    {
    }
    const QString& Text() const
    {
        return m_view;
    }

private:
    const QString& m_text;
    const QString m_view;
#elif QT_VERSION >= QT_VERSION_CHECK(5, 0, 0)
    explicit ImmortalText(const QString& text)
        : m_text(StaticData(text))
    {
    }
    const QString& Text() const
    {
        return m_text;
    }

private:
    /** The same as the compiler makes of QStringLiteral(). */
    static QStringDataPtr StaticData(const QString& text)
    {
        const size_t bytes = (static_cast<size_t>(text.size()) + 1) * sizeof(QChar);
        QArrayData* const data = new (::operator new(sizeof(QArrayData) + bytes))
            QArrayData Q_STATIC_ARRAY_DATA_HEADER_INITIALIZER_WITH_OFFSET(text.size(),
                                                                          sizeof(QArrayData));
        memcpy(static_cast<void*>(data + 1), text.constData(), bytes);
        const QStringDataPtr pointer = {static_cast<QStringData*>(data)};
        return pointer;
    }

    const QString m_text;
#else
    explicit ImmortalText(const QString& text)
        : m_text(text)
    {
    }
    const QString& Text() const
    {
        return m_text;
    }

private:
    const QString m_text;
#endif
};

/** The normalised signature of a method; empty for an invalid one. */
inline QString MethodSignature(const QMetaMethod& method)
{
#if QT_VERSION < QT_VERSION_CHECK(5, 0, 0)
    return QString::fromAscii(method.signature()); // renamed when its type changed
#else
    return QString::fromLatin1(method.methodSignature());
#endif
}

#if QT_VERSION < QT_VERSION_CHECK(5, 0, 0)
/** @p text with a "?" for each half of a surrogate pair that is alone, as newer versions write. */
inline QString WithoutLoneSurrogates(QString text)
{
    for (int i = 0; i < text.size(); ++i) {
        const QChar unit = text.at(i);
        if (unit.isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate())
            ++i;
        else if (unit.isHighSurrogate() || unit.isLowSurrogate())
            text[i] = QLatin1Char('?');
    }
    return text;
}
#endif

/** @p text in UTF-8. */
inline QByteArray ToUtf8(const QString& text)
{
#if QT_VERSION < QT_VERSION_CHECK(5, 0, 0)
    return WithoutLoneSurrogates(text).toUtf8();
#else
    return text.toUtf8();
#endif
}

/** The bytes that @p stream would write for @p text. */
inline QByteArray Encode(const QTextStream& stream, const QString& text)
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    QStringEncoder encoder(stream.encoding());
    return encoder(text);
#else
    const QTextCodec* codec = stream.codec() ? stream.codec() : QTextCodec::codecForLocale();
    QTextCodec::ConverterState state(QTextCodec::IgnoreHeader);
#if QT_VERSION < QT_VERSION_CHECK(5, 0, 0)
    // Its codecs leave out what follows such a half, which may be the end of the record.
    const QString whole = WithoutLoneSurrogates(text);
    return codec->fromUnicode(whole.constData(), whole.size(), &state);
#else
    return codec->fromUnicode(text.constData(), text.size(), &state);
#endif
#endif
}

/** What matters of the encoding that a stream writes. */
enum Encoding
{
    EncodesLatin1, // or its subset ASCII
    EncodesUtf8,
    EncodesOtherwise
};

/** The encoding that @p stream writes. */
inline Encoding EncodingOf(const QTextStream& stream)
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    const QStringConverter::Encoding encoding = stream.encoding();
    if (encoding == QStringConverter::Latin1)
        return EncodesLatin1;
    return encoding == QStringConverter::Utf8 ? EncodesUtf8 : EncodesOtherwise;
#else
    const int ascii = 3; // as IANA numbers the encodings
    const int latin1 = 4;
    const int utf8 = 106;
    const int encoding = stream.codec() ? stream.codec()->mibEnum() : ascii;
    if (encoding == ascii || encoding == latin1)
        return EncodesLatin1;
    return encoding == utf8 ? EncodesUtf8 : EncodesOtherwise;
#endif
}

/** Flushes @p device if it is a file; whether nothing is left in its buffer. */
inline bool Flush(QIODevice& device)
{
#if QT_VERSION >= QT_VERSION_CHECK(5, 0, 0)
    QFileDevice* const file = qobject_cast<QFileDevice*>(&device);
#else
    QFile* const file = qobject_cast<QFile*>(&device);
#endif
    return !file || file->flush();
}

/**
 * Has @p function called once there is an application. Qt 4 cannot tell; there it is called at
 * once, in time for a routine that is to run at the end of that application.
 */
inline void CallAtApplicationStart(void (*function)())
{
#if QT_VERSION >= QT_VERSION_CHECK(5, 0, 0)
    qAddPreRoutine(function);
#else
    function();
#endif
}

/**
 * Whether Qt may be asked for the names of months and days. Where its locales are gone, late in the
 * exit of the process, newer versions answer with nothing, and Qt 4 crashes. Without an application
 * it cannot be told there whether it is that late.
 */
inline bool HasLocale(bool process_exits)
{
#if QT_VERSION >= QT_VERSION_CHECK(5, 0, 0)
    Q_UNUSED(process_exits)
    return true;
#else
    return !process_exits && QCoreApplication::instance();
#endif
}

/** One of Qt's own messages. Qt 4 does not tell where it comes from; what is not told is null. */
struct Message
{
    QtMsgType type;
    QString text;
    const char* category;
    const char* file;
    int line;
    const char* function;
};

#if QT_VERSION >= QT_VERSION_CHECK(5, 0, 0)

typedef QtMessageHandler MessageHandler;

/** A handler that lets @p Take tell which handler comes next, if any. */
template <MessageHandler (*Take)(const Message&)>
void HandleMessage(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    const Message message = {type,         text,         context.category,
                             context.file, context.line, context.function};
    if (const MessageHandler next = Take(message))
        next(type, context, text);
}

/** Has Qt call @p handler, or its own if that is null; returns the one that it called so far. */
inline MessageHandler InstallMessageHandler(MessageHandler handler)
{
    return qInstallMessageHandler(handler);
}

#else

typedef QtMsgHandler MessageHandler;

template <MessageHandler (*Take)(const Message&)>
void HandleMessage(QtMsgType type, const char* text)
{
    const Message message = {type, QString::fromLocal8Bit(text), 0, 0, 0, 0};
    if (const MessageHandler next = Take(message))
        next(type, text);
}

/** What Qt 4 does without a handler. */
inline void PrintMessage(QtMsgType, const char* text)
{
    fprintf(stderr, "%s\n", text);
}

inline MessageHandler InstallMessageHandler(MessageHandler handler)
{
    const MessageHandler before = qInstallMsgHandler(handler);
    return before ? before : PrintMessage;
}

#endif

inline bool IsInfo(QtMsgType type)
{
#if QT_VERSION >= QT_VERSION_CHECK(5, 5, 0)
    return type == QtInfoMsg;
#else
    Q_UNUSED(type)
    return false;
#endif
}

/** Makes guarded pointers work until all that is older than this call is destroyed. */
inline bool KeepGuardedPointers()
{
#if QT_VERSION < QT_VERSION_CHECK(5, 0, 0)
    QObject object;
    const QPointer<QObject> pointer(&object); // makes the table that Qt 4 finds them by
#endif
    return true;
}

} // namespace QtCompat
} // namespace Zol

#endif
