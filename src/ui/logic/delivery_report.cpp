#include "ui/logic/delivery_report.h"

#include "ui/logic/date_formats.h"

namespace ViewLogic {

namespace {

using State = ChatMessage::DeliveryState;

const QString middleDot = QStringLiteral("\u00B7 ");

const char* deliveryStateKey(State state) {
    switch (state) {
    case State::sending:
        return "chat.message.delivery.sending";
    case State::sent:
        return "chat.message.delivery.sent";
    case State::delivered:
        return "chat.message.delivery.delivered";
    case State::failed:
        break;
    }
    return "chat.message.delivery.failed";
}

QString seconds(std::uint32_t millis, const QLocale& locale) {
    return locale.toString(millis / 1000.0, 'f', 1);
}

} // namespace

QString deliveryStateSymbol(State state) {
    switch (state) {
    case State::sending:
        return QStringLiteral("clock");
    case State::sent:
        return QStringLiteral("checkmark");
    case State::delivered:
        return QStringLiteral("checkmark.circle.fill");
    case State::failed:
        break;
    }
    return QStringLiteral("exclamationmark.triangle.fill");
}

Tint deliveryStateTint(State state) {
    switch (state) {
    case State::sending:
    case State::sent:
        return Tint::secondary;
    case State::delivered:
        return Tint::green;
    case State::failed:
        break;
    }
    return Tint::red;
}

Tint snrTint(double snr) {
    if (snr < -5)
        return Tint::red;
    if (snr < 5)
        return Tint::orange;
    return Tint::green;
}

BubbleFooter bubbleFooter(const ChatMessage& message, const QLocale& locale) {
    BubbleFooter footer;
    footer.time = shortTime(message.timestamp, locale);
    if (message.snr) {
        footer.snr = middleDot + quantity(*message.snr, 0, QStringLiteral("dB"), locale);
        footer.snrTint = snrTint(*message.snr);
    }
    if (message.direction != ChatMessage::Direction::outgoing)
        return footer;
    footer.outgoing = true;
    if (message.hopCount)
        footer.hops = QString::number(*message.hopCount);
    if (message.roundTripMillis)
        footer.roundTrip =
            middleDot + quantity(*message.roundTripMillis / 1000.0, 1, QStringLiteral("s"), locale);
    footer.stateSymbol = deliveryStateSymbol(message.deliveryState);
    footer.stateTint = deliveryStateTint(message.deliveryState);
    return footer;
}

QString reportToggleSymbol(bool expanded) {
    return expanded ? QStringLiteral("chevron.up.circle") : QStringLiteral("info.circle");
}

QList<ReportLine> reportLines(const ChatMessage& message, const QLocale& locale,
                              const QDateTime& now) {
    QList<ReportLine> lines;
    lines.append({deliveryStateSymbol(message.deliveryState),
                  LocalizedText::fromKey(deliveryStateKey(message.deliveryState)),
                  deliveryStateTint(message.deliveryState)});

    if (message.hopCount && *message.hopCount >= 0) {
        const int hops = *message.hopCount;
        if (hops == 0)
            lines.append({QStringLiteral("arrow.up.right"),
                          LocalizedText::fromKey("chat.message.delivery.direct"), Tint::secondary});
        else
            lines.append({QStringLiteral("arrow.triangle.swap"),
                          LocalizedText::fromKey(hops == 1 ? "chat.message.delivery.relayed"
                                                           : "chat.message.delivery.relayed.plural",
                                                 {locale.toString(hops)}),
                          Tint::secondary});
    }
    if (message.roundTripMillis)
        lines.append({QStringLiteral("timer"),
                      LocalizedText::fromKey("chat.message.delivery.roundtrip",
                                             {seconds(*message.roundTripMillis, locale)}),
                      Tint::secondary});
    if (message.snr)
        lines.append({QStringLiteral("antenna.radiowaves.left.and.right"),
                      LocalizedText::fromKey(
                          "chat.message.delivery.snr",
                          {locale.toString(*message.snr, 'g', QLocale::FloatingPointShortest)}),
                      snrTint(*message.snr)});
    if (message.deliveryState == State::sent && message.estimatedTimeoutMillis) {
        const std::uint32_t expected = *message.estimatedTimeoutMillis;
        const bool overdue = now.isValid() && message.timestamp.isValid() &&
                             message.timestamp.msecsTo(now) > 2 * qint64(expected);
        lines.append({QStringLiteral("hourglass"),
                      LocalizedText::fromKey(overdue ? "chat.message.delivery.unconfirmed"
                                                     : "chat.message.delivery.timeout",
                                             {seconds(expected, locale)}),
                      overdue ? Tint::orange : Tint::secondary});
    }
    lines.append(
        {QStringLiteral("calendar"),
         LocalizedText::literal(abbreviatedDate(message.timestamp, locale) + QLatin1Char(' ') +
                                timeWithSeconds(message.timestamp, locale)),
         Tint::secondary});
    return lines;
}

} // namespace ViewLogic
