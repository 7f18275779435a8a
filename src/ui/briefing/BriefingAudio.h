#pragma once

#include "audio/AudioPlayerService.h"

#include <QMediaPlayer>
#include <QtQml/qqml.h>

// The briefing view creates and owns its player, so the audio service is a
// QML type of this module; the platform player it hands out for seeking is
// known to QML by its properties only.
struct AudioPlayerServiceForeign
{
    Q_GADGET
    QML_FOREIGN(kalvo::AudioPlayerService)
    QML_NAMED_ELEMENT(AudioPlayerService)
};

struct MediaPlayerForeign
{
    Q_GADGET
    QML_FOREIGN(QMediaPlayer)
    QML_ANONYMOUS
};
