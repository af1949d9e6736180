#ifndef ZOLDEBUG_LITERAL_TEXT_H
#define ZOLDEBUG_LITERAL_TEXT_H

#include <QtCore/QString>

namespace Zol {

/**
 * The text of a literal of the host's sources, such as the name of a file or of a function.
 *
 * The same few texts come again with every record, so they are kept for ever, up to a bound, and
 * their copies count no references. Any thread.
 */
QString TextOfLiteral(const char* literal);

/** The same for the name of a module or of a thread, with characters of its own. Any thread. */
QString TextOfName(const QString& name);

/** Keeps what these use in one state while the process forks. */
void LockKeptTexts();
void UnlockKeptTexts();

} // namespace Zol

#endif
