#pragma once

#include "sim_rig.h"
#include "translations.h"
#include "transport/pairing_prompt.h"

#include <QAbstractItemModel>
#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickStyle>
#include <QQuickView>
#include <QQuickWindow>
#include <QSignalSpy>
#include <QTest>
#include <QUuid>
#include <chrono>
#include <memory>
#include <qcoro/qcoroqml.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

// Once per test program that builds views: no user files, the coroutine
// types QML awaits, the shipped English texts, and one style on every
// desktop. False when the texts could not be installed.
inline bool prepareViewTests() {
    TestSupport::isolateFromUserFiles();
    QCoro::Qml::registerTypes();
    QQuickStyle::setStyle(u"Fusion"_s);
    return installTranslations(*QCoreApplication::instance());
}

inline Contact chatContact(const QString& key, const QString& name,
                           MeshProtocol::AdvertType type = MeshProtocol::AdvertType::chat,
                           std::int8_t outPathLength = 1) {
    Contact contact;
    contact.publicKey = key;
    contact.name = name;
    contact.type = type;
    contact.outPathLength = outPathLength;
    for (int hop = 0; hop < outPathLength; ++hop)
        contact.outPath.append(char(0x20 + hop));
    contact.lastAdvert = QDateTime::fromSecsSinceEpoch(1'699'990'000, Qt::UTC);
    contact.lastModified = contact.lastAdvert;
    return contact;
}

inline ChatMessage
chatMessage(ChatMessage::Direction direction, const QString& text, const QDateTime& time,
            ChatMessage::DeliveryState state = ChatMessage::DeliveryState::delivered) {
    ChatMessage message;
    message.id = QUuid::createUuid();
    message.direction = direction;
    message.text = text;
    message.timestamp = time;
    message.deliveryState = state;
    return message;
}

// A model's data by the role name the views use.
inline QVariant roleValue(const QAbstractItemModel& model, int row, const char* role) {
    return model.index(row, 0).data(model.roleNames().key(role));
}
inline QStringList column(const QAbstractItemModel& model, const char* role) {
    QStringList values;
    for (int row = 0; row < model.rowCount(); ++row)
        values << roleValue(model, row, role).toString();
    return values;
}

// Every structural signal a model can send, to assert which ones came.
struct ModelSpies {
    QSignalSpy reset;
    QSignalSpy inserted;
    QSignalSpy removed;
    QSignalSpy moved;
    QSignalSpy changed;
    explicit ModelSpies(QAbstractItemModel* model)
        : reset(model, &QAbstractItemModel::modelReset)
        , inserted(model, &QAbstractItemModel::rowsInserted)
        , removed(model, &QAbstractItemModel::rowsRemoved)
        , moved(model, &QAbstractItemModel::rowsMoved)
        , changed(model, &QAbstractItemModel::dataChanged) {}
    void clear() {
        for (QSignalSpy* spy : {&reset, &inserted, &removed, &moved, &changed})
            spy->clear();
    }
};

// Loads one view of the QML module into a window of its own, with the root's
// required properties set, and shows it; null when it does not load.
inline std::unique_ptr<QQuickView> loadTalvenneView(const QString& file, QVariantMap properties,
                                                    MeshController* controller, QSize size) {
    auto view = std::make_unique<QQuickView>();
    view->engine()->addImportPath(u"qrc:/qt/qml"_s);
    properties.insert(u"controller"_s, QVariant::fromValue(controller));
    view->setInitialProperties(properties);
    view->setResizeMode(QQuickView::SizeRootObjectToView);
    view->resize(size);
    view->setSource(QUrl(u"qrc:/qt/qml/Talvenne/"_s + file));
    view->show();
    if (!view->rootObject() || !QTest::qWaitForWindowExposed(view.get())) {
        qWarning() << view->errors();
        return nullptr;
    }
    return view;
}

inline std::unique_ptr<QQuickView>
loadChatView(MeshController* controller, const QString& conversationKey, QSize size = {720, 640}) {
    return loadTalvenneView(u"ChatView.qml"_s, {{u"conversationKey"_s, conversationKey}},
                            controller, size);
}

template <typename T = QQuickItem>
T* findItem(QQuickView& view, const char* objectName) {
    return view.rootObject() ? view.rootObject()->findChild<T*>(QString::fromLatin1(objectName))
                             : nullptr;
}

// Like findItem, but also walks visual children, where list delegates live.
inline QQuickItem* findVisualItem(QQuickItem* item, const QString& objectName) {
    if (!item)
        return nullptr;
    if (item->objectName() == objectName)
        return item;
    for (QQuickItem* child : item->childItems()) {
        if (QQuickItem* found = findVisualItem(child, objectName))
            return found;
    }
    return nullptr;
}

// A list view's delegate at `index`; null while it is not created.
inline QQuickItem* itemAtIndex(QObject* list, int index) {
    QQuickItem* row = nullptr;
    if (list)
        QMetaObject::invokeMethod(list, "itemAtIndex", Q_RETURN_ARG(QQuickItem*, row),
                                  Q_ARG(int, index));
    return row;
}

inline QString textOf(const QObject* object) {
    return object ? object->property("text").toString() : QString();
}

inline void click(QQuickItem* item, Qt::MouseButton button = Qt::LeftButton) {
    QVERIFY(item);
    const QPointF centre = item->mapToScene({item->width() / 2, item->height() / 2});
    QTest::mouseClick(item->window(), button, {}, centre.toPoint());
}

// A view or list model that follows a controller from the start.
template <typename Model>
struct Bound : Model {
    explicit Bound(const std::unique_ptr<MeshController>& controller) {
        this->setController(controller.get());
    }
};

// The controller over the simulated radio that the views and their models are
// tested against: with the demo's neighbours (Aino Virtanen, Ridge Repeater,
// Harbour Room, ...), or alone for a test that brings its own contacts and
// `history`.
struct UiRig : SimRig {
    enum Neighbours { demoNeighbours, alone };
    explicit UiRig(Neighbours neighbours = demoNeighbours, const QList<Conversation>& history = {},
                   bool holdHistory = false)
        : SimRig(3, history, holdHistory) {
        if (neighbours == demoNeighbours)
            radio.populateDemoNeighbours();
    }

    // The conversation with the contact of that name.
    ConversationID chatWith(const QString& name) const {
        const auto contact = contactNamed(name);
        return ConversationID::contact(contact ? contact->publicKey : QString());
    }
};

// The whole window (Main.qml) over a rig's controller, its items found by
// object name. The engine goes before the controller it shows.
struct WindowRig : UiRig {
    // What a radio asks while it pairs, as the Bluetooth adapter would ask it.
    PairingPrompt pairingPrompt;
    QQmlApplicationEngine engine;

    explicit WindowRig(Neighbours neighbours = demoNeighbours,
                       QQmlNetworkAccessManagerFactory* network = nullptr, bool holdHistory = false)
        : UiRig(neighbours, {}, holdHistory) {
        if (network)
            engine.setNetworkAccessManagerFactory(network);
        engine.setInitialProperties(
            {{u"controller"_s, QVariant::fromValue(controller.get())},
             {u"pairingPrompt"_s, QVariant::fromValue<QObject*>(&pairingPrompt)}});
        engine.load(QUrl(u"qrc:/qt/qml/Talvenne/Main.qml"_s));
    }

    QQuickWindow* window() const {
        return qobject_cast<QQuickWindow*>(engine.rootObjects().value(0));
    }
    template <typename T = QObject>
    T* find(const char* name) const {
        return window() ? window()->findChild<T*>(QLatin1String(name)) : nullptr;
    }
    // Looks through visual children too, where repeated and list items live.
    QQuickItem* item(const char* name) const {
        return window() ? findVisualItem(window()->contentItem(), QLatin1String(name)) : nullptr;
    }
    bool shows(const char* name) const {
        auto* item = find<QQuickItem>(name);
        return item && item->isVisible();
    }
    // A property of the named object; invalid while there is none.
    QVariant value(const char* name, const char* property = "text") const {
        QObject* object = find(name);
        return object ? object->property(property) : QVariant();
    }
    QString text(const char* name) const { return value(name).toString(); }
    int count(const char* list) const { return value(list, "count").toInt(); }
    bool connectToMainView() {
        return connect() && QTest::qWaitFor([&] { return shows("mainView"); });
    }
    // Moves virtual time and lets Qt Quick catch up (fades, bindings).
    void advance(std::chrono::milliseconds duration) {
        clock.advance(duration);
        QTest::qWait(20);
    }
};
