#pragma once

#include "controller_bound.h"
#include "model/conversation.h"

#include <QString>
#include <optional>
#include <qcoro/qcorotask.h>

// What the add-contact and add-channel sheets share: submitting runs one
// add on the radio; `finished` asks the sheet to close, and a failure stays
// in `errorMessage` with the typed fields intact. What is typed may name a
// contact or channel that is there already: then `existingText` says so,
// nothing is added, and submitting opens that conversation instead.
class AddForm : public ControllerBoundObject {
    Q_OBJECT
    QML_ANONYMOUS
    Q_PROPERTY(bool isWorking READ isWorking NOTIFY changed)
    Q_PROPERTY(QString errorMessage READ errorMessage NOTIFY changed)
    Q_PROPERTY(bool canSubmit READ canSubmit NOTIFY changed)
    Q_PROPERTY(bool opensExisting READ opensExisting NOTIFY changed)
    Q_PROPERTY(QString existingText READ existingText NOTIFY changed)

public:
    using ControllerBoundObject::ControllerBoundObject;

    bool isWorking() const { return m_isWorking; }
    const QString& errorMessage() const { return m_errorMessage; }
    bool canSubmit() const;
    bool opensExisting() const { return existing().has_value(); }
    QString existingText() const;

    // Does nothing unless canSubmit.
    Q_INVOKABLE void submit();

Q_SIGNALS:
    void changed();
    void finished();
    // Submitted while the conversation named by its key is there already.
    void openRequested(const QString& conversationKey);

protected:
    void attach(MeshController* controller) override;
    // Whether the typed fields may be added.
    virtual bool canAdd() const = 0;
    // The contact or channel the typed fields name that is there already,
    // with the sentence that says so.
    struct Existing {
        ConversationID conversation;
        QString text;
    };
    virtual std::optional<Existing> existing() const = 0;
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
