#include "CalendarPresentation.h"

#include "ui/controls/Theme.h"

#include <QTimeZone>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace kalvo::CalendarPresentation {

namespace {

struct Category
{
    QStringList keywords;
    QString title;
    QStringList explanations;
};

// Walked in this order; the first hit wins, which is why the central banks
// come before the speeches their officials give.
const QList<Category> &categories()
{
    // Releases and speeches are often titled after the person at the top of
    // the central bank, so three categories carry one surname each. Update
    // them when the office changes hands.
    static const QString fedChair = u"warsh"_s;
    static const QString ecbPresident = u"lagarde"_s;
    static const QString boeGovernor = u"bailey"_s;

    static const QList<Category> table{
        {{u"fomc"_s, u"federal funds rate"_s, u"fed interest rate"_s, u"fed rate decision"_s, u"fomc statement"_s,
          u"fomc press conference"_s, fedChair},
         u"FOMC / US-Notenbank (Fed)"_s,
         {u"Die Federal Open Market Committee (FOMC) entscheidet über den Leitzins (Federal Funds Rate) und "
          "gibt eine Einschätzung zur Geldpolitik ab."_s,
          u"Für Forex und Aktien ist das einer der wichtigsten Termine: Höhere Zinsen stützen oft den "
          "US-Dollar, während Dovish-Töne oder Zinssenkungen ihn schwächen können."_s,
          u"Prognose vs. Ist: Der Markt hat die Erwartung oft schon eingepreist — überrascht die Fed (Dot "
          "Plot, Statement, Pressekonferenz), folgen starke Bewegungen."_s}},
        {{u"cpi"_s, u"consumer price index"_s, u"core cpi"_s, u"inflation rate"_s, u"pce"_s, u"core pce"_s},
         u"Inflation / Verbraucherpreise (CPI & Co.)"_s,
         {u"Der CPI (Consumer Price Index) misst die Preisentwicklung eines Warenkorbs — Kern-CPI (ohne "
          "Energie & Nahrungsmittel) gilt oft als 'sauberer' Trendindikator."_s,
          u"Hohe Inflation kann die Notenbank zu strafferer Geldpolitik drängen → oft stützend für die Währung "
          "kurzfristig, mittelfristig abhängig von Rezessionsängsten."_s,
          u"PCE ist die von der Fed bevorzugte Inflationskennzahl (USA)."_s}},
        {{u"nfp"_s, u"non-farm"_s, u"nonfarm payroll"_s, u"employment change"_s, u"adp employment"_s,
          u"jobless claims"_s, u"unemployment rate"_s, u"jolts"_s},
         u"Arbeitsmarkt USA (NFP & Co.)"_s,
         {u"Der Non-Farm Payrolls (NFP)-Bericht zeigt, wie viele Jobs außerhalb der Landwirtschaft entstanden "
          "oder weggefallen sind — Kerndaten für die Fed."_s,
          u"Starker Arbeitsmarkt kann zu höheren Zinsen und einem stärkeren USD führen; schwache Daten können "
          "das Gegenteil erwarten lassen."_s,
          u"ADP ist ein Vorläufer, Initial Jobless Claims wöchentlich — alle beeinflussen Erwartungen vor dem "
          "NFP-Freitag."_s}},
        {{u"gdp"_s, u"gross domestic product"_s},
         u"Bruttoinlandsprodukt (BIP / GDP)"_s,
         {u"Das BIP misst den Wert aller Güter und Dienstleistungen — Hauptindikator für Wachstum oder "
          "Konjunkturabschwung."_s,
          u"Überraschungen gegenüber Prognose können die betroffene Währung und Risiko-Assets deutlich "
          "bewegen; Revisionen späterer Daten sind üblich."_s}},
        {{u"ecb"_s, u"european central bank"_s, u"deposit facility"_s, u"refinancing rate"_s, ecbPresident},
         u"EZB (Europäische Zentralbank)"_s,
         {u"Die ECB steuert die Geldpolitik der Eurozone (Leitzins, Ankaufprogramme, Forward Guidance)."_s,
          u"Pressekonferenz und Statement bewegen EUR-Paare oft stärker als die reine Zinsentscheidung."_s}},
        {{u"boe"_s, u"bank of england"_s, boeGovernor},
         u"Bank of England (BoE)"_s,
         {u"Die BoE entscheidet über den britischen Leitzins und ihre Inflations- und Wachstumseinschätzung."_s,
          u"Wichtig für GBP und EUR/GBP; politische Nachrichten können zusätzlich wirken."_s}},
        {{u"boj"_s, u"bank of japan"_s, u"jgb"_s, u"yield curve control"_s},
         u"Bank of Japan (BoJ)"_s,
         {u"Die BoJ ist bekannt für ultralockere Politik und hat historisch YCC genutzt — Änderungen gelten "
          "als selten aber marktbewegend für JPY."_s}},
        {{u"snb"_s, u"swiss national bank"_s},
         u"Schweizerische Nationalbank (SNB)"_s,
         {u"Die SNB beeinflusst CHF durch Zinsentscheidungen und früher auch durch "
          "Devisenmarkt-Interventionen."_s}},
        {{u"rba"_s, u"reserve bank of australia"_s},
         u"Reserve Bank of Australia (RBA)"_s,
         {u"Die RBA setzt die australische Geldpolitik — wichtig für AUD und Rohstoffkorrelationen."_s}},
        {{u"boc"_s, u"bank of canada"_s},
         u"Bank of Canada (BoC)"_s,
         {u"Die BoC steuert die kanadische Geldpolitik — CAD reagiert oft auf Ölpreise und US-Konjunktur."_s}},
        {{u"pmi"_s, u"purchasing managers"_s, u"ism manufacturing"_s, u"services pmi"_s},
         u"PMI / Einkaufsmanagerindizes"_s,
         {u"PMI-Werte über 50 deuten auf Expansion, unter 50 auf Kontraktion — Frühindikatoren vor offiziellen "
          "BIP-Daten."_s,
          u"US-ISM und S&P Global PMI für viele Länder werden eng beobachtet."_s}},
        {{u"retail sales"_s},
         u"Einzelhandelsumsätze"_s,
         {u"Zeigen die Konsumstärke — wichtig für Wachstum und Währung, wenn Daten stark von der Prognose "
          "abweichen."_s}},
        {{u"industrial production"_s, u"factory orders"_s, u"durable goods"_s},
         u"Industrie & Aufträge"_s,
         {u"Indikatoren für industrielle Produktion und Investitionsgüter — Rückschlüsse auf Konjunkturzyklus "
          "und Exporte."_s}},
        {{u"trade balance"_s, u"current account"_s, u"exports"_s, u"imports"_s},
         u"Handel & Leistungsbilanz"_s,
         {u"Exporte, Importe und Handelsbilanz beeinflussen die Nachfrage nach einer Währung."_s}},
        {{u"building permits"_s, u"housing starts"_s, u"existing home sales"_s},
         u"Immobilien / Bau"_s,
         {u"Daten zum Wohnungsbau und Immobilienmarkt — Sensibel für Zinsen; in den USA eng mit Fed-Zyklen "
          "verknüpft."_s}},
        {{u"consumer confidence"_s, u"sentiment"_s, u"gfk"_s, u"ifo"_s, u"zew"_s},
         u"Konjunktur- & Verbrauchervertrauen"_s,
         {u"Umfragen spiegeln Erwartungen wider — können sich auf Konsum und Investitionen vorauswirken."_s}},
        {{u"crude oil"_s, u"eia"_s, u"api weekly"_s, u"natural gas storage"_s},
         u"Energielager & EIA/API"_s,
         {u"US-Lagerdaten für Rohöl bewegen oft WTI, CAD und manchmal breitere Risikostimmung."_s}},
        {{u"speech"_s, u"testimony"_s, u"remarks"_s, u"governor speaks"_s, u"chair speaks"_s},
         u"Rede / Testimony einer Notenbank"_s,
         {u"Einzelne Aussagen von Notenbankern können so wirksam sein wie Zinsentscheidungen — Markt sucht "
          "nach Hinweisen auf den nächsten Schritt ('hawkish' vs. 'dovish')."_s}},
    };
    return table;
}

const EventCategory &generalCategory()
{
    static const EventCategory category{
        u"Allgemein: Wirtschaftstermin"_s,
        {u"Dies ist ein terminierter Wirtschaftsdatensatz oder ein offizielles Ereignis (Behörde, Zentralbank "
         "oder Statistikamt). Die Veröffentlichung erfolgt zu einer festen Zeit; Broker und Datenanbieter "
         "zeigen oft Prognose (Forecast), Vorperiode (Previous) und nach Release den Ist-Wert (Actual)."_s}};
    return category;
}

// Where undated events sort and group: after everything that has a date.
const QDateTime &distantFuture()
{
    static const QDateTime instant(QDate(4001, 1, 1), QTime(0, 0), QTimeZone::utc());
    return instant;
}

// Minutes from `now` until `instant`, with the fraction.
double minutesUntil(const QDateTime &instant, const QDateTime &now)
{
    return double(now.msecsTo(instant)) / 60000.0;
}

// "2h 05m" for at least an hour ahead.
QString hoursAndMinutes(double minutes)
{
    const auto hours = qint64(minutes / 60);
    const auto rest = qint64(std::fmod(minutes, 60.0));
    return u"%1h %2m"_s.arg(hours).arg(rest, 2, 10, QChar(u'0'));
}

QString dateTimeText(const QDateTime &instant)
{
    return QLocale::c().toString(instant, u"dd.MM.yyyy  HH:mm"_s);
}

} // namespace

QString impactMarker(Impact impact)
{
    switch (impact) {
    case Impact::High: return u"●●●"_s;
    case Impact::Medium: return u"●●○"_s;
    case Impact::Low: return u"●○○"_s;
    case Impact::Holiday:
    case Impact::Unknown: break;
    }
    return u"○○○"_s;
}

QString impactBadge(Impact impact)
{
    switch (impact) {
    case Impact::High: return u"HOCH  ●●●"_s;
    case Impact::Medium: return u"MITTEL  ●●○"_s;
    case Impact::Low: return u"NIEDRIG  ●○○"_s;
    case Impact::Holiday:
    case Impact::Unknown: break;
    }
    return u"—  ○○○"_s;
}

QColor impactColor(Impact impact)
{
    switch (impact) {
    case Impact::High: return Theme::red();
    case Impact::Medium: return Theme::yellow();
    case Impact::Low: return Theme::blue();
    case Impact::Holiday:
    case Impact::Unknown: break;
    }
    return Theme::textMuted();
}

QColor rowBackground(Impact impact)
{
    return impact == Impact::High ? colorFromHex(u"#160a0a") : Theme::background();
}

std::optional<QString> countdownLabel(const CalendarEvent &event, const QDateTime &now)
{
    if (event.isAllDay())
        return std::nullopt;
    const auto date = event.parsedDate();
    if (!date)
        return std::nullopt;
    const double minutes = minutesUntil(*date, now);
    if (minutes < 0)
        return u"Vorbei"_s;
    if (minutes < 60)
        return u"in %1m"_s.arg(qint64(minutes));
    return u"in "_s + hoursAndMinutes(minutes);
}

QColor countdownColor(const CalendarEvent &event, const QDateTime &now)
{
    const auto date = event.parsedDate();
    if (!date)
        return Theme::textMuted();
    const double minutes = minutesUntil(*date, now);
    if (minutes < 0)
        return Theme::textMuted();
    // The last hour before a release is when a trader acts on it.
    return minutes < 60 ? Theme::yellow() : Theme::textSecondary();
}

std::optional<DetailCountdown> detailCountdown(const CalendarEvent &event, const QDateTime &now)
{
    const auto date = event.parsedDate();
    if (!date)
        return std::nullopt;
    const double minutes = minutesUntil(*date, now);
    DetailCountdown countdown;
    countdown.upcoming = minutes > 0;
    countdown.iconColor = minutes > 0 && minutes <= 30 ? Theme::yellow() : Theme::textMuted();
    if (minutes <= 0) {
        countdown.text = u"Ereignis ist bereits vorbei"_s;
        countdown.textColor = Theme::textMuted();
    } else if (minutes < 60) {
        countdown.text = u"Findet statt in %1 Minuten"_s.arg(qint64(minutes));
        countdown.textColor = Theme::yellow();
    } else {
        countdown.text = u"Findet statt in "_s + hoursAndMinutes(minutes);
        countdown.textColor = Theme::textSecondary();
    }
    return countdown;
}

QList<DataRow> dataRows(const CalendarEvent &event)
{
    const QColor plain = Theme::textPrimary();
    QList<DataRow> rows{
        {u"Ereignis"_s, event.event, false, false, plain},
        {u"Währung / Region"_s, event.currency + u"  ("_s + event.country + u')', false, false, plain},
        {u"Datum / Zeit (lokal)"_s, localDateTimeText(event), false, false, plain},
        {u"Zeit (UTC)"_s, utcDateTimeText(event), false, false, plain},
        {u"Rohzeit (Quelle)"_s, event.time, false, false, plain},
        {u"Impact"_s, impactBadge(event.impact), false, true, impactColor(event.impact)},
    };
    if (!event.forecast.isEmpty())
        rows.append({u"Prognose (Forecast)"_s, event.forecast, false, false, plain});
    if (!event.previous.isEmpty())
        rows.append({u"Vorperiode (Previous)"_s, event.previous, false, false, plain});
    if (!event.actual.isEmpty())
        rows.append({u"Ist-Wert (Actual)"_s, event.actual, true, false, Theme::yellow()});
    return rows;
}

QString localDateTimeText(const CalendarEvent &event)
{
    const auto date = event.parsedDate();
    if (!date)
        return event.time;
    return dateTimeText(date->toLocalTime()) + u" ("_s + localZoneAbbreviation(*date) + u')';
}

QString utcDateTimeText(const CalendarEvent &event)
{
    const auto date = event.parsedDate();
    return date ? dateTimeText(date->toUTC()) + u" UTC"_s : u"—"_s;
}

QString localZoneAbbreviation(const QDateTime &instant)
{
    const QString abbreviation = QTimeZone::systemTimeZone().abbreviation(instant);
    return abbreviation.isEmpty() ? u"lokal"_s : abbreviation;
}

EventCategory classifyEvent(const QString &title)
{
    const QString lower = title.toLower();
    for (const Category &category : categories()) {
        const bool hit = std::any_of(category.keywords.cbegin(), category.keywords.cend(),
                                     [&](const QString &keyword) { return lower.contains(keyword); });
        if (hit)
            return {category.title, category.explanations};
    }
    return generalCategory();
}

QList<CalendarEvent> inDateOrder(QList<CalendarEvent> events)
{
    auto key = [](const CalendarEvent &event) { return event.parsedDate().value_or(distantFuture()); };
    QList<std::pair<QDateTime, qsizetype>> keys;
    keys.reserve(events.size());
    for (qsizetype i = 0; i < events.size(); ++i)
        keys.append({key(events.at(i)), i});
    std::stable_sort(keys.begin(), keys.end(),
                     [](const auto &a, const auto &b) { return a.first < b.first; });
    QList<CalendarEvent> sorted;
    sorted.reserve(events.size());
    for (const auto &entry : keys)
        sorted.append(std::move(events[entry.second]));
    return sorted;
}

QDate localDay(const CalendarEvent &event)
{
    return event.parsedDate().value_or(distantFuture()).toLocalTime().date();
}

QString dayTitle(const QDate &day, const QLocale &locale)
{
    return locale.toString(day, u"dddd dd.MM."_s);
}

} // namespace kalvo::CalendarPresentation
