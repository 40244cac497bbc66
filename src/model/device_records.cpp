#include "model/device_records.h"

#include <QTextBoundaryFinder>
#include <algorithm>
#include <cmath>

std::optional<int> BatteryInfo::percentage() const {
    if (milliVolts < 1)
        return std::nullopt;
    // A single lithium cell: 3.3 V is treated as empty and 4.2 V as full.
    const double p = (milliVolts - 3300) / 900.0 * 100.0;
    return static_cast<int>(std::trunc(std::clamp(p, 0.0, 100.0)));
}

namespace {

// The first user-perceived character, so that an emoji or a letter with a
// combining accent is never split.
QString firstGrapheme(const QString& text) {
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    finder.setPosition(0);
    const qsizetype end = finder.toNextBoundary();
    return text.left(end > 0 ? end : text.size());
}

} // namespace

QString Contact::initials() const {
    const QStringList pieces = name.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    QString result;
    for (qsizetype i = 0; i < std::min<qsizetype>(2, pieces.size()); ++i)
        result += firstGrapheme(pieces.at(i));
    return result.isEmpty() ? QStringLiteral("?") : result.toUpper();
}

QString Channel::displayName() const {
    if (!name.isEmpty())
        return name;
    if (index == 0)
        return qtTrId("channel.default.name.public");
    return qtTrId("channel.default.name").arg(index);
}
