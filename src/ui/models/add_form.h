#pragma once

#include "controller_bound.h"

#include <QString>
#include <qcoro/qcorotask.h>

// What the add-contact and add-channel sheets share: submitting runs one
// add on the radio; `finished` asks the sheet to close, and a failure stays
// in `errorMessage` with the typed fields intact.
class AddForm : public ControllerBoundObject {
    Q_OBJECT
    QML_ANONYMOUS
    Q_PROPERTY(bool isWorking READ isWorking NOTIFY changed)
    Q_PROPERTY(QString errorMessage READ errorMessage NOTIFY changed)
    Q_PROPERTY(bool canSubmit READ canSubmit NOTIFY changed)

public:
    using ControllerBoundObject::ControllerBoundObject;

    bool isWorking() const { return m_isWorking; }
    const QString& errorMessage() const { return m_errorMessage; }
    virtual bool canSubmit() const = 0;

    // Does nothing unless canSubmit.
    Q_INVOKABLE void submit();

Q_SIGNALS:
    void changed();
    void finished();

protected:
    // The add itself. It reads the fields before its first suspension and
    // must not touch the form after it: the sheet may be closed meanwhile.
    // It returns a text for the sheet to go on showing (the secret of a
    // created channel), or an empty one when the sheet is done.
    virtual QCoro::Task<QString> perform(MeshController* controller) = 0;
    // Takes the text `perform` returned; the form stays open.
    virtual void keep(const QString& /*text*/) {}
    void clearError() { m_errorMessage.clear(); }

private:
    QCoro::Task<void> run();

    bool m_isWorking = false;
    QString m_errorMessage;
};
