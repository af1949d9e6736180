#include "log_time.h"

#include <QtCore/QDateTime>
#include <QtCore/QString>

namespace DbgCat {

namespace {

const qint64 day = 86400000;

const int date_size = 10;  // yyyy/MM/dd
const int clock_size = 12; // hh:mm:ss.zzz

/** Whether @p text has a digit where @p form has a zero, and the same character elsewhere. */
bool HasForm(const char* text, const char* form)
{
    for (; *form; ++text, ++form) {
        if (*form == '0' ? *text < '0' || *text > '9' : *text != *form)
            return false;
    }
    return true;
}

/** Between date and clock a record has the names of month and day. */
bool IsRecordTime(const ByteSpan& text)
{
    return text.size > date_size + clock_size && HasForm(text.data, "0000/00/00 ") &&
           HasForm(text.end() - clock_size - 1, " 00:00:00.000");
}

int Number(const char* digits, int count)
{
    int number = 0;
    for (int i = 0; i < count; ++i)
        number = number * 10 + (digits[i] - '0');
    return number;
}

/** Days since 1970-01-01. The year is taken to begin in March, so that its last day may vary. */
qint64 DayNumber(int year, int month, int day_of_month)
{
    const int shifted_year = month > 2 ? year : year - 1;
    const int shifted_month = month > 2 ? month - 3 : month + 9;
    const int day_of_year = (153 * shifted_month + 2) / 5 + day_of_month - 1;
    return 365LL * shifted_year + shifted_year / 4 - shifted_year / 100 + shifted_year / 400 +
           day_of_year - 719468;
}

LogTime FromDateTime(const QDateTime& time)
{
    if (!time.isValid())
        return no_time;
    const QDate date = time.date();
    return DayNumber(date.year(), date.month(), date.day()) * day +
           QTime(0, 0).msecsTo(time.time());
}

LogTime ParseAge(const QByteArray& text, LogTime now)
{
    struct Unit
    {
        const char* name;
        qint64 milliseconds;
    };
    static const Unit units[] = {
        {"ms", 1},      {"s", 1000},       {"sec", 1000},      {"min", 60000},    {"m", 60000},
        {"h", 3600000}, {"hour", 3600000}, {"hours", 3600000}, {"d", day},        {"day", day},
        {"days", day},  {"w", 7 * day},    {"week", 7 * day},  {"weeks", 7 * day}};
    int digits = 0;
    while (digits < text.size() && text.at(digits) >= '0' && text.at(digits) <= '9')
        ++digits;
    if (digits == 0 || digits > 9)
        return no_time;
    const QByteArray unit = text.mid(digits).trimmed();
    for (const Unit& known : units) {
        if (unit == known.name)
            return now - Number(text.constData(), digits) * known.milliseconds;
    }
    return no_time;
}

QTime ParseClock(const QString& text)
{
    static const char* const forms[] = {"H:mm", "H:mm:ss", "H:mm:ss.zzz"};
    for (const char* const form : forms) {
        const QTime time = QTime::fromString(text, QLatin1String(form));
        if (time.isValid())
            return time;
    }
    return QTime();
}

} // namespace

LogTime ParseRecordTime(const ByteSpan& text)
{
    if (!IsRecordTime(text))
        return no_time;
    const char* const date = text.data;
    const char* const clock = text.end() - clock_size;
    const int month = Number(date + 5, 2);
    if (month < 1 || month > 12)
        return no_time;
    const int seconds = Number(clock, 2) * 3600 + Number(clock + 3, 2) * 60 + Number(clock + 6, 2);
    return DayNumber(Number(date, 4), month, Number(date + 8, 2)) * day + seconds * 1000LL +
           Number(clock + 9, 3);
}

LogTime ParseTimeOption(const QByteArray& text, LogTime now)
{
    const LogTime record_time = ParseRecordTime(ByteSpan(text));
    if (record_time != no_time)
        return record_time;
    const LogTime age = ParseAge(text.trimmed(), now);
    if (age != no_time)
        return age;

    QString rest = QString::fromUtf8(text.trimmed());
    const QTime clock_of_today = ParseClock(rest);
    if (clock_of_today.isValid())
        return (now - ((now % day) + day) % day) + QTime(0, 0).msecsTo(clock_of_today);
    rest.replace(QLatin1Char('/'), QLatin1Char('-'));
    const QDate date = QDate::fromString(rest.left(date_size), QLatin1String("yyyy-MM-dd"));
    if (!date.isValid())
        return no_time;
    if (rest.size() == date_size)
        return FromDateTime(QDateTime(date, QTime(0, 0), Qt::UTC));
    const QTime clock = ParseClock(rest.mid(date_size + 1));
    const QChar separator = rest.at(date_size);
    if (!clock.isValid() || (separator != QLatin1Char(' ') && separator != QLatin1Char('T')))
        return no_time;
    return FromDateTime(QDateTime(date, clock, Qt::UTC));
}

LogTime Now()
{
    return FromDateTime(QDateTime::currentDateTime());
}

void AppendTime(QByteArray& out, const ByteSpan& text, char separator)
{
    if (!IsRecordTime(text)) {
        out.append(text.data, text.size);
        return;
    }
    char time[date_size + 1 + clock_size];
    memcpy(time, text.data, date_size);
    time[4] = '-';
    time[7] = '-';
    time[date_size] = separator;
    memcpy(time + date_size + 1, text.end() - clock_size, clock_size);
    out.append(time, sizeof(time));
}

QByteArray TimeText(LogTime time, bool with_milliseconds)
{
    const QDateTime date_time = QDateTime::fromMSecsSinceEpoch(time, Qt::UTC);
    const char* const form = with_milliseconds ? "yyyy-MM-dd HH:mm:ss.zzz" : "yyyy-MM-dd HH:mm:ss";
    return date_time.toString(QLatin1String(form)).toLatin1();
}

} // namespace DbgCat
