#pragma once

#include "controller/mesh_controller.h"

#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QString>
#include <memory>

// Loads one view of the QML module into a window of its own, with the
// root's required properties set.
inline std::unique_ptr<QQuickView> loadTalvenneView(const QString& file,
                                                    const QVariantMap& properties, QSize size) {
    auto view = std::make_unique<QQuickView>();
    view->engine()->addImportPath(QStringLiteral("qrc:/qt/qml"));
    view->setInitialProperties(properties);
    view->setResizeMode(QQuickView::SizeRootObjectToView);
    view->resize(size);
    view->setSource(QUrl(QStringLiteral("qrc:/qt/qml/Talvenne/") + file));
    return view;
}

// Loads the chat view of one conversation.
inline std::unique_ptr<QQuickView>
loadChatView(MeshController* controller, const QString& conversationKey, QSize size = {720, 640}) {
    return loadTalvenneView(QStringLiteral("ChatView.qml"),
                            {{QStringLiteral("controller"), QVariant::fromValue(controller)},
                             {QStringLiteral("conversationKey"), conversationKey}},
                            size);
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
