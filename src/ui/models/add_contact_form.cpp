#include "add_contact_form.h"

#include "controller/mesh_controller.h"
#include "logic/add_forms.h"

QString AddContactForm::keyCounterText() const {
    return ViewLogic::hexCounter(m_publicKey, 64).text;
}

bool AddContactForm::keyCounterIsError() const {
    return ViewLogic::hexCounter(m_publicKey, 64).isError;
}

bool AddContactForm::canSubmit() const {
    return controller() && ViewLogic::canAddContact(m_name, m_publicKey, isWorking());
}

QCoro::Task<QString> AddContactForm::perform(MeshController* controller) {
    co_await controller->addContact(MeshController::cleanedHex(m_publicKey),
                                    ViewLogic::trimmedField(m_name),
                                    MeshProtocol::AdvertType::chat);
    co_return QString();
}
