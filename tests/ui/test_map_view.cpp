// The maps: the map item and the views around it over the simulated radio's
// neighbourhood (the user's radio in Helsinki, Aino 220 m away, the Ridge
// Repeater 16 km west): what they draw, how they move, what they say, what
// they open, that they draw nothing while nothing changes, and that they
// fetch nothing while street maps are off.
#include "base_map.h"
#include "logic/map_texts.h"
#include "map/projection.h"
#include "map_markers.h"
#include "map_sprites.h"
#include "mesh_map.h"
#include "outline_tiles.h"
#include "ui_rig.h"

#include <QAccessible>
#include <QQmlComponent>
#include <QRandomGenerator>
#include <QTcpServer>
#include <QTcpSocket>
#include <QtQml/qqmlextensionplugin.h>
#include <cmath>
#include <limits>
#include <map>

Q_IMPORT_QML_PLUGIN(TalvennePlugin)
Q_DECLARE_METATYPE(Map::GeoPoint)

using MeshProtocol::AdvertType;

namespace {

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

MapMarker node(const QString& name, double latitude, double longitude,
               AdvertType type = AdvertType::chat) {
    return {name.toLower(), name, type, {latitude, longitude}, false};
}

// A MapFrame 300 × 200 at (100, 100) in a 500 × 400 window of magenta.
struct FrameWindow {
    QQuickView view;
    MapSettings settings{nullptr};
    std::unique_ptr<QObject> root;
    QQuickItem* frame = nullptr;
    MeshMap* map = nullptr;

    explicit FrameWindow(MapMarkerSource* markers, QSize size = {300, 200}) {
        view.engine()->addImportPath(u"qrc:/qt/qml"_s);
        QQmlComponent component(view.engine());
        component.setData(
            "import QtQuick\nimport Talvenne\nRectangle {\n color: 'magenta'\n"
            " required property MapMarkerSource markers\n required property MapSettings settings\n"
            " property alias frame: frame\n"
            " MapFrame { id: frame; x: 100; y: 100; markers: parent.markers;"
            " settings: parent.settings }\n}",
            QUrl());
        root.reset(component.createWithInitialProperties(
            {{u"markers"_s, QVariant::fromValue<QObject*>(markers)},
             {u"settings"_s, QVariant::fromValue<QObject*>(&settings)}}));
        if (!root) {
            qWarning() << component.errorString();
            return;
        }
        frame = root->property("frame").value<QQuickItem*>();
        frame->setSize(size);
        map = frame->findChild<MeshMap*>(u"meshMap"_s);
        view.setContent(QUrl(), nullptr, root.get());
        view.setColor(Qt::magenta);
        view.resize(size.width() + 200, size.height() + 200);
        view.show();
        if (!QTest::qWaitForWindowExposed(&view))
            map = nullptr;
    }
};

// Until the base map is read and the tiles in view are drawn.
bool settled(MeshMap* map) {
    return QTest::qWaitFor(
        [&] { return BaseMap::instance()->isLoaded() && map->pendingTiles() == 0; }, 10000);
}

// Frames the window draws from now on.
struct FrameCounter {
    int frames = 0;
    QMetaObject::Connection connection;
    explicit FrameCounter(QQuickWindow* window) {
        connection = QObject::connect(window, &QQuickWindow::frameSwapped, [this] { ++frames; });
    }
    ~FrameCounter() { QObject::disconnect(connection); }
};

QString spokenName(QQuickItem* item) {
    QAccessibleInterface* node = QAccessible::queryAccessibleInterface(item);
    return node ? node->text(QAccessible::Name) : QString();
}

QPoint centreOf(const QRectF& rect, QQuickItem* item) {
    return item->mapToScene(rect.center()).toPoint();
}

} // namespace

class TestMapView : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(prepareViewTests());
        QAccessible::setActive(true);
    }

    // --- texts

    void distances_data() {
        QTest::addColumn<double>("metres");
        QTest::addColumn<QString>("text");
        QTest::newRow("metres") << 7.4 << u"7 m"_s;
        QTest::newRow("tens of metres") << 849.6 << u"850 m"_s;
        QTest::newRow("rounds up to a kilometre") << 996.0 << u"1.0 km"_s;
        QTest::newRow("one decimal") << 2449.0 << u"2.4 km"_s;
        QTest::newRow("whole kilometres") << 12345.0 << u"12 km"_s;
        QTest::newRow("no distance") << notANumber << QString();
    }
    void distances() {
        QFETCH(double, metres);
        QTEST(ViewLogic::distanceText(metres), "text");
    }

    void directionsAndMarkers() {
        QCOMPARE(ViewLogic::distanceAndBearingText(16110.8, 284.4), u"16 km W"_s);
        QCOMPARE(ViewLogic::distanceAndBearingText(3, 90), u"3 m"_s);
        QCOMPARE(ViewLogic::scaleText(500), u"500 m"_s);
        QCOMPARE(ViewLogic::scaleText(20000), u"20 km"_s);
        QCOMPARE(ViewLogic::markerSpokenText(u"Aino"_s, u"Companion"_s, 224.0, 50.0),
                 u"Aino, Companion, 220 m NE"_s);
        QCOMPARE(ViewLogic::markerSpokenText(u"Aino"_s, u"Companion"_s, {}, {}),
                 u"Aino, Companion"_s);
        QCOMPARE(ViewLogic::groupSpokenText(2, u"A and B"_s), u"2 nodes: A and B"_s);
    }

    // --- the base map

    // A place on land and one in water, drawn from the coarse scale and from
    // the detailed one, light and dark: the land in the land's colour, the
    // sea and the lakes in the water's, and a shore stroked between them.
    void outlineTiles_data() {
        QTest::addColumn<int>("zoom");
        QTest::addColumn<bool>("dark");
        QTest::addColumn<Map::GeoPoint>("land");
        QTest::addColumn<Map::GeoPoint>("water");
        const Map::GeoPoint helsinki{60.25, 25.0}; // inland a little
        const Map::GeoPoint gulfOfFinland{59.85, 24.9};
        QTest::newRow("sea, coarse") << 4 << false << helsinki << gulfOfFinland;
        QTest::newRow("sea, detailed") << 8 << false << helsinki << gulfOfFinland;
        QTest::newRow("sea, detailed, dark") << 8 << true << helsinki << gulfOfFinland;
        const Map::GeoPoint southOfVictoria{-3.5, 33.0};
        const Map::GeoPoint lakeVictoria{-1.5, 33.0};
        QTest::newRow("Lake Victoria, coarse") << 4 << false << southOfVictoria << lakeVictoria;
        QTest::newRow("Lake Victoria, detailed") << 8 << false << southOfVictoria << lakeVictoria;
        QTest::newRow("Lake Ladoga, dark")
            << 6 << true << Map::GeoPoint{61.0, 33.6} << Map::GeoPoint{60.8, 31.3};
        QTest::newRow("Lake Superior, zoomed in")
            << 10 << false << Map::GeoPoint{46.0, -87.5} << Map::GeoPoint{47.5, -87.5};
        QTest::newRow("an island in Lake Huron")
            << 7 << false << Map::GeoPoint{45.78, -82.0} << Map::GeoPoint{45.3, -82.0};
    }
    void outlineTiles() {
        QFETCH(int, zoom);
        QFETCH(bool, dark);
        QFETCH(Map::GeoPoint, land);
        QFETCH(Map::GeoPoint, water);
        BaseMap::instance()->load();
        QTRY_VERIFY_WITH_TIMEOUT(BaseMap::instance()->isLoaded(), 10000);
        QVERIFY(BaseMap::instance()->outline());
        const MapStyle style = dark ? MapStyle::dark() : MapStyle::light();
        const double tiles = std::exp2(zoom);
        std::map<std::pair<int, int>, QImage> drawn;
        const auto colourAt = [&](QPointF world) {
            world *= tiles;
            const Map::TileId tile{zoom, int(world.x()), int(world.y())};
            QImage& image = drawn[{tile.x, tile.y}];
            if (image.isNull())
                image = renderOutlineTile(*BaseMap::instance()->outline(), tile, 1, style);
            return image.pixelColor(int((world.x() - tile.x) * 256),
                                    int((world.y() - tile.y) * 256));
        };
        const QPointF from = Map::project(land);
        const QPointF to = Map::project(water);
        QCOMPARE(colourAt(from), style.land);
        QCOMPARE(colourAt(to), style.water);
        QCOMPARE(drawn.begin()->second.size(), QSize(256, 256));
        // Pixel by pixel from one to the other: somewhere a shore.
        const int steps = int(QLineF(from, to).length() * tiles * 256) + 1;
        bool shore = false;
        for (int i = 1; i < steps && !shore; ++i) {
            const QColor colour = colourAt(from + (to - from) * i / steps);
            shore = colour != style.land && colour != style.water;
        }
        QVERIFY(shore);
        // Twice as many pixels on a screen of pixel ratio 2.
        QCOMPARE(renderOutlineTile(*BaseMap::instance()->outline(), {zoom, 0, 0}, 2, style).size(),
                 QSize(512, 512));
    }

    // The item draws inside its bounds only, over the software renderer's
    // parts that come and go as tiles arrive.
    void drawsInsideItsBounds() {
        GivenMarkers markers;
        markers.set({node(u"Aino"_s, 60.17, 24.94)});
        FrameWindow window(&markers);
        QVERIFY(window.map);
        window.map->showSpan(60.2055, 24.6559, 0.05);
        QVERIFY(settled(window.map));
        QTest::qWait(50);
        const QImage image = window.view.grabWindow();
        for (const QPoint outside : {QPoint(50, 50), QPoint(450, 350), QPoint(250, 50)})
            QCOMPARE(image.pixelColor(outside), QColor(Qt::magenta));
        QVERIFY(image.pixelColor(250, 200) != QColor(Qt::magenta));
    }

    // Markers are drawn where their nodes are, and go with the map as it
    // pans and zooms (on the software renderer too).
    void markersFollowTheView() {
        GivenMarkers markers;
        markers.set({node(u"Ridge"_s, 60.2055, 24.6559, AdvertType::repeaterNode)});
        FrameWindow window(&markers);
        QVERIFY(window.map);
        window.map->showSpan(60.2055, 24.6559, 0.05);
        QVERIFY(settled(window.map));
        // Pixels of the repeater's colour (the base map has none) in a
        // marker-sized square around a point of the window.
        const QColor orange = MapSprites::typeColor(AdvertType::repeaterNode);
        const auto orangeAt = [&](QPointF centre) {
            const QImage image = window.view.grabWindow();
            int count = 0;
            for (int y = -13; y <= 13; ++y) {
                for (int x = -13; x <= 13; ++x)
                    count += image.pixelColor(centre.toPoint() + QPoint(x, y)) == orange;
            }
            return count;
        };
        const QPointF first = window.map->mapToScene(window.map->markerRect(0).center());
        QTRY_VERIFY(orangeAt(first) > 50);

        window.map->panBy(-70, 30);
        const QPointF panned = window.map->mapToScene(window.map->markerRect(0).center());
        QCOMPARE(panned, first + QPointF(-70, 30));
        QTRY_VERIFY(orangeAt(panned) > 50);
        QCOMPARE(orangeAt(first), 0);

        window.map->zoomAround(-2, 280, 180);
        const QPointF zoomed = window.map->mapToScene(window.map->markerRect(0).center());
        QTRY_VERIFY(orangeAt(zoomed) > 50);
        QCOMPARE(orangeAt(panned), 0);
    }

    // --- hostile positions

    // A node's position from the radio never draws a marker or moves the
    // view unless it is usable; the map itself checks what it is given too.
    void hostilePositions_data() {
        QTest::addColumn<double>("latitude");
        QTest::addColumn<double>("longitude");
        QTest::addColumn<bool>("shown");
        QTest::newRow("usable") << 60.30 << 25.10 << true;
        QTest::newRow("only the latitude 0") << 0.0 << 25.0 << true;
        QTest::newRow("0/0, no position") << 0.0 << 0.0 << false;
        QTest::newRow("latitude out of range") << 2147.483647 << 25.0 << false;
        QTest::newRow("longitude out of range") << 60.0 << -181.0 << false;
        QTest::newRow("NaN") << notANumber << 25.0 << false;
        QTest::newRow("infinite") << 60.0 << std::numeric_limits<double>::infinity() << false;
    }
    void hostilePositions() {
        QFETCH(double, latitude);
        QFETCH(double, longitude);
        QFETCH(bool, shown);
        GivenMarkers markers;
        markers.set({node(u"Anchor"_s, 60.17, 24.94)});
        FrameWindow window(&markers);
        QVERIFY(window.map);
        window.map->setProperty("autoFit", true);
        window.map->fitMarkers();
        const double zoom = window.map->zoom();
        const double centre = window.map->centerLatitude();
        markers.set({node(u"Anchor"_s, 60.17, 24.94), node(u"Other"_s, latitude, longitude)});
        window.map->fitMarkers();
        QCOMPARE(window.map->markerCount(), shown ? 2 : 1);
        QCOMPARE(window.map->zoom() == zoom && window.map->centerLatitude() == centre, !shown);
        // Asked to show it, the map stays where it is.
        const double before = window.map->centerLongitude();
        window.map->showSpan(latitude, longitude, 0.05);
        QCOMPARE(window.map->centerLongitude() != before, shown);
        QVERIFY(std::isfinite(window.map->zoom()) && std::isfinite(window.map->centerLatitude()));

        // From the radio (which cannot send NaN): the models leave it out.
        if (!std::isfinite(latitude) || !std::isfinite(longitude))
            return;
        UiRig rig;
        Contact contact = chatContact(QString(64, u'7'), u"Stranger"_s);
        contact.latitude = latitude;
        contact.longitude = longitude;
        rig.radio.addContact(contact);
        QVERIFY(rig.connect());
        Bound<MeshMapModel> mesh(rig.controller);
        QCOMPARE(mesh.nodeCount(), 5 + (shown ? 1 : 0)); // the demo's five with a position
        Bound<NodeMapModel> place(rig.controller);
        place.setPublicKey(contact.publicKey);
        QCOMPARE(place.hasMap(), shown);
        QCOMPARE(place.distanceText().isEmpty(), !shown);
    }

    // --- the node details and the chat info pane

    void nodeDetailsShowTheMap_data() {
        QTest::addColumn<QString>("view");
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("height");
        QTest::addColumn<QString>("distance");
        QTest::newRow("node details")
            << u"NodeDetailView.qml"_s << u"Ridge Repeater"_s << 180 << u"16 km W"_s;
        QTest::newRow("chat info")
            << u"ChatInfoInspector.qml"_s << u"Aino Virtanen"_s << 160 << u"220 m NE"_s;
        QTest::newRow("no position")
            << u"NodeDetailView.qml"_s << u"Valley RPT-2"_s << 0 << QString();
    }
    void nodeDetailsShowTheMap() {
        QFETCH(QString, view);
        QFETCH(QString, name);
        QFETCH(int, height);
        UiRig rig;
        QVERIFY(rig.connect());
        auto window = loadTalvenneView(view, {{u"publicKey"_s, rig.contactNamed(name)->publicKey}},
                                       rig.controller.get(), {560, 900});
        QVERIFY(window);
        auto* map = findItem(*window, "nodeMap");
        QVERIFY(map);
        QCOMPARE(map->isVisible(), height > 0);
        QTEST(findItem(*window, "distanceText")->property("text").toString(), "distance");
        QCOMPARE(findItem(*window, "distanceRow")->isVisible(), height > 0);
        if (height == 0)
            return;
        QCOMPARE(int(map->height()), height);
        auto* meshMap = map->findChild<MeshMap*>(u"meshMap"_s);
        QCOMPARE(meshMap->markerCount(), 1);
        QCOMPARE(meshMap->markerName(0), u"Node"_s);
        // Centred on the node, 0.05° high.
        const Map::GeoPoint at{rig.contactNamed(name)->latitude, rig.contactNamed(name)->longitude};
        QVERIFY(std::abs(meshMap->centerLatitude() - at.latitude) < 1e-6);
        QVERIFY(std::abs(meshMap->centerLongitude() - at.longitude) < 1e-6);
        const QRectF span = Map::spanAround(at, 0.05);
        QVERIFY(std::abs(span.height() * Map::tileSize * std::exp2(meshMap->zoom()) -
                         meshMap->height()) < 1);
        QVERIFY(settled(meshMap));
        QVERIFY(findItem(*window, "outlineOnlyNote")->isVisible());
    }

    // --- the map of every node

    // Tab walks the markers: the user's radio, then the nearest first, each
    // announced with name, type and distance; arrows pan, + and - zoom,
    // Return opens, Tab after the last leaves the map.
    void keyboardWalksTheMarkers() {
        UiRig rig;
        QVERIFY(rig.connect());
        auto window = loadTalvenneView(u"MeshMapView.qml"_s, {}, rig.controller.get(), {800, 600});
        QVERIFY(window);
        auto* map = findItem<MeshMap>(*window, "meshMap");
        QVERIFY(map && settled(map));
        QCOMPARE(map->markerCount(), 6);
        QSignalSpy chosen(window->rootObject(), SIGNAL(nodeChosen(QString, bool)));

        map->forceActiveFocus(Qt::TabFocusReason);
        QStringList heard;
        for (int i = 0; i < 6; ++i) {
            QTest::keyClick(window.get(), Qt::Key_Tab);
            heard << spokenName(window->activeFocusItem());
        }
        QCOMPARE(heard, (QStringList{
                            u"Talvenne Demo, your radio, Companion"_s,
                            u"Aino Virtanen, Companion, 220 m NE"_s,
                            u"Harbour Room, Room Server, 810 m E"_s,
                            u"Weather Mast, Sensor, 1.6 km NW"_s,
                            u"🦊 Kettu, Companion, 2.5 km N"_s,
                            u"Ridge Repeater, Repeater, 16 km W"_s,
                        }));
        QVERIFY(findItem(*window, "markerLabel")->isVisible());
        QCOMPARE(findItem(*window, "markerLabel")->findChild<QQuickItem*>()->property("text"),
                 QVariant(u"Ridge Repeater"_s));
        QTest::keyClick(window.get(), Qt::Key_Backtab);
        QCOMPARE(spokenName(window->activeFocusItem()), heard.at(4));
        // The ring and the name go with the marker as the map moves.
        const auto ringOnKettu = [&] {
            int index = -1;
            for (int i = 0; i < map->markerCount(); ++i)
                index = map->markerName(i) == u"🦊 Kettu"_s ? i : index;
            const QRectF rect = map->markerRect(index);
            QQuickItem* ring = findItem(*window, "markerFocusRing");
            QQuickItem* label = findItem(*window, "markerLabel");
            return index >= 0 && ring->isVisible() &&
                   ring->position() + QPointF(4, 4) ==
                       map->mapToItem(ring->parentItem(), rect.topLeft()) &&
                   std::abs(label->x() + label->width() / 2 - rect.center().x()) < 1;
        };
        QVERIFY(ringOnKettu());
        map->panBy(-40, 25);
        QVERIFY(ringOnKettu());
        map->showSpan(60.1925, 24.9384, 0.02);
        QVERIFY(ringOnKettu());
        QTest::keyClick(window.get(), Qt::Key_Return);
        QCOMPARE(chosen.size(), 1);
        QCOMPARE(chosen.first(),
                 (QVariantList{rig.contactNamed(u"🦊 Kettu"_s)->publicKey, true}));
        QTest::keyClick(window.get(), Qt::Key_Tab);
        QTest::keyClick(window.get(), Qt::Key_Tab); // past the last
        QVERIFY(!window->activeFocusItem()->objectName().startsWith(u"markerProxy"_s));
        QVERIFY(window->activeFocusItem() != map);

        // Arrows and zoom keys on the map.
        map->forceActiveFocus(Qt::TabFocusReason);
        const double longitude = map->centerLongitude();
        const double latitude = map->centerLatitude();
        QTest::keyClick(window.get(), Qt::Key_Right);
        QVERIFY(map->centerLongitude() > longitude);
        QTest::keyClick(window.get(), Qt::Key_Up);
        QVERIFY(map->centerLatitude() > latitude);
        const double zoom = map->zoom();
        QTest::keyClick(window.get(), Qt::Key_Plus);
        QCOMPARE(map->zoom(), zoom + 1);
        QTest::keyClick(window.get(), Qt::Key_Minus);
        QTest::keyClick(window.get(), Qt::Key_Minus);
        QCOMPARE(map->zoom(), zoom - 1);
    }

    // Nodes at one place become one marker with their count; a click on it
    // offers them in a list, one near another zooms in until they part.
    void pointerOpensAndGroups() {
        GivenMarkers markers;
        markers.set({node(u"Alpha"_s, 60.2, 25.0), node(u"Beta"_s, 60.2, 25.0),
                     node(u"Gamma"_s, 60.2, 25.004, AdvertType::repeaterNode),
                     node(u"Far"_s, 60.5, 25.5, AdvertType::sensor)});
        FrameWindow window(&markers, {400, 300});
        QVERIFY(window.map);
        window.map->showSpan(60.3, 25.25, 0.8);
        QCOMPARE(window.map->markerCount(), 2);
        QCOMPARE(window.map->markerName(0), u"3 nodes"_s);
        QSignalSpy chosen(window.map, &MeshMap::nodeActivated);
        QSignalSpy group(window.map, &MeshMap::groupActivated);

        // A group of nodes apart: in until they part.
        const double zoom = window.map->zoom();
        QTest::mouseClick(&window.view, Qt::LeftButton, {},
                          centreOf(window.map->markerRect(0), window.map));
        QVERIFY(window.map->zoom() >= zoom + 1);
        QTRY_COMPARE(window.map->markerCount(), 2); // Alpha and Beta, Gamma; Far out of view
        const int together = window.map->markerName(0) == u"2 nodes"_s ? 0 : 1;
        QCOMPARE(window.map->markerName(together), u"2 nodes"_s);
        QTest::mouseClick(&window.view, Qt::LeftButton, {},
                          centreOf(window.map->markerRect(1 - together), window.map));
        QCOMPARE(chosen.size(), 1);
        QCOMPARE(chosen.first(), (QVariantList{u"gamma"_s, false}));

        // At one place they never part: a list, whose entry opens the node.
        QTest::mouseClick(&window.view, Qt::LeftButton, {},
                          centreOf(window.map->markerRect(together), window.map));
        QCOMPARE(group.size(), 1);
        QCOMPARE(group.first(), (QVariantList{QStringList{u"alpha"_s, u"beta"_s},
                                              QStringList{u"Alpha"_s, u"Beta"_s}}));
        auto* menu = window.frame->findChild<QObject*>(u"groupMenu"_s);
        QTRY_VERIFY(menu->property("visible").toBool());
        window.map->activateNode(u"beta"_s);
        QCOMPARE(chosen.last(), (QVariantList{u"beta"_s, true}));
        QMetaObject::invokeMethod(menu, "close");
        QTRY_VERIFY(!menu->property("visible").toBool());

        // A drag pans and opens nothing.
        const double longitude = window.map->centerLongitude();
        QTest::mousePress(&window.view, Qt::LeftButton, {}, {300, 250});
        for (int x = 290; x >= 200; x -= 10)
            QTest::mouseMove(&window.view, {x, 250});
        QTest::mouseRelease(&window.view, Qt::LeftButton, {}, {200, 250});
        QVERIFY(window.map->centerLongitude() > longitude);
        QCOMPARE(chosen.size(), 2);
    }

    // 10,000 nodes: every one in a marker, few enough markers to draw.
    void tenThousandNodes() {
        std::vector<MapMarker> many;
        QRandomGenerator random(33);
        for (int i = 0; i < 10000; ++i)
            many.push_back(node(u"n%1"_s.arg(i), 60 + random.generateDouble(),
                                24 + 2 * random.generateDouble()));
        GivenMarkers markers;
        markers.set(many);
        FrameWindow window(&markers, {800, 600});
        QVERIFY(window.map);
        window.map->fitMarkers();
        QVERIFY(window.map->markerCount() < 600);
        int members = 0;
        for (int i = 0; i < window.map->markerCount(); ++i) {
            const QString name = window.map->markerName(i);
            members += name.endsWith(u" nodes"_s) ? name.split(u' ').first().toInt() : 1;
        }
        QCOMPARE(members, 10000);
        QVERIFY(settled(window.map));
    }

    // Once drawn, an idle map draws nothing: not while the pointer rests or
    // moves over the empty map. Panning draws.
    void idleMapDrawsNothing() {
        UiRig rig;
        QVERIFY(rig.connect());
        auto window = loadTalvenneView(u"MeshMapView.qml"_s, {}, rig.controller.get(), {800, 600});
        QVERIFY(window);
        auto* map = findItem<MeshMap>(*window, "meshMap");
        QVERIFY(map && settled(map));
        QTest::qWait(300);
        FrameCounter counter(window.get());
        QTest::mouseMove(window.get(), {400, 540});
        QTest::mouseMove(window.get(), {410, 545});
        QTest::qWait(1000);
        QCOMPARE(counter.frames, 0);
        map->panBy(30, 0);
        QTRY_VERIFY(counter.frames > 0);
    }

    // While street maps are off nothing is fetched, whatever the map shows;
    // turned on, the tiles in view come from the address set.
    void nothingFetchedWhileOff() {
        QTcpServer listener;
        QVERIFY(listener.listen(QHostAddress::LocalHost));
        UiRig rig;
        QVERIFY(rig.connect());
        MapSettings* settings = rig.controller->mapSettings();
        settings->setTileAddress(
            u"http://127.0.0.1:%1/{z}/{x}/{y}.png"_s.arg(listener.serverPort()));
        QVERIFY(!settings->streetTiles());
        auto window = loadTalvenneView(u"MeshMapView.qml"_s, {}, rig.controller.get(), {800, 600});
        QVERIFY(window);
        auto* map = findItem<MeshMap>(*window, "meshMap");
        QVERIFY(map && settled(map));
        map->zoomIn();
        map->panBy(200, 100);
        map->zoomAround(-3, 100, 100);
        QTest::qWait(500);
        QVERIFY(!listener.hasPendingConnections());
        QVERIFY(!findItem(*window, "attribution")->isVisible());

        settings->setStreetTiles(true);
        QTRY_VERIFY_WITH_TIMEOUT(listener.hasPendingConnections(), 5000);
        QTcpSocket* socket = listener.nextPendingConnection();
        QTRY_VERIFY(socket->bytesAvailable() > 0 || socket->waitForReadyRead(100));
        const QByteArray request = socket->readAll();
        QVERIFY2(request.startsWith("GET /"), request.constData());
        QVERIFY(request.contains("User-Agent: Talvenne/" TALVENNE_VERSION));
        QVERIFY(findItem(*window, "attribution")->isVisible());
        QVERIFY(!findItem(*window, "outlineOnlyNote")->isVisible());
        settings->setStreetTiles(false);
    }

    // View > Map in the window; a marker opens the chat of a companion, the
    // details of a repeater, and the user's own radio the device pane.
    void windowOpensNodesFromTheMap() {
        WindowRig rig;
        QVERIFY(rig.connectToMainView());
        QObject* main = rig.find("mainView");
        // The map the loader shows now (one it dropped may linger a moment).
        const auto shownMap = [&]() -> MeshMap* {
            auto* view = rig.find("meshMapLoader")->property("item").value<QQuickItem*>();
            auto* map = view ? view->findChild<MeshMap*>(u"meshMap"_s) : nullptr;
            return map && settled(map) ? map : nullptr;
        };
        const auto open = [&](MeshMap* map, const QString& name) {
            for (int i = 0; i < map->markerCount(); ++i) {
                if (map->markerName(i).startsWith(name))
                    map->activate(i);
            }
        };
        auto* item = rig.find<QObject>("mapMenuItem");
        QVERIFY(item);
        QMetaObject::invokeMethod(item->property("action").value<QObject*>(), "trigger");
        QTRY_VERIFY(shownMap());
        QVERIFY(rig.window()->title().startsWith(u"Map"_s));
        open(shownMap(), u"Aino Virtanen"_s);
        QTRY_VERIFY(!rig.shows("meshMapLoader") || !shownMap());
        QCOMPARE(main->property("mode").toString(), u"messages"_s);
        QCOMPARE(rig.controller->selectedConversation(), rig.chatWith(u"Aino Virtanen"_s));

        rig.window()->requestActivate(); // shortcuts go to the active window
        QVERIFY(QTest::qWaitForWindowActive(rig.window()));
        QTest::keySequence(rig.window(), QKeySequence(u"Ctrl+3"_s));
        QTRY_VERIFY(shownMap());
        open(shownMap(), u"Ridge Repeater"_s);
        QTRY_COMPARE(main->property("mode").toString(), u"nodes"_s);
        QCOMPARE(main->property("nodeSelection").toString(),
                 rig.contactNamed(u"Ridge Repeater"_s)->publicKey);
        QVERIFY(rig.shows("nodeDetailView"));
        QVERIFY(rig.window()->title().startsWith(u"Ridge Repeater"_s));

        main->setProperty("showsMap", true);
        QTRY_VERIFY(shownMap() && shownMap()->markerCount() == 6);
        open(shownMap(), u"Talvenne Demo"_s);
        QCOMPARE(main->property("inspector").toString(), u"device"_s);
    }
};

QTEST_MAIN(TestMapView)
#include "test_map_view.moc"
