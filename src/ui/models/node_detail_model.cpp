#include "node_detail_model.h"

#include "logic/date_formats.h"
#include "logic/node_details.h"
#include "logic/node_symbols.h"
#include "logic/safe_text.h"
#include "logic/verification_look.h"
#include "look.h"

using ViewLogic::verificationLook;

NodeDetailModel::NodeDetailModel(QObject* parent)
    : ControllerBoundObject(parent) {}

void NodeDetailModel::attach(MeshController* controller) {
    if (controller) {
        for (auto signal : {&MeshController::contactsChanged, &MeshController::favoritesChanged,
                            &MeshController::verifiedKeysChanged})
            connect(controller, signal, this, &NodeDetailModel::reload);
    }
    reload();
}

void NodeDetailModel::setPublicKey(const QString& key) {
    if (m_publicKey == key)
        return;
    m_publicKey = key;
    m_actionError.clear();
    reload();
    Q_EMIT publicKeyChanged();
    Q_EMIT actionStateChanged();
}

void NodeDetailModel::reload() {
    m_contact = controller() && !m_publicKey.isEmpty() ? controller()->contactForKey(m_publicKey)
                                                       : std::nullopt;
    Q_EMIT changed();
}

QString NodeDetailModel::name() const {
    if (!m_contact)
        return {};
    if (!m_contact->name.isEmpty())
        return ViewLogic::safeName(m_contact->name);
    return qtTrId(m_inspector ? "inspector.chat.info.unnamed" : "node.detail.unnamed");
}

QString NodeDetailModel::title() const {
    if (!m_contact)
        return {};
    return ViewLogic::safeName(m_contact->name.isEmpty() ? m_contact->publicKey.left(12)
                                                         : m_contact->name);
}

QString NodeDetailModel::initials() const {
    return m_contact ? ViewLogic::safeName(m_contact->initials()) : QString();
}

QString NodeDetailModel::avatarSymbol() const {
    return m_contact ? ViewLogic::nodeAvatarSymbol(m_contact->type).value_or(QString()) : QString();
}

QString NodeDetailModel::typeName() const {
    return m_contact ? MeshProtocol::displayName(m_contact->type) : QString();
}

QString NodeDetailModel::typeSymbol() const {
    return m_contact ? ViewLogic::nodeTypeLabelSymbol(m_contact->type) : QString();
}

bool NodeDetailModel::hasPosition() const {
    return m_contact && ViewLogic::hasPosition(m_contact->latitude, m_contact->longitude);
}

QString NodeDetailModel::coordinateText() const {
    return hasPosition() ? ViewLogic::coordinateText(m_contact->latitude, m_contact->longitude)
                         : QString();
}

QUrl NodeDetailModel::mapUrl() const {
    return hasPosition() ? ViewLogic::mapUrl(m_contact->latitude, m_contact->longitude) : QUrl();
}

QString NodeDetailModel::routingText() const {
    return m_contact ? qtTrId(ViewLogic::routingRow(m_contact->outPathLength).valueKey.constData())
                     : QString();
}

QString NodeDetailModel::routingSymbol() const {
    return m_contact ? ViewLogic::routingRow(m_contact->outPathLength).symbol : QString();
}

QString NodeDetailModel::routingTint() const {
    return m_contact ? Look::tintName(ViewLogic::routingRow(m_contact->outPathLength).tint)
                     : QString();
}

bool NodeDetailModel::showsPathLength() const {
    return m_contact && m_contact->outPathLength >= 0;
}

QString NodeDetailModel::pathLengthText() const {
    return showsPathLength() ? ViewLogic::pathLengthText(m_contact->outPathLength) : QString();
}

QString NodeDetailModel::lastSeenText() const {
    if (!m_contact)
        return {};
    const QDateTime local = m_contact->lastAdvert.toLocalTime();
    return ViewLogic::abbreviatedDate(local) + QStringLiteral(", ") + ViewLogic::shortTime(local);
}

bool NodeDetailModel::canMessage() const {
    return m_contact && (m_contact->type == MeshProtocol::AdvertType::chat ||
                         m_contact->type == MeshProtocol::AdvertType::room);
}

bool NodeDetailModel::isFavorite() const {
    return controller() && controller()->favorites().contains(m_publicKey);
}

KeyVerification NodeDetailModel::verification() const {
    if (!m_contact || !controller())
        return KeyVerification::unverified;
    return keyVerification(controller()->verifiedKeys().contains(m_publicKey),
                           controller()->conflictingVerifiedKey(*m_contact).has_value());
}

QString NodeDetailModel::verificationSymbol() const {
    return verificationLook(verification()).symbol;
}

QString NodeDetailModel::verificationTint() const {
    return Look::tintName(verificationLook(verification()).tint);
}

QString NodeDetailModel::verificationTitle() const {
    return qtTrId(verificationLook(verification()).titleKey.constData());
}

QString NodeDetailModel::verificationMessage() const {
    return qtTrId(verificationLook(verification()).messageKey.constData());
}

QString NodeDetailModel::verifyButtonText() const {
    return qtTrId(verificationLook(verification()).buttonKey.constData());
}

QString NodeDetailModel::verifyButtonSymbol() const {
    return verificationLook(verification()).actionSymbol;
}

QString NodeDetailModel::verifyButtonTint() const {
    return Look::tintName(verificationLook(verification()).buttonTint);
}

bool NodeDetailModel::isMismatch() const {
    return verification() == KeyVerification::conflict;
}

void NodeDetailModel::toggleFavorite() {
    if (controller() && !m_publicKey.isEmpty())
        controller()->toggleFavorite(m_publicKey);
}

void NodeDetailModel::toggleVerified() {
    if (!controller() || !m_contact)
        return;
    if (controller()->verifiedKeys().contains(m_publicKey))
        controller()->clearVerified(m_publicKey);
    else
        controller()->setVerified(*m_contact);
}

void NodeDetailModel::resetPath() {
    run(Action::resetPath);
}

void NodeDetailModel::share() {
    run(Action::share);
}

void NodeDetailModel::remove() {
    run(Action::remove);
}

void NodeDetailModel::run(Action action) {
    if (!controller() || !m_contact || m_busy)
        return;
    m_busy = true;
    m_actionError.clear();
    Q_EMIT actionStateChanged();
    perform(action, *m_contact);
}

QCoro::Task<void> NodeDetailModel::perform(Action action, Contact contact) {
    QPointer<NodeDetailModel> self(this);
    QPointer<MeshController> controller = this->controller();
    QString error;
    try {
        switch (action) {
        case Action::resetPath:
            co_await controller->resetPath(contact);
            break;
        case Action::share:
            co_await controller->shareContact(contact);
            break;
        case Action::remove:
            co_await controller->removeContact(contact);
            break;
        }
    } catch (const MeshError& failure) {
        error = failure.description();
    }
    if (!self)
        co_return;
    m_busy = false;
    m_actionError = error;
    Q_EMIT actionStateChanged();
}
