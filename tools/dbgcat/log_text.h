#ifndef DBGCAT_LOG_TEXT_H
#define DBGCAT_LOG_TEXT_H

#include "byte_span.h"

#include <QtCore/QString>

namespace DbgCat {

/** Appends @p text with the five XML entities replaced by what they stand for. */
void AppendUnescaped(QByteArray& out, const ByteSpan& text);

/** @p text as UTF-8; as Latin-1, which loses nothing, if it is none. */
QString Decode(const ByteSpan& text);

/** The same with the XML entities replaced. */
QString DecodeUnescaped(const ByteSpan& text);

/**
 * Whether a terminal takes this character as a command, or turns the direction of what follows.
 * Tabs and line feeds are harmless.
 */
bool CommandsTerminal(unsigned int code);

/** Appends @p text with such characters, and bytes that are no UTF-8, as "\x1b" or "\u202e". */
void AppendVisible(QByteArray& out, const ByteSpan& text);

/** Appends @p text, a name, in one line: a line feed in it as "\n". */
void AppendInOneLine(QByteArray& out, const ByteSpan& text);

} // namespace DbgCat

#endif
