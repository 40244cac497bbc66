#pragma once

#include "add_form.h"

#include <QString>
#include <QtQml/qqml.h>

// The state of the add-contact sheet: the typed fields and the counter and
// submit rule derived from them.
class AddContactForm : public AddForm {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString name MEMBER m_name NOTIFY changed)
    Q_PROPERTY(QString publicKey MEMBER m_publicKey NOTIFY changed)
    Q_PROPERTY(QString keyCounterText READ keyCounterText NOTIFY changed)
    Q_PROPERTY(bool keyCounterIsError READ keyCounterIsError NOTIFY changed)

public:
    using AddForm::AddForm;

    QString keyCounterText() const;
    bool keyCounterIsError() const;
    bool canSubmit() const override;

protected:
    QCoro::Task<QString> perform(MeshController* controller) override;

private:
    QString m_name;
    QString m_publicKey;
};
