// Every symbol the views name, written out in QML or picked by the view
// logic, has a bundled icon that takes the colour of the text around it.
#include "ui/icon_names.h"
#include "ui/logic/chat_header.h"
#include "ui/logic/conversation_row.h"
#include "ui/logic/delivery_report.h"
#include "ui/logic/device_texts.h"
#include "ui/logic/node_details.h"
#include "ui/logic/node_symbols.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>
#include <QSet>
#include <QTest>

using namespace ViewLogic;
using namespace Qt::StringLiterals;
using MeshProtocol::AdvertType;

namespace {

// The literal names of the QML files' symbol bindings and icon lookups.
QSet<QString> qmlSymbols() {
    static const QRegularExpression use(
        QStringLiteral(R"re((?:[sS]ymbol|systemImage)\s*:(.*)|iconSource\((.*)\))re"));
    static const QRegularExpression literal(QStringLiteral(R"re("([a-z0-9.]+)")re"));
    QSet<QString> names;
    QDirIterator files(QStringLiteral(TALVENNE_SOURCE_DIR "/src/ui/views"), {u"*.qml"_s},
                       QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        QFile qml(files.next());
        if (!qml.open(QIODevice::ReadOnly))
            continue;
        for (const QRegularExpressionMatch& match :
             use.globalMatch(QString::fromUtf8(qml.readAll())))
            for (const auto& name : literal.globalMatch(match.captured(1) + match.captured(2)))
                names << name.captured(1);
    }
    return names;
}

// What the view logic picks, over every input that changes the pick.
QSet<QString> logicSymbols() {
    using State = ChatMessage::DeliveryState;
    QSet<QString> names{reportToggleSymbol(true), reportToggleSymbol(false)};
    ChatMessage message;
    message.direction = ChatMessage::Direction::outgoing;
    message.roundTripMillis = 1000;
    message.snr = 1;
    message.estimatedTimeoutMillis = 1000;
    for (State state : {State::sending, State::sent, State::delivered, State::failed})
        for (int hops : {0, 2}) {
            message.deliveryState = state;
            message.hopCount = hops;
            for (const ReportLine& line : reportLines(message, QLocale::c()))
                names << line.symbol;
            names << deliveryStateSymbol(state);
        }
    Contact contact;
    for (auto state : {VerificationState::verified, VerificationState::conflict,
                       VerificationState::unverified}) {
        const VerificationControl control = verificationControl(contact, state);
        const VerificationCard card = verificationCard(state);
        names << control.symbol << control.actionSymbol << card.symbol << card.actionSymbol;
    }
    for (auto state : {Verification::verified, Verification::mismatch, Verification::notVerified})
        names << verificationLook(state).symbol << verificationLook(state).buttonSymbol;
    for (auto type : {AdvertType::none, AdvertType::chat, AdvertType::repeaterNode,
                      AdvertType::room, AdvertType::sensor}) {
        names << nodeAvatarSymbol(type).value_or(QString()) << nodeTypeLabelSymbol(type);
    }
    for (int path : {-1, 0, 2})
        names << routeSymbol(path).symbol << routingRow(path).symbol;
    for (int percentage = 0; percentage <= 100; ++percentage)
        names << batterySymbol(percentage).symbol;
    names << channelSymbol(u"5d0c2a7f91e4b8365fa0c7d21e9b4a83"_s)
          << channelSymbol(QString(32, u'1'));
    for (auto level :
         {NotificationLevel::all, NotificationLevel::mentions, NotificationLevel::nothing}) {
        ConversationRow row;
        row.level = level;
        names << row.levelSymbol();
    }
    names.remove(QString());
    return names;
}

} // namespace

class TestUiResources : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // Every symbol used has an icon, and every icon is used; each is a
    // bundled drawing in the current colour, not a fixed one.
    void iconsMatchTheSymbolsUsed() {
        const QSet<QString> fromQml = qmlSymbols();
        const QSet<QString> fromLogic = logicSymbols();
        QVERIFY(fromQml.size() > 20 && fromLogic.size() > 20);
        QStringList used = (fromQml | fromLogic).values();
        used.sort();
        QStringList icons = iconSymbolNames();
        icons.sort();
        QCOMPARE(used, icons);
        for (const QString& symbol : used) {
            QVERIFY(iconSource(symbol).startsWith(u"qrc:/icons/"));
            QVERIFY(iconSource(symbol).endsWith(u".svg"));
            QFile file(iconResourcePath(symbol));
            QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable(file.fileName()));
            QVERIFY2(file.readAll().contains("currentColor"), qPrintable(symbol));
        }
        QVERIFY(iconSource(u"no.such.symbol"_s).isEmpty());
        QVERIFY(iconSource(QString()).isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestUiResources)
#include "test_ui_resources.moc"
