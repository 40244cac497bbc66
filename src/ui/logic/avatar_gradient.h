#pragma once

#include <QColor>
#include <QString>

namespace ViewLogic {

// The two colours of an avatar, drawn from the top-left (first) to the
// bottom-right corner (second).
struct AvatarGradient {
    QColor first;
    QColor second;

    bool operator==(const AvatarGradient&) const = default;
};

inline constexpr int avatarGradientCount = 7;

// Which of the seven gradients a seed gets. The hash is seeded per process,
// so a seed keeps its gradient while the application runs and may change
// after a restart.
int avatarGradientIndex(const QString& seed);
AvatarGradient avatarGradientAt(int index);
AvatarGradient avatarGradient(const QString& seed);

} // namespace ViewLogic
