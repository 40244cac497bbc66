#include "screenshot_tour.h"

#include "controller/mesh_controller.h"
#include "sim/radio_frames.h"
#include "sim/simulated_radio.h"
#include "storage/owned_lock.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QKeyEvent>
#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTimer>
#include <QUuid>

using namespace Qt::StringLiterals;

namespace {

const QString aino = QStringLiteral("Aino Virtanen");

ChatMessage message(ChatMessage::Direction direction, const QString& text, const QDateTime& at,
                    ChatMessage::DeliveryState state = ChatMessage::DeliveryState::delivered) {
    ChatMessage m;
    m.id = QUuid::createUuid();
    m.direction = direction;
    m.text = text;
    m.timestamp = at;
    m.deliveryState = state;
    return m;
}

} // namespace

ScreenshotTour::ScreenshotTour(QQmlApplicationEngine* engine, MeshController* controller,
                               SimulatedRadio* radio, QString directory, QString suffix,
                               QObject* parent)
    : QObject(parent)
    , m_engine(engine)
    , m_controller(controller)
    , m_radio(radio)
    , m_directory(std::move(directory))
    , m_suffix(std::move(suffix)) {
    const QDBusConnection bus = QDBusConnection::systemBus();
    m_standInBluez = bus.isConnected() && bus.interface() &&
                     bus.interface()->isServiceRegistered(QStringLiteral("org.talvenne.FakeBluez"));
    if (m_standInBluez)
        m_scenes = bluetoothScenes();
    m_scenes += scenes();
    m_scenes += bookScenes();
}

// What the connection screen says when Bluetooth cannot be used, played on
// the stand-in BlueZ that scripts/screenshots.sh starts; Bluetooth works
// again at the end. Then radios as the system knows them: one paired that
// does not advertise, two of the same name, and one that asks for its PIN,
// whose pairing is cancelled and which is then to be forgotten.
QList<ScreenshotTour::Scene> ScreenshotTour::bluetoothScenes() {
    const QString harbour = QStringLiteral("C0:FF:EE:00:00:21");
    const QString twinA = QStringLiteral("C0:FF:EE:00:00:22");
    const QString twinB = QStringLiteral("C0:FF:EE:00:00:23");
    const QString ridge = QStringLiteral("C0:FF:EE:00:00:24");
    const QStringList all{harbour, twinA, twinB, ridge};
    return {
        {QStringLiteral("bluetooth-off"), 1800, [this] { bluez("SetPowered", {false}); }},
        // A refusal is only known once the adapter has stayed off a while.
        {QStringLiteral("bluetooth-off-refused"), 2800,
         [this] {
             bluez("SetPowerOnAllowed", {false});
             if (QObject* button = find("bluetoothPowerOn"))
                 QMetaObject::invokeMethod(button, "clicked");
         }},
        {QStringLiteral("bluetooth-no-adapter"), 1800, [this] { bluez("RemoveAdapter"); }},
        {QStringLiteral("bluetooth-not-permitted"), 1800,
         [this] {
             bluez("SetDenied", {true});
             bluez("AddAdapter");
         }},
        {QStringLiteral("bluetooth-no-service"), 1800,
         [this] {
             bluez("SetDenied", {false});
             bluez("ReleaseService");
         }},
        {{}, 1500, [this] { bluez("ClaimService"); }},
        {QStringLiteral("connection-known"), 1500,
         [=, this] {
             bluez("AddRadio", {harbour, QStringLiteral("Harbour Radio"), -64});
             bluez("Configure", {harbour, QVariantMap{{QStringLiteral("paired"), true},
                                                      {QStringLiteral("advertising"), false}}});
             bluez("AddRadio", {twinA, QStringLiteral("Talvenne Radio"), -58});
             bluez("AddRadio", {twinB, QStringLiteral("Talvenne Radio"), -81});
             bluez("AddRadio", {ridge, QStringLiteral("Ridge Radio"), -69});
             bluez("Configure", {ridge, QVariantMap{{QStringLiteral("security"), u"notify"_s},
                                                    {QStringLiteral("pin"), u"123456"_s}}});
             m_controller->startScan();
         }},
        {QStringLiteral("pin-sheet"), 1500,
         [this] {
             for (const DiscoveredDevice& device : m_controller->discoveredDevices()) {
                 if (device.name == QLatin1String("Ridge Radio"))
                     m_controller->connectToDevice(device);
             }
             QTimer::singleShot(900, this, [this] {
                 if (QObject* field = find("pinField"))
                     field->setProperty("text", QStringLiteral("1234"));
             });
         }},
        // Cancelled: the failure offers the radio again, and forgetting it.
        {QStringLiteral("connection-pairing-cancelled"), 1200,
         [this] {
             if (QObject* sheet = find("pinSheet")) {
                 if (QObject* form = sheet->findChild<QObject*>(QStringLiteral("form")))
                     QMetaObject::invokeMethod(form, "cancel");
             }
         }},
        {QStringLiteral("forget-confirmation"), 800,
         [this] {
             if (QObject* button = find("forgetFailedButton"))
                 QMetaObject::invokeMethod(button, "clicked");
         }},
        {{},
         800,
         [=, this] {
             if (QObject* dialog = find("forgetDialog"))
                 QMetaObject::invokeMethod(dialog, "close");
             bluez("Configure", {harbour, QVariantMap{{QStringLiteral("paired"), false}}});
             for (const QString& address : all)
                 bluez("SetInRange", {address, false});
             bluez("ForgetDevices");
             m_controller->stopScan();
         }},
    };
}

void ScreenshotTour::bluez(const char* method, const QVariantList& arguments) {
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.talvenne.FakeBluez"), QStringLiteral("/control"),
        QStringLiteral("org.talvenne.FakeBluez"), QLatin1String(method));
    call.setArguments(arguments);
    QDBusConnection::systemBus().call(call, QDBus::Block, 2000);
}

// One row per picture, in the order a person would meet them. Scenes act on
// the controller and on the views' own state, then wait for the demo radio
// and for animations before the picture is taken.
QList<ScreenshotTour::Scene> ScreenshotTour::scenes() {
    return {
        {QStringLiteral("connection"), 1500, [this] { m_controller->startScan(); }},
        // Keyboard focus on the radio's row shows its ring.
        {QStringLiteral("connection-focus"), 400, [this] { focusByTab("deviceRow"); }},
        {QStringLiteral("main-empty"), 4000,
         [this] {
             for (const DiscoveredDevice& device : m_controller->discoveredDevices()) {
                 if (device.id == SimulatedRadio::deviceId)
                     m_controller->connectToDevice(device);
             }
         }},
        {QStringLiteral("chat-direct"), 1200,
         [this] {
             const QString key = contactKeyNamed(aino);
             fillDirectChat(key);
             m_controller->setVerified(key);
             m_controller->setSelectedConversation(ConversationID::contact(key));
         }},
        {QStringLiteral("chat-direct-report"), 900, [this] { openLastReportCard(); }},
        {QStringLiteral("chat-failed-menu"), 700, [this] { openFailureMenu(); }},
        // The sidebar list and the mode picker as a keyboard user sees them.
        {QStringLiteral("focus-list"), 400, [this] { focusByTab("conversationList"); }},
        {QStringLiteral("focus-mode-picker"), 400, [this] { focusByTab("modePicker"); }},
        {QStringLiteral("chat-channel"), 1200,
         [this] {
             fillChannelChat();
             m_controller->setSelectedConversation(ConversationID::channel(0));
         }},
        // The public channel at Mentions only with a mention of the user
        // unread, a channel set to Nothing with its count in grey.
        {{}, 900, [this] { m_controller->joinHashtagChannel(QStringLiteral("lakeside")); }},
        {QStringLiteral("sidebar-levels"), 900, [this] { fillQuietChannels(); }},
        // A long conversation opens at its first unread message; scrolled
        // up, three more arrive.
        {QStringLiteral("chat-unread-divider"), 1200,
         [this] {
             const QString key = contactKeyNamed(QStringLiteral("Harbour Room"));
             fillLongChat(key);
             m_controller->setSelectedConversation(ConversationID::contact(key));
         }},
        {QStringLiteral("chat-jump-latest"), 900, [this] { scrollUpAndReceive(); }},
        // The muted channel's info pane with its level.
        {QStringLiteral("channel-info"), 900,
         [this] {
             m_controller->setSelectedConversation(ConversationID::channel(1));
             setMain("inspector", QStringLiteral("chatInfo"));
         }},
        {{},
         100,
         [this] {
             setMain("inspector", QString());
             m_controller->setNotificationLevel(ConversationID::channel(0), NotificationLevel::all);
         }},
        // File > Save Conversation As…, and what a failed save says.
        {QStringLiteral("save-conversation"), 1200,
         [this] {
             if (QObject* item = find("saveConversationMenuItem")) {
                 if (auto* action = item->property("action").value<QObject*>())
                     QMetaObject::invokeMethod(action, "trigger");
             }
         }},
        {QStringLiteral("save-conversation-failed"), 800,
         [this] {
             if (QObject* dialog = find("saveConversationFileDialog"))
                 QMetaObject::invokeMethod(dialog, "reject");
             if (QObject* failure = find("saveConversationFailure")) {
                 failure->setProperty("reason", QStringLiteral("No space left on device"));
                 QMetaObject::invokeMethod(failure, "open");
             }
         }},
        {{},
         300,
         [this] {
             if (QObject* failure = find("saveConversationFailure"))
                 QMetaObject::invokeMethod(failure, "close");
         }},
        {QStringLiteral("chat-empty"), 900,
         [this] {
             const QString key = contactKeyNamed(QStringLiteral("Jérôme Bélanger"));
             m_controller->setSelectedConversation(ConversationID::contact(key));
         }},
        // A draft past the limit turns the counter red and disables sending.
        {QStringLiteral("chat-empty-long-draft"), 500,
         [this] {
             if (QObject* composer = find("composerText"))
                 composer->setProperty(
                     "text", QString(150, QLatin1Char('m'))
                                 .replace(QStringLiteral("mmmmm"), QStringLiteral("mmmm ")));
         }},
        {{},
         100,
         [this] {
             if (QObject* composer = find("composerText"))
                 composer->setProperty("text", QString());
         }},
        {QStringLiteral("nodes"), 800,
         [this] {
             setMain("mode", QStringLiteral("nodes"));
             setMain("nodeSelection", contactKeyNamed(QStringLiteral("Ridge Repeater")));
         }},
        {QStringLiteral("nodes-no-position"), 800,
         [this] { setMain("nodeSelection", contactKeyNamed(QStringLiteral("Valley RPT-2"))); }},
        {QStringLiteral("nodes-search-empty"), 600,
         [this] {
             if (QObject* field = find("sidebarSearch"))
                 field->setProperty("text", QStringLiteral("zzzz"));
         }},
        {{},
         200,
         [this] {
             if (QObject* field = find("sidebarSearch"))
                 field->setProperty("text", QString());
             setMain("mode", QStringLiteral("messages"));
             setMain("nodeSelection", QString());
         }},
        // The map of every node, a marker's name as the keyboard reaches
        // it, the outline's limit when zoomed in, a land of lakes, and the
        // street map switch.
        {QStringLiteral("mesh-map"), 1500, [this] { setMain("showsMap", true); }},
        {QStringLiteral("mesh-map-marker"), 500,
         [this] {
             focusByTab("meshMap");
             pressKey(Qt::Key_Tab);
             pressKey(Qt::Key_Tab);
         }},
        {QStringLiteral("mesh-map-outline-limit"), 1500,
         [this] {
             // Around the user's radio, closer than the outline can tell.
             if (QObject* map = find("meshMap"))
                 QMetaObject::invokeMethod(map, "showSpan", Q_ARG(double, 60.1699),
                                           Q_ARG(double, 24.9384), Q_ARG(double, 0.02));
         }},
        // Finland's lakes, water on the land with their shores and islands.
        {QStringLiteral("mesh-map-lakes"), 1500,
         [this] {
             if (QObject* map = find("meshMap"))
                 QMetaObject::invokeMethod(map, "showSpan", Q_ARG(double, 62.0),
                                           Q_ARG(double, 27.5), Q_ARG(double, 6.0));
         }},
        {QStringLiteral("mesh-map-settings"), 600,
         [this] {
             if (QObject* button = find("mapSettingsButton"))
                 QMetaObject::invokeMethod(button, "clicked");
         }},
        {{},
         300,
         [this] {
             if (QObject* popup = find("mapSettingsPopup"))
                 QMetaObject::invokeMethod(popup, "close");
             setMain("showsMap", false);
         }},
        {QStringLiteral("messages-no-selection"), 600,
         [this] { m_controller->setSelectedConversation(std::nullopt); }},
        // The sheets: an add that the radio refuses, a half-typed secret, and
        // a freshly created channel's secret.
        {{}, 400, [this] { setMain("showAddContact", true); }},
        {QStringLiteral("add-contact-error"), 900,
         [this] {
             if (m_radio)
                 m_radio->failNextAnyCommand(MeshProtocol::DeviceError::tableFull);
             fillSheet("addContactSheet",
                       {{"nameField", QStringLiteral("Saana Korhonen")},
                        {"keyField", QStringLiteral("5e:1b:7c:90:aa:42:d3:18:6f:0c:e2:97:b4:5a:"
                                                    "81:3d:c6:29:f0:74:1e:a8:5b:c3:90:2d:67:e4:"
                                                    "18:af:52:0b")}},
                       "submit");
         }},
        {{}, 300, [this] { setMain("showAddContact", false); }},
        // A key that is in the contact list already: named, offered to open.
        {{}, 400, [this] { setMain("showAddContact", true); }},
        {QStringLiteral("add-contact-exists"), 700,
         [this] {
             const QList<Contact> contacts = m_controller->contacts();
             if (contacts.isEmpty())
                 return;
             fillSheet("addContactSheet", {{"nameField", QStringLiteral("Saana")},
                                           {"keyField", contacts.first().publicKey}});
         }},
        {{}, 300, [this] { setMain("showAddContact", false); }},
        {QStringLiteral("add-channel-join-private"), 700,
         [this] {
             setMain("showAddChannel", true);
             QTimer::singleShot(200, this, [this] {
                 if (QObject* sheet = find("addChannelSheet")) {
                     if (QObject* form = sheet->findChild<QObject*>(QStringLiteral("form")))
                         form->setProperty("mode", 1);
                 }
                 fillSheet("addChannelSheet",
                           {{"nameField", QStringLiteral("Harbour crew")},
                            {"secretField", QStringLiteral("0749ea26 7c6be7b5 4ca1dbba")}});
             });
         }},
        {QStringLiteral("add-channel-created"), 900,
         [this] {
             if (QObject* sheet = find("addChannelSheet")) {
                 if (QObject* form = sheet->findChild<QObject*>(QStringLiteral("form")))
                     form->setProperty("mode", 0);
             }
             fillSheet("addChannelSheet", {{"nameField", QStringLiteral("Night owls")}}, "submit");
         }},
        {{}, 300, [this] { setMain("showAddChannel", false); }},
        // The public channel, joined already: named, offered to open.
        {{}, 400, [this] { setMain("showAddChannel", true); }},
        {QStringLiteral("add-channel-exists"), 700,
         [this] {
             if (QObject* sheet = find("addChannelSheet")) {
                 if (QObject* form = sheet->findChild<QObject*>(QStringLiteral("form")))
                     form->setProperty("mode", 2);
             }
         }},
        {{}, 300, [this] { setMain("showAddChannel", false); }},
        // The device pane beside a chat.
        {QStringLiteral("device"), 1500,
         [this] {
             m_controller->setSelectedConversation(ConversationID::channel(0));
             setMain("inspector", QStringLiteral("device"));
         }},
        // Its foot, right after a flood advert.
        {QStringLiteral("device-adverts"), 800,
         [this] {
             if (QObject* pane = find("deviceView")) {
                 auto* flickable = pane->property("contentItem").value<QObject*>();
                 if (flickable)
                     flickable->setProperty("contentY",
                                            flickable->property("contentHeight").toReal() -
                                                flickable->property("height").toReal());
             }
             if (QObject* advert = find("floodAdvert"))
                 QMetaObject::invokeMethod(advert, "send");
         }},
        {QStringLiteral("device-reboot"), 600,
         [this] {
             if (QObject* dialog = find("rebootDialog"))
                 QMetaObject::invokeMethod(dialog, "open");
         }},
        {QStringLiteral("device-forget"), 600,
         [this] {
             if (QObject* dialog = find("rebootDialog"))
                 QMetaObject::invokeMethod(dialog, "close");
             if (QObject* pane = find("deviceView")) {
                 if (QObject* dialog = pane->findChild<QObject*>(QStringLiteral("forgetDialog")))
                     QMetaObject::invokeMethod(dialog, "open");
             }
         }},
        {QStringLiteral("device-focus"), 400,
         [this] {
             if (QObject* pane = find("deviceView")) {
                 if (QObject* dialog = pane->findChild<QObject*>(QStringLiteral("forgetDialog")))
                     QMetaObject::invokeMethod(dialog, "close");
             }
             focusByTab("rebootButton");
         }},
        // The smallest window with each inspector beside a direct chat.
        {QStringLiteral("minimum-device"), 1200,
         [this] {
             m_controller->setSelectedConversation(ConversationID::contact(contactKeyNamed(aino)));
             resizeWindow(900, 600);
         }},
        {QStringLiteral("minimum-chat-info"), 900,
         [this] { setMain("inspector", QStringLiteral("chatInfo")); }},
        {QStringLiteral("minimum-empty-chat"), 900,
         [this] {
             setMain("inspector", QStringLiteral("device"));
             m_controller->setSelectedConversation(
                 ConversationID::contact(contactKeyNamed(QStringLiteral("Jérôme Bélanger"))));
         }},
        {{},
         600,
         [this] {
             resizeWindow(1120, 720);
             setMain("inspector", QString());
         }},
        // The chat info pane in its three verification states.
        {QStringLiteral("chat-info-verified"), 900,
         [this] {
             m_controller->setSelectedConversation(ConversationID::contact(contactKeyNamed(aino)));
             setMain("inspector", QStringLiteral("chatInfo"));
         }},
        {QStringLiteral("chat-info-not-verified"), 600,
         [this] { m_controller->clearVerified(contactKeyNamed(aino)); }},
        {QStringLiteral("chat-info-mismatch"), 1200,
         [this] {
             m_controller->setVerified(contactKeyNamed(aino));
             // Someone else takes the same name with a key of their own.
             Contact impostor;
             impostor.publicKey = QStringLiteral("b7e0c2d95a13") + QString(52, QLatin1Char('9'));
             impostor.name = aino;
             impostor.type = MeshProtocol::AdvertType::chat;
             impostor.outPathLength = -1;
             impostor.lastAdvert = QDateTime::currentDateTimeUtc().addSecs(-300);
             impostor.lastModified = impostor.lastAdvert;
             if (m_radio) {
                 m_radio->addContact(impostor);
                 m_radio->pushFrame(
                     RadioFrames::contactFrame(impostor, RadioFrames::Code::newAdvert));
             }
             QTimer::singleShot(400, this, [this, key = impostor.publicKey] {
                 m_controller->setSelectedConversation(ConversationID::contact(key));
                 setMain("inspector", QStringLiteral("chatInfo"));
             });
         }},
        // Strangers pick their names and texts: markup, overrides, invisible
        // and control characters, piles of marks and right-to-left scripts.
        {QStringLiteral("hostile-names"), 1500,
         [this] {
             const QString key = addHostileNeighbours();
             m_controller->setSelectedConversation(ConversationID::contact(key));
             setMain("inspector", QStringLiteral("chatInfo"));
         }},
        {QStringLiteral("hostile-channel"), 900,
         [this] {
             setMain("inspector", QString());
             m_controller->setSelectedConversation(ConversationID::channel(0));
         }},
        // Every conversation searched at once.
        {QStringLiteral("history-search"), 1200,
         [this] {
             QObject* root = m_engine->rootObjects().value(0);
             QObject* search =
                 root ? root->findChild<QObject*>(QStringLiteral("historySearch")) : nullptr;
             if (!search)
                 return;
             QMetaObject::invokeMethod(search, "open");
             if (QObject* field = search->findChild<QObject*>(QStringLiteral("historySearchField")))
                 field->setProperty("text", QStringLiteral("harbour"));
         }},
        {QStringLiteral("history-search-opened"), 1200,
         [this] {
             QObject* root = m_engine->rootObjects().value(0);
             if (QObject* search =
                     root ? root->findChild<QObject*>(QStringLiteral("historySearch")) : nullptr)
                 QMetaObject::invokeMethod(search, "choose", Q_ARG(QVariant, 1));
         }},
        // Another Talvenne keeps the history: nothing can be sent, and
        // quitting asks first.
        {QStringLiteral("history-held"), 1200,
         [this] {
             m_controller->setSelectedConversation(ConversationID::contact(contactKeyNamed(aino)));
             holdHistoryElsewhere(true);
             m_controller->appendMessage(message(ChatMessage::Direction::incoming,
                                                 QStringLiteral("Anyone on the ridge?"),
                                                 QDateTime::currentDateTimeUtc()),
                                         ConversationID::channel(0));
         }},
        {QStringLiteral("quit-unsaved"), 700,
         [this] {
             if (QObject* dialog = find("unsavedHistoryDialog"))
                 QMetaObject::invokeMethod(dialog, "open");
         }},
        {{},
         2500,
         [this] {
             if (QObject* dialog = find("unsavedHistoryDialog"))
                 QMetaObject::invokeMethod(dialog, "close");
             holdHistoryElsewhere(false);
         }},
        // The radio drops and stays away: the window waits for it.
        {QStringLiteral("reconnecting"), 1200,
         [this] {
             m_controller->setSelectedConversation(ConversationID::contact(contactKeyNamed(aino)));
             if (m_radio) {
                 m_controller->enableAutomaticReconnection();
                 m_radio->setInRange(false);
                 m_radio->dropLink();
             }
         }},
        // No longer looked for: the window stays on the radio's node book.
        {QStringLiteral("book-away"), 1200, [this] { m_controller->setAutoReconnect(false); }},
        {QStringLiteral("book-away-device"), 900,
         [this] { setMain("inspector", QStringLiteral("device")); }},
    };
}

// The window on the node book while Bluetooth is off, then the radio back:
// its answers take the book's place.
QList<ScreenshotTour::Scene> ScreenshotTour::bookScenes() {
    QList<Scene> scenes;
    if (m_standInBluez) {
        scenes.append(Scene{QStringLiteral("book-bluetooth-off"), 1800, [this] {
                                setMain("inspector", QString());
                                bluez("SetPowered", {false});
                            }});
        scenes.append(Scene{{}, 1500, [this] { bluez("SetPowered", {true}); }});
    }
    scenes.append(Scene{QStringLiteral("book-radio-back"), 5000, [this] {
                            setMain("inspector", QString());
                            if (m_radio)
                                m_radio->setInRange(true);
                            m_controller->setAutoReconnect(true);
                        }});
    return scenes;
}

ScreenshotTour::~ScreenshotTour() = default;

void ScreenshotTour::holdHistoryElsewhere(bool hold) {
    const QString lock = QDir(m_directory).filePath(QStringLiteral("history.json.lock"));
    const QString moved = lock + QStringLiteral(".moved");
    if (hold) {
        QFile::remove(moved);
        QFile::rename(lock, moved);
        m_otherTalvenne = std::make_unique<OwnedLock>(lock);
        m_otherTalvenne->acquire();
    } else {
        m_otherTalvenne.reset();
        QFile::remove(moved);
    }
}

// Neighbours whose names and messages try every trick; returns the key of
// the one whose chat the tour opens.
QString ScreenshotTour::addHostileNeighbours() {
    using Direction = ChatMessage::Direction;
    const QStringList names{
        QStringLiteral("<b>Bold</b> <i>Bob</i>"),
        QStringLiteral("<img src=http://127.0.0.1:9/>"),
        QStringLiteral("<u>Ann</u>\u202Egnp.exe"),
        QStringLiteral("Al\u200Bi\u2066ce\uFEFF \u0007\u001B[31m"),
        QStringLiteral("Z") + QString(13, QChar(0x0301)) + QStringLiteral("algo"),
        QStringLiteral("علي الحسن"),
        QStringLiteral("שלום <i>Dana</i>"),
    };
    const QStringList texts{
        QStringLiteral("<img src=\"http://127.0.0.1:9/x.png\"> hi"),
        QStringLiteral("pay \u202E0001\u202C now\u0007"),
        QStringLiteral("meet at <gate 3> at 5"),
        QString(120, QLatin1Char('W')),
        QStringLiteral("<a href=\"http://example.org\">click</a>"),
        QStringLiteral("مرحبا 12:30"),
        QStringLiteral("line one\nline two"),
    };
    const QDateTime t = QDateTime::currentDateTimeUtc().addSecs(-600);
    QString first;
    for (int i = 0; i < names.size(); ++i) {
        Contact contact;
        contact.publicKey = QStringLiteral("e%1").arg(i) + QString(62, QLatin1Char('4'));
        contact.name = names.at(i);
        contact.type = MeshProtocol::AdvertType::chat;
        contact.outPathLength = 1;
        contact.lastAdvert = t;
        contact.lastModified = t;
        if (m_radio) {
            m_radio->addContact(contact);
            m_radio->pushFrame(RadioFrames::contactFrame(contact, RadioFrames::Code::newAdvert));
        }
        m_controller->appendMessage(message(Direction::incoming, texts.at(i), t.addSecs(i)),
                                    ConversationID::contact(contact.publicKey));
        if (first.isEmpty())
            first = contact.publicKey;
    }
    const QStringList channelLines{
        QStringLiteral("<b>Mallory</b>: <img src=\"http://127.0.0.1:9/y.png\"> look"),
        QStringLiteral("\u202Eyrollam: the override stays in its box"),
        QStringLiteral("דנה: שלום לכולם"),
        QStringLiteral("Z") + QString(12, QChar(0x0336)) + QStringLiteral(": marks stay in line"),
    };
    for (int i = 0; i < channelLines.size(); ++i)
        m_controller->appendMessage(
            message(Direction::incoming, channelLines.at(i), t.addSecs(60 + i)),
            ConversationID::channel(0));
    return first;
}

void ScreenshotTour::start() {
    QDir().mkpath(m_directory);
    // The scenes fill conversations of their own: from the history read on.
    if (!m_controller->historyLoaded()) {
        connect(m_controller, &MeshController::historyLoadedChanged, this, &ScreenshotTour::start,
                Qt::SingleShotConnection);
        return;
    }
    QTimer::singleShot(800, this, &ScreenshotTour::runNext);
}

QObject* ScreenshotTour::find(const char* objectName) const {
    for (QObject* root : m_engine->rootObjects()) {
        if (root->objectName() == QLatin1String(objectName))
            return root;
        if (QObject* child = root->findChild<QObject*>(QLatin1String(objectName)))
            return child;
    }
    return nullptr;
}

void ScreenshotTour::setMain(const char* property, const QVariant& value) {
    if (QObject* main = find("mainView"))
        main->setProperty(property, value);
}

QString ScreenshotTour::contactKeyNamed(const QString& name) const {
    for (const Contact& contact : m_controller->contacts()) {
        if (contact.name == name)
            return contact.publicKey;
    }
    return {};
}

// A direct conversation that holds a message in every delivery state, with
// links, a mention and signal figures on the incoming side.
void ScreenshotTour::fillDirectChat(const QString& contactKey) {
    using Direction = ChatMessage::Direction;
    using State = ChatMessage::DeliveryState;
    const ConversationID chat = ConversationID::contact(contactKey);
    const QDateTime t = QDateTime::currentDateTimeUtc().addSecs(-3600);
    const auto in = [&](const QString& text, int minutes, double snr) {
        ChatMessage m = message(Direction::incoming, text, t.addSecs(60 * minutes));
        m.snr = snr;
        m_controller->appendMessage(m, chat);
    };
    const auto out = [&](const QString& text, int minutes, State state) {
        ChatMessage m = message(Direction::outgoing, text, t.addSecs(60 * minutes), state);
        if (state == State::sent)
            m.estimatedTimeoutMillis = 4200;
        if (state == State::delivered) {
            m.hopCount = 2;
            m.roundTripMillis = 1840;
            m.snr = 7.25;
        }
        m_controller->appendMessage(m, chat);
    };
    in(QStringLiteral("Hei! Are you coming to the harbour tonight?"), 0, 8.5);
    out(QStringLiteral("Yes, around six. I'll bring the spare antenna."), 2, State::delivered);
    in(QStringLiteral("Great, @[Jérôme Bélanger] is coming too. Map: https://example.org/harbour"),
       3, 2.25);
    out(QStringLiteral("This one never made it"), 5, State::failed);
    in(QStringLiteral("Signal is weak up here on the ridge…"), 7, -8.0);
    out(QStringLiteral("Ping @Aino, still there?"), 9, State::sent);
    out(QStringLiteral("Sending now"), 10, State::sending);
    out(QStringLiteral("Photos: https://example.org/walk 📷"), 11, State::delivered);
}

// The public channel with named senders, links and mentions.
void ScreenshotTour::fillChannelChat() {
    using Direction = ChatMessage::Direction;
    const ConversationID channel = ConversationID::channel(0);
    const QDateTime t = QDateTime::currentDateTimeUtc().addSecs(-1800);
    const char* const lines[] = {
        "Alice: Morning all! Anyone near the ridge repeater?",
        "Bob Tanaka: I'm 2 km east, @Alice — signal looks good",
        "Élise: New firmware notes: https://example.org/notes",
        "🦊 Kettu: @[Bob Tanaka] can you relay for me?",
    };
    int minute = 0;
    for (const char* line : lines) {
        ChatMessage m =
            message(Direction::incoming, QString::fromUtf8(line), t.addSecs(60 * (minute += 3)));
        m.snr = minute % 2 ? 6.0 : -1.5;
        m_controller->appendMessage(m, channel);
    }
    m_controller->appendMessage(message(Direction::outgoing,
                                        QStringLiteral("On my way with coffee ☕"),
                                        t.addSecs(60 * (minute + 2))),
                                channel);
}

void ScreenshotTour::fillQuietChannels() {
    using Direction = ChatMessage::Direction;
    m_controller->setSelectedConversation(ConversationID::contact(contactKeyNamed(aino)));
    const ConversationID lakeside = ConversationID::channel(1);
    const ConversationID publicChannel = ConversationID::channel(0);
    m_controller->setNotificationLevel(lakeside, NotificationLevel::nothing);
    m_controller->setNotificationLevel(publicChannel, NotificationLevel::mentions);
    const QDateTime t = QDateTime::currentDateTimeUtc().addSecs(-600);
    for (int i = 0; i < 6; ++i)
        m_controller->appendMessage(
            message(Direction::incoming, QStringLiteral("Hiker %1: ice is thin by the pier").arg(i),
                    t.addSecs(60 * i)),
            lakeside);
    m_controller->appendMessage(
        message(Direction::incoming, QStringLiteral("Élise: sauna at six?"), t.addSecs(400)),
        publicChannel);
    m_controller->appendMessage(
        message(Direction::incoming,
                QStringLiteral("🦊 Kettu: @[%1] are you coming?").arg(m_controller->ownName()),
                t.addSecs(500)),
        publicChannel);
}

// 300 messages, the last 40 unread.
void ScreenshotTour::fillLongChat(const QString& contactKey) {
    using Direction = ChatMessage::Direction;
    const ConversationID target = ConversationID::contact(contactKey);
    const QDateTime t = QDateTime::currentDateTimeUtc().addSecs(-300 * 60);
    for (int i = 0; i < 300; ++i) {
        if (i == 260)
            m_controller->markConversationRead(target);
        const bool outgoing = i < 260 && i % 5 == 0;
        m_controller->appendMessage(
            message(
                outgoing ? Direction::outgoing : Direction::incoming,
                outgoing
                    ? QStringLiteral("Noted, thanks")
                    : QStringLiteral("Harbour log %1: boats in, wind %2 m/s").arg(i).arg(3 + i % 7),
                t.addSecs(60 * i)),
            target);
    }
}

// The chat scrolled up by hand, then three messages arrive.
void ScreenshotTour::scrollUpAndReceive() {
    if (QObject* list = find("messageList")) {
        list->setProperty("contentY", list->property("contentY").toReal() - 600);
        QMetaObject::invokeMethod(list, "movementEnded");
    }
    const auto target = m_controller->selectedConversation();
    if (!target)
        return;
    for (int i = 0; i < 3; ++i)
        m_controller->appendMessage(message(ChatMessage::Direction::incoming,
                                            QStringLiteral("Harbour log: boat %1 in").arg(i + 1),
                                            QDateTime::currentDateTimeUtc()),
                                    *target);
}

// Unfolds the report card of the newest delivered message on screen.
void ScreenshotTour::openLastReportCard() {
    auto* list = qobject_cast<QQuickItem*>(find("messageList"));
    if (!list)
        return;
    // Wholly in the list's view.
    const auto onScreen = [list](QQuickItem* item) {
        const QRectF area = item->mapRectToItem(list, item->boundingRect());
        return item->isVisible() && area.top() >= 0 && area.bottom() <= list->height();
    };
    QQuickItem* last = nullptr;
    // Delegates hang off the list's content item, not off their QObject
    // parent; those the list keeps for reuse are hidden there.
    std::function<void(QQuickItem*)> visit = [&](QQuickItem* item) {
        if (onScreen(item) && item->property("messageId").isValid() &&
            item->property("outgoing").toBool() &&
            item->property("stateSymbol").toString() == QStringLiteral("checkmark.circle.fill") &&
            (!last || item->property("index").toInt() > last->property("index").toInt()))
            last = item;
        for (QQuickItem* child : item->childItems())
            visit(child);
    };
    visit(list);
    if (last)
        last->setProperty("expanded", true);
}

// Clicks the mark of the newest failed message, which opens its menu.
void ScreenshotTour::openFailureMenu() {
    auto* window = m_engine->rootObjects().isEmpty()
                       ? nullptr
                       : qobject_cast<QQuickWindow*>(m_engine->rootObjects().first());
    if (!window)
        return;
    QQuickItem* mark = nullptr;
    std::function<void(QQuickItem*)> visit = [&](QQuickItem* item) {
        if (item->objectName() == QStringLiteral("failureMark") && item->isVisible())
            mark = item;
        for (QQuickItem* child : item->childItems())
            visit(child);
    };
    visit(window->contentItem());
    if (mark)
        QMetaObject::invokeMethod(mark, "clicked");
}

void ScreenshotTour::focusByTab(const char* objectName) {
    auto* window = m_engine->rootObjects().isEmpty()
                       ? nullptr
                       : qobject_cast<QQuickWindow*>(m_engine->rootObjects().first());
    if (!window)
        return;
    std::function<QQuickItem*(QQuickItem*)> search = [&](QQuickItem* item) -> QQuickItem* {
        if (item->objectName() == QLatin1String(objectName) && item->isVisible())
            return item;
        for (QQuickItem* child : item->childItems())
            if (QQuickItem* found = search(child))
                return found;
        return nullptr;
    };
    if (QQuickItem* item = search(window->contentItem()))
        item->forceActiveFocus(Qt::TabFocusReason);
}

void ScreenshotTour::pressKey(int key) {
    auto* window = m_engine->rootObjects().isEmpty()
                       ? nullptr
                       : qobject_cast<QQuickWindow*>(m_engine->rootObjects().first());
    if (!window)
        return;
    QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier);
    QCoreApplication::sendEvent(window, &press);
    QKeyEvent release(QEvent::KeyRelease, key, Qt::NoModifier);
    QCoreApplication::sendEvent(window, &release);
}

void ScreenshotTour::resizeWindow(int width, int height) {
    if (auto* window = m_engine->rootObjects().isEmpty()
                           ? nullptr
                           : qobject_cast<QQuickWindow*>(m_engine->rootObjects().first()))
        window->resize(width, height);
}

void ScreenshotTour::fillSheet(const char* sheetName,
                               const QList<std::pair<const char*, QVariant>>& fields,
                               const char* method) {
    QObject* sheet = find(sheetName);
    if (!sheet)
        return;
    for (const auto& [name, value] : fields) {
        QObject* field = sheet->findChild<QObject*>(QLatin1String(name));
        if (field && value.isValid())
            field->setProperty("text", value);
    }
    if (!method)
        return;
    if (QObject* form = sheet->findChild<QObject*>(QStringLiteral("form")))
        QMetaObject::invokeMethod(form, method);
}

void ScreenshotTour::grab(const QString& name) {
    if (m_engine->rootObjects().isEmpty())
        return;
    auto* window = qobject_cast<QQuickWindow*>(m_engine->rootObjects().first());
    if (!window)
        return;
    const QString file = QDir(m_directory).filePath(name + m_suffix + QStringLiteral(".png"));
    window->grabWindow().save(file);
}

void ScreenshotTour::runNext() {
    if (m_next >= m_scenes.size()) {
        QCoreApplication::quit();
        return;
    }
    const Scene scene = m_scenes.at(m_next++);
    scene.action();
    QTimer::singleShot(scene.waitMillis, this, [this, scene] {
        if (!scene.shot.isEmpty())
            grab(scene.shot);
        runNext();
    });
}
