#include "frames_cli.h"

#include "frame_json.h"
#include "protocol/mesh_protocol.h"

#include <QHash>
#include <functional>
#include <optional>

namespace FramesCli {

namespace {

// Thrown for any bad argument; caught once in run().
struct BadInput {
    QString message;
};

[[noreturn]] void fail(const QString& message) {
    throw BadInput{message};
}

QByteArray frameFromHex(const QString& text) {
    // Frames copied from logs often come in spaced groups; keys do not.
    QString compact = text;
    compact.removeIf([](QChar c) { return c.isSpace(); });
    const auto bytes = MeshProtocol::bytesFromHex(compact);
    if (!bytes)
        fail(QStringLiteral("not a frame in hex: \"%1\"").arg(text));
    return *bytes;
}

QByteArray keyFromHex(const QString& text) {
    const auto bytes = MeshProtocol::bytesFromHex(text);
    if (!bytes)
        fail(QStringLiteral("not a key in hex: \"%1\"").arg(text));
    return *bytes;
}

std::uint32_t number(const QString& text, std::uint32_t maximum, const char* what) {
    bool ok = false;
    const qlonglong value = text.toLongLong(&ok, 10);
    if (!ok)
        fail(QStringLiteral("%1 is not a number: \"%2\"").arg(QLatin1String(what), text));
    if (value < 0 || value > qlonglong(maximum))
        fail(QStringLiteral("%1 out of range 0..%2: %3")
                 .arg(QLatin1String(what))
                 .arg(maximum)
                 .arg(text));
    return static_cast<std::uint32_t>(value);
}

std::uint8_t byteArgument(const QString& text, const char* what) {
    return static_cast<std::uint8_t>(number(text, 0xFF, what));
}

std::uint32_t seconds(const QString& text) {
    return number(text, 0xFFFFFFFF, "seconds");
}

MeshProtocol::AdvertType advertType(const QString& text) {
    const auto type = MeshProtocol::advertTypeFromCode(byteArgument(text, "type code"));
    if (!type)
        fail(QStringLiteral("unknown type code: %1").arg(text));
    return *type;
}

struct Builder {
    QString arguments; // for the usage text
    std::function<QByteArray(const QStringList&)> build;
};

// In the order of the command codes.
const QList<std::pair<QString, Builder>>& builders() {
    using namespace MeshProtocol;
    using Args = const QStringList&;
    static const QList<std::pair<QString, Builder>> table{
        {"app-start", {"NAME", [](Args a) { return appStart(a[0]); }}},
        {"send-text",
         {"KEYHEX SECONDS TEXT",
          [](Args a) { return sendDirectText(keyFromHex(a[0]), seconds(a[1]), a[2]); }}},
        {"send-channel-text",
         {"INDEX SECONDS TEXT",
          [](Args a) {
              return sendChannelText(byteArgument(a[0], "index"), seconds(a[1]), a[2]);
          }}},
        {"get-contacts", {"", [](Args) { return getContacts(); }}},
        {"set-time", {"SECONDS", [](Args a) { return setDeviceTime(seconds(a[0])); }}},
        {"send-advert",
         {"KIND", [](Args a) { return sendSelfAdvert(byteArgument(a[0], "kind")); }}},
        {"set-name", {"NAME", [](Args a) { return setAdvertName(a[0]); }}},
        {"add-contact",
         {"KEYHEX TYPECODE NAME SECONDS",
          [](Args a) {
              return addOrUpdateContact(keyFromHex(a[0]), advertType(a[1]), a[2], seconds(a[3]));
          }}},
        {"sync-next", {"", [](Args) { return syncNextMessage(); }}},
        {"set-tx-power", {"DBM", [](Args a) { return setTxPower(byteArgument(a[0], "power")); }}},
        {"reset-path", {"KEYHEX", [](Args a) { return resetPath(keyFromHex(a[0])); }}},
        {"remove-contact", {"KEYHEX", [](Args a) { return removeContact(keyFromHex(a[0])); }}},
        {"share-contact", {"KEYHEX", [](Args a) { return shareContact(keyFromHex(a[0])); }}},
        {"reboot", {"", [](Args) { return reboot(); }}},
        {"get-battery", {"", [](Args) { return getBatteryAndStorage(); }}},
        {"device-query", {"BYTE", [](Args a) { return deviceQuery(byteArgument(a[0], "byte")); }}},
        {"get-channel", {"INDEX", [](Args a) { return getChannel(byteArgument(a[0], "index")); }}},
        {"set-channel",
         {"INDEX NAME SECRETHEX",
          [](Args a) {
              const auto secret = bytesFromHex(a[2]);
              if (!secret)
                  fail(QStringLiteral("not a secret in hex: \"%1\"").arg(a[2]));
              return setChannel(byteArgument(a[0], "index"), a[1], *secret);
          }}},
        {"get-stats", {"GROUP", [](Args a) { return getStatistics(byteArgument(a[0], "group")); }}},
    };
    return table;
}

qsizetype argumentCount(const Builder& builder) {
    return builder.arguments.isEmpty() ? 0 : builder.arguments.count(QLatin1Char(' ')) + 1;
}

int decode(const QStringList& frames, QTextStream& out, QTextStream& err) {
    if (frames.isEmpty()) {
        err << "talvenne-frames: decode needs at least one frame\n";
        return badInput;
    }
    // Each frame stands alone: a bad one is reported and the rest still decode.
    int status = success;
    for (const QString& text : frames) {
        try {
            out << QString::fromUtf8(FrameJson::render(MeshProtocol::decode(frameFromHex(text))))
                << '\n';
        } catch (const BadInput& bad) {
            err << "talvenne-frames: " << bad.message << '\n';
            status = badInput;
        }
    }
    return status;
}

int build(const QStringList& arguments, QTextStream& out, QTextStream& err) {
    if (arguments.isEmpty()) {
        err << "talvenne-frames: build needs a command name\n";
        return badInput;
    }
    const QString& name = arguments.first();
    const auto& table = builders();
    const auto found = std::find_if(table.cbegin(), table.cend(),
                                    [&](const auto& entry) { return entry.first == name; });
    if (found == table.cend()) {
        err << "talvenne-frames: unknown command: " << name << '\n';
        return badInput;
    }
    const Builder& builder = found->second;
    const QStringList rest = arguments.mid(1);
    if (rest.size() != argumentCount(builder)) {
        err << "talvenne-frames: " << name << " takes " << argumentCount(builder)
            << " argument(s): " << (builder.arguments.isEmpty() ? "none" : builder.arguments)
            << '\n';
        return badInput;
    }
    try {
        out << MeshProtocol::hexString(builder.build(rest)) << '\n';
    } catch (const BadInput& bad) {
        err << "talvenne-frames: " << bad.message << '\n';
        return badInput;
    }
    return success;
}

} // namespace

QString usage() {
    QString text =
        QStringLiteral("Usage: talvenne-frames decode HEX...\n"
                       "       talvenne-frames build NAME ARGS...\n"
                       "\n"
                       "decode  prints each frame (hex, spaces allowed) as one line of JSON.\n"
                       "build   prints a command frame as lowercase hex. Commands:\n");
    for (const auto& [name, builder] : builders())
        text += QStringLiteral("  %1 %2\n").arg(name, builder.arguments);
    return text;
}

int run(const QStringList& arguments, QTextStream& out, QTextStream& err) {
    if (arguments.isEmpty() || arguments.first() == QLatin1String("--help") ||
        arguments.first() == QLatin1String("-h")) {
        out << usage();
        return success;
    }
    const QString& mode = arguments.first();
    if (mode == QLatin1String("decode"))
        return decode(arguments.mid(1), out, err);
    if (mode == QLatin1String("build"))
        return build(arguments.mid(1), out, err);
    err << "talvenne-frames: unknown mode: " << mode << " (try --help)\n";
    return badInput;
}

} // namespace FramesCli
