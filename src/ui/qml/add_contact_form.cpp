#include "add_contact_form.h"

#include "controller/mesh_controller.h"
#include "logic/add_forms.h"

AddContactForm::AddContactForm(QObject* parent)
    : QObject(parent) {}

QString AddContactForm::keyCounterText() const {
    return ViewLogic::hexCounter(m_publicKey, 64).text;
}

bool AddContactForm::keyCounterIsError() const {
    return ViewLogic::hexCounter(m_publicKey, 64).isError;
}

bool AddContactForm::canSubmit() const {
    return m_controller && ViewLogic::canAddContact(m_name, m_publicKey, m_isWorking);
}

void AddContactForm::submit() {
    if (!canSubmit())
        return;
    m_isWorking = true;
    m_errorMessage.clear();
    Q_EMIT changed();
    add(ViewLogic::trimmedField(m_name), MeshController::cleanedHex(m_publicKey));
}

QCoro::Task<void> AddContactForm::add(QString name, QString key) {
    // The sheet may be closed while the radio works; the guard notices.
    QPointer<AddContactForm> self(this);
    QPointer<MeshController> controller = m_controller;
    try {
        co_await controller->addContact(key, name, MeshProtocol::AdvertType::chat);
        if (self)
            Q_EMIT self->finished();
    } catch (const MeshError& error) {
        if (!self)
            co_return;
        self->m_errorMessage = error.description();
        self->m_isWorking = false;
        Q_EMIT self->changed();
    }
}
