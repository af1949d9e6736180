#include "literal_text.h"

#include "qt_compat.h"

#include <QtCore/QByteArray>
#include <QtCore/QHash>
#include <QtCore/QMutex>

#include <stdint.h>
#include <string.h>

namespace Zol {

template <class Key>
struct KeptText
{
    Key key;
    QtCompat::ImmortalText text;
};

namespace {

const size_t longest_kept = 300; // characters

// So many that a host that makes up names does not fill memory.
const int most_literals = 2048;
const int most_names = 256;

/** The texts of all threads; never destroyed, as late static destructors may log. */
template <class Key>
class KeptTexts
{
public:
    explicit KeptTexts(int most)
        : m_most(most)
    {
    }

    /**
     * The text kept for @p key, or null if there is none and no room for it. Never waits: where
     * another thread looks, there is none.
     */
    const KeptText<Key>* Find(const Key& key, QString (*text_of)(const Key& key))
    {
        if (!m_mutex.tryLock())
            return nullptr;
        const KeptText<Key>* kept = m_texts.value(key);
        if (!kept && m_texts.size() < m_most)
            kept = Keep(key, text_of(key));
        m_mutex.unlock();
        return kept;
    }

    void Lock() { m_mutex.lock(); }
    void Unlock() { m_mutex.unlock(); }

private:
    Q_DISABLE_COPY(KeptTexts)

    const KeptText<Key>* Keep(const Key& key, const QString& text)
    {
        const Key copy(key.constData(), key.size());
        const KeptText<Key>* const kept = new KeptText<Key>{copy, QtCompat::ImmortalText(text)};
        m_texts.insert(copy, kept);
        return kept;
    }

    const int m_most;
    QMutex m_mutex;
    QHash<Key, const KeptText<Key>*> m_texts;
};

KeptTexts<QByteArray>& Literals()
{
    static KeptTexts<QByteArray>& texts = *new KeptTexts<QByteArray>(most_literals);
    return texts;
}

KeptTexts<QString>& Names()
{
    static KeptTexts<QString>& texts = *new KeptTexts<QString>(most_names);
    return texts;
}

/** The place of an address among the lookups of a thread. */
template <class Key>
Lookup<Key>& LookupOf(const void* address, Lookup<Key>* lookups)
{
    const uint32_t mixed =
        static_cast<uint32_t>(reinterpret_cast<uintptr_t>(address)) * 2654435769u;
    return lookups[mixed >> (32 - TextsOfThread::lookup_bits)];
}

QString TextOfBytes(const QByteArray& bytes)
{
    return QtCompat::FromNarrow(bytes.constData());
}

QString CopyOf(const QString& name)
{
    return QString(name.constData(), name.size()); // of which nobody else has the memory
}

} // namespace

QString TextOfLiteral(const char* literal, TextsOfThread* known)
{
    if (!QtCompat::KeepsLiterals() || !literal)
        return QtCompat::FromNarrow(literal);
    Lookup<QByteArray> unknown = {};
    Lookup<QByteArray>& lookup = known ? LookupOf(literal, known->literals) : unknown;
    // Where a component was unloaded, another text may have the address.
    if (lookup.address == literal && strcmp(literal, lookup.kept->key.constData()) == 0)
        return lookup.kept->text.Text();

    const size_t size = strlen(literal);
    if (size > longest_kept)
        return QtCompat::FromNarrow(literal);
    const QByteArray key = QByteArray::fromRawData(literal, static_cast<int>(size));
    const KeptText<QByteArray>* const kept = Literals().Find(key, TextOfBytes);
    if (!kept)
        return QtCompat::FromNarrow(literal);
    lookup.address = literal;
    lookup.kept = kept;
    return kept->text.Text();
}

QString TextOfName(const QString& name, TextsOfThread* known)
{
    if (!QtCompat::KeepsLiterals() || name.isEmpty())
        return QtCompat::Owned(name);
    Lookup<QString> unknown = {};
    Lookup<QString>& lookup = known ? LookupOf(name.constData(), known->names) : unknown;
    if (lookup.address == name.constData() && lookup.kept->key == name)
        return lookup.kept->text.Text();

    const KeptText<QString>* const kept =
        static_cast<size_t>(name.size()) <= longest_kept ? Names().Find(name, CopyOf) : nullptr;
    if (!kept)
        return QtCompat::Owned(name);
    lookup.address = name.constData();
    lookup.kept = kept;
    return kept->text.Text();
}

void PrepareKeptTexts()
{
    Literals();
    Names();
}

void LockKeptTexts()
{
    Literals().Lock();
    Names().Lock();
}

void UnlockKeptTexts()
{
    Names().Unlock();
    Literals().Unlock();
}

} // namespace Zol
