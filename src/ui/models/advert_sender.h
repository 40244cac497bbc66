#pragma once

#include "controller/mesh_controller.h"
#include "controller_bound.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QtQml/qqml.h>
#include <qcoro/qcorotask.h>

// One advert button's action and its "sent" state. Each press sends an
// advert of the button's kind; once the controller is done with it (the
// send never fails to its caller) the button shows "sent", and each press
// turns that off again two seconds later.
class AdvertSender : public ControllerBoundObject {
    Q_OBJECT
    QML_ELEMENT
    // 0: zero hop, 1: flood.
    Q_PROPERTY(int kind READ kind WRITE setKind NOTIFY kindChanged)
    Q_PROPERTY(bool sent READ sent NOTIFY sentChanged)

public:
    explicit AdvertSender(QObject* parent = nullptr);
    ~AdvertSender() override;

    int kind() const { return m_kind; }
    void setKind(int kind);
    bool sent() const { return m_sent; }

    Q_INVOKABLE void send();

Q_SIGNALS:
    void kindChanged();
    void sentChanged();

private:
    QCoro::Task<void> run(std::uint8_t kind);
    void setSent(bool sent);

    int m_kind = 1;
    bool m_sent = false;
    // The ends of "sent" still to come, one per press.
    QList<std::uint64_t> m_sentTimers;
};
