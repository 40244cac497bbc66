#include "map/outline.h"

#include "map/projection.h"

#include <QtEndian>
#include <algorithm>
#include <cmath>
#include <cstring>

namespace Map {

namespace {

constexpr char magic[] = "TVOUTLN1";
constexpr int maxLevels = 8;
enum FeatureKind : std::uint8_t { landPiece = 0, border = 1, lakePiece = 2 };

// Reads the file front to back; any read past the end or out of bounds
// leaves it failed, and every later read returns 0.
class Cursor {
public:
    explicit Cursor(QByteArrayView data)
        : m_data(data) {}

    bool failed() const { return !m_error.isEmpty(); }
    const QString& error() const { return m_error; }
    void fail(const QString& why) {
        if (m_error.isEmpty())
            m_error = why;
    }
    qsizetype remaining() const { return m_data.size() - m_at; }

    template <typename T>
    T fixed() {
        T value{};
        if (failed() || remaining() < qsizetype(sizeof(T))) {
            fail(QStringLiteral("the file ends early"));
            return value;
        }
        value = qFromLittleEndian<T>(m_data.data() + m_at);
        m_at += sizeof(T);
        return value;
    }

    std::uint64_t varint() {
        std::uint64_t value = 0;
        for (int shift = 0; shift < 64; shift += 7) {
            if (failed() || remaining() < 1) {
                fail(QStringLiteral("the file ends early"));
                return 0;
            }
            const auto byte = std::uint8_t(m_data[m_at++]);
            value |= std::uint64_t(byte & 0x7f) << shift;
            if (!(byte & 0x80))
                return value;
        }
        fail(QStringLiteral("a number is too long"));
        return 0;
    }

    std::int64_t zigzag() {
        const std::uint64_t value = varint();
        return std::int64_t(value >> 1) ^ -std::int64_t(value & 1);
    }

    // A count of things that take at least `bytesEach` bytes in the file.
    std::uint32_t count(qsizetype bytesEach) {
        const std::uint64_t value = varint();
        if (!failed() && value > std::uint64_t(remaining() / bytesEach))
            fail(QStringLiteral("a count runs past the end of the file"));
        return failed() ? 0 : std::uint32_t(value);
    }

private:
    QByteArrayView m_data;
    qsizetype m_at = 0;
    QString m_error;
};

struct Grid {
    double scaleX = 0;
    double scaleY = 0;
    double translateX = 0;
    double translateY = 0;
};

// One ring's points, from grid steps into the unit square.
bool readPoints(Cursor& in, const Grid& grid, std::uint32_t count, OutlineLevel& level,
                QRectF& bounds) {
    std::int64_t x = 0;
    std::int64_t y = 0;
    double left = 2, top = 2, right = -1, bottom = -1;
    for (std::uint32_t i = 0; i < count && !in.failed(); ++i) {
        x += in.zigzag();
        y += in.zigzag();
        const double longitude = x * grid.scaleX + grid.translateX;
        const double latitude = y * grid.scaleY + grid.translateY;
        if (!(std::abs(longitude) <= 180.001 && std::abs(latitude) <= 90.001)) {
            in.fail(QStringLiteral("a point lies outside the world"));
            return false;
        }
        const QPointF world = project({latitude, std::clamp(longitude, -180.0, 180.0)});
        level.points.push_back({float(world.x()), float(world.y())});
        left = std::min(left, world.x());
        right = std::max(right, world.x());
        top = std::min(top, world.y());
        bottom = std::max(bottom, world.y());
    }
    bounds = bounds.united(QRectF(QPointF(left, top), QPointF(right, bottom)));
    return !in.failed();
}

// A piece of land or of a lake, added to `pieces`.
bool readPiece(Cursor& in, const Grid& grid, OutlineLevel& level,
               std::vector<OutlineLevel::Piece>& pieces, const QString& what) {
    OutlineLevel::Piece piece;
    piece.firstRing = std::uint32_t(level.rings.size());
    piece.firstCoast = std::uint32_t(level.coasts.size());
    const std::uint32_t ringCount = in.count(3);
    if (ringCount == 0)
        in.fail(QStringLiteral("a piece of %1 without a ring").arg(what));
    for (std::uint32_t r = 0; r < ringCount && !in.failed(); ++r) {
        const std::uint32_t count = in.count(2);
        if (count < 3) {
            in.fail(QStringLiteral("a ring of fewer than three points"));
            break;
        }
        const auto ringIndex = std::uint32_t(level.rings.size());
        // Edges alternate between coast and cut, coast first.
        const std::uint32_t runs = in.count(1);
        std::uint64_t edge = 0;
        for (std::uint32_t run = 0; run < runs && !in.failed(); ++run) {
            const std::uint64_t length = in.varint();
            if (edge + length > count) {
                in.fail(QStringLiteral("a ring's edges do not add up"));
                break;
            }
            if (run % 2 == 0 && length > 0)
                level.coasts.push_back({ringIndex, std::uint32_t(edge), std::uint32_t(length)});
            edge += length;
        }
        if (!in.failed() && edge != count)
            in.fail(QStringLiteral("a ring's edges do not add up"));
        level.rings.push_back({std::uint32_t(level.points.size()), count});
        readPoints(in, grid, count, level, piece.bounds);
    }
    piece.ringCount = std::uint32_t(level.rings.size()) - piece.firstRing;
    piece.coastCount = std::uint32_t(level.coasts.size()) - piece.firstCoast;
    pieces.push_back(piece);
    return !in.failed();
}

bool readBorder(Cursor& in, const Grid& grid, OutlineLevel& level) {
    if (in.count(3) != 1) {
        in.fail(QStringLiteral("a border is one line"));
        return false;
    }
    const std::uint32_t count = in.count(2);
    if (count < 2) {
        in.fail(QStringLiteral("a border of fewer than two points"));
        return false;
    }
    OutlineLevel::Border line;
    line.ring = std::uint32_t(level.rings.size());
    level.rings.push_back({std::uint32_t(level.points.size()), count});
    readPoints(in, grid, count, level, line.bounds);
    level.borders.push_back(line);
    return !in.failed();
}

} // namespace

void OutlineLevel::index() {
    const auto fill = [](auto& grid, const auto& features) {
        grid.assign(gridSize * gridSize, {});
        for (std::uint32_t i = 0; i < features.size(); ++i) {
            const QRectF& b = features[i].bounds;
            const int x0 = std::clamp(int(b.left() * gridSize), 0, gridSize - 1);
            const int x1 = std::clamp(int(b.right() * gridSize), 0, gridSize - 1);
            const int y0 = std::clamp(int(b.top() * gridSize), 0, gridSize - 1);
            const int y1 = std::clamp(int(b.bottom() * gridSize), 0, gridSize - 1);
            for (int y = y0; y <= y1; ++y) {
                for (int x = x0; x <= x1; ++x)
                    grid[y * gridSize + x].push_back(i);
            }
        }
    };
    fill(m_pieceGrid, pieces);
    fill(m_lakeGrid, lakes);
    fill(m_borderGrid, borders);
}

template <typename Feature>
std::vector<std::uint32_t> OutlineLevel::lookup(const std::vector<std::vector<std::uint32_t>>& grid,
                                                const std::vector<Feature>& features,
                                                const QRectF& world) const {
    std::vector<std::uint32_t> found;
    if (grid.empty() || !world.isValid())
        return found;
    const int x0 = std::clamp(int(std::floor(world.left() * gridSize)), 0, gridSize - 1);
    const int x1 = std::clamp(int(std::floor(world.right() * gridSize)), 0, gridSize - 1);
    const int y0 = std::clamp(int(std::floor(world.top() * gridSize)), 0, gridSize - 1);
    const int y1 = std::clamp(int(std::floor(world.bottom() * gridSize)), 0, gridSize - 1);
    for (int y = y0; y <= y1; ++y) {
        for (int x = x0; x <= x1; ++x) {
            for (std::uint32_t i : grid[y * gridSize + x]) {
                const QRectF& b = features[i].bounds;
                if (b.left() <= world.right() && b.right() >= world.left() &&
                    b.top() <= world.bottom() && b.bottom() >= world.top())
                    found.push_back(i);
            }
        }
    }
    std::sort(found.begin(), found.end());
    found.erase(std::unique(found.begin(), found.end()), found.end());
    return found;
}

std::vector<std::uint32_t> OutlineLevel::piecesIn(const QRectF& world) const {
    return lookup(m_pieceGrid, pieces, world);
}

std::vector<std::uint32_t> OutlineLevel::lakesIn(const QRectF& world) const {
    return lookup(m_lakeGrid, lakes, world);
}

std::vector<std::uint32_t> OutlineLevel::bordersIn(const QRectF& world) const {
    return lookup(m_borderGrid, borders, world);
}

const OutlineLevel* Outline::levelFor(double zoom) const {
    const OutlineLevel* chosen = levels.empty() ? nullptr : &levels.front();
    for (const OutlineLevel& level : levels) {
        if (level.firstZoom <= zoom)
            chosen = &level;
    }
    return chosen;
}

std::optional<Outline> readOutline(QByteArrayView data, QString* error) {
    Cursor in(data);
    if (data.size() < 8 || std::memcmp(data.data(), magic, 8) != 0) {
        if (error)
            *error = QStringLiteral("not a map outline");
        return std::nullopt;
    }
    in.fixed<std::uint64_t>();
    const auto levelCount = in.fixed<std::uint32_t>();
    if (!in.failed() && (levelCount == 0 || levelCount > maxLevels))
        in.fail(QStringLiteral("%1 levels").arg(levelCount));
    Outline outline;
    for (std::uint32_t l = 0; l < levelCount && !in.failed(); ++l) {
        Grid grid;
        grid.scaleX = in.fixed<double>();
        grid.scaleY = in.fixed<double>();
        grid.translateX = in.fixed<double>();
        grid.translateY = in.fixed<double>();
        OutlineLevel level;
        level.firstZoom = in.fixed<std::uint8_t>();
        const auto featureCount = in.fixed<std::uint32_t>();
        if (in.failed())
            break;
        if (!(grid.scaleX > 0 && grid.scaleY > 0 && std::isfinite(grid.scaleX) &&
              std::isfinite(grid.scaleY) && std::isfinite(grid.translateX) &&
              std::isfinite(grid.translateY))) {
            in.fail(QStringLiteral("a level without a usable grid"));
            break;
        }
        if (!outline.levels.empty() && level.firstZoom <= outline.levels.back().firstZoom) {
            in.fail(QStringLiteral("levels out of order"));
            break;
        }
        if (featureCount > in.remaining() / 4) {
            in.fail(QStringLiteral("a count runs past the end of the file"));
            break;
        }
        for (std::uint32_t f = 0; f < featureCount && !in.failed(); ++f) {
            switch (in.fixed<std::uint8_t>()) {
            case landPiece:
                readPiece(in, grid, level, level.pieces, QStringLiteral("land"));
                break;
            case lakePiece:
                readPiece(in, grid, level, level.lakes, QStringLiteral("a lake"));
                break;
            case border:
                readBorder(in, grid, level);
                break;
            default:
                in.fail(QStringLiteral("an unknown kind of feature"));
            }
        }
        level.index();
        outline.levels.push_back(std::move(level));
    }
    if (!in.failed() && in.remaining() != 0)
        in.fail(QStringLiteral("bytes after the last level"));
    if (in.failed()) {
        if (error)
            *error = in.error();
        return std::nullopt;
    }
    return outline;
}

} // namespace Map
