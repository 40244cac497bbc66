#include "ui/logic/localized_text.h"

namespace ViewLogic {

QString LocalizedText::text() const {
    if (isLiteral())
        return args.value(0);
    const QString format = qtTrId(key.constData());
    // The multi-argument overloads fill all placeholders in one pass, so a
    // value that itself contains "%2" is never taken for a placeholder.
    switch (args.size()) {
    case 0:
        return format;
    case 1:
        return format.arg(args.at(0));
    case 2:
        return format.arg(args.at(0), args.at(1));
    case 3:
        return format.arg(args.at(0), args.at(1), args.at(2));
    default:
        break;
    }
    QString result = format;
    for (const QString& arg : args)
        result = result.arg(arg);
    return result;
}

QString quantity(double value, int decimals, const QString& unit, const QLocale& locale) {
    return locale.toString(value, 'f', decimals) + QChar(0x00A0) + unit;
}

} // namespace ViewLogic
