#ifndef ZOLDEBUG_LITERAL_TEXT_H
#define ZOLDEBUG_LITERAL_TEXT_H

#include <QtCore/QByteArray>
#include <QtCore/QString>

namespace Zol {

template <class Key>
struct KeptText;

/** A text that a thread looked up, by the address at which it found its name. */
template <class Key>
struct Lookup
{
    const void* address;
    const KeptText<Key>* kept;
};

/** The texts that a thread looked up last. */
struct TextsOfThread
{
    static const int lookup_bits = 6;

    TextsOfThread()
        : literals()
        , names()
    {
    }

    Lookup<QByteArray> literals[1 << lookup_bits];
    Lookup<QString> names[1 << lookup_bits];
};

/**
 * The text of a literal of the host's sources, such as the name of a file or of a function.
 *
 * The same few texts come again with every record, so they are kept for ever, up to a bound, and
 * their copies count no references. Any thread; @p known, if not null, is its own.
 */
QString TextOfLiteral(const char* literal, TextsOfThread* known);

/** The same for the name of a module or of a thread, with characters of its own. Any thread. */
QString TextOfName(const QString& name, TextsOfThread* known);

/** Makes what these use. */
void PrepareKeptTexts();

/** Keeps what these use in one state while the process forks. */
void LockKeptTexts();
void UnlockKeptTexts();

} // namespace Zol

#endif
