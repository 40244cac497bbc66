#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QObject>
#include <QPointer>
#include <QString>
#include <functional>

class PairingPrompt;

// Talvenne's own Bluetooth agent (org.bluez.Agent1, capability
// KeyboardDisplay): BlueZ asks it for the PIN, a confirmation or shows it a
// passkey when a radio pairs. It is registered with BlueZ only while the
// application connects to or pairs with a radio, and answers only for that
// radio: a desktop that runs an agent of its own keeps it for everything
// else. Questions go to the PairingPrompt, which the PIN sheet shows.
class BluezAgent final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.bluez.Agent1")
public:
    static inline const QString objectPath = QStringLiteral("/io/github/talvenne/Talvenne/agent");

    // `prompt` is not owned and must outlive the agent.
    explicit BluezAgent(PairingPrompt* prompt, QObject* parent = nullptr);
    ~BluezAgent() override;

    // The radio the agent answers for: BlueZ's path of the device and the
    // name to show. An empty path answers for none.
    void expect(const QString& devicePath, const QString& radioName);
    // Registers with BlueZ unless it already is; `done` hears whether BlueZ
    // took it. Asks nothing of BlueZ while a registration is under way.
    void registerAgent(std::function<void(bool registered)> done = {});
    void unregisterAgent();
    bool isRegistered() const { return m_registered; }
    // BlueZ refused the last registration: nobody can be asked for a PIN
    // on Talvenne's behalf.
    bool registrationRefused() const { return m_refused; }

public Q_SLOTS:
    // org.bluez.Agent1, called by BlueZ.
    Q_NOREPLY void Release();
    QString RequestPinCode(const QDBusObjectPath& device, const QDBusMessage& message);
    void DisplayPinCode(const QDBusObjectPath& device, const QString& pinCode);
    uint RequestPasskey(const QDBusObjectPath& device, const QDBusMessage& message);
    void DisplayPasskey(const QDBusObjectPath& device, uint passkey, ushort entered);
    void RequestConfirmation(const QDBusObjectPath& device, uint passkey,
                             const QDBusMessage& message);
    void RequestAuthorization(const QDBusObjectPath& device, const QDBusMessage& message);
    void AuthorizeService(const QDBusObjectPath& device, const QString& uuid,
                          const QDBusMessage& message);
    Q_NOREPLY void Cancel();

private:
    bool forUs(const QDBusObjectPath& device) const;
    void refuse(const QDBusMessage& message, const QString& error = {});

    QDBusConnection m_bus;
    QPointer<PairingPrompt> m_prompt;
    QString m_devicePath;
    QString m_radioName;
    bool m_exported = false;
    bool m_registered = false;
    bool m_refused = false;
    bool m_registering = false;
    QList<std::function<void(bool)>> m_waiting;
};
