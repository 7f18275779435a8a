#pragma once

#include "app/AppState.h"

#include <QColor>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

namespace kalvo {

// What the pair sheet shows about one instrument: its quote, the related
// headlines and the currency cards. Follows AppState's quotes and headlines
// while the sheet is open; refresh() moves the ages on.
class InstrumentDetail : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QObject *appState READ appStateObject WRITE setAppStateObject NOTIFY appStateChanged)
    Q_PROPERTY(QString pair READ pair WRITE setPair NOTIFY pairChanged)
    Q_PROPERTY(bool hasQuote READ hasQuote NOTIFY quoteChanged)
    Q_PROPERTY(QString priceText READ priceText NOTIFY quoteChanged)
    Q_PROPERTY(QString changeText READ changeText NOTIFY quoteChanged)
    Q_PROPERTY(QColor changeColor READ changeColor NOTIFY quoteChanged)
    Q_PROPERTY(QString directionText READ directionText NOTIFY quoteChanged)
    Q_PROPERTY(QString ageText READ ageText NOTIFY quoteChanged)
    // Maps with "newsId", "title", "source" and "age", at most eight.
    Q_PROPERTY(QVariantList relatedNews READ relatedNews NOTIFY relatedNewsChanged)
    // Maps with "code", "flag", "name", "region" and "description".
    Q_PROPERTY(QVariantList currencyCards READ currencyCards NOTIFY pairChanged)

public:
    explicit InstrumentDetail(QObject *parent = nullptr);

    QObject *appStateObject() const;
    void setAppStateObject(QObject *state);
    QString pair() const { return m_pair; }
    void setPair(const QString &pair);

    bool hasQuote() const { return m_quote.has_value(); }
    QString priceText() const;
    QString changeText() const;
    QColor changeColor() const;
    QString directionText() const;
    QString ageText() const;
    QVariantList relatedNews() const { return m_relatedNews; }
    QVariantList currencyCards() const;

    Q_INVOKABLE void refresh();

signals:
    void appStateChanged();
    void pairChanged();
    void quoteChanged();
    void relatedNewsChanged();

private:
    void reloadQuote();
    void reloadNews();
    QDateTime now() const;

    QPointer<AppState> m_state;
    QString m_pair;
    std::optional<PriceData> m_quote;
    QVariantList m_relatedNews;
};

} // namespace kalvo
