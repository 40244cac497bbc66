#include "window_probe.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMouseEvent>
#include <QQuickItem>
#include <QQuickWindow>
#include <functional>
#include <unistd.h>

namespace {

// Visible items with an object name, depth first in the order they stack.
void visibleNamed(QQuickItem* item, const std::function<void(QQuickItem*)>& visit) {
    if (!item->isVisible() || item->opacity() <= 0)
        return;
    if (!item->objectName().isEmpty())
        visit(item);
    for (QQuickItem* child : item->childItems())
        visibleNamed(child, visit);
}

} // namespace

WindowProbe* WindowProbe::startIfAsked(QQuickWindow* window) {
    if (!window || qEnvironmentVariableIntValue("TALVENNE_WINDOW_PROBE") != 1)
        return nullptr;
    return new WindowProbe(window, window);
}

WindowProbe::WindowProbe(QQuickWindow* window, QObject* parent)
    : QObject(parent)
    , m_window(window)
    , m_input(STDIN_FILENO, QSocketNotifier::Read) {
    m_clock.start();
    connect(&m_input, &QSocketNotifier::activated, this, &WindowProbe::readCommand);
}

void WindowProbe::readCommand() {
    char buffer[512];
    const ssize_t got = ::read(STDIN_FILENO, buffer, sizeof buffer);
    if (got <= 0) { // the test went away
        m_input.setEnabled(false);
        return;
    }
    m_pending.append(buffer, got);
    qsizetype end;
    while ((end = m_pending.indexOf('\n')) >= 0) {
        const QStringList words =
            QString::fromUtf8(m_pending.left(end)).split(QLatin1Char(' '), Qt::SkipEmptyParts);
        m_pending.remove(0, end + 1);
        QByteArray answer;
        if (words.value(0) == QLatin1String("texts"))
            answer = texts();
        else if (words.value(0) == QLatin1String("click") && words.size() == 3)
            answer = click(words[1], words[2].toInt()) ? "clicked" : "none";
        else
            answer = "unknown";
        answer.append('\n');
        ::write(STDOUT_FILENO, answer.constData(), size_t(answer.size()));
    }
}

QByteArray WindowProbe::texts() const {
    QJsonObject shown;
    visibleNamed(m_window->contentItem(), [&shown](QQuickItem* item) {
        QVariant text = item->property("text");
        if (!text.isValid())
            return;
        // A text edit's text may be a rich document: what it reads as.
        QString plain;
        if (item->metaObject()->indexOfMethod("getText(int,int)") >= 0 &&
            QMetaObject::invokeMethod(item, "getText", Q_RETURN_ARG(QString, plain), Q_ARG(int, 0),
                                      Q_ARG(int, item->property("length").toInt())))
            text = plain;
        QJsonArray texts = shown.value(item->objectName()).toArray();
        texts.append(text.toString());
        shown.insert(item->objectName(), texts);
    });
    return QJsonDocument(shown).toJson(QJsonDocument::Compact);
}

bool WindowProbe::click(const QString& name, int index) {
    QQuickItem* target = nullptr;
    visibleNamed(m_window->contentItem(), [&](QQuickItem* item) {
        if (item->objectName() == name && index-- == 0)
            target = item;
    });
    if (!target)
        return false;
    const QPointF at = target->mapToScene(QPointF(target->width() / 2, target->height() / 2));
    const QPointF global = m_window->mapToGlobal(at);
    // As a mouse would: onto the item, then pressed and released a moment
    // later (an event without a time is taken for no click).
    const auto send = [&](QEvent::Type type, Qt::MouseButton button, Qt::MouseButtons buttons,
                          qint64 time) {
        QMouseEvent event(type, at, global, button, buttons, Qt::NoModifier);
        event.setTimestamp(quint64(time));
        QCoreApplication::sendEvent(m_window, &event);
    };
    const qint64 now = m_clock.elapsed() + 1000;
    send(QEvent::MouseMove, Qt::NoButton, Qt::NoButton, now);
    send(QEvent::MouseButtonPress, Qt::LeftButton, Qt::LeftButton, now + 20);
    send(QEvent::MouseButtonRelease, Qt::LeftButton, Qt::NoButton, now + 80);
    return true;
}
