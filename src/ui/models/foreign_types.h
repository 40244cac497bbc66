#pragma once

#include "controller/mesh_controller.h"

#include <QObject>
#include <QtQml/qqml.h>

// Makes the core's controller known to QML by name, so views can declare
// `required property MeshController controller`. The application creates the
// one controller and hands it to the root view.
struct MeshControllerForeign {
    Q_GADGET
    QML_FOREIGN(MeshController)
    QML_NAMED_ELEMENT(MeshController)
    QML_UNCREATABLE("The application creates the one controller.")
};
