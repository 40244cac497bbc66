#pragma once

#include "model/conversation.h"
#include "ui/logic/localized_text.h"
#include "ui/logic/tint.h"

#include <QList>
#include <QLocale>
#include <QString>
#include <optional>

namespace ViewLogic {

// Icon and tint of a delivery state: clock, check, filled check (green),
// warning triangle (red).
QString deliveryStateSymbol(ChatMessage::DeliveryState state);
Tint deliveryStateTint(ChatMessage::DeliveryState state);

// Signal quality of a received SNR (dB): red below -5, orange below 5, else green.
Tint snrTint(double snr);

// The small line under a bubble. Optional parts are absent when the message
// lacks the field (or, for the delivery parts, when it is incoming).
struct BubbleFooter {
    QString time;               // short time of day
    std::optional<QString> snr; // "· 7 dB"
    Tint snrTint = Tint::secondary;
    bool outgoing = false;            // delivery parts and the report toggle shown
    std::optional<QString> hops;      // hop count, shown with "arrow.triangle.swap"
    std::optional<QString> roundTrip; // "· 1.2s"
    QString stateSymbol;              // outgoing only
    Tint stateTint = Tint::secondary;

    bool operator==(const BubbleFooter&) const = default;
};

BubbleFooter bubbleFooter(const ChatMessage& message, const QLocale& locale = QLocale());

inline constexpr const char* hopCountSymbol = "arrow.triangle.swap";
inline constexpr const char* reportToggleHelpKey = "chat.message.delivery.show.report";
// The report toggle's icon: "chevron.up.circle" while open, else "info.circle".
QString reportToggleSymbol(bool expanded);

// One line of the delivery report card.
struct ReportLine {
    QString symbol;
    LocalizedText text;
    Tint tint = Tint::secondary;

    bool operator==(const ReportLine&) const = default;
};

// The report card of a message, top to bottom: state, route, round trip,
// SNR, estimated timeout (only while sent), and the full timestamp. Once
// twice the expected time has passed by `now` (when given), the timeout line
// says the message was not confirmed.
QList<ReportLine> reportLines(const ChatMessage& message, const QLocale& locale = QLocale(),
                              const QDateTime& now = QDateTime());

} // namespace ViewLogic
