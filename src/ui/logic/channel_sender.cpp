#include "ui/logic/channel_sender.h"

#include "text/graphemes.h"

#include <QTextBoundaryFinder>
#include <array>
#include <cstdint>

namespace ViewLogic {

namespace {

constexpr qsizetype maxSenderLength = 40;

struct Rgb {
    double r, g, b;
};

constexpr std::array<Rgb, 12> senderPalette{{
    {0.2, 0.65, 0.88},
    {0.55, 0.45, 0.95},
    {0.96, 0.45, 0.35},
    {0.18, 0.78, 0.68},
    {0.92, 0.62, 0.22},
    {0.42, 0.75, 0.38},
    {0.8, 0.42, 0.82},
    {0.3, 0.55, 0.98},
    {0.88, 0.35, 0.55},
    {0.56, 0.72, 0.28},
    {0.72, 0.52, 0.22},
    {0.45, 0.62, 0.85},
}};

} // namespace

ChannelSender splitChannelSender(const QString& text) {
    const qsizetype separator = text.indexOf(QStringLiteral(": "));
    if (separator < 0)
        return {{}, text};
    const QString candidate = text.left(separator);
    if (candidate.isEmpty() || candidate.contains(QLatin1Char('\n')) ||
        Text::graphemeCount(candidate) > maxSenderLength)
        return {{}, text};
    return {candidate, text.mid(separator + 2)};
}

int senderColorIndex(const QString& name) {
    std::uint32_t hash = 2166136261u;
    for (const char byte : name.toUtf8()) {
        hash ^= static_cast<std::uint8_t>(byte);
        hash *= 16777619u;
    }
    return static_cast<int>(hash % senderPalette.size());
}

QColor senderColor(const QString& name) {
    const Rgb& rgb = senderPalette.at(static_cast<std::size_t>(senderColorIndex(name)));
    return QColor::fromRgbF(static_cast<float>(rgb.r), static_cast<float>(rgb.g),
                            static_cast<float>(rgb.b));
}

QString senderBadgeText(const QString& name) {
    // Walk whole characters so that a letter with its accents stays whole.
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, name);
    qsizetype start = 0;
    for (qsizetype end = finder.toNextBoundary(); end >= 0; end = finder.toNextBoundary()) {
        const QString character = name.mid(start, end - start);
        const QList<uint> codePoints = character.toUcs4();
        if (!codePoints.isEmpty() && QChar::isLetterOrNumber(char32_t(codePoints.first())))
            return character.toUpper();
        start = end;
    }
    return QStringLiteral("?");
}

} // namespace ViewLogic
