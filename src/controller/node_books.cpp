// Keeping what each radio reports in its node book, and showing the book
// while the radio is away.
//
// A handshake's answers replace the book's in place: the rows the radio still
// has are updated where they stand, the others go once its list is read to
// the end.

#include "book/node_book_store.h"
#include "controller/mesh_controller.h"
#include "time/clock.h"

#include <QSettings>
#include <algorithm>
#include <utility>

void MeshController::setNodeBookStore(NodeBookStore* store) {
    m_book.store = store;
    if (!m_book.store)
        return;
    connect(m_book.store, &NodeBookStore::errorChanged, this, &MeshController::setNodeBookError,
            Qt::QueuedConnection);
    if (m_settings)
        m_book.radioKey = m_settings->value(m_reconnect.settingsKey(lastDeviceKeyKey)).toString();
    // The window opens from the book at once; the book itself is read once
    // the window is up (openRememberedBook).
    setRadioAway(!m_book.radioKey.isEmpty() && m_transportState != TransportState::connected);
    for (const auto changed : {&MeshController::selfInfoChanged, &MeshController::deviceInfoChanged,
                               &MeshController::contactsChanged, &MeshController::channelsChanged})
        connect(this, changed, this, &MeshController::noteBookChange);
}

bool MeshController::openRememberedBook() {
    if (!m_book.keeps() || m_transportState == TransportState::connected)
        return false;
    const NodeBookStore::Loaded loaded = m_book.store->load(m_book.radioKey);
    setNodeBookError(loaded.problem);
    readKnownNames();
    if (!loaded.book)
        return false;
    applyBook(*loaded.book);
    setRadioAway(true);
    return true;
}

bool MeshController::forgetThisRadio() {
    const QString key = std::exchange(m_book.radioKey, QString());
    if (m_book.writeTimer != 0) {
        m_clock->cancel(m_book.writeTimer);
        m_book.writeTimer = 0;
    }
    if (m_settings)
        m_settings->remove(m_reconnect.settingsKey(lastDeviceKeyKey));
    disconnectFromDevice(); // forgets the remembered radio; the lists go
    setRadioAway(false);
    bool removed = true;
    if (m_book.store && !key.isEmpty()) {
        removed = m_book.store->remove(key);
        if (!removed)
            setNodeBookError(QStringLiteral("The node book %1 could not be deleted.")
                                 .arg(m_book.store->pathFor(key)));
    }
    readKnownNames();
    return removed;
}

NodeBook MeshController::currentBook() const {
    NodeBook book;
    if (m_selfInfo)
        book.selfInfo = *m_selfInfo;
    book.selfInfo.publicKey = m_book.radioKey;
    book.deviceInfo = m_deviceInfo;
    book.contacts = m_contacts;
    book.channels = m_channels;
    return book;
}

// The lists were empty or another radio's: replaced whole.
void MeshController::applyBook(const NodeBook& book) {
    setSelfInfo(book.selfInfo);
    setDeviceInfo(book.deviceInfo);
    setContacts(book.contacts);
    setChannels(book.channels);
}

void MeshController::radioIdentified(const QString& publicKey) {
    if (!m_book.store || publicKey.isEmpty())
        return;
    setRadioAway(false);
    if (publicKey != m_book.radioKey) {
        // Another radio than the book's: its own book (or nothing) stands in
        // until its answers come.
        writeBookNow();
        m_book.radioKey = publicKey;
        const NodeBookStore::Loaded loaded = m_book.store->load(publicKey);
        setNodeBookError(loaded.problem);
        const NodeBook book = loaded.book.value_or(NodeBook{});
        setDeviceInfo(book.deviceInfo);
        setContacts(book.contacts);
        setChannels(book.channels);
        if (m_settings)
            m_settings->setValue(m_reconnect.settingsKey(lastDeviceKeyKey), publicKey);
        readKnownNames();
    }
    noteBookChange();
}

// Written a little later, so that a burst of adverts costs one write.
void MeshController::noteBookChange() {
    if (!m_book.keeps() || m_book.radioAway || m_book.writeTimer != 0 ||
        m_transportState != TransportState::connected || !m_selfInfo ||
        m_selfInfo->publicKey != m_book.radioKey)
        return;
    m_book.writeTimer = m_clock->schedule(nodeBookWriteDelay, [this] {
        m_book.writeTimer = 0;
        saveBook();
    });
}

// A write that waits is done now.
void MeshController::writeBookNow() {
    if (m_book.writeTimer == 0)
        return;
    m_clock->cancel(m_book.writeTimer);
    m_book.writeTimer = 0;
    saveBook();
}

void MeshController::saveBook() {
    if (m_book.keeps())
        m_book.store->save(currentBook());
}

void MeshController::readKnownNames() {
    if (m_book.store)
        assign(m_book.knownNames, m_book.store->knownNames(), &MeshController::knownNamesChanged);
}

// The link has ended: what the radio last said stays in view.
void MeshController::radioWentAway() {
    writeBookNow();
    setBattery(std::nullopt);
    setRadioAway(true);
}

void MeshController::setRadioAway(bool away) {
    assign(m_book.radioAway, away, &MeshController::radioAwayChanged);
}

void MeshController::setNodeBookError(const QString& error) {
    assign(m_book.error, error, &MeshController::nodeBookErrorChanged);
}

void MeshController::settleContactList() {
    for (qsizetype row = m_contacts.size() - 1; row >= 0; --row) {
        if (m_sync.contactKeysRead.contains(m_contacts.at(row).publicKey))
            continue;
        m_contacts.removeAt(row);
        Q_EMIT contactRemoved(int(row));
        Q_EMIT contactsChanged();
    }
    QList<Contact> sorted = m_contacts;
    std::stable_sort(sorted.begin(), sorted.end(), [](const Contact& a, const Contact& b) {
        return a.lastAdvert > b.lastAdvert;
    });
    if (sorted != m_contacts) {
        m_contacts = std::move(sorted);
        Q_EMIT contactsReordered();
        Q_EMIT contactsChanged();
    }
}

void MeshController::removeChannelsFrom(int index) {
    for (qsizetype row = m_channels.size() - 1; row >= 0; --row) {
        if (m_channels.at(row).index < index)
            continue;
        m_channels.removeAt(row);
        Q_EMIT channelRemoved(int(row));
        Q_EMIT channelsChanged();
    }
}
