#pragma once

#include <QDateTime>
#include <QLocale>
#include <QString>

namespace ViewLogic {

// Time of day without seconds, in the locale's short style ("14:05").
QString shortTime(const QDateTime& time, const QLocale& locale = QLocale());
// Time of day with seconds ("14:05:09").
QString timeWithSeconds(const QDateTime& time, const QLocale& locale = QLocale());
// Day, abbreviated month name and year in the order of the interface
// language ("3 Feb 2024", "3. Feb. 2024").
QString abbreviatedDate(const QDateTime& time, const QLocale& locale = QLocale());

} // namespace ViewLogic
