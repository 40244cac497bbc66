#pragma once

#include "controller/mesh_controller.h"

#include <QAbstractListModel>
#include <QObject>
#include <QPointer>
#include <QtQml/qqml.h>
#include <optional>

// The `controller` property that every view model and list model follows.
// Setting it drops every connection from the previous controller and calls
// `attach` with the new one (or null), which hooks its signals and reads its
// state. The two classes differ only in what they derive from.
class ControllerBoundObject : public QObject {
    Q_OBJECT
    QML_ANONYMOUS
    Q_PROPERTY(
        MeshController* controller READ controller WRITE setController NOTIFY controllerChanged)

public:
    using QObject::QObject;

    MeshController* controller() const { return m_controller; }
    void setController(MeshController* controller);

Q_SIGNALS:
    void controllerChanged();

protected:
    virtual void attach(MeshController* /*controller*/) {}

private:
    QPointer<MeshController> m_controller;
};

// A view model of one conversation, named by its key as QML hands it in:
// "contact:<key>" or "channel:<index>"; any other text names none.
class ConversationBoundObject : public ControllerBoundObject {
    Q_OBJECT
    QML_ANONYMOUS
    Q_PROPERTY(QString conversationKey READ conversationKey WRITE setConversationKey NOTIFY
                   conversationKeyChanged)

public:
    using ControllerBoundObject::ControllerBoundObject;

    const QString& conversationKey() const { return m_key; }
    void setConversationKey(const QString& key);
    const std::optional<ConversationID>& target() const { return m_target; }

Q_SIGNALS:
    void conversationKeyChanged();

protected:
    // Follows a new key, before conversationKeyChanged.
    virtual void conversationChanged() = 0;

private:
    QString m_key;
    std::optional<ConversationID> m_target;
};

class ControllerBoundListModel : public QAbstractListModel {
    Q_OBJECT
    QML_ANONYMOUS
    Q_PROPERTY(
        MeshController* controller READ controller WRITE setController NOTIFY controllerChanged)

public:
    using QAbstractListModel::QAbstractListModel;

    MeshController* controller() const { return m_controller; }
    void setController(MeshController* controller);

Q_SIGNALS:
    void controllerChanged();

protected:
    virtual void attach(MeshController* controller) = 0;

private:
    QPointer<MeshController> m_controller;
};
