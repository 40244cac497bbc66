#include "ui/logic/relative_time.h"

namespace ViewLogic {

QString relativeTime(const QDateTime& time, const QDateTime& now, const QLocale& locale) {
    constexpr qint64 minute = 60;
    constexpr qint64 hour = 60 * minute;
    constexpr qint64 day = 24 * hour;
    constexpr qint64 week = 7 * day;

    const qint64 seconds = time.secsTo(now);
    if (seconds < minute)
        return qtTrId("time.relative.now");
    if (seconds < hour)
        return qtTrId("time.relative.minutes").arg(locale.toString(seconds / minute));
    if (seconds < day)
        return qtTrId("time.relative.hours").arg(locale.toString(seconds / hour));
    const QDate date = time.toLocalTime().date();
    if (seconds < week)
        return locale.toString(date, QStringLiteral("ddd"));
    // The order of day and month, and the German "8. März", come with the language.
    return locale.toString(date, qtTrId("date.format.day.month"));
}

} // namespace ViewLogic
