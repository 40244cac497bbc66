#include "controller_bound.h"

namespace {

// Moves `follower` from the controller in `slot` to `next`; false when
// `next` is the one it follows already.
bool rebind(QObject* follower, QPointer<MeshController>& slot, MeshController* next) {
    if (slot == next)
        return false;
    if (slot)
        slot->disconnect(follower);
    slot = next;
    return true;
}

} // namespace

void ControllerBoundObject::setController(MeshController* controller) {
    if (!rebind(this, m_controller, controller))
        return;
    attach(controller);
    Q_EMIT controllerChanged();
}

void ControllerBoundListModel::setController(MeshController* controller) {
    if (!rebind(this, m_controller, controller))
        return;
    attach(controller);
    Q_EMIT controllerChanged();
}
