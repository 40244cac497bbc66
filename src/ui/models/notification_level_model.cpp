#include "notification_level_model.h"

#include "logic/spoken_text.h"

NotificationLevelModel::NotificationLevelModel(QObject* parent)
    : ControllerBoundObject(parent) {}

void NotificationLevelModel::attach(MeshController* controller) {
    if (controller)
        connect(controller, &MeshController::notificationLevelsChanged, this,
                &NotificationLevelModel::levelChanged);
    Q_EMIT levelChanged();
}

void NotificationLevelModel::setConversationKey(const QString& key) {
    if (m_key == key)
        return;
    m_key = key;
    Q_EMIT conversationKeyChanged();
    Q_EMIT levelChanged();
}

QString NotificationLevelModel::level() const {
    return controller() ? controller()->notificationLevelOf(m_key) : QStringLiteral("all");
}

QString NotificationLevelModel::symbol() const {
    const auto value = levelFromName(level());
    if (value == NotificationLevel::mentions)
        return QStringLiteral("at");
    if (value == NotificationLevel::nothing)
        return QStringLiteral("bell.slash");
    return QStringLiteral("bell");
}

QString NotificationLevelModel::text() const {
    return textOf(level());
}

QString NotificationLevelModel::textOf(const QString& level) {
    return ViewLogic::notificationLevelText(levelFromName(level).value_or(NotificationLevel::all));
}

bool NotificationLevelModel::settable() const {
    const auto target = ConversationID::fromKey(m_key);
    if (!controller() || !target)
        return false;
    if (target->isContact())
        return true;
    // A channel's level is kept by the channel the slot held when last read.
    return controller()->channelForIndex(target->channelIndex()).has_value() ||
           controller()->notificationLevel(*target) != NotificationLevel::all;
}

void NotificationLevelModel::setLevel(const QString& level) {
    if (controller())
        controller()->setNotificationLevelOf(m_key, level);
}

void NotificationLevelModel::toggleMute() {
    if (controller())
        controller()->toggleMuteOf(m_key);
}
