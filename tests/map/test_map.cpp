// The map's core: projection, distances and the scale bar, the reader of
// the bundled outline, grouping of markers, the street tile address and
// settings, and the tile cache against a local HTTP server.
#include "map/geodesy.h"
#include "map/map_settings.h"
#include "map/marker_clusters.h"
#include "map/outline.h"
#include "map/projection.h"
#include "map/tile_address.h"
#include "map/tile_cache.h"
#include "test_support.h"

#include <QDateTime>
#include <QFile>
#include <QLocale>
#include <QSettings>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QtEndian>
#include <cmath>
#include <limits>

using namespace Qt::StringLiterals;
using Map::GeoPoint;
using Map::TileId;

namespace {

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double infinite = std::numeric_limits<double>::infinity();

// --- a small outline file, written as scripts/make-outline.py writes it

QByteArray varint(quint64 value) {
    QByteArray out;
    do {
        char byte = char(value & 0x7f);
        value >>= 7;
        if (value)
            byte = char(byte | 0x80);
        out.append(byte);
    } while (value);
    return out;
}

QByteArray zigzag(qint64 value) {
    return varint(value >= 0 ? quint64(value) << 1 : (quint64(-value) << 1) - 1);
}

template <typename T>
QByteArray little(T value) {
    QByteArray out(sizeof(T), '\0');
    qToLittleEndian(value, out.data());
    return out;
}

// Grid steps of one degree from -180/-90.
QByteArray levelHeader(quint8 firstZoom, quint32 features) {
    return little(1.0) + little(1.0) + little(-180.0) + little(-90.0) + little(firstZoom) +
           little(features);
}

QByteArray points(const QList<QPoint>& list) {
    QByteArray out;
    QPoint previous;
    for (const QPoint& p : list) {
        out += zigzag(p.x() - previous.x()) + zigzag(p.y() - previous.y());
        previous = p;
    }
    return out;
}

// A square of land from 10°E 50°N to 20°E 60°N whose left edge is a cut.
QByteArray landSquare() {
    const QList<QPoint> square{{190, 140}, {200, 140}, {200, 150}, {190, 150}};
    // Edges: bottom, right, top are coast; the left one (last) is a cut.
    return QByteArray(1, '\0') + varint(1) + varint(4) + varint(2) + varint(3) + varint(1) +
           points(square);
}

// A lake in that square, 12°E 52°N to 18°E 58°N, with an island at 14°E
// 54°N. Its outer ring's third edge (the top) is a cut: two shore runs.
QByteArray lakeWithAnIsland() {
    const QList<QPoint> shore{{192, 142}, {198, 142}, {198, 148}, {192, 148}};
    const QList<QPoint> island{{194, 144}, {195, 144}, {195, 145}, {194, 145}};
    return QByteArray(1, '\2') + varint(2) + varint(4) + varint(3) + varint(2) + varint(1) +
           varint(1) + points(shore) + varint(4) + varint(1) + varint(4) + points(island);
}

QByteArray borderLine() {
    return QByteArray(1, '\1') + varint(1) + varint(2) + points({{200, 140}, {210, 150}});
}

QByteArray outlineFile(const QByteArray& body, quint32 levels = 1) {
    return QByteArrayLiteral("TVOUTLN1") + little(levels) + body;
}

// --- a local HTTP server that serves tiles with the headers a test gives

struct TileServer : QObject {
    struct Reply {
        int status = 200;
        QByteArray headers; // extra header lines, each ending in \r\n
        QByteArray body;
    };
    QTcpServer server;
    std::function<Reply(const QByteArray& path, const QByteArray& request)> answer;
    QList<QByteArray> requests; // whole request heads, in order
    int open = 0;
    int mostOpen = 0;
    int delayMillis = 0;

    TileServer() {
        server.listen(QHostAddress::LocalHost);
        connect(&server, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket* socket = server.nextPendingConnection())
                serve(socket);
        });
    }
    QString address() const {
        return u"http://127.0.0.1:%1/{z}/{x}/{y}.png"_s.arg(server.serverPort());
    }
    void serve(QTcpSocket* socket) {
        auto buffer = std::make_shared<QByteArray>();
        connect(socket, &QTcpSocket::readyRead, this, [this, socket, buffer] {
            buffer->append(socket->readAll());
            // One request at a time per connection (HTTP/1.1 keep-alive).
            while (buffer->contains("\r\n\r\n")) {
                const qsizetype end = buffer->indexOf("\r\n\r\n") + 4;
                const QByteArray head = buffer->left(end);
                buffer->remove(0, end);
                requests.append(head);
                mostOpen = std::max(mostOpen, ++open);
                const QByteArray path = head.split(' ').value(1);
                const Reply reply = answer ? answer(path, head) : Reply{};
                QTimer::singleShot(delayMillis, socket, [this, socket, reply] {
                    --open;
                    QByteArray out = "HTTP/1.1 " + QByteArray::number(reply.status) +
                                     (reply.status == 304 ? " Not Modified" : " OK") + "\r\n";
                    out += "Content-Type: image/png\r\nDate: " +
                           QLocale::c()
                               .toString(QDateTime::currentDateTimeUtc(),
                                         u"ddd, dd MMM yyyy hh:mm:ss 'GMT'"_s)
                               .toLatin1() +
                           "\r\n" + reply.headers;
                    out += "Content-Length: " + QByteArray::number(reply.body.size()) + "\r\n\r\n";
                    socket->write(out + reply.body);
                });
            }
        });
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
    }
    int requestsFor(const QByteArray& path) const {
        return int(std::count_if(requests.begin(), requests.end(), [&](const QByteArray& head) {
            return head.split(' ').value(1) == path;
        }));
    }
};

} // namespace

class TestMap : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { TestSupport::isolateFromUserFiles(); }

    // --- positions and the projection

    void validPositions_data() {
        QTest::addColumn<double>("latitude");
        QTest::addColumn<double>("longitude");
        QTest::addColumn<bool>("valid");
        QTest::newRow("Helsinki") << 60.169856 << 24.938379 << true;
        QTest::newRow("0/0 is no position") << 0.0 << 0.0 << false;
        QTest::newRow("only the latitude 0") << 0.0 << 24.9 << true;
        QTest::newRow("only the longitude 0") << 51.48 << 0.0 << true;
        QTest::newRow("corners of the world") << -90.0 << 180.0 << true;
        QTest::newRow("latitude past the pole") << 90.000001 << 10.0 << false;
        QTest::newRow("longitude past 180") << 10.0 << -180.5 << false;
        QTest::newRow("the radio's largest number") << 2147.483647 << 24.9 << false;
        QTest::newRow("NaN latitude") << notANumber << 24.9 << false;
        QTest::newRow("NaN longitude") << 60.1 << notANumber << false;
        QTest::newRow("infinite") << infinite << -infinite << false;
    }
    void validPositions() {
        QFETCH(double, latitude);
        QFETCH(double, longitude);
        QTEST(Map::isValidPosition(latitude, longitude), "valid");
    }

    void projection_data() {
        QTest::addColumn<double>("latitude");
        QTest::addColumn<double>("longitude");
        QTest::addColumn<QPointF>("world");
        QTest::addColumn<bool>("roundTrip");
        QTest::newRow("centre") << 0.0 << 0.0 << QPointF(0.5, 0.5) << true;
        QTest::newRow("west edge") << 0.0 << -180.0 << QPointF(0, 0.5) << true;
        QTest::newRow("north-east corner") << Map::maxLatitude << 180.0 << QPointF(1, 0) << true;
        QTest::newRow("south edge") << -Map::maxLatitude << 90.0 << QPointF(0.75, 1) << true;
        // 2^-1 · (1 - ln(tan(45° + φ/2)) / π) for φ = 60°
        QTest::newRow("60° N") << 60.0 << -90.0 << QPointF(0.25, 0.2903996409) << true;
        QTest::newRow("beyond the edge, drawn on it") << 89.5 << 0.0 << QPointF(0.5, 0) << false;
        QTest::newRow("the pole") << -90.0 << 0.0 << QPointF(0.5, 1) << false;
    }
    void projection() {
        QFETCH(double, latitude);
        QFETCH(double, longitude);
        QFETCH(QPointF, world);
        const QPointF projected = Map::project({latitude, longitude});
        QVERIFY2(
            std::abs(projected.x() - world.x()) < 1e-9 &&
                std::abs(projected.y() - world.y()) < 1e-9,
            qPrintable(u"%1, %2"_s.arg(projected.x(), 0, 'f', 10).arg(projected.y(), 0, 'f', 10)));
        QFETCH(bool, roundTrip);
        if (roundTrip) {
            const GeoPoint back = Map::unproject(projected);
            QVERIFY(std::abs(back.latitude - latitude) < 1e-9);
            QVERIFY(std::abs(back.longitude - longitude) < 1e-9);
        }
    }

    void zoomAndSpans() {
        // 256 pixels cover the world at zoom 0: 40,075 km at the equator.
        QVERIFY(std::abs(Map::metresPerPixel(0, 0) - 156543.034) < 0.01);
        QVERIFY(std::abs(Map::metresPerPixel(60, 10) - 76.437) < 0.001);
        // A 1/1024 of the world fits 256 pixels at zoom 10, either side.
        QCOMPARE(Map::zoomToFit(QRectF(0.3, 0.3, 1.0 / 1024, 1.0 / 4096), {256, 256}), 10.0);
        QCOMPARE(Map::zoomToFit(QRectF(0.3, 0.3, 1.0 / 4096, 1.0 / 1024), {512, 256}), 10.0);
        // 0.05° around a point on the equator: as high as it is wide.
        const QRectF span = Map::spanAround({0, 10}, 0.05);
        QVERIFY(std::abs(span.width() - 0.05 / 360) < 1e-12);
        QVERIFY(std::abs(span.height() - span.width()) < 1e-9);
        QVERIFY(span.contains(Map::project({0, 10})));
    }

    // --- distances, directions and the scale bar

    void distanceAndBearing_data() {
        QTest::addColumn<GeoPoint>("from");
        QTest::addColumn<GeoPoint>("to");
        QTest::addColumn<double>("metres");
        QTest::addColumn<double>("bearing");
        QTest::addColumn<int>("compass");
        QTest::newRow("a degree east on the equator")
            << GeoPoint{0, 10} << GeoPoint{0, 11} << 111195.08 << 90.0 << 2;
        QTest::newRow("a degree north")
            << GeoPoint{10, 5} << GeoPoint{11, 5} << 111195.08 << 0.0 << 0;
        QTest::newRow("Helsinki to Tallinn")
            << GeoPoint{60.1699, 24.9384} << GeoPoint{59.4370, 24.7536} << 82147.6 << 187.31 << 4;
        QTest::newRow("the demo's ridge, west")
            << GeoPoint{60.169856, 24.938379} << GeoPoint{60.205490, 24.655899} << 16110.8 << 284.36
            << 6;
        QTest::newRow("the same place") << GeoPoint{45, 45} << GeoPoint{45, 45} << 0.0 << 0.0 << 0;
    }
    void distanceAndBearing() {
        QFETCH(GeoPoint, from);
        QFETCH(GeoPoint, to);
        QFETCH(double, metres);
        QFETCH(double, bearing);
        const double distance = Map::distanceMetres(from, to);
        QVERIFY2(std::abs(distance - metres) <= std::max(1.0, metres * 1e-3),
                 qPrintable(QString::number(distance)));
        const double direction = Map::bearingDegrees(from, to);
        QVERIFY2(std::abs(direction - bearing) < 0.1, qPrintable(QString::number(direction)));
        QTEST(Map::compassPoint(direction), "compass");
    }

    void compassPoints_data() {
        QTest::addColumn<double>("bearing");
        QTest::addColumn<int>("point");
        QTest::newRow("north") << 0.0 << 0;
        QTest::newRow("just before north-east") << 22.49 << 0;
        QTest::newRow("north-east begins") << 22.5 << 1;
        QTest::newRow("south-west") << 225.0 << 5;
        QTest::newRow("north again") << 359.0 << 0;
        QTest::newRow("negative") << -45.0 << 7;
        QTest::newRow("twice around") << 720.0 + 90 << 2;
    }
    void compassPoints() {
        QFETCH(double, bearing);
        QTEST(Map::compassPoint(bearing), "point");
    }

    void scaleBar_data() {
        QTest::addColumn<double>("metresPerPixel");
        QTest::addColumn<double>("metres");
        QTest::addColumn<double>("width");
        QTest::newRow("exactly a kilometre") << 10.0 << 1000.0 << 100.0;
        QTest::newRow("five hundred of seven hundred") << 7.0 << 500.0 << 500.0 / 7;
        QTest::newRow("two of three") << 0.3 << 20.0 << 20 / 0.3;
        QTest::newRow("a whole continent") << 156543.034 << 1e7 << 1e7 / 156543.034;
        QTest::newRow("under a metre") << 0.004 << 0.2 << 50.0;
        QTest::newRow("nothing to measure") << 0.0 << 0.0 << 0.0;
        QTest::newRow("NaN") << notANumber << 0.0 << 0.0;
    }
    void scaleBar() {
        QFETCH(double, metresPerPixel);
        QFETCH(double, metres);
        QFETCH(double, width);
        const Map::ScaleBar bar = Map::scaleBar(metresPerPixel, 100);
        QVERIFY2(std::abs(bar.metres - metres) < 1e-9 && std::abs(bar.width - width) < 1e-9,
                 qPrintable(u"%1 m, %2 px"_s.arg(bar.metres).arg(bar.width)));
        QVERIFY(bar.width <= 100);
    }

    // --- groups of markers

    void clusters_data() {
        QTest::addColumn<QList<QPointF>>("pixels"); // at zoom 10
        QTest::addColumn<QList<QList<int>>>("groups");
        QTest::newRow("apart") << QList<QPointF>{{100, 100}, {200, 100}}
                               << QList<QList<int>>{{0}, {1}};
        QTest::newRow("close") << QList<QPointF>{{100, 100}, {120, 110}}
                               << QList<QList<int>>{{0, 1}};
        QTest::newRow("just out of reach")
            << QList<QPointF>{{100, 100}, {135, 100}} << QList<QList<int>>{{0}, {1}};
        QTest::newRow("the same place, many")
            << QList<QPointF>{{50, 50}, {50, 50}, {50, 50}, {300, 50}}
            << QList<QList<int>>{{0, 1, 2}, {3}};
        // Greedy in order: the first takes its neighbour, the third is too
        // far from the first to join.
        QTest::newRow("a chain") << QList<QPointF>{{100, 100}, {130, 100}, {160, 100}}
                                 << QList<QList<int>>{{0, 1}, {2}};
        QTest::newRow("across a cell boundary")
            << QList<QPointF>{{67.95, 10}, {68.05, 10}} << QList<QList<int>>{{0, 1}};
    }
    void clusters() {
        QFETCH(QList<QPointF>, pixels);
        QFETCH(QList<QList<int>>, groups);
        const double scale = Map::tileSize * 1024;
        std::vector<QPointF> world;
        for (const QPointF& p : pixels)
            world.push_back((p + QPointF(34 * 3000, 34 * 3000)) / scale);
        const std::vector<Map::MarkerCluster> found = Map::clusterMarkers(world, 10, 34);
        QList<QList<int>> members;
        for (const Map::MarkerCluster& cluster : found)
            members.append(QList<int>(cluster.members.begin(), cluster.members.end()));
        QCOMPARE(members, groups);
        // A group sits at the middle of its members.
        QPointF sum;
        for (int i : groups.first())
            sum += world[i];
        QVERIFY((found.front().world - sum / groups.first().size()).manhattanLength() < 1e-12);
    }

    // --- the outline file

    void readsAnOutline() {
        QString error;
        const std::optional<Map::Outline> outline =
            Map::readOutline(outlineFile(levelHeader(0, 2) + landSquare() + borderLine()), &error);
        QVERIFY2(outline, qPrintable(error));
        QCOMPARE(outline->levels.size(), size_t(1));
        const Map::OutlineLevel& level = outline->levels.front();
        QCOMPARE(level.pieces.size(), size_t(1));
        QCOMPARE(level.borders.size(), size_t(1));
        // Coast: the three edges from the first point on; the cut is left out.
        QCOMPARE(level.coasts.size(), size_t(1));
        QCOMPARE(level.coasts.front().start, 0u);
        QCOMPARE(level.coasts.front().edges, 3u);
        const QRectF bounds = level.pieces.front().bounds;
        const QPointF northWest = Map::project({60, 10});
        const QPointF southEast = Map::project({50, 20});
        QVERIFY((bounds.topLeft() - northWest).manhattanLength() < 1e-6);
        QVERIFY((bounds.bottomRight() - southEast).manhattanLength() < 1e-6);
        // Only what meets the rectangle asked about.
        QCOMPARE(level.piecesIn(QRectF(northWest, southEast).adjusted(0.01, 0.01, -0.01, -0.01)),
                 std::vector<std::uint32_t>{0});
        QVERIFY(level.piecesIn(QRectF(Map::project({10, -100}), QSizeF(0.01, 0.01))).empty());
        QCOMPARE(level.bordersIn(QRectF(Map::project({55, 20}), QSizeF(0.001, 0.001))),
                 std::vector<std::uint32_t>{0});
        QCOMPARE(outline->levelFor(7), &level);
    }

    // A lake is kept apart from the land it lies on; its shore, islands
    // included, is stroked and its cut is not.
    void readsALake() {
        QString error;
        const std::optional<Map::Outline> outline = Map::readOutline(
            outlineFile(levelHeader(0, 3) + landSquare() + lakeWithAnIsland() + borderLine()),
            &error);
        QVERIFY2(outline, qPrintable(error));
        const Map::OutlineLevel& level = outline->levels.front();
        QCOMPARE(level.pieces.size(), size_t(1));
        QCOMPARE(level.lakes.size(), size_t(1));
        const Map::OutlineLevel::Piece& lake = level.lakes.front();
        QCOMPARE(lake.ringCount, 2u);
        QCOMPARE(level.rings[lake.firstRing + 1].count, 4u);
        const auto shore = [&](std::uint32_t i) {
            const Map::OutlineLevel::Coast& c = level.coasts[lake.firstCoast + i];
            return QList<std::uint32_t>{c.ring - lake.firstRing, c.start, c.edges};
        };
        QCOMPARE(lake.coastCount, 3u);
        QCOMPARE(shore(0), (QList<std::uint32_t>{0, 0, 2}));
        QCOMPARE(shore(1), (QList<std::uint32_t>{0, 3, 1}));
        QCOMPARE(shore(2), (QList<std::uint32_t>{1, 0, 4}));
        QVERIFY((lake.bounds.topLeft() - Map::project({58, 12})).manhattanLength() < 1e-6);
        QVERIFY((lake.bounds.bottomRight() - Map::project({52, 18})).manhattanLength() < 1e-6);
        const QRectF onTheLake(Map::project({55, 16}), QSizeF(0.001, 0.001));
        QCOMPARE(level.lakesIn(onTheLake), std::vector<std::uint32_t>{0});
        QCOMPARE(level.piecesIn(onTheLake), std::vector<std::uint32_t>{0});
        // On the land square beside the lake: no lake.
        QVERIFY(level.lakesIn(QRectF(Map::project({51, 19}), QSizeF(0.001, 0.001))).empty());
    }

    void refusesBrokenOutlines_data() {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QString>("error");
        const QByteArray good = levelHeader(0, 1) + landSquare();
        QTest::newRow("empty") << QByteArray() << u"not a map outline"_s;
        QTest::newRow("another file")
            << QByteArray("\x89PNG\r\n\x1a\n........") << u"not a map outline"_s;
        QTest::newRow("no level") << outlineFile({}, 0) << u"0 levels"_s;
        QTest::newRow("a huge level count") << outlineFile(good, 4000) << u"4000 levels"_s;
        QTest::newRow("cut in the header")
            << outlineFile(good.left(20)) << u"the file ends early"_s;
        QTest::newRow("cut in a ring") << outlineFile(good.chopped(2)) << u"the file ends early"_s;
        QTest::newRow("more features than bytes")
            << outlineFile(levelHeader(0, 1000000) + landSquare())
            << u"a count runs past the end of the file"_s;
        QTest::newRow("a ring of two points")
            << outlineFile(levelHeader(0, 1) + QByteArray(1, '\0') + varint(1) + varint(2) +
                           varint(1) + varint(2) + points({{1, 1}, {2, 2}}))
            << u"a ring of fewer than three points"_s;
        QTest::newRow("edges that do not add up")
            << outlineFile(levelHeader(0, 1) + QByteArray(1, '\0') + varint(1) + varint(3) +
                           varint(1) + varint(2) + points({{1, 1}, {2, 2}, {1, 2}}))
            << u"a ring's edges do not add up"_s;
        QTest::newRow("a lake without a ring")
            << outlineFile(levelHeader(0, 2) + landSquare() + QByteArray(1, '\2') + varint(0))
            << u"a piece of a lake without a ring"_s;
        QTest::newRow("a lake's shore that does not add up")
            << outlineFile(levelHeader(0, 1) + QByteArray(1, '\2') + varint(1) + varint(3) +
                           varint(2) + varint(1) + varint(1) + points({{1, 1}, {2, 2}, {1, 2}}))
            << u"a ring's edges do not add up"_s;
        QTest::newRow("cut in a lake")
            << outlineFile(levelHeader(0, 2) + landSquare() + lakeWithAnIsland().chopped(3))
            << u"the file ends early"_s;
        QTest::newRow("a point outside the world")
            << outlineFile(levelHeader(0, 1) + QByteArray(1, '\1') + varint(1) + varint(2) +
                           points({{10, 10}, {400, 10}}))
            << u"a point lies outside the world"_s;
        QTest::newRow("an unknown feature")
            << outlineFile(levelHeader(0, 1) + QByteArray(1, '\7') + landSquare())
            << u"an unknown kind of feature"_s;
        QTest::newRow("bytes after the end")
            << outlineFile(good + "x") << u"bytes after the last level"_s;
        QTest::newRow("levels out of order")
            << outlineFile(levelHeader(5, 1) + landSquare() + levelHeader(5, 1) + landSquare(), 2)
            << u"levels out of order"_s;
        QByteArray noGrid = good;
        noGrid.replace(0, 8, little(notANumber));
        QTest::newRow("a NaN grid") << outlineFile(noGrid) << u"a level without a usable grid"_s;
        QByteArray runaway = levelHeader(0, 1) + QByteArray(1, '\1') + varint(1) + varint(2);
        runaway += QByteArray(12, char(0xff));
        QTest::newRow("a number that never ends")
            << outlineFile(runaway) << u"a number is too long"_s;
    }
    void refusesBrokenOutlines() {
        QFETCH(QByteArray, data);
        QString error;
        QVERIFY(!Map::readOutline(data, &error));
        QTEST(error, "error");
    }

    // The bundled outline: both scales, cut into small pieces with nothing
    // across the antimeridian, land where land is.
    void bundledOutline() {
        QFile file(QStringLiteral(TALVENNE_SOURCE_DIR "/resources/map/world-outline.bin"));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QVERIFY(file.size() < 3 * 1024 * 1024);
        QString error;
        const std::optional<Map::Outline> outline = Map::readOutline(file.readAll(), &error);
        QVERIFY2(outline, qPrintable(error));
        QCOMPARE(outline->levels.size(), size_t(2));
        QCOMPARE(outline->levels[0].firstZoom, 0);
        QCOMPARE(outline->levels[1].firstZoom, 5);
        QCOMPARE(outline->levelFor(4.9), &outline->levels[0]);
        QCOMPARE(outline->levelFor(18), &outline->levels[1]);
        for (const Map::OutlineLevel& level : outline->levels) {
            QVERIFY(level.pieces.size() > 1000 && level.borders.size() > 300);
            // Natural Earth's lakes at 1:50m, at both scales.
            QVERIFY(level.lakes.size() > 250);
            // (Near the poles a small piece is tall in Mercator.)
            for (const auto* pieces : {&level.pieces, &level.lakes}) {
                for (const Map::OutlineLevel::Piece& piece : *pieces)
                    QVERIFY2(piece.bounds.width() < 0.25 && piece.bounds.height() < 0.5,
                             "a piece spans the world");
            }
        }
    }

    // --- street tiles: the address and the settings

    void tileAddresses_data() {
        QTest::addColumn<QString>("address");
        QTest::addColumn<TileId>("tile");
        QTest::addColumn<QString>("url");
        const QString osm = QLatin1String(Map::defaultTileAddress);
        QTest::newRow("OpenStreetMap")
            << osm << TileId{3, 4, 5} << u"https://tile.openstreetmap.org/3/4/5.png"_s;
        QTest::newRow("another order")
            << u"http://tiles.example/{x}-{y}@{z}"_s << TileId{19, 524287, 0}
            << u"http://tiles.example/524287-0@19"_s;
        QTest::newRow("x past the edge") << osm << TileId{2, 4, 0} << QString();
        QTest::newRow("negative") << osm << TileId{2, -1, 0} << QString();
        QTest::newRow("without {y}")
            << u"https://t.example/{z}/{x}.png"_s << TileId{1, 0, 0} << QString();
        QTest::newRow("not http") << u"file:///tmp/{z}/{x}/{y}.png"_s << TileId{1, 0, 0}
                                  << QString();
        QTest::newRow("no host") << u"https:///{z}/{x}/{y}"_s << TileId{1, 0, 0} << QString();
        QTest::newRow("not an address") << u"{z} {x} {y}"_s << TileId{1, 0, 0} << QString();
    }
    void tileAddresses() {
        QFETCH(QString, address);
        QFETCH(TileId, tile);
        QFETCH(QString, url);
        const std::optional<QUrl> made = Map::tileUrl(address, tile);
        QCOMPARE(made ? made->toString() : QString(), url);
    }

    void mapSettings() {
        QTemporaryDir folder;
        QSettings store(folder.filePath(u"settings.ini"_s), QSettings::IniFormat);
        {
            MapSettings settings(&store);
            QVERIFY(!settings.streetTiles());
            QCOMPARE(settings.tileAddress(), MapSettings::defaultTileAddress());
            QVERIFY(!settings.fetchesTiles());
            QSignalSpy changed(&settings, &MapSettings::changed);
            settings.setStreetTiles(true);
            QVERIFY(settings.fetchesTiles());
            settings.setTileAddress(u"  gopher://x/{z}/{x}/{y}  "_s);
            QVERIFY(!settings.tileAddressUsable());
            QVERIFY(!settings.fetchesTiles()); // on, but from nowhere
            settings.setTileAddress(u"https://t.example/{z}/{x}/{y}.png"_s);
            QCOMPARE(changed.size(), 3);
            settings.setTileAddress(u"https://t.example/{z}/{x}/{y}.png"_s);
            QCOMPARE(changed.size(), 3);
        }
        MapSettings again(&store);
        QVERIFY(again.streetTiles());
        QCOMPARE(again.tileAddress(), u"https://t.example/{z}/{x}/{y}.png"_s);
        again.setTileAddress(QString()); // back to the default
        QCOMPARE(again.tileAddress(), MapSettings::defaultTileAddress());
        QVERIFY(!store.contains(QLatin1String(MapSettings::tileAddressKey)));
    }

    // --- the tile cache against a local server

    // What the server's caching headers make of a second request for the
    // same tile: read from the disk, revalidated, or fetched again.
    void cacheFollowsTheServersHeaders_data() {
        QTest::addColumn<QByteArray>("headers");
        QTest::addColumn<int>("requests");
        QTest::addColumn<bool>("conditional");
        QTest::newRow("fresh for an hour")
            << QByteArray("Cache-Control: max-age=3600\r\n") << 1 << false;
        QTest::newRow("never stored") << QByteArray("Cache-Control: no-store\r\n") << 2 << false;
        QTest::newRow("to be revalidated, with an entity tag")
            << QByteArray("Cache-Control: no-cache\r\nETag: \"v1\"\r\n") << 2 << true;
    }
    void cacheFollowsTheServersHeaders() {
        QFETCH(QByteArray, headers);
        QTemporaryDir folder;
        TileServer server;
        const QByteArray tile(3000, 'p');
        server.answer = [&](const QByteArray&, const QByteArray& head) {
            if (head.contains("If-None-Match: \"v1\""))
                return TileServer::Reply{304, headers, {}};
            return TileServer::Reply{200, headers, tile};
        };
        Map::TileCache cache({folder.path(), 1024 * 1024, "Talvenne/9.9 (test)"});
        QSignalSpy arrived(&cache, &Map::TileCache::tileArrived);
        for (int round = 1; round <= 2; ++round) {
            cache.want(server.address(), {{3, 2, 1}});
            QVERIFY(arrived.wait(5000));
            QCOMPARE(arrived.size(), round);
            QCOMPARE(arrived.last().at(1).toByteArray(), tile);
        }
        QTEST(int(server.requests.size()), "requests");
        QFETCH(bool, conditional);
        QCOMPARE(server.requests.last().contains("If-None-Match"), conditional);
        QVERIFY(server.requests.first().startsWith("GET /3/2/1.png HTTP/1.1\r\n"));
        QVERIFY(server.requests.first().contains("User-Agent: Talvenne/9.9 (test)\r\n"));
    }

    // Two at a time; a new wish replaces what has not started; the disk
    // cache keeps under its cap; a missing tile is not asked for again.
    void cacheFetchesOnlyWhatIsWanted() {
        QTemporaryDir folder;
        TileServer server;
        server.delayMillis = 30;
        const QByteArray tile(20000, 't');
        server.answer = [&](const QByteArray& path, const QByteArray&) {
            if (path == "/5/0/0.png")
                return TileServer::Reply{404, {}, "none"};
            return TileServer::Reply{200, "Cache-Control: max-age=86400\r\n", tile};
        };
        const qint64 cap = 150 * 1024;
        Map::TileCache cache({folder.path(), cap, "Talvenne/test"});
        QSignalSpy arrived(&cache, &Map::TileCache::tileArrived);
        QSignalSpy failed(&cache, &Map::TileCache::tileFailed);

        QList<TileId> many;
        for (int x = 0; x < 10; ++x)
            many.append({6, x, 7});
        cache.want(server.address(), many);
        cache.want(server.address(), {{6, 20, 20}});
        QTRY_COMPARE(arrived.size(), 3); // the two on their way, and the new one
        QTest::qWait(200);
        QCOMPARE(server.requests.size(), 3);
        QCOMPARE(server.mostOpen, 2);

        QList<TileId> row;
        for (int x = 0; x < 30; ++x)
            row.append({8, x, 9});
        cache.want(server.address(), row);
        QTRY_COMPARE_WITH_TIMEOUT(arrived.size(), 33, 10000);
        QVERIFY2(cache.cacheSize() <= cap, qPrintable(QString::number(cache.cacheSize())));
        QVERIFY(cache.cacheSize() > 0);

        cache.want(server.address(), {{5, 0, 0}});
        QTRY_COMPARE(failed.size(), 1);
        cache.want(server.address(), {{5, 0, 0}});
        QTest::qWait(100);
        QCOMPARE(server.requestsFor("/5/0/0.png"), 1);
        QCOMPARE(failed.size(), 1);
    }
};

QTEST_GUILESS_MAIN(TestMap)
#include "test_map.moc"
