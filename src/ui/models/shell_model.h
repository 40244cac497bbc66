#pragma once

#include "controller_bound.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <QtQml/qqml.h>
#include <chrono>
#include <cstdint>

class Clock;
class MeshController;

// The controller's link state, pill, connection texts and selection as plain
// QML values (the controller's own properties are enums and optionals).
class ShellModel : public ControllerBoundObject {
    Q_OBJECT
    QML_ELEMENT

    Q_PROPERTY(QString transportStateName READ transportStateName NOTIFY connectionChanged)
    Q_PROPERTY(bool connected READ connected NOTIFY connectionChanged)
    // The radio dropped and is being reconnected: the main window stays.
    Q_PROPERTY(bool reconnecting READ reconnecting NOTIFY connectionChanged)
    // The remembered radio is away and its node book is shown.
    Q_PROPERTY(bool radioAway READ radioAway NOTIFY connectionChanged)
    Q_PROPERTY(bool showsMainView READ showsMainView NOTIFY connectionChanged)
    // A radio is remembered (its book, or to reconnect to): File > Forget.
    Q_PROPERTY(bool canForgetRadio READ canForgetRadio NOTIFY connectionChanged)
    // Why the actions that need the radio are off; empty while connected.
    Q_PROPERTY(QString radioNeededReason READ radioNeededReason NOTIFY connectionChanged)
    // The "Reconnect automatically" preference.
    Q_PROPERTY(
        bool autoReconnect READ autoReconnect WRITE setAutoReconnect NOTIFY autoReconnectChanged)
    Q_PROPERTY(bool scanning READ scanning NOTIFY connectionChanged)
    // A scan started here ended (by itself after scanWindow, or stopped) and
    // none runs now: the button offers to scan again.
    Q_PROPERTY(bool scanFinished READ scanFinished NOTIFY connectionChanged)
    // The text under the empty radio list.
    Q_PROPERTY(QString statusText READ statusText NOTIFY connectionChanged)
    Q_PROPERTY(bool canScan READ canScan NOTIFY connectionChanged)
    Q_PROPERTY(bool showStop READ showStop NOTIFY connectionChanged)
    // The last connection failure, until the user picks a radio again.
    Q_PROPERTY(QString connectionError READ connectionError NOTIFY connectionErrorChanged)

    Q_PROPERTY(bool syncing READ syncing NOTIFY pillChanged)
    Q_PROPERTY(QString pillTitle READ pillTitle NOTIFY pillChanged)
    Q_PROPERTY(QString pillSecondLine READ pillSecondLine NOTIFY pillChanged)
    Q_PROPERTY(QString pillDotTint READ pillDotTint NOTIFY connectionChanged)

    // "contact:<key>" / "channel:<index>", empty without a selection.
    Q_PROPERTY(QString selectedConversationKey READ selectedConversationKey NOTIFY selectionChanged)
    // The key of the selected contact while it is in the contact list, else empty.
    Q_PROPERTY(QString currentChatContactKey READ currentChatContactKey NOTIFY selectionChanged)
    Q_PROPERTY(qint64 totalUnreadCount READ totalUnreadCount NOTIFY totalUnreadCountChanged)
    // The message the chat is asked to scroll to and mark (a search result);
    // empty otherwise.
    Q_PROPERTY(QString revealedMessageId READ revealedMessageId NOTIFY revealedMessageIdChanged)

public:
    // How long a scan started from the connection screen runs: long enough to
    // hear a radio that advertises slowly, and then the screen holds still.
    static constexpr std::chrono::milliseconds scanWindow{30'000};

    explicit ShellModel(QObject* parent = nullptr);
    ~ShellModel() override;

    QString transportStateName() const;
    bool connected() const;
    bool reconnecting() const;
    bool radioAway() const;
    bool showsMainView() const { return connected() || reconnecting() || radioAway(); }
    QString radioNeededReason() const;
    bool canForgetRadio() const;
    bool autoReconnect() const;
    void setAutoReconnect(bool on);
    bool scanning() const;
    bool scanFinished() const;
    QString statusText() const;
    bool canScan() const;
    bool showStop() const;
    QString connectionError() const;
    bool syncing() const;
    QString pillTitle() const;
    QString pillSecondLine() const;
    QString pillDotTint() const;
    QString selectedConversationKey() const;
    QString currentChatContactKey() const;
    qint64 totalUnreadCount() const;

    // Selects a conversation by key and marks it read; an empty or malformed
    // key clears the selection.
    Q_INVOKABLE void select(const QString& conversationKey);
    // select(), and the main view shows that conversation whatever its list
    // mode (a click on a notification).
    Q_INVOKABLE void open(const QString& conversationKey);
    // open(), and the chat shows that message, briefly marked.
    Q_INVOKABLE void openMessage(const QString& conversationKey, const QString& messageId);
    const QString& revealedMessageId() const { return m_revealedMessageId; }
    // Scans for scanWindow at most.
    Q_INVOKABLE void startScan();
    Q_INVOKABLE void stopScan();
    // Starts a scan (for scanWindow at most) when the adapter is ready,
    // nothing is listed yet and no scan has ended since Bluetooth came on.
    // Returns whether it did.
    Q_INVOKABLE bool scanIfIdle();
    // Hides the connection error; the next failure shows again.
    Q_INVOKABLE void dismissConnectionError();
    Q_INVOKABLE void disconnectFromDevice();
    // Deletes the radio's node book and stops reconnecting to it.
    Q_INVOKABLE void forgetThisRadio();
    Q_INVOKABLE bool hasContact(const QString& publicKey) const;
    Q_INVOKABLE QString contactTitle(const QString& publicKey) const;

Q_SIGNALS:
    void connectionChanged();
    void autoReconnectChanged();
    void connectionErrorChanged();
    void pillChanged();
    void selectionChanged();
    void totalUnreadCountChanged();
    void conversationOpened(const QString& conversationKey);
    void revealedMessageIdChanged();

protected:
    void attach(MeshController* controller) override;

private:
    // Reconnecting and looking: a radio shown from its book while Bluetooth
    // cannot be used is plainly away.
    bool lookingForRadio() const;
    void beginScan();
    void cancelScanLimit();

    bool m_errorDismissed = false;
    // The clock timer that ends the scan started here; 0 when none runs.
    QPointer<Clock> m_scanClock;
    std::uint64_t m_scanLimit = 0;
    bool m_scanEnded = false;
    // The conversation shown when the radio dropped: the controller forgets
    // its selection with the radio, the window keeps it open meanwhile and
    // selects it again once the radio is back.
    QString m_heldSelection;
    QString m_revealedMessageId;
};
