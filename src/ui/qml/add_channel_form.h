#pragma once

#include "controller/mesh_controller.h"
#include "logic/add_forms.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QtQml/qqml.h>
#include <qcoro/qcorotask.h>

// The state of the add-channel sheet: the way of adding (`mode`, an index
// into `modeTitles`), the typed fields, the submit rule, the operation, and
// the secret of a newly created channel, kept for the user to copy.
class AddChannelForm : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(MeshController* controller MEMBER m_controller NOTIFY controllerChanged)
    Q_PROPERTY(int mode READ mode WRITE setMode NOTIFY changed)
    Q_PROPERTY(QStringList modeTitles READ modeTitles CONSTANT)
    Q_PROPERTY(QString name MEMBER m_name NOTIFY changed)
    Q_PROPERTY(QString secret MEMBER m_secret NOTIFY changed)
    Q_PROPERTY(QString hashtag MEMBER m_hashtag NOTIFY changed)
    Q_PROPERTY(bool isWorking READ isWorking NOTIFY changed)
    Q_PROPERTY(QString errorMessage READ errorMessage NOTIFY changed)
    Q_PROPERTY(QString createdSecret READ createdSecret NOTIFY changed)
    Q_PROPERTY(QString buttonText READ buttonText NOTIFY changed)
    Q_PROPERTY(QString explanation READ explanation NOTIFY changed)
    Q_PROPERTY(bool showsName READ showsName NOTIFY changed)
    Q_PROPERTY(bool showsSecret READ showsSecret NOTIFY changed)
    Q_PROPERTY(bool showsHashtag READ showsHashtag NOTIFY changed)
    Q_PROPERTY(QString secretCounterText READ secretCounterText NOTIFY changed)
    Q_PROPERTY(bool secretCounterIsError READ secretCounterIsError NOTIFY changed)
    Q_PROPERTY(bool canSubmit READ canSubmit NOTIFY changed)

public:
    explicit AddChannelForm(QObject* parent = nullptr);

    int mode() const { return int(m_mode); }
    void setMode(int mode);
    QStringList modeTitles() const;
    bool isWorking() const { return m_isWorking; }
    const QString& errorMessage() const { return m_errorMessage; }
    const QString& createdSecret() const { return m_createdSecret; }
    QString buttonText() const;
    QString explanation() const;
    bool showsName() const { return m_mode != ViewLogic::AddChannelMode::joinHashtag; }
    bool showsSecret() const { return m_mode == ViewLogic::AddChannelMode::joinPrivate; }
    bool showsHashtag() const { return m_mode == ViewLogic::AddChannelMode::joinHashtag; }
    QString secretCounterText() const;
    bool secretCounterIsError() const;
    bool canSubmit() const;

    // Does nothing unless canSubmit.
    Q_INVOKABLE void submit();
    // Replaces the clipboard's contents with the created secret as plain text.
    Q_INVOKABLE void copySecret() const;

Q_SIGNALS:
    void controllerChanged();
    void changed();
    void finished();

private:
    QCoro::Task<void> run(ViewLogic::AddChannelMode mode, QString name, QString secret,
                          QString hashtag);

    QPointer<MeshController> m_controller;
    ViewLogic::AddChannelMode m_mode = ViewLogic::AddChannelMode::createPrivate;
    QString m_name;
    QString m_secret;
    QString m_hashtag;
    bool m_isWorking = false;
    QString m_errorMessage;
    QString m_createdSecret;
};
