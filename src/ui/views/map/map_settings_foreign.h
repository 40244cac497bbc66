#pragma once

#include "map/map_settings.h"

#include <QObject>
#include <QtQml/qqml.h>

// The core's map settings, known to QML by name; the controller holds the
// one instance (`controller.mapSettings`).
struct MapSettingsForeign {
    Q_GADGET
    QML_FOREIGN(MapSettings)
    QML_NAMED_ELEMENT(MapSettings)
    QML_UNCREATABLE("The controller holds the map settings.")
};
