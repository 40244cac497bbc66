#pragma once

#include <QByteArray>
#include <QLocale>
#include <QString>
#include <QStringList>

namespace ViewLogic {

// A text the view shows: a string-table key plus the already formatted values
// of its %1, %2, ... placeholders. A literal (a text that is not looked up)
// has an empty key and its text as the only argument.
struct LocalizedText {
    QByteArray key;
    QStringList args;

    static LocalizedText fromKey(const char* key, QStringList args = {}) {
        return {QByteArray(key), std::move(args)};
    }
    static LocalizedText literal(const QString& text) { return {{}, {text}}; }

    bool isLiteral() const { return key.isEmpty(); }
    // The string-table text with its arguments filled in.
    QString text() const;

    bool operator==(const LocalizedText&) const = default;
};

// A measure as the locale writes numbers, with `decimals` places and its
// unit after a no-break space: "1.8 s", in German "1,8 s".
QString quantity(double value, int decimals, const QString& unit,
                 const QLocale& locale = QLocale());

} // namespace ViewLogic
