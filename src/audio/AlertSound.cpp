#include "AlertSound.h"

#include <QCoreApplication>
#include <QFile>
#include <QHash>
#include <QAudioDevice>
#include <QMediaDevices>
#include <QSoundEffect>
#include <QTimer>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace kalvo {

namespace {

QString resourcePath(const QString &name)
{
    return ":/sounds/"_L1 + name + ".wav"_L1;
}

// One effect per sound, loaded once and kept for the life of the app so
// that repeated alerts start without decoding again.
QSoundEffect *effectFor(const QString &name)
{
    static QHash<QString, QSoundEffect *> effects;
    if (QSoundEffect *effect = effects.value(name))
        return effect;
    auto *effect = new QSoundEffect(QCoreApplication::instance());
    effect->setSource(QUrl("qrc"_L1 + resourcePath(name)));
    effects.insert(name, effect);
    return effect;
}

void playNow(const QString &requested)
{
    if (QMediaDevices::defaultAudioOutput().isNull())
        return;
    QString name = requested;
    if (!QFile::exists(resourcePath(name)))
        name = u"Ping"_s;
    if (!QFile::exists(resourcePath(name)))
        return;
    QSoundEffect *effect = effectFor(name);
    if (effect->status() == QSoundEffect::Ready) {
        effect->play();
        return;
    }
    // Still loading: play as soon as it is ready, once.
    auto connection = std::make_shared<QMetaObject::Connection>();
    *connection = QObject::connect(effect, &QSoundEffect::statusChanged, effect, [effect, connection] {
        if (effect->status() == QSoundEffect::Loading)
            return;
        QObject::disconnect(*connection);
        if (effect->status() == QSoundEffect::Ready)
            effect->play();
    });
}

} // namespace

const QStringList &alertSoundNames()
{
    static const QStringList names{u"Ping"_s,      u"Pop"_s,   u"Glass"_s, u"Hero"_s,
                                   u"Funk"_s,      u"Submarine"_s, u"Basso"_s, u"Frog"_s,
                                   u"Morse"_s,     u"Purr"_s,  u"Sosumi"_s, u"Tink"_s};
    return names;
}

void playAlertSound(const QString &name)
{
    QTimer::singleShot(0, QCoreApplication::instance(), [name] { playNow(name); });
}

} // namespace kalvo
