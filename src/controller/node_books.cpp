// Keeping what each radio reports in its node book, and showing the book
// while the radio is away.

#include "book/node_book_store.h"
#include "controller/mesh_controller.h"
#include "time/clock.h"

#include <QSettings>
#include <algorithm>
#include <utility>

void MeshController::setNodeBookStore(NodeBookStore* store) {
    m_books = store;
    if (!m_books)
        return;
    connect(m_books, &NodeBookStore::errorChanged, this, &MeshController::setNodeBookError,
            Qt::QueuedConnection);
    if (m_settings)
        m_bookRadioKey = m_settings->value(m_reconnect.settingsKey(lastDeviceKeyKey)).toString();
    // The window opens from the book at once; the book itself is read once
    // the window is up (openRememberedBook).
    setRadioAway(!m_bookRadioKey.isEmpty() && m_transportState != TransportState::connected);
    for (const auto changed : {&MeshController::selfInfoChanged, &MeshController::deviceInfoChanged,
                               &MeshController::contactsChanged, &MeshController::channelsChanged})
        connect(this, changed, this, &MeshController::noteBookChange);
}

bool MeshController::openRememberedBook() {
    if (!m_books || m_bookRadioKey.isEmpty() || m_transportState == TransportState::connected)
        return false;
    const NodeBookStore::Loaded loaded = m_books->load(m_bookRadioKey);
    setNodeBookError(loaded.problem);
    readKnownNames();
    if (!loaded.book)
        return false;
    applyBook(*loaded.book);
    setRadioAway(true);
    return true;
}

bool MeshController::forgetThisRadio() {
    const QString key = std::exchange(m_bookRadioKey, QString());
    if (m_bookTimer != 0) {
        m_clock->cancel(m_bookTimer);
        m_bookTimer = 0;
    }
    if (m_settings)
        m_settings->remove(m_reconnect.settingsKey(lastDeviceKeyKey));
    disconnectFromDevice(); // forgets the remembered radio; the lists go
    setRadioAway(false);
    bool removed = true;
    if (m_books && !key.isEmpty()) {
        removed = m_books->remove(key);
        if (!removed)
            setNodeBookError(QStringLiteral("The node book %1 could not be deleted.")
                                 .arg(m_books->pathFor(key)));
    }
    readKnownNames();
    return removed;
}

NodeBook MeshController::currentBook() const {
    NodeBook book;
    if (m_selfInfo)
        book.selfInfo = *m_selfInfo;
    book.selfInfo.publicKey = m_bookRadioKey;
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
    if (!m_books || publicKey.isEmpty())
        return;
    setRadioAway(false);
    if (publicKey != m_bookRadioKey) {
        // Another radio than the book's: its own book (or nothing) stands in
        // until its answers come.
        writeBookNow();
        m_bookRadioKey = publicKey;
        const NodeBookStore::Loaded loaded = m_books->load(publicKey);
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
    if (!m_books || m_bookRadioKey.isEmpty() || m_radioAway || m_bookTimer != 0 ||
        m_transportState != TransportState::connected || !m_selfInfo ||
        m_selfInfo->publicKey != m_bookRadioKey)
        return;
    m_bookTimer = m_clock->schedule(nodeBookWriteDelay, [this] {
        m_bookTimer = 0;
        saveBook();
    });
}

// A write that waits is done now.
void MeshController::writeBookNow() {
    if (m_bookTimer == 0)
        return;
    m_clock->cancel(m_bookTimer);
    m_bookTimer = 0;
    saveBook();
}

void MeshController::saveBook() {
    if (m_books && !m_bookRadioKey.isEmpty())
        m_books->save(currentBook());
}

void MeshController::readKnownNames() {
    if (m_books)
        assign(m_knownNames, m_books->knownNames(), &MeshController::knownNamesChanged);
}

// The link has ended: what the radio last said stays in view.
void MeshController::radioWentAway() {
    writeBookNow();
    setBattery(std::nullopt);
    setRadioAway(true);
}

void MeshController::setRadioAway(bool away) {
    assign(m_radioAway, away, &MeshController::radioAwayChanged);
}

void MeshController::setNodeBookError(const QString& error) {
    assign(m_nodeBookError, error, &MeshController::nodeBookErrorChanged);
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
