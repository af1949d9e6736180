#include "level_names.h"

#include <QtCore/QVector>

namespace DbgCat {

namespace {

struct LevelName
{
    Zol::DebugLevel level;
    QByteArray name;
    QByteArray short_name;
};

QVector<LevelName> NewTable()
{
    QVector<LevelName> table;
    for (int bit = 0; bit < 31; ++bit) {
        LevelName entry;
        entry.level = static_cast<Zol::DebugLevel>(1 << bit);
        entry.name = Zol::DbgUtils::DbgLvlToQS(entry.level).toLatin1();
        entry.short_name = entry.name.startsWith("DBG_") ? entry.name.mid(4) : entry.name;
        if (!entry.name.isEmpty())
            table.append(entry);
    }
    Q_ASSERT(table.size() == level_count);
    return table;
}

const QVector<LevelName>& Table()
{
    static const QVector<LevelName> table = NewTable();
    return table;
}

} // namespace

int LevelIndex(const ByteSpan& name)
{
    const LevelName* const table = Table().constData();
    for (int i = 0; i < level_count; ++i) {
        if (name.size == table[i].name.size() &&
            memcmp(name.data, table[i].name.constData(), static_cast<size_t>(name.size)) == 0)
            return i;
    }
    return level_count;
}

Zol::DebugLevel LevelAt(int index)
{
    return Table().at(index).level;
}

const QByteArray& ShortLevelName(int index)
{
    static const QByteArray none("(none)");
    return index < level_count ? Table().at(index).short_name : none;
}

} // namespace DbgCat
