#include "ui/logic/date_formats.h"

namespace ViewLogic {

QString shortTime(const QDateTime& time, const QLocale& locale) {
    return locale.toString(time.toLocalTime().time(), QLocale::ShortFormat);
}

QString timeWithSeconds(const QDateTime& time, const QLocale& locale) {
    // The long format would add the time zone name; the short one plus
    // seconds reads like the rest of the interface.
    QString format = locale.timeFormat(QLocale::ShortFormat);
    if (!format.contains(QLatin1Char('s')))
        format.replace(QStringLiteral("mm"), QStringLiteral("mm:ss"));
    return locale.toString(time.toLocalTime().time(), format);
}

QString abbreviatedDate(const QDateTime& time, const QLocale& locale) {
    return locale.toString(time.toLocalTime().date(), qtTrId("date.format.day.month.year"));
}

} // namespace ViewLogic
