#pragma once

#include "controller/mesh_controller.h"
#include "controller_bound.h"
#include "model/key_verification.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <QUrl>
#include <QtQml/qqml.h>
#include <qcoro/qcorotask.h>

// One node as the node detail and the chat info pane show it: the contact
// of `publicKey` in the controller's list, followed as it changes, with the
// actions on it and their busy and error states.
class NodeDetailModel : public ControllerBoundObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString publicKey READ publicKey WRITE setPublicKey NOTIFY publicKeyChanged)
    // The chat info pane names an unnamed contact with its own text.
    Q_PROPERTY(bool inspector MEMBER m_inspector NOTIFY changed)
    Q_PROPERTY(bool exists READ exists NOTIFY changed)
    Q_PROPERTY(QString name READ name NOTIFY changed)
    Q_PROPERTY(QString title READ title NOTIFY changed)
    Q_PROPERTY(QString initials READ initials NOTIFY changed)
    Q_PROPERTY(QString avatarSymbol READ avatarSymbol NOTIFY changed)
    Q_PROPERTY(QString typeName READ typeName NOTIFY changed)
    Q_PROPERTY(QString typeSymbol READ typeSymbol NOTIFY changed)
    Q_PROPERTY(bool hasPosition READ hasPosition NOTIFY changed)
    Q_PROPERTY(QString coordinateText READ coordinateText NOTIFY changed)
    Q_PROPERTY(QUrl mapUrl READ mapUrl NOTIFY changed)
    Q_PROPERTY(QString routingText READ routingText NOTIFY changed)
    Q_PROPERTY(QString routingSymbol READ routingSymbol NOTIFY changed)
    Q_PROPERTY(QString routingTint READ routingTint NOTIFY changed)
    Q_PROPERTY(bool showsPathLength READ showsPathLength NOTIFY changed)
    Q_PROPERTY(QString pathLengthText READ pathLengthText NOTIFY changed)
    Q_PROPERTY(QString lastSeenText READ lastSeenText NOTIFY changed)
    Q_PROPERTY(bool canMessage READ canMessage NOTIFY changed)
    Q_PROPERTY(bool isFavorite READ isFavorite NOTIFY changed)
    Q_PROPERTY(QString verificationSymbol READ verificationSymbol NOTIFY changed)
    Q_PROPERTY(QString verificationTint READ verificationTint NOTIFY changed)
    Q_PROPERTY(QString verificationTitle READ verificationTitle NOTIFY changed)
    Q_PROPERTY(QString verificationMessage READ verificationMessage NOTIFY changed)
    Q_PROPERTY(QString verifyButtonText READ verifyButtonText NOTIFY changed)
    Q_PROPERTY(QString verifyButtonSymbol READ verifyButtonSymbol NOTIFY changed)
    Q_PROPERTY(QString verifyButtonTint READ verifyButtonTint NOTIFY changed)
    Q_PROPERTY(bool isMismatch READ isMismatch NOTIFY changed)
    Q_PROPERTY(bool busy READ busy NOTIFY actionStateChanged)
    Q_PROPERTY(QString actionError READ actionError NOTIFY actionStateChanged)

public:
    explicit NodeDetailModel(QObject* parent = nullptr);

    const QString& publicKey() const { return m_publicKey; }
    void setPublicKey(const QString& key);

    bool exists() const { return m_contact.has_value(); }
    QString name() const;
    QString title() const;
    QString initials() const;
    QString avatarSymbol() const;
    QString typeName() const;
    QString typeSymbol() const;
    bool hasPosition() const;
    QString coordinateText() const;
    QUrl mapUrl() const;
    QString routingText() const;
    QString routingSymbol() const;
    QString routingTint() const;
    bool showsPathLength() const;
    QString pathLengthText() const;
    QString lastSeenText() const;
    bool canMessage() const;
    bool isFavorite() const;
    QString verificationSymbol() const;
    QString verificationTint() const;
    QString verificationTitle() const;
    QString verificationMessage() const;
    QString verifyButtonText() const;
    QString verifyButtonSymbol() const;
    QString verifyButtonTint() const;
    bool isMismatch() const;
    bool busy() const { return m_busy; }
    const QString& actionError() const { return m_actionError; }

    Q_INVOKABLE void resetPath();
    Q_INVOKABLE void share();
    Q_INVOKABLE void remove();
    Q_INVOKABLE void toggleFavorite();
    // Verified: forget it; otherwise: trust this key for this name.
    Q_INVOKABLE void toggleVerified();

Q_SIGNALS:
    void publicKeyChanged();
    void changed();
    void actionStateChanged();

protected:
    void attach(MeshController* controller) override;

private:
    enum class Action { resetPath, share, remove };
    void reload();
    void run(Action action);
    QCoro::Task<void> perform(Action action, Contact contact);
    KeyVerification verification() const;

    QString m_publicKey;
    bool m_inspector = false;
    std::optional<Contact> m_contact;
    bool m_busy = false;
    QString m_actionError;
};
