#include "model/device_records.h"

#include <QSet>
#include <QTest>
#include <QTranslator>

using namespace MeshProtocol;
using namespace Qt::StringLiterals;

namespace {

// Stands in for the application's string table so that the default channel
// names come out as real formatted text, not as their keys.
class TableTranslator : public QTranslator {
public:
    bool isEmpty() const override { return false; }
    QString translate(const char*, const char* id, const char*, int) const override {
        const QByteArray key(id);
        if (key == "channel.default.name.public")
            return QStringLiteral("Public");
        if (key == "channel.default.name")
            return QStringLiteral("Channel %1");
        if (key == "contact.type.repeater")
            return QStringLiteral("Repeater");
        return {};
    }
};

} // namespace

class TestDeviceRecords : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // Codes in and out of range, and the names each type goes by.
    void advertTypeCodes() {
        const QStringList names{u"none"_s, u"chat"_s, u"repeaterNode"_s, u"room"_s, u"sensor"_s};
        const QStringList keys{u"unknown"_s, u"companion"_s, u"repeater"_s, u"room"_s, u"sensor"_s};
        for (int code = 0; code < 256; ++code) {
            const auto type = advertTypeFromCode(std::uint8_t(code));
            QCOMPARE(type.has_value(), code <= 4);
            QCOMPARE(advertTypeOrNone(std::uint8_t(code)), type.value_or(AdvertType::none));
            if (!type)
                continue;
            QCOMPARE(MeshProtocol::code(*type), code);
            QCOMPARE(QLatin1String(MeshProtocol::caseName(*type)), names.at(code));
            QCOMPARE(QLatin1String(displayNameKey(*type)), u"contact.type."_s + keys.at(code));
        }
    }

    void advertTypeDisplayNameIsLocalised() {
        TableTranslator translator;
        QCoreApplication::installTranslator(&translator);
        QCOMPARE(displayName(AdvertType::repeaterNode), QStringLiteral("Repeater"));
        QCoreApplication::removeTranslator(&translator);
        QCOMPARE(displayName(AdvertType::room), QStringLiteral("contact.type.room"));
    }

    // Codes in and out of range; every error has a name and a text of its own.
    void deviceErrorCodes() {
        const QStringList names{u"unsupportedCommand"_s, u"notFound"_s,    u"tableFull"_s,
                                u"badState"_s,           u"fileIOError"_s, u"illegalArgument"_s};
        QSet<QString> messages;
        for (int code = 0; code < 256; ++code) {
            const auto error = deviceErrorFromCode(std::uint8_t(code));
            QCOMPARE(error.has_value(), code >= 1 && code <= 6);
            if (!error)
                continue;
            QCOMPARE(MeshProtocol::code(*error), code);
            QCOMPARE(QLatin1String(MeshProtocol::caseName(*error)), names.at(code - 1));
            messages.insert(MeshProtocol::message(*error));
        }
        QCOMPARE(messages.size(), 6);
        QVERIFY(!messages.contains(QString()));
    }

    void batteryPercentage_data() {
        QTest::addColumn<int>("milliVolts");
        QTest::addColumn<int>("percentage"); // -1: none
        QTest::newRow("zero") << 0 << -1;
        QTest::newRow("one") << 1 << 0;
        QTest::newRow("empty") << 3300 << 0;
        QTest::newRow("truncated, not rounded") << 3308 << 0;
        QTest::newRow("first percent") << 3309 << 1;
        QTest::newRow("half") << 3750 << 50;
        QTest::newRow("full") << 4200 << 100;
        QTest::newRow("above full") << 5000 << 100;
    }
    void batteryPercentage() {
        QFETCH(int, milliVolts);
        QFETCH(int, percentage);
        BatteryInfo battery;
        battery.milliVolts = milliVolts;
        QCOMPARE(battery.percentage(), percentage < 0 ? std::nullopt : std::optional(percentage));
    }

    void initials_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("initials");
        QTest::newRow("three words") << u"Alice Smith Jones"_s << u"AS"_s;
        QTest::newRow("one word") << u"bob"_s << u"B"_s;
        QTest::newRow("empty") << u""_s << u"?"_s;
        QTest::newRow("only spaces") << u"    "_s << u"?"_s;
        QTest::newRow("extra spaces") << u"  ana   maria  "_s << u"AM"_s;
        QTest::newRow("only a space splits") << u"tab\tseparated"_s << u"T"_s;
        QTest::newRow("precomposed accent") << QString::fromUtf8("élan vital") << u"ÉV"_s;
        // The accent stays with its letter and is upper-cased with it.
        QTest::newRow("combining accent")
            << QStringLiteral("e\u0301mile zola") << QStringLiteral("E\u0301Z");
        QTest::newRow("emoji with skin tone")
            << QString::fromUtf8("👍🏽 team") << QString::fromUtf8("👍🏽T");
        QTest::newRow("flag") << QString::fromUtf8("🇫🇮 suomi") << QString::fromUtf8("🇫🇮S");
        QTest::newRow("astral letter") << QString::fromUtf8("𝒜lpha") << QString::fromUtf8("𝒜");
    }
    void initials() {
        QFETCH(QString, name);
        QFETCH(QString, initials);
        Contact contact;
        contact.name = name;
        QCOMPARE(contact.initials(), initials);
    }

    void channelDisplayName_data() {
        QTest::addColumn<int>("index");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("displayName");
        QTest::newRow("public slot") << 0 << u""_s << u"Public"_s;
        QTest::newRow("unnamed slot") << 5 << u""_s << u"Channel 5"_s;
        QTest::newRow("named public slot") << 0 << u"#local"_s << u"#local"_s;
        QTest::newRow("named slot") << 5 << u"Friends"_s << u"Friends"_s;
    }
    void channelDisplayName() {
        QFETCH(int, index);
        QFETCH(QString, name);
        QFETCH(QString, displayName);
        TableTranslator translator;
        QCoreApplication::installTranslator(&translator);
        const Channel channel{index, name, QString()};
        QCOMPARE(channel.displayName(), displayName);
        QCoreApplication::removeTranslator(&translator);
    }
};

QTEST_GUILESS_MAIN(TestDeviceRecords)
#include "test_device_records.moc"
