#include "ui/logic/relative_time.h"

namespace ViewLogic {

QString relativeTime(const QDateTime& time, const QDateTime& now, const QLocale& locale) {
    constexpr qint64 minute = 60;
    constexpr qint64 hour = 60 * minute;
    constexpr qint64 day = 24 * hour;
    constexpr qint64 week = 7 * day;

    const qint64 seconds = time.secsTo(now);
    if (seconds < minute)
        return QStringLiteral("now");
    if (seconds < hour)
        return QString::number(seconds / minute) + QLatin1Char('m');
    if (seconds < day)
        return QString::number(seconds / hour) + QLatin1Char('h');
    const QDate date = time.toLocalTime().date();
    if (seconds < week)
        return locale.toString(date, QStringLiteral("ddd"));
    return locale.toString(date, QStringLiteral("d MMM"));
}

} // namespace ViewLogic
