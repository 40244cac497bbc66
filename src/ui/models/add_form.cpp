#include "add_form.h"

#include <QPointer>

void AddForm::submit() {
    if (!canSubmit())
        return;
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
