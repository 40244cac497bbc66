#pragma once

#include <QString>

// The application's one reverse-DNS name. The desktop entry
// (<id>.desktop), the AppStream metainfo, the single-instance bus name and
// the launcher badge's application:// URI all use it.
inline QString applicationId() {
    return QStringLiteral("io.github.talvenne.Talvenne");
}
