#pragma once

#include <QObject>
#include <QPointer>

// Points a model at the object it follows, as QML hands it in: keeps
// `object` in `held` when it is a `T` (any other object counts as none),
// drops `receiver`'s connections to the one held before, and lets `hook`
// connect to the new one. False when it is held already.
template <typename T, typename Hook>
bool followObject(QPointer<T>& held, QObject* object, QObject* receiver, Hook hook) {
    T* next = qobject_cast<T*>(object);
    if (next == held)
        return false;
    if (held)
        held->disconnect(receiver);
    held = next;
    if (next)
        hook(next);
    return true;
}
