#include "text/mentions.h"

namespace Text {

QString foldedName(const QString& name) {
    return name.toCaseFolded().toUpper().toCaseFolded();
}

bool isMentionOf(const TextSegment& segment, const QString& foldedOwnName) {
    return segment.kind == TextSegment::Kind::mention && !foldedOwnName.isEmpty() &&
           foldedName(segment.text.mid(1)) == foldedOwnName;
}

bool mentionsName(const QString& text, const QString& ownName) {
    if (ownName.isEmpty() || !text.contains(u'@'))
        return false;
    const QString own = foldedName(ownName);
    for (const TextSegment& segment : segments(text)) {
        if (isMentionOf(segment, own))
            return true;
    }
    return false;
}

} // namespace Text
