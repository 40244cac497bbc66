#include "screenshot_tour.h"

#include "controller/mesh_controller.h"

#include <QCoreApplication>
#include <QDir>
#include <QImage>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QTimer>

ScreenshotTour::ScreenshotTour(QQmlApplicationEngine* engine, MeshController* controller,
                               QString directory, QString suffix, QObject* parent)
    : QObject(parent)
    , m_engine(engine)
    , m_controller(controller)
    , m_directory(std::move(directory))
    , m_suffix(std::move(suffix)) {
    const auto setMode = [this](const char* mode) {
        if (QObject* main = find("mainView"))
            main->setProperty("mode", QString::fromLatin1(mode));
    };
    const auto setSearch = [this](const QString& text) {
        if (QObject* field = find("sidebarSearch"))
            field->setProperty("text", text);
    };
    const auto contactNamed = [this](const QString& name) -> std::optional<Contact> {
        for (const Contact& contact : m_controller->contacts()) {
            if (contact.name == name)
                return contact;
        }
        return std::nullopt;
    };

    m_steps = {
        {[this] { m_controller->startScan(); }, 1500, QStringLiteral("connection")},
        {[this] {
             if (!m_controller->discoveredDevices().isEmpty())
                 m_controller->connectToDevice(m_controller->discoveredDevices().first());
         },
         4000, QStringLiteral("main-empty")},
        {[this, contactNamed] {
             if (const auto aino = contactNamed(QStringLiteral("Aino Virtanen"))) {
                 const auto target = ConversationID::contact(aino->publicKey);
                 m_controller->setSelectedConversation(target);
                 m_controller->sendMessage(QStringLiteral("Hei! Are you on the hill today?"),
                                           target);
             }
         },
         5000, QStringLiteral("chat-direct")},
        {[this] {
             const auto target = ConversationID::channel(0);
             m_controller->setSelectedConversation(target);
             m_controller->sendMessage(QStringLiteral("Morning, mesh 👋"), target);
         },
         1500, QStringLiteral("chat-channel")},
        {[setMode] { setMode("nodes"); }, 600, QStringLiteral("nodes-empty-detail")},
        {[setSearch] { setSearch(QStringLiteral("zzzz")); }, 600,
         QStringLiteral("nodes-search-empty")},
        {[setSearch, setMode] {
             setSearch({});
             setMode("messages");
         },
         200,
         {}},
        {[this] { m_controller->setSelectedConversation(std::nullopt); }, 600,
         QStringLiteral("messages-no-selection")},
    };
}

void ScreenshotTour::start() {
    QDir().mkpath(m_directory);
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
    if (m_next >= m_steps.size()) {
        QCoreApplication::quit();
        return;
    }
    const Step step = m_steps.at(m_next++);
    step.action();
    QTimer::singleShot(step.waitMillis, this, [this, step] {
        if (!step.shot.isEmpty())
            grab(step.shot);
        runNext();
    });
}
