#pragma once

#include "app/AppState.h"

#include <QPointer>

namespace kalvo {

// The common first step of a view adapter's `appState` setter: forgets the
// connections to the state it followed and takes the new one (null when
// `object` is no AppState). False when it already followed that state, so
// the setter has nothing to do.
inline bool rebindAppState(QObject *adapter, QPointer<AppState> &current, QObject *object)
{
    auto *state = qobject_cast<AppState *>(object);
    if (current == state)
        return false;
    if (current)
        QObject::disconnect(current, nullptr, adapter, nullptr);
    current = state;
    return true;
}

} // namespace kalvo
