#include "ui/translations.h"

#include <QCoreApplication>
#include <QTranslator>

bool installTranslations(QCoreApplication& app) {
    // Parented to the application, so it lives exactly as long.
    auto* translator = new QTranslator(&app);
    if (!translator->load(QStringLiteral(":/i18n/talvenne_en.qm"))) {
        delete translator;
        return false;
    }
    return QCoreApplication::installTranslator(translator);
}

QByteArrayList viewLogicTextKeys() {
    return {
        // record display names
        "contact.type.unknown",
        "contact.type.companion",
        "contact.type.repeater",
        "contact.type.room",
        "contact.type.sensor",
        "channel.default.name",
        "channel.default.name.public",
        // sidebar
        "sidebar.channel.group",
        "sidebar.section.nodes",
        "sidebar.section.all.nodes",
        "sidebar.search.conversations",
        "sidebar.search.nodes",
        // chat header and composer
        "chat.subtitle.channel",
        "chat.subtitle.direct",
        "chat.subtitle.direct.typed",
        "chat.subtitle.routed.typed",
        "chat.verify.verified.help",
        "chat.verify.unverified.help",
        "chat.verify.mark",
        "chat.verify.remove",
        "chat.conflict.message",
        "chat.composer.limit",
        "chat.composer.placeholder",
        // delivery report
        "chat.message.delivery.sending",
        "chat.message.delivery.sent",
        "chat.message.delivery.delivered",
        "chat.message.delivery.failed",
        "chat.message.delivery.direct",
        "chat.message.delivery.relayed",
        "chat.message.delivery.relayed.plural",
        "chat.message.delivery.roundtrip",
        "chat.message.delivery.snr",
        "chat.message.delivery.timeout",
        "chat.message.delivery.show.report",
        // inspector verification card
        "inspector.chat.info.verified",
        "inspector.chat.info.verified.message",
        "inspector.chat.info.mismatch",
        "inspector.chat.info.mismatch.message",
        "inspector.chat.info.not.verified",
        "inspector.chat.info.not.verified.message",
        "inspector.chat.info.verify",
        "inspector.chat.info.unverify",
        // connection
        "main.connection.syncing",
        "connection.empty.powered.off",
        "connection.empty.unauthorized",
        "connection.empty.scanning",
        "connection.empty.connecting",
        "connection.empty.preparing",
    };
}
