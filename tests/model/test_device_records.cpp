#include "model/device_records.h"

#include <QTest>
#include <QTranslator>

using namespace MeshProtocol;

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
    void advertTypeCodes() {
        for (int code = 0; code < 256; ++code) {
            const auto type = advertTypeFromCode(std::uint8_t(code));
            QCOMPARE(type.has_value(), code <= 4);
            if (type)
                QCOMPARE(MeshProtocol::code(*type), code);
            QCOMPARE(advertTypeOrNone(std::uint8_t(code)), type.value_or(AdvertType::none));
        }
    }

    void advertTypeNames_data() {
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("caseName");
        QTest::addColumn<QString>("key");
        QTest::newRow("none") << 0 << "none"
                              << "contact.type.unknown";
        QTest::newRow("chat") << 1 << "chat"
                              << "contact.type.companion";
        QTest::newRow("repeater") << 2 << "repeaterNode"
                                  << "contact.type.repeater";
        QTest::newRow("room") << 3 << "room"
                              << "contact.type.room";
        QTest::newRow("sensor") << 4 << "sensor"
                                << "contact.type.sensor";
    }
    void advertTypeNames() {
        QFETCH(int, code);
        QFETCH(QString, caseName);
        QFETCH(QString, key);
        const AdvertType type = *advertTypeFromCode(std::uint8_t(code));
        QCOMPARE(QLatin1String(MeshProtocol::caseName(type)), caseName);
        QCOMPARE(QLatin1String(displayNameKey(type)), key);
    }

    void advertTypeDisplayNameIsLocalised() {
        TableTranslator translator;
        QCoreApplication::installTranslator(&translator);
        QCOMPARE(displayName(AdvertType::repeaterNode), QStringLiteral("Repeater"));
        QCoreApplication::removeTranslator(&translator);
        QCOMPARE(displayName(AdvertType::room), QStringLiteral("contact.type.room"));
    }

    void deviceErrors_data() {
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("caseName");
        QTest::addColumn<QString>("message");
        QTest::newRow("1") << 1 << "unsupportedCommand"
                           << "Unsupported command";
        QTest::newRow("2") << 2 << "notFound"
                           << "Not found";
        QTest::newRow("3") << 3 << "tableFull"
                           << "Storage table is full";
        QTest::newRow("4") << 4 << "badState"
                           << "Device is in a bad state";
        QTest::newRow("5") << 5 << "fileIOError"
                           << "Storage I/O error";
        QTest::newRow("6") << 6 << "illegalArgument"
                           << "Illegal argument";
    }
    void deviceErrors() {
        QFETCH(int, code);
        QFETCH(QString, caseName);
        QFETCH(QString, message);
        const auto error = deviceErrorFromCode(std::uint8_t(code));
        QVERIFY(error);
        QCOMPARE(MeshProtocol::code(*error), code);
        QCOMPARE(QLatin1String(MeshProtocol::caseName(*error)), caseName);
        QCOMPARE(MeshProtocol::message(*error), message);
    }

    void unknownDeviceErrorCodesGiveNoCase() {
        QVERIFY(!deviceErrorFromCode(0));
        for (int code = 7; code < 256; ++code)
            QVERIFY2(!deviceErrorFromCode(std::uint8_t(code)), qPrintable(QString::number(code)));
    }

    void batteryPercentage_data() {
        QTest::addColumn<int>("milliVolts");
        QTest::addColumn<int>("percentage"); // -1: none
        QTest::newRow("negative") << -10 << -1;
        QTest::newRow("zero") << 0 << -1;
        QTest::newRow("one") << 1 << 0;
        QTest::newRow("just below empty") << 3299 << 0;
        QTest::newRow("empty") << 3300 << 0;
        QTest::newRow("truncated, not rounded") << 3308 << 0;
        QTest::newRow("first percent") << 3309 << 1;
        QTest::newRow("half") << 3750 << 50;
        QTest::newRow("just below full") << 4199 << 99;
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
        QTest::newRow("three words") << "Alice Smith Jones"
                                     << "AS";
        QTest::newRow("one word") << "bob"
                                  << "B";
        QTest::newRow("empty") << ""
                               << "?";
        QTest::newRow("only spaces") << "    "
                                     << "?";
        QTest::newRow("extra spaces") << "  ana   maria  "
                                      << "AM";
        QTest::newRow("only a space splits") << "tab\tseparated"
                                             << "T";
        QTest::newRow("precomposed accent") << QString::fromUtf8("élan vital") << "ÉV";
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
        QTest::newRow("public slot") << 0 << ""
                                     << "Public";
        QTest::newRow("unnamed slot") << 5 << ""
                                      << "Channel 5";
        QTest::newRow("named public slot") << 0 << "#local"
                                           << "#local";
        QTest::newRow("named slot") << 5 << "Friends"
                                    << "Friends";
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
