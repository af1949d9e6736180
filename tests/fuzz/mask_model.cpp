#include "mask_model.h"

namespace Fuzz {

namespace {

struct Level
{
    const char* name;
    int value;
};

const Level levels[] = {
    {"DBG_TRACE", 0x1},         {"DBG_INFO", 0x2},         {"DBG_WARN", 0x4},
    {"DBG_ERROR", 0x8},         {"DBG_CRITICAL", 0x10},    {"DBG_FATAL", 0x20},
    {"DBG_MEMORY_ALLOC", 0x40}, {"DBG_MEMORY_FREE", 0x80}, {"DBG_TIME_TRACE", 0x100},
    {"DBG_LOAD", 0x200},        {"DBG_CONF", 0x400},       {"DBG_JITTER", 0x800},
    {"DBG_ACCOUNTING", 0x1000}, {"DBG_EVENT", 0x2000},     {"DBG_CONT_LOG", 0x4000},
    {"DBG_DEVEL", 0x8000000}};

const int fatal = 0x20;
const int default_mask = 0x38;

int ModelLevel(const QString& name)
{
    for (const Level& level : levels) {
        if (name == QLatin1String(level.name))
            return level.value;
    }
    return fatal;
}

int ModelNumber(QString text)
{
    const bool is_hexadecimal =
        text.size() >= 2 && (text[1] == QLatin1Char('x') || text[1] == QLatin1Char('X'));
    bool converted = false;
    int number = 0;
    if (is_hexadecimal)
        number = text.remove(0, 2).toInt(&converted, 16);
    else
        number = text.toInt(&converted, 10);
    return converted ? number : 0;
}

int ModelTokens(QString rest)
{
    int mask = default_mask;
    while (!rest.isEmpty()) {
        QString token = rest;
        const int comma = static_cast<int>(rest.indexOf(QLatin1Char(',')));
        if (comma == -1) {
            rest.clear();
        } else {
            token = rest.left(comma);
            rest.remove(0, comma + 1);
        }
        if (token.isEmpty())
            continue;
        const QChar operation = token[0];
        token.remove(0, 1);
        if (operation == QLatin1Char('+'))
            mask |= ModelLevel(token);
        else if (operation == QLatin1Char('-'))
            mask &= ~ModelLevel(token);
    }
    return mask;
}

} // namespace

int ModelMask(const QString& mask_string)
{
    const QString text = mask_string.simplified();
    if (!text.isEmpty() && text[0].isDigit())
        return ModelNumber(text);
    return ModelTokens(text);
}

} // namespace Fuzz
