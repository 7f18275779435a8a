#include "FaultOption.h"

#include <QMap>

using namespace Qt::StringLiterals;

namespace kalvo::sim {

namespace {

struct KindInfo
{
    Fault::Kind kind;
    bool numberRequired;
};

const QMap<QString, KindInfo> &kinds()
{
    static const QMap<QString, KindInfo> table{
        {u"status"_s, {Fault::Kind::Status, false}},
        {u"hang"_s, {Fault::Kind::Hang, false}},
        {u"delay"_s, {Fault::Kind::Delay, true}},
        {u"truncate"_s, {Fault::Kind::Truncate, false}},
        {u"empty"_s, {Fault::Kind::Empty, false}},
        {u"garbage"_s, {Fault::Kind::Garbage, false}},
        {u"invalid-json"_s, {Fault::Kind::InvalidJson, false}},
        {u"empty-array"_s, {Fault::Kind::EmptyArray, false}},
        {u"trickle"_s, {Fault::Kind::Trickle, true}},
    };
    return table;
}

} // namespace

std::optional<FaultOption> parseFaultOption(const QString &text)
{
    const qsizetype at = text.indexOf(u'@');
    if (at < 0)
        return std::nullopt;
    const QString target = text.mid(at + 1);
    const QString kindText = text.left(at).section(u':', 0, 0);
    const bool hasNumber = text.left(at).contains(u':');
    const auto info = kinds().constFind(kindText);
    if (!target.startsWith(u'/') || info == kinds().cend())
        return std::nullopt;

    int number = 0;
    if (hasNumber) {
        bool ok = false;
        number = text.left(at).section(u':', 1).toInt(&ok);
        if (!ok || number < 0)
            return std::nullopt;
    } else if (info->numberRequired) {
        return std::nullopt;
    }

    Fault fault;
    fault.kind = info->kind;
    if (info->kind == Fault::Kind::Status) {
        fault.status = hasNumber ? number : 500;
        if (fault.status < 100 || fault.status > 599)
            return std::nullopt;
    } else if (hasNumber) {
        fault.delayMs = number;
    }
    return FaultOption{target, fault};
}

QString faultOptionKinds()
{
    return kinds().keys().join(u", "_s);
}

} // namespace kalvo::sim
