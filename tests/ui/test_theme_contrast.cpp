#include "dark_palette.h"
#include "logic/contrast.h"
#include "message_list_model.h"
#include "ui_rig.h"

#include <QGuiApplication>
#include <QHash>
#include <QImage>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QTest>
#include <QtQml/qqmlextensionplugin.h>
#include <memory>

Q_IMPORT_QML_PLUGIN(TalvennePlugin)

using namespace ViewLogic;
using namespace Qt::StringLiterals;

namespace {

// The theme's colours under one application palette.
struct Theme {
    std::unique_ptr<QQmlEngine> engine;
    std::unique_ptr<QObject> holder;
    QObject* theme = nullptr;

    explicit Theme(const QPalette& palette) {
        QGuiApplication::setPalette(palette);
        engine = std::make_unique<QQmlEngine>();
        engine->addImportPath(u"qrc:/qt/qml"_s);
        QQmlComponent component(engine.get());
        component.setData("import QtQml\nimport Talvenne\nQtObject { property var theme: Theme }",
                          QUrl());
        holder.reset(component.create());
        if (holder)
            theme = holder->property("theme").value<QObject*>();
    }

    QColor operator[](const QString& name) const {
        if (name == QLatin1String("white"))
            return Qt::white;
        if (name == QLatin1String("outgoingMention"))
            return MessageListModel::outgoingMentionColor();
        if (name == QLatin1String("outgoingLink"))
            return MessageListModel::outgoingLinkColor();
        // "accentFill@0.82": the colour at that opacity.
        const QStringList parts = name.split(u'@');
        QColor color = theme->property(parts[0].toLatin1().constData()).value<QColor>();
        if (parts.size() == 2)
            color.setAlphaF(color.alphaF() * parts[1].toFloat());
        return color;
    }

    // Backgrounds listed top first, laid over each other down to the window.
    QColor background(const QStringList& layers) const {
        QColor result = (*this)[u"window"_s];
        for (auto layer = layers.crbegin(); layer != layers.crend(); ++layer)
            result = composite((*this)[*layer], result);
        return result;
    }
};

// What a control's text is drawn in, against what it is drawn on: the
// colour that covers most of the control's inside as the window shows it.
struct Reading {
    QString what;
    QColor text;
    QColor background;
};

double effectiveOpacity(const QQuickItem* item) {
    double opacity = 1;
    for (; item; item = item->parentItem())
        opacity *= item->opacity();
    return opacity;
}

QColor dominantColour(const QImage& image, QRect rect) {
    rect = rect.adjusted(3, 3, -3, -3).intersected(image.rect());
    QHash<QRgb, int> counts;
    for (int y = rect.top(); y <= rect.bottom(); ++y)
        for (int x = rect.left(); x <= rect.right(); ++x)
            ++counts[image.pixel(x, y)];
    QRgb best = 0;
    int most = -1;
    for (auto it = counts.cbegin(); it != counts.cend(); ++it)
        if (it.value() > most)
            std::tie(best, most) = std::pair(it.key(), it.value());
    return QColor(best);
}

bool isTextInput(const QQuickItem* item) {
    return item->inherits("QQuickTextField") || item->inherits("QQuickTextArea");
}

// The visible items under `item`, each with the part of it that is not
// clipped away, in the window's coordinates.
void forEachShown(QQuickItem* item, QRectF clip,
                  const std::function<void(QQuickItem*, const QRectF&)>& visit) {
    if (!item->isVisible() || item->opacity() < 0.05)
        return;
    const QRectF rect = item->mapRectToScene(QRectF(0, 0, item->width(), item->height()));
    visit(item, rect.intersected(clip));
    if (item->clip())
        clip = clip.intersected(rect);
    for (QQuickItem* child : item->childItems())
        forEachShown(child, clip, visit);
}

// The popup whose item this is, if it is a popup's.
QObject* popupOf(const QQuickItem* item) {
    return item->inherits("QQuickPopupItem") ? item->parent() : nullptr;
}

// Every text field, button and tooltip on screen, with the colour of each
// of its texts (a field's typed text, or its placeholder while empty). While
// a modal sheet is open, only what is on it.
QList<Reading> readings(QQuickWindow* window) {
    const QImage image = window->grabWindow().convertToFormat(QImage::Format_RGB32);
    const QRectF everything(0, 0, window->width(), window->height());
    QQuickItem* modal = nullptr;
    forEachShown(window->contentItem(), everything, [&](QQuickItem* item, const QRectF&) {
        if (QObject* popup = popupOf(item); popup && popup->property("modal").toBool())
            modal = item;
    });
    QList<Reading> found;
    QHash<QQuickItem*, QRectF> shownPart;
    const auto controlOf = [&](QQuickItem* item) -> QQuickItem* {
        for (QQuickItem* up = item; up; up = up->parentItem())
            if (up->inherits("QQuickAbstractButton") || isTextInput(up) || popupOf(up))
                return up;
        return nullptr;
    };
    forEachShown(window->contentItem(), everything, [&](QQuickItem* item, const QRectF& shown) {
        shownPart.insert(item, shown);
        QQuickItem* control = controlOf(item);
        if (!control || !item->isEnabled() || shown.width() < 4 || shown.height() < 4 ||
            (modal && !modal->isAncestorOf(item)) || effectiveOpacity(item) < 0.05)
            return;
        const QRect area = shownPart.value(control, shown).toAlignedRect();
        if (item == control && isTextInput(item)) {
            const bool empty = item->property("text").toString().isEmpty();
            const QColor text =
                item->property(empty ? "placeholderTextColor" : "color").value<QColor>();
            found.append(
                {u"field %1"_s.arg(item->objectName()), text, dominantColour(image, area)});
        } else if (item->inherits("QQuickText") && !item->property("text").toString().isEmpty()) {
            QColor text = item->property("color").value<QColor>();
            text.setAlphaF(text.alphaF() * effectiveOpacity(item));
            found.append({u"\"%1\" in %2 %3"_s.arg(item->property("text").toString(),
                                                   control->metaObject()->className(),
                                                   control->objectName()),
                          text, dominantColour(image, area)});
        }
    });
    return found;
}

// The tooltip shown at the moment, if any.
bool showsToolTip(QQuickWindow* window) {
    bool shown = false;
    forEachShown(window->contentItem(), QRectF(0, 0, window->width(), window->height()),
                 [&](QQuickItem* item, const QRectF&) {
                     if (QObject* popup = popupOf(item); popup && popup->inherits("QQuickToolTip"))
                         shown = true;
                 });
    return shown;
}

} // namespace

class TestThemeContrast : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(prepareViewTests()); }

    void ratios_data() {
        QTest::addColumn<QColor>("a");
        QTest::addColumn<QColor>("b");
        QTest::addColumn<double>("ratio");
        QTest::newRow("black on white") << QColor(Qt::black) << QColor(Qt::white) << 21.0;
        QTest::newRow("same colour") << QColor(0x77, 0x77, 0x77) << QColor(0x77, 0x77, 0x77) << 1.0;
        QTest::newRow("grey 767676 on white")
            << QColor(0x76, 0x76, 0x76) << QColor(Qt::white) << 4.54;
        QTest::newRow("half-transparent black on white")
            << QColor(0, 0, 0, 128) << QColor(Qt::white) << 4.0;
    }

    void ratios() {
        QFETCH(QColor, a);
        QFETCH(QColor, b);
        QFETCH(double, ratio);
        QVERIFY2(qAbs(contrastRatio(a, b) - ratio) < 0.02,
                 qPrintable(QString::number(contrastRatio(a, b))));
    }

    // Each text colour against each background it is drawn on, in both
    // palettes: 4.5:1, or 3:1 for symbols and the focus ring.
    void themeTextsAreReadable_data() {
        QTest::addColumn<bool>("dark");
        QTest::addColumn<QString>("foreground");
        QTest::addColumn<QStringList>("background");
        QTest::addColumn<double>("minimum");
        struct Pair {
            const char* name;
            const char* foreground;
            QStringList background;
            double minimum;
        };
        const QList<Pair> pairs{
            {"primary on window", "primaryText", {}, 4.5},
            {"primary on sidebar", "primaryText", {"sidebarBackground"}, 4.5},
            {"primary on selected row", "primaryText", {"selection", "sidebarBackground"}, 4.5},
            {"secondary on window", "secondaryText", {}, 4.5},
            {"secondary on sidebar", "secondaryText", {"sidebarBackground"}, 4.5},
            {"secondary on bar", "secondaryText", {"barBackground"}, 4.5},
            {"secondary on selected row", "secondaryText", {"selection", "sidebarBackground"}, 4.5},
            {"secondary in a pane section",
             "secondaryText",
             {"controlBackground", "sidebarBackground"},
             4.5},
            {"secondary on a field", "secondaryText", {"controlBackground"}, 4.5},
            {"primary in a bubble", "primaryText", {"incomingBubble"}, 4.5},
            {"mention in a bubble", "mention", {"incomingBubble"}, 4.5},
            {"link in a bubble", "blue", {"incomingBubble"}, 4.5},
            {"white on accent fill", "white", {"accentFill"}, 4.5},
            {"outgoing text, top", "white", {"accentFill", "bubbleBase"}, 4.5},
            {"outgoing text, bottom", "white", {"accentFill@0.82", "bubbleBase"}, 4.5},
            {"outgoing mention, top", "outgoingMention", {"accentFill", "bubbleBase"}, 4.5},
            {"outgoing mention, bottom", "outgoingMention", {"accentFill@0.82", "bubbleBase"}, 4.5},
            {"outgoing link, top", "outgoingLink", {"accentFill", "bubbleBase"}, 4.5},
            {"outgoing link, bottom", "outgoingLink", {"accentFill@0.82", "bubbleBase"}, 4.5},
            {"white on the conflict banner", "white", {"redFill"}, 4.5},
            {"red text on window", "red", {}, 4.5},
            {"red counter on bar", "red", {"barBackground"}, 4.5},
            {"orange text on window", "orange", {}, 4.5},
            {"orange counter on bar", "orange", {"barBackground"}, 4.5},
            {"green text on window", "green", {}, 4.5},
            {"accent symbols on window", "accent", {}, 3.0},
            {"accent symbols in a pane", "accent", {"sidebarBackground"}, 3.0},
            {"focus ring on window", "focusRing", {}, 3.0},
            {"focus ring on sidebar", "focusRing", {"sidebarBackground"}, 3.0},
        };
        for (bool dark : {false, true})
            for (const Pair& pair : pairs)
                QTest::addRow("%s, %s", dark ? "dark" : "light", pair.name)
                    << dark << QString::fromLatin1(pair.foreground) << pair.background
                    << pair.minimum;
    }

    void themeTextsAreReadable() {
        QFETCH(bool, dark);
        QFETCH(QString, foreground);
        QFETCH(QStringList, background);
        QFETCH(double, minimum);
        const Theme theme(dark ? darkPalette() : QPalette());
        QVERIFY(theme.theme);
        QCOMPARE(theme.theme->property("dark").toBool(), dark);
        const QColor under = theme.background(background);
        const double ratio = contrastRatio(theme[foreground], under);
        QVERIFY2(ratio >= minimum,
                 qPrintable(
                     u"%1 on %2: %3:1"_s.arg(theme[foreground].name(QColor::HexArgb), under.name())
                         .arg(ratio, 0, 'f', 2)));
    }

    // The window as it is drawn, in both palettes: every text field, button
    // and tooltip keeps 4.5:1 between its texts and what they sit on.
    void controlsOnScreenAreReadable_data() {
        QTest::addColumn<bool>("dark");
        QTest::addColumn<QString>("screen");
        for (bool dark : {false, true})
            for (const char* screen : {"connection", "device pane, renaming", "favourite node",
                                       "add contact", "add channel", "tooltip", "menu"})
                QTest::addRow("%s, %s", dark ? "dark" : "light", screen)
                    << dark << QString::fromLatin1(screen);
    }

    void controlsOnScreenAreReadable() {
        QFETCH(bool, dark);
        QFETCH(QString, screen);
        QGuiApplication::setPalette(dark ? darkPalette() : QPalette());
        WindowRig rig;
        QQuickWindow* window = rig.window();
        QVERIFY(window);
        QObject* main = nullptr;
        if (screen == u"connection"_s) {
            rig.advance(500ms);
        } else {
            QVERIFY(rig.connectToMainView());
            main = rig.find("mainView");
            rig.controller->setSelectedConversation(rig.chatWith(u"Aino Virtanen"_s));
        }
        if (screen == u"device pane, renaming"_s) {
            main->setProperty("inspector", u"device"_s);
            rig.advance(2s);
            QTRY_VERIFY(rig.find("editNameButton"));
            QMetaObject::invokeMethod(rig.find("editNameButton"), "clicked");
            QTRY_VERIFY(rig.shows("nameEditor"));
        } else if (screen == u"favourite node"_s) {
            const QString key = rig.contactNamed(u"Ridge Repeater"_s)->publicKey;
            rig.controller->toggleFavorite(key);
            main->setProperty("mode", u"nodes"_s);
            main->setProperty("nodeSelection", key);
        } else if (screen == u"add contact"_s) {
            main->setProperty("showAddContact", true);
        } else if (screen == u"add channel"_s) {
            main->setProperty("showAddChannel", true);
        } else if (screen == u"menu"_s) {
            click(rig.find<QQuickItem>("addButton"));
        } else if (screen == u"tooltip"_s) {
            auto* button = rig.find<QQuickItem>("deviceButton");
            QVERIFY(button);
            QTest::mouseMove(window, QPoint(5, 300));
            QTest::mouseMove(window, button->mapToScene(QPointF(10, 10)).toPoint());
            QTRY_VERIFY(showsToolTip(window));
        }
        rig.advance(1s);
        QTest::qWait(400);

        const QList<Reading> seen = readings(window);
        QVERIFY(seen.size() >= 3);
        QStringList faint;
        for (const Reading& reading : seen) {
            const double ratio = contrastRatio(reading.text, reading.background);
            if (ratio < 4.5)
                faint << u"%1: %2 on %3, %4:1"_s
                             .arg(reading.what, reading.text.name(QColor::HexArgb),
                                  reading.background.name())
                             .arg(ratio, 0, 'f', 2);
        }
        QVERIFY2(faint.isEmpty(), qPrintable(faint.join(u"\n"_s)));
        // A tooltip is drawn in the palette's own shade, not light on dark.
        if (screen == u"tooltip"_s)
            QVERIFY(std::any_of(seen.cbegin(), seen.cend(), [dark](const Reading& r) {
                return r.what.contains(u"QQuickPopupItem"_s) &&
                       (r.background.lightnessF() < 0.5) == dark;
            }));
    }
};

QTEST_MAIN(TestThemeContrast)
#include "test_theme_contrast.moc"
