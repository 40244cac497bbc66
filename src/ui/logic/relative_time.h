#pragma once

#include <QDateTime>
#include <QLocale>
#include <QString>

namespace ViewLogic {

// How long ago `time` was, as the sidebar shows it: "now", "5m", "3h", the
// abbreviated weekday within a week, else day and abbreviated month
// ("3 Feb"). Future times read "now". Dates are in the local time zone.
QString relativeTime(const QDateTime& time, const QDateTime& now,
                     const QLocale& locale = QLocale());

} // namespace ViewLogic
