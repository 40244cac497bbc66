#include "add_contact_form.h"

#include "controller/mesh_controller.h"
#include "logic/add_forms.h"
#include "logic/safe_text.h"

QString AddContactForm::keyCounterText() const {
    return ViewLogic::hexCounter(m_publicKey, 64).text;
}

bool AddContactForm::keyCounterIsError() const {
    return ViewLogic::hexCounter(m_publicKey, 64).isError;
}

QString AddContactForm::nameCounterText() const {
    return ViewLogic::nameCounter(m_name).text;
}

bool AddContactForm::nameCounterIsError() const {
    return ViewLogic::nameCounter(m_name).isError;
}

bool AddContactForm::canAdd() const {
    return ViewLogic::canAddContact(m_name, m_publicKey, false);
}

std::optional<AddForm::Existing> AddContactForm::existing() const {
    const QString key = MeshController::cleanedHex(m_publicKey);
    if (!controller() || key.size() != 64)
        return std::nullopt;
    for (const Contact& contact : controller()->contacts()) {
        if (contact.publicKey.compare(key, Qt::CaseInsensitive) == 0)
            return Existing{ConversationID::contact(contact.publicKey),
                            qtTrId("add.contact.exists").arg(ViewLogic::safeName(contact.name))};
    }
    return std::nullopt;
}

QCoro::Task<QString> AddContactForm::perform(MeshController* controller) {
    co_await controller->addContact(MeshController::cleanedHex(m_publicKey),
                                    ViewLogic::trimmedField(m_name),
                                    MeshProtocol::AdvertType::chat);
    co_return QString();
}
