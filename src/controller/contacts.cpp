// The radio's contact table as the user changes it, favourite nodes and
// verified contact keys.

#include "controller/conversation_store.h"
#include "controller/mesh_controller.h"
#include "controller/qml_outcome.h"
#include "notifications/notifier.h"
#include "protocol/mesh_protocol.h"
#include "text/mentions.h"
#include "time/clock.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QSettings>
#include <QStringList>

using namespace std::chrono_literals;

namespace {

constexpr auto addContactTimeout = 6s;
constexpr auto contactCommandTimeout = 5s;
constexpr qsizetype publicKeyHexDigits = 64;

bool isAsciiHexDigit(QChar c) {
    const char16_t u = c.unicode();
    return (u >= u'0' && u <= u'9') || (u >= u'a' && u <= u'f') || (u >= u'A' && u <= u'F');
}

// The key as the radio takes it; a key that is not hex gives no bytes, and
// the radio answers that with an error.
QByteArray keyBytesOf(const Contact& contact) {
    return MeshProtocol::bytesFromHex(contact.publicKey).value_or(QByteArray());
}

} // namespace

QString MeshController::cleanedHex(QStringView text) {
    QString digits;
    digits.reserve(text.size());
    for (const QChar c : text) {
        if (isAsciiHexDigit(c))
            digits.append(c);
    }
    return digits;
}

// --- contact commands

QCoro::Task<void> MeshController::addContact(QString publicKeyText, QString name,
                                             MeshProtocol::AdvertType type) {
    // A bad key is the user's typing, not the radio's: report it even with no radio.
    const QString digits = cleanedHex(publicKeyText);
    const std::optional<QByteArray> key =
        digits.size() == publicKeyHexDigits ? MeshProtocol::bytesFromHex(digits) : std::nullopt;
    if (!key)
        throw MeshError::device(MeshProtocol::DeviceError::illegalArgument);

    co_await request(
        MeshProtocol::addOrUpdateContact(*key, type, name, m_clock->secondsSince1970()),
        ExpectedResponse::ok, addContactTimeout);
    if (m_closing)
        co_return;

    // The new contact shows up through this re-read (or a later push), never
    // by inserting it here; the add itself has succeeded either way.
    try {
        co_await syncContacts();
    } catch (const MeshError&) {
    }
}

QCoro::Task<void> MeshController::removeContact(Contact contact) {
    co_await sendContactCommand(MeshProtocol::removeContact(keyBytesOf(contact)),
                                contactCommandTimeout);
    if (m_closing)
        co_return;

    removeContactsWithKey(contact.publicKey);
    dropConversation(ConversationID::contact(contact.publicKey));
    saveConversations();
}

QCoro::Task<void> MeshController::resetPath(Contact contact) {
    co_await sendContactCommand(MeshProtocol::resetPath(keyBytesOf(contact)),
                                contactCommandTimeout);
}

QCoro::Task<void> MeshController::shareContact(Contact contact) {
    co_await sendContactCommand(MeshProtocol::shareContact(keyBytesOf(contact)),
                                contactCommandTimeout);
}

QCoro::Task<void> MeshController::sendContactCommand(QByteArray frame,
                                                     std::chrono::milliseconds timeout) {
    co_await request(std::move(frame), ExpectedResponse::ok, timeout);
}

void MeshController::removeContactsWithKey(const QString& publicKey) {
    bool removed = false;
    for (qsizetype row = 0; row < m_contacts.size();) {
        if (m_contacts[row].publicKey != publicKey) {
            ++row;
            continue;
        }
        m_contacts.removeAt(row);
        removed = true;
        Q_EMIT contactRemoved(int(row));
    }
    if (removed)
        Q_EMIT contactsChanged();
}

// Forgets the conversation of `target` and a selection of it. Saving is the
// caller's decision.
void MeshController::dropConversation(const ConversationID& target) {
    const QString key = target.conversationKey();
    if (m_conversations.remove(key) > 0) {
        m_unreadMentions.remove(key);
        Q_EMIT conversationRemoved(key);
        Q_EMIT conversationsChanged();
        const qint64 unreadBefore = m_totalUnreadCount;
        refreshTotalUnreadCount();
        if (m_totalUnreadCount != unreadBefore)
            updateBadge();
        if (m_notifier)
            m_notifier->withdrawNotifications(key);
    }
    if (m_selectedConversation == target)
        setSelectedConversation(std::nullopt);
}

Contact MeshController::contactOrKeyOnly(const QString& publicKey) const {
    if (auto contact = contactForKey(publicKey))
        return *contact;
    Contact keyOnly;
    keyOnly.publicKey = publicKey;
    return keyOnly;
}

// --- favourites

void MeshController::toggleFavorite(const QString& publicKey) {
    if (!m_favorites.remove(publicKey))
        m_favorites.insert(publicKey);
    Q_EMIT favoritesChanged();
    if (m_settings)
        m_settings->setValue(QLatin1String(favoritesKey), QStringList(m_favorites.values()));
}

// --- verified keys

void MeshController::setVerified(const Contact& contact) {
    const auto found = m_verifiedKeys.constFind(contact.publicKey);
    const bool changed = found == m_verifiedKeys.cend() || *found != contact.name;
    m_verifiedKeys.insert(contact.publicKey, contact.name);
    if (changed)
        Q_EMIT verifiedKeysChanged();
    saveVerifiedKeys();
}

bool MeshController::setVerified(const QString& publicKey) {
    const auto contact = contactForKey(publicKey);
    if (!contact)
        return false;
    setVerified(*contact);
    return true;
}

void MeshController::clearVerified(const QString& publicKey) {
    if (m_verifiedKeys.remove(publicKey) > 0)
        Q_EMIT verifiedKeysChanged();
    saveVerifiedKeys();
}

void MeshController::saveVerifiedKeys() {
    if (!m_settings)
        return;
    QJsonObject object;
    for (auto it = m_verifiedKeys.cbegin(); it != m_verifiedKeys.cend(); ++it)
        object.insert(it.key(), it.value());
    m_settings->setValue(QLatin1String(verifiedKeysKey),
                         QJsonDocument(object).toJson(QJsonDocument::Compact));
}

std::optional<QString> MeshController::conflictingVerifiedKey(const Contact& contact) const {
    if (contact.name.isEmpty() || m_verifiedKeys.contains(contact.publicKey))
        return std::nullopt;
    const QString name = Text::foldedName(contact.name);
    for (auto it = m_verifiedKeys.cbegin(); it != m_verifiedKeys.cend(); ++it) {
        if (it.key() != contact.publicKey && Text::foldedName(it.value()) == name)
            return it.key();
    }
    return std::nullopt;
}

QString MeshController::conflictingVerifiedKey(const QString& publicKey) const {
    const auto contact = contactForKey(publicKey);
    if (!contact)
        return {};
    return conflictingVerifiedKey(*contact).value_or(QString());
}

// --- QML entry points

QCoro::QmlTask MeshController::addContactQml(const QString& publicKeyText, const QString& name,
                                             int advertType) {
    const auto type = advertType >= 0 && advertType <= 0xFF
                          ? MeshProtocol::advertTypeFromCode(std::uint8_t(advertType))
                          : std::nullopt;
    if (!type)
        return QmlOutcome::failed(MeshError::device(MeshProtocol::DeviceError::illegalArgument));
    return QmlOutcome::of(addContact(publicKeyText, name, *type));
}

QCoro::QmlTask MeshController::removeContactQml(const QString& publicKey) {
    return QmlOutcome::of(removeContact(contactOrKeyOnly(publicKey)));
}

QCoro::QmlTask MeshController::resetPathQml(const QString& publicKey) {
    return QmlOutcome::of(resetPath(contactOrKeyOnly(publicKey)));
}

QCoro::QmlTask MeshController::shareContactQml(const QString& publicKey) {
    return QmlOutcome::of(shareContact(contactOrKeyOnly(publicKey)));
}
