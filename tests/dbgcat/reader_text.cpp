#include "reader_text.h"

#include <algorithm>
#include <string.h>

namespace ZolTest {

using namespace DbgCat;

namespace {

void AppendItem(QByteArray& text, const LogItem& item, bool& in_rubbish)
{
    switch (item.kind) {
    case LogItem::Record:
        text += "record t=" + item.time.Copy() + "|m=" + item.module.Copy() +
                "|f=" + item.file.Copy() + "|l=" + item.line.Copy() +
                "|fnc=" + item.function.Copy() + "|lvl=" + item.level.Copy() +
                "|thrd=" + item.thread.Copy() + "|b=" + item.body.Copy();
        text += item.torn ? "|torn" : "";
        text += item.cut ? "|cut" : "";
        break;
    case LogItem::Restart:
        text += "restart";
        break;
    case LogItem::Metric:
        text +=
            "metric f=" + item.file.Copy() + "|l=" + item.line.Copy() + "|c=" + item.count.Copy();
        break;
    case LogItem::Rubbish:
        text += in_rubbish ? "" : "rubbish ";
        text += item.body.Copy();
        in_rubbish = !item.ends_line;
        if (in_rubbish)
            return;
        break;
    }
    text += '\n';
}

} // namespace

QByteArray ReaderText(const QByteArray& log, int portion, Damage* damage)
{
    LogReader reader(1 << 8);
    LogItem item;
    QByteArray text;
    bool in_rubbish = false;
    for (int at = 0; at < log.size();) {
        int room = 0;
        char* const to = reader.Room(&room);
        const int size = std::min(std::min(room, portion), static_cast<int>(log.size()) - at);
        memcpy(to, log.constData() + at, static_cast<size_t>(size));
        reader.Added(size);
        at += size;
        while (reader.Next(item))
            AppendItem(text, item, in_rubbish);
    }
    reader.End();
    while (reader.Next(item))
        AppendItem(text, item, in_rubbish);
    if (damage)
        *damage = reader.GetDamage();
    return text;
}

} // namespace ZolTest
