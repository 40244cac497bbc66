#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QTimer>
#include <chrono>

class QDBusServiceWatcher;

// Asks the system's Bluetooth service (BlueZ, over the system bus) what it
// offers, so that the user can be told why Bluetooth is not usable: the
// service is not running, this user may not talk to it, or it has no adapter.
// QtBluetooth itself only says "not valid" in all of these cases. While the
// answer is anything but "an adapter", it asks again every second, so an
// adapter that is plugged in or a permission that is granted is noticed.
class BluezProbe final : public QObject {
    Q_OBJECT
public:
    enum class Finding {
        noService,
        notPermitted,
        noAdapter,
        adapter,
    };
    Q_ENUM(Finding)

    // How often the service is asked again while it offers no usable adapter.
    static constexpr std::chrono::milliseconds pollInterval{1000};

    explicit BluezProbe(QObject* parent = nullptr);

    // Asks without blocking; the answer comes as finished().
    void check();
    // Also asks again every second while an adapter is there: one that is
    // switched off can be removed without a word from QtBluetooth.
    void keepAsking(bool on);

Q_SIGNALS:
    void finished(BluezProbe::Finding finding);
    // The service came or went.
    void changed();

private Q_SLOTS:
    void onObjectAdded();

private:
    QDBusConnection m_bus;
    QDBusServiceWatcher* m_watcher = nullptr;
    QTimer m_poll;
    bool m_keepAsking = false;
};
