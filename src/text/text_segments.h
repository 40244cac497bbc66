#pragma once

#include <QList>
#include <QString>

namespace Text {

// One run of a message text: ordinary text, a mention (always starting with
// "@"), or a web link whose display text and URL are the same matched text.
struct TextSegment {
    enum class Kind { plain, mention, link };

    Kind kind = Kind::plain;
    QString text; // what is shown
    QString url;  // links only

    static TextSegment plain(const QString& text) { return {Kind::plain, text, {}}; }
    static TextSegment mention(const QString& text) { return {Kind::mention, text, {}}; }
    static TextSegment link(const QString& display, const QString& url) {
        return {Kind::link, display, url};
    }

    bool operator==(const TextSegment&) const = default;
};

// Splits a message text into plain runs, mentions ("@[Some Name]" or "@name")
// and http(s) links. Empty text gives no segments.
QList<TextSegment> segments(const QString& text);

// The text as a bubble reads it: each "@[Some Name]" as "@Some Name",
// everything else as it is. For places that show no styling (the sidebar's
// preview, notifications).
QString withMentionsAsShown(const QString& text);

} // namespace Text
