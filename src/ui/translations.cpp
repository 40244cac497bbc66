#include "ui/translations.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QTranslator>

QString translationsFolder() {
    // An installed copy (<prefix>/share/talvenne/translations) wins over the
    // tables built into the binary, so a packaged update of a language needs
    // no rebuild.
    const QString installed =
        QCoreApplication::applicationDirPath() + QStringLiteral("/../share/talvenne/translations");
    if (QFileInfo::exists(installed + QStringLiteral("/talvenne_en.qm")))
        return installed;
    return QStringLiteral(":/i18n");
}

bool installTranslations(QCoreApplication& app, const QLocale& locale) {
    const QString folder = translationsFolder();
    // Parented to the application, so they live exactly as long. English lies
    // underneath: an id the user's language lacks still reads in English.
    auto* english = new QTranslator(&app);
    if (!english->load(QStringLiteral("talvenne_en"), folder)) {
        delete english;
        return false;
    }
    QCoreApplication::installTranslator(english);
    // The locale's interface languages in order (LANGUAGE, then LC_ALL,
    // LC_MESSAGES and LANG on Linux); the first one with a table is taken.
    auto* own = new QTranslator(&app);
    if (own->load(locale, QStringLiteral("talvenne"), QStringLiteral("_"), folder) &&
        own->language() != english->language())
        QCoreApplication::installTranslator(own);
    else
        delete own;
    return true;
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
        // times and dates
        "time.relative.now",
        "time.relative.minutes",
        "time.relative.hours",
        "date.format.day.month",
        "date.format.day.month.year",
    };
}
