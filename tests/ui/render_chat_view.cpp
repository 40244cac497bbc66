// Draws the chat view in its main states, light and dark, to PNG files:
//   render_chat_view <output dir>
// Run with QT_QPA_PLATFORM=offscreen. Not a test; the pictures are for eyes.

#include "chat_rig.h"
#include "quick_chat.h"
#include "translations.h"

#include <QDir>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QPalette>
#include <QQuickStyle>
#include <QTextStream>
#include <QtQml/qqmlextensionplugin.h>

Q_IMPORT_QML_PLUGIN(TalvennePlugin)

using namespace std::chrono_literals;
using Direction = ChatMessage::Direction;
using State = ChatMessage::DeliveryState;

namespace {

const QString ainoKey = QStringLiteral("3f9a1c77be02") + QString(52, QLatin1Char('4'));
const QString otherAinoKey = QStringLiteral("b7e0c2d95a13") + QString(52, QLatin1Char('9'));

void spin(int millis) {
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < millis)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
}

QPalette darkPalette() {
    QPalette palette;
    palette.setColor(QPalette::Window, QColor(0x1e, 0x1e, 0x1e));
    palette.setColor(QPalette::WindowText, QColor(0xec, 0xec, 0xec));
    palette.setColor(QPalette::Base, QColor(0x28, 0x28, 0x28));
    palette.setColor(QPalette::AlternateBase, QColor(0x2e, 0x2e, 0x2e));
    palette.setColor(QPalette::Text, QColor(0xec, 0xec, 0xec));
    palette.setColor(QPalette::Button, QColor(0x33, 0x33, 0x33));
    palette.setColor(QPalette::ButtonText, QColor(0xec, 0xec, 0xec));
    palette.setColor(QPalette::Highlight, QColor(0x0a, 0x84, 0xff));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::ToolTipBase, QColor(0x33, 0x33, 0x33));
    palette.setColor(QPalette::ToolTipText, QColor(0xec, 0xec, 0xec));
    palette.setColor(QPalette::PlaceholderText, QColor(0x8a, 0x8a, 0x8a));
    return palette;
}

// A direct conversation with a message in every delivery state.
void fillContactChat(ChatRig& rig) {
    const ConversationID aino = ConversationID::contact(ainoKey);
    const QDateTime t = rig.clock.now().addSecs(-3600);
    auto in = [&](const QString& text, int minutes, double snr) {
        ChatMessage m = chatMessage(Direction::incoming, text, t.addSecs(60 * minutes));
        m.snr = snr;
        rig.controller->appendMessage(m, aino);
    };
    auto out = [&](const QString& text, int minutes, State state) {
        ChatMessage m = chatMessage(Direction::outgoing, text, t.addSecs(60 * minutes), state);
        if (state == State::sent)
            m.estimatedTimeoutMillis = 4200;
        if (state == State::delivered) {
            m.hopCount = 2;
            m.roundTripMillis = 1840;
            m.snr = 7.25;
        }
        rig.controller->appendMessage(m, aino);
    };
    in(QStringLiteral("Hei! Are you coming to the harbour tonight?"), 0, 8.5);
    out(QStringLiteral("Yes, around six. I'll bring the spare antenna."), 2, State::delivered);
    in(QStringLiteral("Great, @[Jérôme Bélanger] is coming too. Map: https://example.org/harbour"),
       3, 2.25);
    out(QStringLiteral("This one never made it"), 5, State::failed);
    in(QStringLiteral("Signal is weak up here on the ridge…"), 7, -8.0);
    out(QStringLiteral("Ping @Aino, still there?"), 9, State::sent);
    out(QStringLiteral("Sending now"), 10, State::sending);
    out(QStringLiteral("Photos: https://example.org/walk 📷"), 11, State::delivered);
}

void fillChannelChat(ChatRig& rig) {
    const ConversationID channel = ConversationID::channel(0);
    const QDateTime t = rig.clock.now().addSecs(-1800);
    const char* const lines[] = {
        "Alice: Morning all! Anyone near the ridge repeater?",
        "Bob Tanaka: I'm 2 km east, @Alice — signal looks good",
        "Élise: New firmware notes: https://example.org/notes",
        "no sender prefix on this one",
        "🦊 Kettu: @[Bob Tanaka] can you relay for me?",
    };
    int minute = 0;
    for (const char* line : lines) {
        ChatMessage m = chatMessage(Direction::incoming, QString::fromUtf8(line),
                                    t.addSecs(60 * (minute += 3)));
        m.snr = minute % 2 ? 6.0 : -1.5;
        rig.controller->appendMessage(m, channel);
    }
    ChatMessage mine = chatMessage(Direction::outgoing, QStringLiteral("On my way with coffee ☕"),
                                   t.addSecs(60 * (minute + 2)), State::delivered);
    rig.controller->appendMessage(mine, channel);
}

// Unfolds the report card of the last outgoing bubble that is on screen.
void expandLastOutgoing(QQuickView& view) {
    QQuickItem* last = nullptr;
    // Delegates hang off the list's content item, not off their QObject parent.
    std::function<void(QQuickItem*)> visit = [&](QQuickItem* item) {
        if (item->property("messageId").isValid() && item->property("outgoing").toBool() &&
            item->property("stateSymbol").toString() == QStringLiteral("checkmark.circle.fill") &&
            (!last || item->property("index").toInt() > last->property("index").toInt()))
            last = item;
        for (QQuickItem* child : item->childItems())
            visit(child);
    };
    visit(view.rootObject());
    if (last)
        last->setProperty("expanded", true);
}

bool shoot(MeshController* controller, const QString& key, const QString& path,
           const std::function<void(QQuickView&)>& prepare = {}) {
    auto view = loadChatView(controller, key, {760, 720});
    if (!view->errors().isEmpty() || !view->rootObject()) {
        for (const auto& error : view->errors())
            QTextStream(stderr) << error.toString() << '\n';
        return false;
    }
    view->show();
    spin(300);
    if (prepare)
        prepare(*view);
    spin(600);
    const QImage image = view->grabWindow();
    const bool ok = image.save(path);
    QTextStream(stdout) << (ok ? "wrote " : "FAILED ") << path << '\n';
    return ok;
}

} // namespace

int main(int argc, char* argv[]) {
    QGuiApplication app(argc, argv);
    installTranslations(app);
    QQuickStyle::setStyle(QStringLiteral("Fusion"));
    const QString outDir = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("shots");
    QDir().mkpath(outDir);
    const QPalette light = QGuiApplication::palette();

    bool ok = true;
    for (const bool dark : {false, true}) {
        QGuiApplication::setPalette(dark ? darkPalette() : light);
        const QString suffix = dark ? QStringLiteral("-dark.png") : QStringLiteral("-light.png");

        // Connected, a contact the user has verified, every delivery state.
        {
            ChatRig rig;
            rig.radio.addContact(chatContact(ainoKey, QStringLiteral("Aino Virtanen")));
            rig.connect();
            fillContactChat(rig);
            rig.controller->setVerified(ainoKey);
            ok &= shoot(rig.controller.get(), QStringLiteral("contact:") + ainoKey,
                        outDir + QStringLiteral("/chat-contact") + suffix, expandLastOutgoing);
        }
        // The public channel with named senders, links and mentions.
        {
            ChatRig rig;
            rig.connect();
            fillChannelChat(rig);
            ok &= shoot(rig.controller.get(), QStringLiteral("channel:0"),
                        outDir + QStringLiteral("/chat-channel") + suffix);
        }
        // A second "Aino Virtanen" whose name is already verified on another key.
        {
            ChatRig rig;
            rig.radio.addContact(chatContact(ainoKey, QStringLiteral("Aino Virtanen")));
            rig.radio.addContact(chatContact(otherAinoKey, QStringLiteral("Aino Virtanen"),
                                             MeshProtocol::AdvertType::chat, -1));
            rig.connect();
            rig.controller->setVerified(ainoKey);
            rig.controller->appendMessage(chatMessage(Direction::incoming,
                                                      QStringLiteral("Hi, it's me, new radio!"),
                                                      rig.clock.now()),
                                          ConversationID::contact(otherAinoKey));
            ok &= shoot(rig.controller.get(), QStringLiteral("contact:") + otherAinoKey,
                        outDir + QStringLiteral("/chat-conflict") + suffix);
        }
        // Disconnected, an empty channel, a draft at the limit.
        {
            ChatRig rig;
            ok &= shoot(rig.controller.get(), QStringLiteral("channel:3"),
                        outDir + QStringLiteral("/chat-empty") + suffix, [](QQuickView& view) {
                            view.rootObject()->setProperty(
                                "draft",
                                QString(150, QLatin1Char('m'))
                                    .replace(QStringLiteral("mmmmm"), QStringLiteral("mmmm ")));
                        });
        }
    }
    return ok ? 0 : 1;
}
