#pragma once

#include <QString>
#include <QStringList>

namespace kalvo {

// The alert sounds, in the order the settings offer them.
const QStringList &alertSoundNames();

// Plays the named alert sound once, or "Ping" for a name we do not have.
// Returns at once; lookup and playback happen later on the GUI thread.
// Without an audio output this does nothing and says nothing.
void playAlertSound(const QString &name);

} // namespace kalvo
