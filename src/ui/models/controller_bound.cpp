#include "controller_bound.h"

#include "followed_object.h"

void ControllerBoundObject::setController(MeshController* controller) {
    if (!followObject(m_controller, controller, this, [](MeshController*) {}))
        return;
    attach(controller);
    Q_EMIT controllerChanged();
}

void ConversationBoundObject::setConversationKey(const QString& key) {
    if (m_key == key)
        return;
    m_key = key;
    m_target = ConversationID::fromKey(key);
    conversationChanged();
    Q_EMIT conversationKeyChanged();
}

void ControllerBoundListModel::setController(MeshController* controller) {
    if (!followObject(m_controller, controller, this, [](MeshController*) {}))
        return;
    attach(controller);
    Q_EMIT controllerChanged();
}
