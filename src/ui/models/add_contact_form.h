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
    Q_PROPERTY(QString nameCounterText READ nameCounterText NOTIFY changed)
    Q_PROPERTY(bool nameCounterIsError READ nameCounterIsError NOTIFY changed)

public:
    using AddForm::AddForm;

    QString keyCounterText() const;
    bool keyCounterIsError() const;
    QString nameCounterText() const;
    bool nameCounterIsError() const;

protected:
    bool canAdd() const override;
    std::optional<Existing> existing() const override;
    QCoro::Task<QString> perform(MeshController* controller) override;

private:
    QString m_name;
    QString m_publicKey;
};
