#include "AiStatus.h"

#include "app/AppStateBinding.h"
#include "ui/controls/Theme.h"

using namespace Qt::StringLiterals;

namespace kalvo {

namespace {

bool environmentHas(const char *name)
{
    return !qEnvironmentVariable(name).trimmed().isEmpty();
}

} // namespace

AiStatus::Environment AiStatus::Environment::current()
{
    return {environmentHas("ANTHROPIC_API_KEY"), environmentHas("OPENAI_API_KEY"),
            environmentHas("KALVO_BACKEND_TOKEN")};
}

AiStatus::AiStatus(QObject *parent) : QObject(parent)
{
    refresh();
}

QObject *AiStatus::appStateObject() const
{
    return m_state;
}

void AiStatus::setAppStateObject(QObject *object)
{
    if (!rebindAppState(this, m_state, object))
        return;
    if (m_state) {
        connect(m_state, &AppState::aiLinkChanged, this, &AiStatus::refresh);
        connect(m_state, &AppState::aiModelChanged, this, &AiStatus::refresh);
        connect(m_state, &AppState::configChanged, this, &AiStatus::refresh);
    }
    refresh();
    emit appStateChanged();
}

bool AiStatus::busy() const
{
    if (m_testing || !m_state)
        return true;
    const AppState::AiCheck check = m_state->aiCheck();
    return check == AppState::AiCheck::Pending || check == AppState::AiCheck::Checking;
}

void AiStatus::refresh()
{
    const Environment environment = Environment::current();
    if (m_state) {
        const bool openaiKeyKnown = !m_state->config().openaiApiKey.trimmed().isEmpty() || environment.openaiKey;
        m_lines = linesFor(m_state->aiRoute(), m_state->aiCheck(), m_state->aiSpeech(), m_state->aiModel(),
                           openaiKeyKnown);
        m_notes = notesFor(m_state->aiRoute(), m_state->isDemo(), environment);
    } else {
        m_lines = linesFor({}, AppState::AiCheck::Pending, std::nullopt, QString(), false);
        m_notes.clear();
    }
    emit changed();
}

void AiStatus::test()
{
    if (busy())
        return;
    m_testing = true;
    m_testResult = u"Teste Verbindung…"_s;
    m_testResultColor = Theme::textMuted();
    emit changed();
    runTest(); // finishes by itself; it checks that this object still exists
}

QCoro::Task<> AiStatus::runTest()
{
    const QPointer<AiStatus> self(this);
    const QPointer<AppState> state = m_state;
    co_await state->testAiConnection();
    if (!self)
        co_return;
    m_testing = false;
    if (state && state->aiCheck() == AppState::AiCheck::Answered) {
        const std::optional<bool> speech = state->aiSpeech();
        m_testResult = u"✓ Claude antwortet ("_s + AppState::shortModelName(state->aiModel()) + u')'
                       + (!speech ? QString() : *speech ? u" · Sprache ✓"_s : u" · keine Sprache"_s);
        m_testResultColor = Theme::green();
    } else {
        m_testResult = u"⚠ AI-Backend nicht erreichbar"_s;
        m_testResultColor = Theme::orange();
    }
    refresh();
}

QString AiStatus::backendName(const QUrl &backend)
{
    if (backend.host().isEmpty())
        return backend.toString();
    return backend.port() < 0 ? backend.host() : u"%1:%2"_s.arg(backend.host()).arg(backend.port());
}

AiStatus::Lines AiStatus::linesFor(const AiRoute &route, AppState::AiCheck check, std::optional<bool> speech,
                                   const QString &model, bool openaiKeyKnown)
{
    using Check = AppState::AiCheck;
    using Kind = AiRoute::Kind;
    const QString where = backendName(route.backend);
    Lines lines;

    switch (check) {
    case Check::Pending:
    case Check::Checking:
        lines.claude = {u"Claude API: wird geprüft…"_s, Theme::textMuted()};
        break;
    case Check::Answered:
        switch (route.kind) {
        case Kind::Embedded: lines.claude.text = u"Claude API: verbunden (eigener Schlüssel)"_s; break;
        case Kind::Demo: lines.claude.text = u"Claude API: Demo (Offline-Analyst)"_s; break;
        case Kind::Shared:
        case Kind::Default: lines.claude.text = u"Claude API: verbunden über "_s + where; break;
        }
        lines.claude.dot = Theme::green();
        break;
    case Check::Unreachable:
        switch (route.kind) {
        case Kind::Default:
            lines.claude.text = u"Claude API: nicht eingerichtet — Schlüssel unter KI-BACKEND eintragen"_s;
            break;
        case Kind::Embedded: lines.claude.text = u"Claude API: keine Antwort mit dem eigenen Schlüssel"_s; break;
        case Kind::Shared: lines.claude.text = u"Claude API: "_s + where + u" nicht erreichbar"_s; break;
        case Kind::Demo: lines.claude.text = u"Claude API: Offline-Analyst antwortet nicht"_s; break;
        }
        lines.claude.dot = Theme::red();
        break;
    }

    // Speech goes through the same backend: none answering, no speech.
    if (check == Check::Unreachable) {
        lines.speech = {u"Sprachausgabe: nicht verfügbar"_s, Theme::red()};
    } else if (speech == true) {
        const QString how = route.kind == Kind::Embedded ? u" (OpenAI TTS)"_s
                            : route.kind == Kind::Demo   ? u" (lokal)"_s
                                                         : QString();
        lines.speech = {u"Sprachausgabe: verfügbar"_s + how, Theme::blue()};
    } else if (speech == false) {
        const bool keyMissing = route.kind == Kind::Embedded && !openaiKeyKnown;
        lines.speech = {keyMissing ? u"Sprachausgabe: nicht verfügbar — kein OpenAI-Schlüssel"_s
                                   : u"Sprachausgabe: nicht verfügbar"_s,
                        Theme::red()};
    } else {
        lines.speech = {u"Sprachausgabe: ungeprüft — „Verbindung testen“ prüft sie"_s, Theme::textMuted()};
    }

    lines.model = model.isEmpty() ? Line{u"Aktives Modell: keines"_s, Theme::textMuted()}
                                  : Line{u"Aktives Modell: "_s + model, Theme::purple()};
    return lines;
}

QStringList AiStatus::notesFor(const AiRoute &route, bool demo, const Environment &environment)
{
    QStringList notes;
    if (demo)
        notes << u"Demo: Die KI-Antworten kommen vom Offline-Analysten. Was hier steht, wird gespeichert, "
                 "in der Demo aber nicht genutzt."_s;
    else
        notes << u"„Speichern“ übernimmt Schlüssel, Adresse und Token sofort, ohne Neustart."_s;
    notes << u"Mit einer Backend-Adresse gehen alle KI-Anfragen dorthin; die Schlüssel bleiben dann ungenutzt."_s
          << u"Neue Schlagzeilen bewertet die KI nur, solange ein Claude-Schlüssel eingetragen ist."_s;
    if (environment.anthropicKey)
        notes << u"ANTHROPIC_API_KEY aus der Umgebung gilt statt des Claude-Schlüssels hier."_s;
    if (environment.openaiKey)
        notes << u"OPENAI_API_KEY aus der Umgebung gilt statt des OpenAI-Schlüssels hier."_s;
    if (!route.namedFile.isEmpty())
        notes << u"Die Adressen kommen aus %1 (--endpoints / KALVO_ENDPOINTS); die Backend-Adresse hier "
                 "gilt erst ohne diese Angabe."_s.arg(route.namedFile);
    // The embedded backend hands its own token over in the same variable.
    const bool tokenFromUser = route.kind == AiRoute::Kind::Shared || route.kind == AiRoute::Kind::Default;
    if (environment.backendToken && tokenFromUser)
        notes << u"KALVO_BACKEND_TOKEN aus der Umgebung gilt statt des Tokens hier."_s;
    return notes;
}

} // namespace kalvo
