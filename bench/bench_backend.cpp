// Times the AI backend: offline analyst answers per second (in process and
// over HTTP), local speech for a briefing of about 120 words, the latency the
// proxy adds over a vendor on loopback, and the server's resident memory
// before and after a flood of requests including refused 50 MB uploads.

#include "BackendClient.h"

#include "BackendServer.h"
#include "BriefingWriter.h"
#include "LoopbackServer.h"
#include "OfflineAnalyst.h"
#include "OfflineSpeech.h"
#include "ai/BriefingPrompts.h"
#include "ai/InstrumentPrompts.h"
#include "ai/NewsPrompts.h"
#include "core/MarketStatus.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QTcpSocket>
#include <QTest>
#include <QTimeZone>

#include <algorithm>
#include <cstdio>

using namespace kalvo;
using namespace kalvo::backend;
using namespace Qt::StringLiterals;

namespace {

const QString token = u"bench-token-61f0"_s;

double percentile(QList<double> values, double p)
{
    std::sort(values.begin(), values.end());
    return values.isEmpty() ? 0 : values[qsizetype(p * double(values.size() - 1))];
}

qint64 residentKb()
{
    QFile status(u"/proc/self/status"_s);
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').first().toLongLong();
    }
    return -1;
}

QStringList samplePrompts()
{
    QList<NewsItem> news = test::sampleNews();
    news[0].content = u"The Federal Reserve lowered its policy rate. "_s + QString(900, u'x');
    news[1].content = QString(700, u'y');
    const QList<CalendarEvent> events = test::sampleEvents();
    const QDateTime wednesdayMorning(QDate(2024, 5, 8), QTime(10, 0), QTimeZone::utc());
    return {
        u"ping"_s,
        NewsPrompts::quickScoring(news[0]),
        NewsPrompts::deepAnalysis(news[1]),
        BriefingPrompts::marketOverview(news, {u"EUR/USD"_s, u"GBP/USD"_s, u"USD/JPY"_s}),
        BriefingPrompts::openMarketBriefing(MarketStatus::status(wednesdayMorning), news, events),
        BriefingPrompts::weekendBriefing(news, events),
        InstrumentPrompts::instrumentAnalysis(u"EUR/USD"_s, news, events, 1.0855, 0.23),
    };
}

void analystInProcess()
{
    const QStringList prompts = samplePrompts();
    const int rounds = 3000;
    QElapsedTimer timer;
    timer.start();
    qsizetype bytes = 0;
    for (int i = 0; i < rounds; ++i) {
        for (const QString &prompt : prompts)
            bytes += OfflineAnalyst::reply(prompt).value_or(QString()).size();
    }
    const double seconds = timer.nsecsElapsed() / 1e9;
    std::printf("offline analyst, in process:   %8.0f answers/s (%d prompts of 7 families, %lld chars)\n",
                rounds * prompts.size() / seconds, int(rounds * prompts.size()), qlonglong(bytes));
}

void analystOverHttp()
{
    BackendOptions options;
    options.tokens = {token};
    options.burst = 1'000'000;
    options.log = [](const QString &) {};
    BackendServer server(options);
    server.listen();
    const QUrl url(server.functionsUrl().toString() + u"/aiClaude"_s);
    const QStringList prompts = samplePrompts();
    QNetworkAccessManager network;
    const int total = 2100;
    QElapsedTimer timer;
    timer.start();
    int done = 0;
    for (int sent = 0; sent < total;) {
        QList<QNetworkReply *> batch; // six in flight: the client's connections to one host
        for (int i = 0; i < 6 && sent < total; ++i, ++sent) {
            const QJsonObject call = test::modelCall(token, prompts[sent % prompts.size()]);
            batch << test::startPost(network, url, QJsonDocument(call).toJson(QJsonDocument::Compact));
        }
        for (QNetworkReply *reply : batch)
            done += test::finish(reply).status == 200;
    }
    const double seconds = timer.nsecsElapsed() / 1e9;
    std::printf("offline analyst, over HTTP:    %8.0f answers/s (%d of %d answered 200, 6 connections)\n",
                total / seconds, done, total);
}

void speech()
{
    const QString text =
        u"Hier ist dein Marktbericht zur aktuellen Lage. Aktuell läuft die Phase EU SESSION: Frankfurt und London "
        u"aktiv. Im Mittelpunkt steht die Meldung, dass die amerikanische Notenbank die Zinsen überraschend um einen "
        u"halben Prozentpunkt gesenkt hat. Außerdem meldet FXStreet, dass die Europäische Zentralbank weitere "
        u"Zinserhöhungen signalisiert. Unterm Strich wirkt der Euro gestützt, der US-Dollar dagegen eher belastet. "
        u"Im Kalender stehen als Nächstes die amerikanischen Arbeitsmarktdaten um halb drei an. Die Liquidität "
        u"verteilt sich derzeit auf die großen Währungspaare. Achte besonders auf Reaktionen an wichtigen "
        u"Unterstützungen und Widerständen. Kurzfristige Übertreibungen werden in solchen Phasen oft schnell "
        u"korrigiert. Positionsgrößen sollten zur aktuellen Schwankungsbreite passen. Handle mit klarem "
        u"Risikomanagement und achte auf die Reaktion der Kurse rund um diese Termine. Viel Erfolg beim Handeln."_s;
    QList<double> times;
    qsizetype size = 0;
    for (int i = 0; i < 5; ++i) {
        QElapsedTimer timer;
        timer.start();
        const std::optional<QByteArray> mp3 = OfflineSpeech::synthesize(text);
        times << timer.nsecsElapsed() / 1e6;
        size = mp3 ? mp3->size() : -1;
    }
    const double audioSeconds = size * 8.0 / 48'000; // constant bit rate
    std::printf("speech, %d words:              %8.0f ms median, %.0f ms best (%lld bytes MP3, %.1f s audio, %.0fx real time)\n",
                wordCount(text), percentile(times, 0.5), percentile(times, 0), qlonglong(size), audioSeconds,
                audioSeconds * 1000 / percentile(times, 0.5));
}

QList<double> timedCalls(QNetworkAccessManager &network, const QUrl &url, const QByteArray &body, int count)
{
    QList<double> times;
    for (int i = 0; i < count; ++i) {
        QElapsedTimer timer;
        timer.start();
        const test::HttpResult result = test::post(network, url, body);
        times << timer.nsecsElapsed() / 1e6;
        if (result.status != 200)
            std::printf("  unexpected status %d\n", result.status);
    }
    return times;
}

void proxyLatency()
{
    kalvo::sim::LoopbackServer vendor;
    const QJsonObject message{{u"content"_s, QJsonArray{QJsonObject{{u"type"_s, u"text"_s}, {u"text"_s, u"{\"score\":7}"_s}}}}};
    const QByteArray reply = QJsonDocument(message).toJson(QJsonDocument::Compact);
    vendor.route(u"/v1/messages"_s, [&](const kalvo::sim::RecordedRequest &) {
        return kalvo::sim::HttpReply{200, "application/json", reply};
    });
    vendor.start();

    BackendOptions options;
    options.mode = BackendOptions::Mode::Proxy;
    options.tokens = {token};
    options.burst = 1'000'000;
    options.anthropicKey = u"sk-bench"_s;
    options.anthropicBase = vendor.baseUrl();
    options.log = [](const QString &) {};
    BackendServer server(options);
    server.listen();

    const QString prompt =
        NewsPrompts::quickScoring(test::news(8.6, u"Fed cuts rates"_s, u"Reuters"_s, QString(900, u'x')));
    const QJsonObject vendorBody{{u"model"_s, u"claude-sonnet-4-5"_s}, {u"max_tokens"_s, 350},
                                 {u"messages"_s, QJsonArray{QJsonObject{{u"role"_s, u"user"_s}, {u"content"_s, prompt}}}}};
    const QByteArray backendBody = QJsonDocument(test::modelCall(token, prompt)).toJson(QJsonDocument::Compact);
    QNetworkAccessManager network;
    const int count = 1000;
    timedCalls(network, QUrl(vendor.baseUrl().toString() + u"/v1/messages"_s), QJsonDocument(vendorBody).toJson(), 50);
    timedCalls(network, QUrl(server.functionsUrl().toString() + u"/aiClaude"_s), backendBody, 50);
    QList<double> direct;
    QList<double> proxied;
    for (int round = 0; round < count / 100; ++round) { // interleaved so that load changes hit both alike
        direct += timedCalls(network, QUrl(vendor.baseUrl().toString() + u"/v1/messages"_s),
                             QJsonDocument(vendorBody).toJson(QJsonDocument::Compact), 100);
        proxied += timedCalls(network, QUrl(server.functionsUrl().toString() + u"/aiClaude"_s), backendBody, 100);
    }
    std::printf("proxy over a loopback vendor:  direct p50 %.2f ms p99 %.2f ms; via backend p50 %.2f ms p99 %.2f ms\n",
                percentile(direct, 0.5), percentile(direct, 0.99), percentile(proxied, 0.5), percentile(proxied, 0.99));
    std::printf("  added by the proxy:          p50 %.2f ms, p99 %.2f ms (%d calls each)\n",
                percentile(proxied, 0.5) - percentile(direct, 0.5), percentile(proxied, 0.99) - percentile(direct, 0.99),
                count);
}

void memoryUnderFlood()
{
    BackendOptions options;
    options.tokens = {token};
    options.burst = 1'000'000;
    options.lingerTimeout = std::chrono::milliseconds(2000);
    options.log = [](const QString &) {};
    BackendServer server(options);
    server.listen();
    QNetworkAccessManager network;
    const QUrl url(server.functionsUrl().toString() + u"/aiClaude"_s);
    const QByteArray scoring = QJsonDocument(test::modelCall(token, samplePrompts()[1])).toJson(QJsonDocument::Compact);
    const QByteArray fiftyMegabytes(50 * 1024 * 1024, 'x');
    const auto flood = [&] {
        for (int i = 0; i < 500; ++i)
            test::post(network, url, scoring);
        for (int i = 0; i < 10; ++i) { // the whole 50 MB goes out; the server reads and drops it
            QTcpSocket socket;
            socket.connectToHost(QHostAddress::LocalHost, server.port());
            socket.waitForConnected(5000);
            socket.write("POST /_functions/aiClaude HTTP/1.1\r\nHost: x\r\nContent-Length: 52428800\r\n\r\n");
            socket.write(fiftyMegabytes);
            const bool sent = QTest::qWaitFor(
                [&] { return socket.bytesToWrite() == 0 || socket.state() != QAbstractSocket::ConnectedState; }, 20000);
            if (!sent)
                std::printf("  a 50 MB upload stalled\n");
            socket.disconnectFromHost();
            QTest::qWait(20);
        }
    };
    flood(); // warm-up: first allocations, caches
    QTest::qWait(100);
    const qint64 before = residentKb();
    flood();
    flood();
    QTest::qWait(100);
    const qint64 after = residentKb();
    std::printf("memory, 1000 scorings + 20 refused 50 MB uploads: RSS %lld kB before, %lld kB after (%+lld kB; "
                "client and server share the process)\n",
                qlonglong(before), qlonglong(after), qlonglong(after - before));
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    analystInProcess();
    analystOverHttp();
    speech();
    proxyLatency();
    memoryUnderFlood();
    return 0;
}
