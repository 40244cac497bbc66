#include "add_form.h"

#include <QPointer>

void AddForm::attach(MeshController* controller) {
    // A contact or channel that arrives or goes may be the one typed.
    if (controller) {
        connect(controller, &MeshController::contactsChanged, this, &AddForm::changed);
        connect(controller, &MeshController::channelsChanged, this, &AddForm::changed);
    }
    Q_EMIT changed();
}

bool AddForm::canSubmit() const {
    if (!controller() || m_isWorking)
        return false;
    return opensExisting() || canAdd();
}

QString AddForm::existingText() const {
    const auto found = existing();
    return found ? found->text : QString();
}

void AddForm::submit() {
    if (!canSubmit())
        return;
    if (const auto found = existing()) {
        Q_EMIT openRequested(found->conversation.conversationKey());
        Q_EMIT finished();
        return;
    }
    m_isWorking = true;
    m_errorMessage.clear();
    Q_EMIT changed();
    run();
}

QCoro::Task<void> AddForm::run() {
    QPointer<AddForm> self(this);
    try {
        const QString kept = co_await perform(controller());
        if (!self)
            co_return;
        if (kept.isEmpty()) {
            Q_EMIT self->finished();
            co_return;
        }
        self->m_isWorking = false;
        self->keep(kept);
        Q_EMIT self->changed();
    } catch (const MeshError& error) {
        if (!self)
            co_return;
        self->m_errorMessage = error.description();
        self->m_isWorking = false;
        Q_EMIT self->changed();
    }
}
