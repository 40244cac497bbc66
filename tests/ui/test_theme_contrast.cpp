#include "dark_palette.h"
#include "logic/contrast.h"
#include "message_list_model.h"

#include <QGuiApplication>
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

} // namespace

class TestThemeContrast : public QObject {
    Q_OBJECT

private Q_SLOTS:
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
};

QTEST_MAIN(TestThemeContrast)
#include "test_theme_contrast.moc"
