#pragma once

#include "controller_bound.h"

#include <QObject>
#include <QString>
#include <QtQml/qqml.h>

// What the connection screen offers after a connection to a radio failed:
// trying that radio again, and "Forget this radio in Bluetooth" for a bond
// or cached services that no longer fit (after a confirmation). Nothing
// while no attempt has failed.
class ConnectionFailureModel : public ControllerBoundObject {
    Q_OBJECT
    QML_ELEMENT
    // The radio whose connection failed, or empty.
    Q_PROPERTY(QString radioName READ radioName NOTIFY changed)
    // It is still listed, so it can be tried again.
    Q_PROPERTY(bool canRetry READ canRetry NOTIFY changed)

public:
    using ControllerBoundObject::ControllerBoundObject;

    QString radioName() const;
    bool canRetry() const;

    Q_INVOKABLE void retry();
    Q_INVOKABLE void forget();

Q_SIGNALS:
    void changed();

protected:
    void attach(MeshController* controller) override;

private:
    std::optional<DiscoveredDevice> listedRadio() const;

    // An attempt began and has not ended yet, or ended with the error shown.
    bool m_attempting = false;
    bool m_failed = false;
};
