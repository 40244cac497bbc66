#pragma once

#include "controller/mesh_controller.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <QtQml/qqml.h>
#include <qcoro/qcorotask.h>

// The state of the add-contact sheet: the typed fields, the counter and
// submit rule derived from them, and the add itself. `finished` asks the
// sheet to close; a failure stays in `errorMessage` with the fields intact.
class AddContactForm : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(MeshController* controller MEMBER m_controller NOTIFY controllerChanged)
    Q_PROPERTY(QString name MEMBER m_name NOTIFY changed)
    Q_PROPERTY(QString publicKey MEMBER m_publicKey NOTIFY changed)
    Q_PROPERTY(bool isWorking READ isWorking NOTIFY changed)
    Q_PROPERTY(QString errorMessage READ errorMessage NOTIFY changed)
    Q_PROPERTY(QString keyCounterText READ keyCounterText NOTIFY changed)
    Q_PROPERTY(bool keyCounterIsError READ keyCounterIsError NOTIFY changed)
    Q_PROPERTY(bool canSubmit READ canSubmit NOTIFY changed)

public:
    explicit AddContactForm(QObject* parent = nullptr);

    bool isWorking() const { return m_isWorking; }
    const QString& errorMessage() const { return m_errorMessage; }
    QString keyCounterText() const;
    bool keyCounterIsError() const;
    bool canSubmit() const;

    // Does nothing unless canSubmit.
    Q_INVOKABLE void submit();

Q_SIGNALS:
    void controllerChanged();
    void changed();
    void finished();

private:
    QCoro::Task<void> add(QString name, QString key);

    QPointer<MeshController> m_controller;
    QString m_name;
    QString m_publicKey;
    bool m_isWorking = false;
    QString m_errorMessage;
};
