#pragma once

#include "controller/mesh_controller.h"

#include <QAbstractListModel>
#include <QObject>
#include <QPointer>
#include <QtQml/qqml.h>

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
