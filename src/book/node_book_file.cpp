#include "node_book_file.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>
#include <QSet>
#include <cmath>

namespace NodeBookFile {

namespace {

constexpr int formatVersion = 1;

// The text cut to `limit` characters, never inside a surrogate pair.
QString bounded(const QJsonValue& value, int limit) {
    QString text = value.toString();
    if (text.size() > limit) {
        text.truncate(limit);
        if (text.back().isHighSurrogate())
            text.chop(1);
    }
    return text;
}

// A whole number within [low, high], else `fallback`.
qint64 boundedInteger(const QJsonValue& value, qint64 low, qint64 high, qint64 fallback) {
    const double number = value.toDouble(std::nan(""));
    if (!std::isfinite(number) || number < double(low) || number > double(high))
        return fallback;
    return qint64(number);
}

double boundedDouble(const QJsonValue& value, double limit) {
    const double number = value.toDouble(0);
    return std::abs(number) <= limit ? number : 0;
}

MeshProtocol::AdvertType advertType(const QJsonValue& value) {
    return MeshProtocol::AdvertType(
        boundedInteger(value, 0, int(MeshProtocol::AdvertType::sensor), 0));
}

// Seconds since 1970; none outside the years 1970 to 9999.
QDateTime date(const QJsonValue& value) {
    constexpr qint64 year10000 = 253402300800;
    const qint64 seconds = boundedInteger(value, 0, year10000 - 1, -1);
    return seconds < 0 ? QDateTime() : QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC);
}

QJsonValue dateValue(const QDateTime& date) {
    return date.isValid() ? QJsonValue(date.toSecsSinceEpoch()) : QJsonValue();
}

// A position that is not on the earth reads as none (0, 0).
void position(const QJsonObject& object, double& latitude, double& longitude) {
    const double lat = object.value(QLatin1String("latitude")).toDouble(0);
    const double lon = object.value(QLatin1String("longitude")).toDouble(0);
    const bool onEarth = std::abs(lat) <= 90 && std::abs(lon) <= 180;
    latitude = onEarth ? lat : 0;
    longitude = onEarth ? lon : 0;
}

QJsonObject encodeSelf(const SelfInfo& self) {
    return {
        {QLatin1String("publicKey"), self.publicKey},
        {QLatin1String("name"), self.name},
        {QLatin1String("advertType"), int(self.advertType)},
        {QLatin1String("txPower"), self.txPower},
        {QLatin1String("maxTxPower"), self.maxTxPower},
        {QLatin1String("latitude"), self.latitude},
        {QLatin1String("longitude"), self.longitude},
        {QLatin1String("manualAddContacts"), self.manualAddContacts},
        {QLatin1String("radioFrequency"), self.radioFrequency},
        {QLatin1String("radioBandwidth"), self.radioBandwidth},
        {QLatin1String("radioSpreadingFactor"), self.radioSpreadingFactor},
        {QLatin1String("radioCodingRate"), self.radioCodingRate},
    };
}

SelfInfo decodeSelf(const QJsonObject& object) {
    SelfInfo self;
    self.publicKey = object.value(QLatin1String("publicKey")).toString();
    self.name = bounded(object.value(QLatin1String("name")), NodeBookLimits::maxNameLength);
    self.advertType = advertType(object.value(QLatin1String("advertType")));
    self.txPower = std::uint8_t(boundedInteger(object.value(QLatin1String("txPower")), 0, 255, 0));
    self.maxTxPower =
        std::uint8_t(boundedInteger(object.value(QLatin1String("maxTxPower")), 0, 255, 0));
    position(object, self.latitude, self.longitude);
    self.manualAddContacts = object.value(QLatin1String("manualAddContacts")).toBool();
    self.radioFrequency = boundedDouble(object.value(QLatin1String("radioFrequency")), 1e7);
    self.radioBandwidth = boundedDouble(object.value(QLatin1String("radioBandwidth")), 1e7);
    self.radioSpreadingFactor = std::uint8_t(
        boundedInteger(object.value(QLatin1String("radioSpreadingFactor")), 0, 255, 0));
    self.radioCodingRate =
        std::uint8_t(boundedInteger(object.value(QLatin1String("radioCodingRate")), 0, 255, 0));
    return self;
}

QJsonObject encodeContact(const Contact& contact) {
    return {
        {QLatin1String("publicKey"), contact.publicKey},
        {QLatin1String("name"), contact.name},
        {QLatin1String("type"), int(contact.type)},
        {QLatin1String("flags"), contact.flags},
        {QLatin1String("outPathLength"), contact.outPathLength},
        {QLatin1String("outPath"), QString::fromLatin1(contact.outPath.toHex())},
        {QLatin1String("lastAdvert"), dateValue(contact.lastAdvert)},
        {QLatin1String("lastModified"), dateValue(contact.lastModified)},
        {QLatin1String("latitude"), contact.latitude},
        {QLatin1String("longitude"), contact.longitude},
    };
}

Contact decodeContact(const QJsonObject& object) {
    Contact contact;
    contact.publicKey = object.value(QLatin1String("publicKey")).toString();
    contact.name = bounded(object.value(QLatin1String("name")), NodeBookLimits::maxNameLength);
    contact.type = advertType(object.value(QLatin1String("type")));
    contact.flags = std::uint8_t(boundedInteger(object.value(QLatin1String("flags")), 0, 255, 0));
    contact.outPathLength = std::int8_t(boundedInteger(object.value(QLatin1String("outPathLength")),
                                                       -1, NodeBookLimits::maxPathBytes, -1));
    const QString path = object.value(QLatin1String("outPath")).toString();
    if (path.size() <= 2 * NodeBookLimits::maxPathBytes)
        contact.outPath = QByteArray::fromHex(path.toLatin1());
    contact.lastAdvert = date(object.value(QLatin1String("lastAdvert")));
    contact.lastModified = date(object.value(QLatin1String("lastModified")));
    position(object, contact.latitude, contact.longitude);
    return contact;
}

} // namespace

bool isPublicKey(const QString& text) {
    if (text.size() != 64)
        return false;
    for (const QChar c : text) {
        if (!((c >= QLatin1Char('0') && c <= QLatin1Char('9')) ||
              (c >= QLatin1Char('a') && c <= QLatin1Char('f'))))
            return false;
    }
    return true;
}

QByteArray encode(const NodeBook& book) {
    QJsonObject root{
        {QLatin1String("version"), formatVersion},
        {QLatin1String("self"), encodeSelf(book.selfInfo)},
    };
    if (book.deviceInfo) {
        root.insert(QLatin1String("device"),
                    QJsonObject{
                        {QLatin1String("firmwareVersion"), book.deviceInfo->firmwareVersion},
                        {QLatin1String("firmwareBuildDate"), book.deviceInfo->firmwareBuildDate},
                        {QLatin1String("model"), book.deviceInfo->model},
                    });
    }
    QJsonArray contacts;
    for (const Contact& contact : book.contacts)
        contacts.append(encodeContact(contact));
    root.insert(QLatin1String("contacts"), contacts);
    QJsonArray channels;
    for (const Channel& channel : book.channels) {
        channels.append(QJsonObject{
            {QLatin1String("index"), channel.index},
            {QLatin1String("name"), channel.name},
            {QLatin1String("secret"), channel.secretHex},
        });
    }
    root.insert(QLatin1String("channels"), channels);
    return QJsonDocument(root).toJson(QJsonDocument::Compact);
}

std::optional<NodeBook> decode(QByteArrayView json, QString& reason) {
    if (json.size() > NodeBookLimits::maxFileBytes) {
        reason =
            QStringLiteral("The file is larger than any node book (%1 bytes).").arg(json.size());
        return std::nullopt;
    }
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json.toByteArray(), &error);
    if (!document.isObject()) {
        reason = error.error != QJsonParseError::NoError
                     ? QStringLiteral("The file is not readable JSON (%1 at byte %2).")
                           .arg(error.errorString())
                           .arg(error.offset)
                     : QStringLiteral("The file holds no node book.");
        return std::nullopt;
    }
    const QJsonObject root = document.object();
    if (root.value(QLatin1String("version")).toInt() != formatVersion) {
        reason = QStringLiteral("The node book is of an unknown version.");
        return std::nullopt;
    }
    NodeBook book;
    book.selfInfo = decodeSelf(root.value(QLatin1String("self")).toObject());
    if (!isPublicKey(book.selfInfo.publicKey)) {
        reason = QStringLiteral("The node book does not say which radio it belongs to.");
        return std::nullopt;
    }
    if (root.contains(QLatin1String("device"))) {
        const QJsonObject device = root.value(QLatin1String("device")).toObject();
        book.deviceInfo = DeviceInfo{
            int(boundedInteger(device.value(QLatin1String("firmwareVersion")), 0, 255, 0)),
            bounded(device.value(QLatin1String("firmwareBuildDate")),
                    NodeBookLimits::maxTextLength),
            bounded(device.value(QLatin1String("model")), NodeBookLimits::maxTextLength),
        };
    }
    QSet<QString> keys;
    for (const QJsonValue value : root.value(QLatin1String("contacts")).toArray()) {
        if (book.contacts.size() == NodeBookLimits::maxContacts)
            break;
        Contact contact = decodeContact(value.toObject());
        if (isPublicKey(contact.publicKey) && !keys.contains(contact.publicKey)) {
            keys.insert(contact.publicKey);
            book.contacts.append(std::move(contact));
        }
    }
    QSet<int> indexes;
    for (const QJsonValue value : root.value(QLatin1String("channels")).toArray()) {
        const QJsonObject object = value.toObject();
        const int index = int(boundedInteger(object.value(QLatin1String("index")), 0,
                                             NodeBookLimits::maxChannels - 1, -1));
        const QString secret = object.value(QLatin1String("secret")).toString();
        if (index < 0 || indexes.contains(index) || secret.size() > 64)
            continue;
        indexes.insert(index);
        book.channels.append(
            {index, bounded(object.value(QLatin1String("name")), NodeBookLimits::maxNameLength),
             secret});
    }
    std::sort(book.channels.begin(), book.channels.end(),
              [](const Channel& a, const Channel& b) { return a.index < b.index; });
    return book;
}

} // namespace NodeBookFile
