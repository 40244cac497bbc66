#include "ui/logic/avatar_gradient.h"

#include <QHash>
#include <array>
#include <cstdint>
#include <cstdlib>

namespace ViewLogic {

namespace {

struct Pair {
    float r1, g1, b1, r2, g2, b2;
};

constexpr std::array<Pair, avatarGradientCount> gradients{{
    {0.36f, 0.82f, 0.55f, 0.2f, 0.62f, 0.86f},
    {0.55f, 0.45f, 0.95f, 0.3f, 0.55f, 0.98f},
    {0.98f, 0.55f, 0.35f, 0.96f, 0.34f, 0.55f},
    {0.18f, 0.78f, 0.78f, 0.22f, 0.52f, 0.92f},
    {0.96f, 0.72f, 0.28f, 0.95f, 0.45f, 0.3f},
    {0.45f, 0.78f, 0.4f, 0.18f, 0.62f, 0.5f},
    {0.8f, 0.42f, 0.92f, 0.45f, 0.4f, 0.95f},
}};

} // namespace

int avatarGradientIndex(const QString& seed) {
    // Read the hash as a signed 64-bit value and fold its magnitude, which
    // keeps the distribution of the full hash.
    const auto hash = static_cast<std::int64_t>(qHash(seed, QHashSeed::globalSeed()));
    const std::int64_t folded = hash % avatarGradientCount;
    return static_cast<int>(folded < 0 ? -folded : folded);
}

AvatarGradient avatarGradientAt(int index) {
    const Pair& p = gradients.at(static_cast<std::size_t>(index));
    return {QColor::fromRgbF(p.r1, p.g1, p.b1), QColor::fromRgbF(p.r2, p.g2, p.b2)};
}

AvatarGradient avatarGradient(const QString& seed) {
    return avatarGradientAt(avatarGradientIndex(seed));
}

} // namespace ViewLogic
