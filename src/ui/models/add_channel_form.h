#pragma once

#include "add_form.h"
#include "logic/add_forms.h"

#include <QString>
#include <QStringList>
#include <QtQml/qqml.h>

// The state of the add-channel sheet: the way of adding (`mode`, an index
// into `modeTitles`), the typed fields, the submit rule, and the secret of a
// newly created channel, kept for the user to copy.
class AddChannelForm : public AddForm {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(int mode READ mode WRITE setMode NOTIFY changed)
    Q_PROPERTY(QStringList modeTitles READ modeTitles CONSTANT)
    Q_PROPERTY(QString name MEMBER m_name NOTIFY changed)
    Q_PROPERTY(QString secret MEMBER m_secret NOTIFY changed)
    Q_PROPERTY(QString hashtag MEMBER m_hashtag NOTIFY changed)
    Q_PROPERTY(QString createdSecret READ createdSecret NOTIFY changed)
    Q_PROPERTY(QString buttonText READ buttonText NOTIFY changed)
    Q_PROPERTY(QString explanation READ explanation NOTIFY changed)
    Q_PROPERTY(bool showsName READ showsName NOTIFY changed)
    Q_PROPERTY(bool showsSecret READ showsSecret NOTIFY changed)
    Q_PROPERTY(bool showsHashtag READ showsHashtag NOTIFY changed)
    Q_PROPERTY(QString secretCounterText READ secretCounterText NOTIFY changed)
    Q_PROPERTY(bool secretCounterIsError READ secretCounterIsError NOTIFY changed)
    Q_PROPERTY(QString nameCounterText READ nameCounterText NOTIFY changed)
    Q_PROPERTY(bool nameCounterIsError READ nameCounterIsError NOTIFY changed)

public:
    using AddForm::AddForm;

    int mode() const { return int(m_mode); }
    void setMode(int mode);
    QStringList modeTitles() const;
    const QString& createdSecret() const { return m_createdSecret; }
    QString buttonText() const;
    QString explanation() const;
    bool showsName() const { return m_mode != ViewLogic::AddChannelMode::joinHashtag; }
    bool showsSecret() const { return m_mode == ViewLogic::AddChannelMode::joinPrivate; }
    bool showsHashtag() const { return m_mode == ViewLogic::AddChannelMode::joinHashtag; }
    QString secretCounterText() const;
    bool secretCounterIsError() const;
    // The name's bytes, or in the hashtag mode those of the channel name it makes.
    QString nameCounterText() const;
    bool nameCounterIsError() const;

    // Replaces the clipboard's contents with the created secret as plain text.
    Q_INVOKABLE void copySecret() const;

protected:
    bool canAdd() const override;
    std::optional<Existing> existing() const override;
    QCoro::Task<QString> perform(MeshController* controller) override;
    void keep(const QString& secret) override { m_createdSecret = secret; }

private:
    QString typedName() const;

    ViewLogic::AddChannelMode m_mode = ViewLogic::AddChannelMode::createPrivate;
    QString m_name;
    QString m_secret;
    QString m_hashtag;
    QString m_createdSecret;
};
