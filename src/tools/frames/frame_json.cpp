#include "frame_json.h"

#include "protocol/mesh_protocol.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonValue>
#include <type_traits>

namespace FrameJson {

namespace {

// A JSON object that keeps its members in insertion order (QJsonObject sorts
// them, which would push "event" away from the front).
class OrderedObject {
public:
    OrderedObject& add(const char* key, const QJsonValue& value) {
        return addRaw(key, scalar(value));
    }
    OrderedObject& add(const char* key, const QString& value) {
        return add(key, QJsonValue(value));
    }
    OrderedObject& add(const char* key, const char* value) {
        return add(key, QJsonValue(QLatin1String(value)));
    }
    OrderedObject& add(const char* key, const QDateTime& time) {
        return add(key, QJsonValue(time.toSecsSinceEpoch()));
    }
    OrderedObject& add(const char* key, const QByteArray& bytes) {
        return add(key, MeshProtocol::hexString(bytes));
    }
    OrderedObject& add(const char* key, const OrderedObject& object) {
        return addRaw(key, object.toJson());
    }
    template <typename T>
    requires std::is_arithmetic_v<T> OrderedObject& add(const char* key, T number) {
        if constexpr (std::is_same_v<T, bool>)
            return add(key, QJsonValue(number));
        else if constexpr (std::is_floating_point_v<T>)
            return add(key, QJsonValue(double(number)));
        else
            return add(key, QJsonValue(qint64(number)));
    }
    // Absent optionals are left out.
    template <typename T>
    OrderedObject& add(const char* key, const std::optional<T>& value) {
        if (value)
            add(key, *value);
        return *this;
    }

    QByteArray toJson() const {
        QByteArray json = "{";
        for (qsizetype i = 0; i < m_members.size(); ++i) {
            if (i > 0)
                json += ',';
            json += m_members.at(i);
        }
        return json + '}';
    }

private:
    static QByteArray scalar(const QJsonValue& value) {
        // QJsonDocument only serialises containers; wrap and unwrap.
        const QByteArray array = QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
        return array.mid(1, array.size() - 2);
    }

    OrderedObject& addRaw(const char* key, const QByteArray& json) {
        m_members.append(scalar(QJsonValue(QLatin1String(key))) + ':' + json);
        return *this;
    }

    QList<QByteArray> m_members;
};

OrderedObject object(const ::SelfInfo& info) {
    OrderedObject o;
    o.add("advertType", MeshProtocol::caseName(info.advertType))
        .add("txPower", info.txPower)
        .add("maxTxPower", info.maxTxPower)
        .add("publicKey", info.publicKey)
        .add("latitude", info.latitude)
        .add("longitude", info.longitude)
        .add("manualAddContacts", info.manualAddContacts)
        .add("radioFrequency", info.radioFrequency)
        .add("radioBandwidth", info.radioBandwidth)
        .add("radioSpreadingFactor", info.radioSpreadingFactor)
        .add("radioCodingRate", info.radioCodingRate)
        .add("name", info.name);
    return o;
}

OrderedObject object(const ::DeviceInfo& info) {
    OrderedObject o;
    o.add("firmwareVersion", info.firmwareVersion)
        .add("firmwareBuildDate", info.firmwareBuildDate)
        .add("model", info.model);
    return o;
}

OrderedObject object(const BatteryInfo& battery) {
    OrderedObject o;
    o.add("milliVolts", battery.milliVolts)
        .add("usedStorageKB", battery.usedStorageKB)
        .add("totalStorageKB", battery.totalStorageKB);
    return o;
}

OrderedObject object(const DeviceStats& stats) {
    OrderedObject o;
    o.add("batteryMilliVolts", stats.batteryMilliVolts)
        .add("uptimeSeconds", stats.uptimeSeconds)
        .add("txQueueLength", stats.txQueueLength)
        .add("noiseFloor", stats.noiseFloor)
        .add("lastRSSI", stats.lastRSSI)
        .add("lastSNR", stats.lastSNR)
        .add("txAirtimeSeconds", stats.txAirtimeSeconds)
        .add("rxAirtimeSeconds", stats.rxAirtimeSeconds)
        .add("packetsReceived", stats.packetsReceived)
        .add("packetsSent", stats.packetsSent)
        .add("sentFlood", stats.sentFlood)
        .add("sentDirect", stats.sentDirect)
        .add("receivedFlood", stats.receivedFlood)
        .add("receivedDirect", stats.receivedDirect);
    return o;
}

OrderedObject object(const ::Contact& contact) {
    OrderedObject o;
    o.add("publicKey", contact.publicKey)
        .add("type", MeshProtocol::caseName(contact.type))
        .add("flags", contact.flags)
        .add("outPathLength", contact.outPathLength)
        .add("outPath", contact.outPath)
        .add("name", contact.name)
        .add("lastAdvert", contact.lastAdvert)
        .add("latitude", contact.latitude)
        .add("longitude", contact.longitude)
        .add("lastModified", contact.lastModified);
    return o;
}

OrderedObject object(const Channel& channel) {
    OrderedObject o;
    o.add("index", channel.index).add("name", channel.name).add("secretHex", channel.secretHex);
    return o;
}

// The members after "event", one overload per case.
void fill(OrderedObject& o, const Events::Ok& e) {
    o.add("value", e.value);
}
void fill(OrderedObject& o, const Events::Error& e) {
    if (e.code)
        o.add("code", MeshProtocol::caseName(*e.code));
}
void fill(OrderedObject& o, const Events::SelfInfo& e) {
    o.add("selfInfo", object(e.selfInfo));
}
void fill(OrderedObject& o, const Events::DeviceInfo& e) {
    o.add("deviceInfo", object(e.deviceInfo));
}
void fill(OrderedObject& o, const Events::Battery& e) {
    o.add("battery", object(e.battery));
}
void fill(OrderedObject& o, const Events::CurrentTime& e) {
    o.add("time", e.time);
}
void fill(OrderedObject& o, const Events::ContactsStart& e) {
    o.add("count", e.count);
}
void fill(OrderedObject& o, const Events::Contact& e) {
    o.add("contact", object(e.contact));
}
void fill(OrderedObject& o, const Events::EndOfContacts& e) {
    o.add("mostRecentLastMod", e.mostRecentLastMod);
}
void fill(OrderedObject& o, const Events::MessageSent& e) {
    o.add("result", e.result)
        .add("expectedAck", e.expectedAck)
        .add("estimatedTimeoutMillis", e.estimatedTimeoutMillis);
}
void fill(OrderedObject& o, const Events::ContactMessage& e) {
    o.add("prefix", e.prefix)
        .add("pathLength", e.pathLength)
        .add("textType", e.textType)
        .add("timestamp", e.timestamp)
        .add("text", e.text)
        .add("snr", e.snr);
}
void fill(OrderedObject& o, const Events::ChannelMessage& e) {
    o.add("channelIndex", e.channelIndex)
        .add("pathLength", e.pathLength)
        .add("textType", e.textType)
        .add("timestamp", e.timestamp)
        .add("text", e.text)
        .add("snr", e.snr);
}
void fill(OrderedObject& o, const Events::ChannelInfo& e) {
    o.add("channelInfo", object(e.channelInfo));
}
void fill(OrderedObject& o, const Events::Stats& e) {
    o.add("stats", object(e.stats));
}
void fill(OrderedObject& o, const Events::Advert& e) {
    o.add("publicKey", e.publicKey);
}
void fill(OrderedObject& o, const Events::NewAdvert& e) {
    o.add("newAdvert", object(e.newAdvert));
}
void fill(OrderedObject& o, const Events::PathUpdated& e) {
    o.add("publicKey", e.publicKey);
}
void fill(OrderedObject& o, const Events::SendConfirmed& e) {
    o.add("ackCode", e.ackCode).add("roundTripMillis", e.roundTripMillis);
}
void fill(OrderedObject& o, const Events::LoginSuccess& e) {
    o.add("prefix", e.prefix);
}
void fill(OrderedObject& o, const Events::LoginFailed& e) {
    o.add("prefix", e.prefix);
}
void fill(OrderedObject& o, const Events::StatusResponse& e) {
    o.add("prefix", e.prefix).add("data", e.data);
}
void fill(OrderedObject& o, const Events::Unhandled& e) {
    o.add("code", e.code);
}
void fill(OrderedObject&, const Events::NoMoreMessages&) {}
void fill(OrderedObject&, const Events::MessagesWaiting&) {}

} // namespace

QByteArray render(const MeshEvent& event) {
    OrderedObject o;
    o.add("event", eventName(event));
    std::visit([&o](const auto& payload) { fill(o, payload); }, event);
    return o.toJson();
}

} // namespace FrameJson
