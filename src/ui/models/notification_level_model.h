#pragma once

#include "controller_bound.h"

#include <QString>
#include <QtQml/qqml.h>

// The notification level of one conversation, for the places that show and
// change it: the chat header, the chat info pane, the row's menu and
// View > Mute Conversation.
class NotificationLevelModel : public ControllerBoundObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString conversationKey READ conversationKey WRITE setConversationKey NOTIFY
                   conversationKeyChanged)
    // "all", "mentions" or "nothing".
    Q_PROPERTY(QString level READ level NOTIFY levelChanged)
    // Its icon ("bell", "at", "bell.slash") and its name as menus show it.
    Q_PROPERTY(QString symbol READ symbol NOTIFY levelChanged)
    Q_PROPERTY(QString text READ text NOTIFY levelChanged)
    Q_PROPERTY(bool muted READ muted NOTIFY levelChanged)
    // A level can be kept for it: not for a channel slot never read.
    Q_PROPERTY(bool settable READ settable NOTIFY levelChanged)

public:
    explicit NotificationLevelModel(QObject* parent = nullptr);

    const QString& conversationKey() const { return m_key; }
    void setConversationKey(const QString& key);
    QString level() const;
    QString symbol() const;
    QString text() const;
    bool muted() const { return level() == QLatin1String("nothing"); }
    bool settable() const;

    Q_INVOKABLE void setLevel(const QString& level);
    // Nothing, or back to the level set before.
    Q_INVOKABLE void toggleMute();
    // The name of a level ("all", ...) as menus show it.
    Q_INVOKABLE static QString textOf(const QString& level);

Q_SIGNALS:
    void conversationKeyChanged();
    void levelChanged();

protected:
    void attach(MeshController* controller) override;

private:
    QString m_key;
};
