#include "widgetoutput.h"

#include "displayformat.h"
#include "plans/datacap.h"
#include "widgetstats.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>

namespace WidgetOutput {

namespace {

QString tr(const char *text)
{
    return QCoreApplication::translate("WidgetOutput", text);
}

struct Texts
{
    QString shortText;
    QString longText;
    QString tooltip;
    QString cssClass;
};

Texts texts(const QVariantMap &r, int style)
{
    Texts t;
    if (r.value(WStats::NOT_SETUP).toBool()) {
        t.shortText = tr("Tallymo: not set up");
        t.longText = t.shortText;
        t.tooltip = tr("Finish setting up Tallymo to see your usage here.");
        t.cssClass = QStringLiteral("not-setup");
        return t;
    }
    if (!r.contains(WStats::PERCENT)) {
        t.shortText = tr("Tallymo: no figures");
        t.longText = t.shortText;
        t.tooltip = tr("The usage could not be read.");
        t.cssClass = QStringLiteral("error");
        return t;
    }
    const QString percent =
        QStringLiteral("%1%").arg(DataCap::roundedPercent(r.value(WStats::PERCENT).toDouble()));
    const QString used = DisplayFormat::getDataBytesStr(r.value(WStats::USED).toDouble());
    const QString left = tr("%1 left").arg(DisplayFormat::getDataBytesStr(r.value(WStats::LEFT).toDouble()));
    const QString time = QStringLiteral("%1 %2")
                             .arg(r.value(WStats::DAYS).toLongLong())
                             .arg(r.value(WStats::TIMEUNIT).toString());
    const QString forecast = forecastName(r.value(WStats::FORECAST).toString());
    const QString dot = QStringLiteral(" \u00b7 ");
    t.longText = QStringList{tr("%1 used").arg(used), left, percent, time, forecast}.join(dot);
    switch (style) {
    case Mini:
        t.shortText = percent;
        break;
    case Complete:
        t.shortText = t.longText;
        break;
    default:
        t.shortText = QStringList{percent, left, time}.join(dot);
        break;
    }
    t.tooltip = tr("Cellular used: %1 (%2)\n%3\nTime left: %4\nForecast: %5")
                    .arg(used, percent, left, time, forecast);
    t.cssClass = r.value(WStats::FORECAST).toString();
    return t;
}

} // namespace

std::optional<Format> formatNamed(const QString &name)
{
    if (name == QLatin1StringView("json"))
        return Format::Json;
    if (name == QLatin1StringView("waybar"))
        return Format::Waybar;
    if (name == QLatin1StringView("i3blocks"))
        return Format::I3blocks;
    if (name == QLatin1StringView("text"))
        return Format::Text;
    return std::nullopt;
}

QString forecastName(const QString &key)
{
    if (key == QLatin1StringView("safe"))
        return tr("Safe");
    if (key == QLatin1StringView("caution"))
        return tr("Caution");
    if (key == QLatin1StringView("danger"))
        return tr("Danger");
    if (key == QLatin1StringView("over"))
        return tr("Over");
    return key;
}

QByteArray render(const QVariantMap &record, Format format, int style, int background)
{
    if (format == Format::Json)
        return QJsonDocument(WidgetRecord::toJson(record)).toJson(QJsonDocument::Compact) + '\n';
    const Texts t = texts(record, style);
    switch (format) {
    case Format::Waybar: {
        QJsonObject o{{QStringLiteral("text"), t.shortText}, {QStringLiteral("tooltip"), t.tooltip}};
        // The background setting adds a class of its own so a bar's stylesheet can follow it.
        o.insert(QStringLiteral("class"),
                 background != 0
                     ? QJsonValue(QJsonArray{t.cssClass, QStringLiteral("background-%1").arg(background)})
                     : QJsonValue(t.cssClass));
        if (record.contains(WStats::PERCENT))
            o.insert(QStringLiteral("percentage"),
                     DataCap::roundedPercent(record.value(WStats::PERCENT).toDouble()));
        return QJsonDocument(o).toJson(QJsonDocument::Compact) + '\n';
    }
    case Format::I3blocks: {
        // full_text, short_text, color: the forecast colour, when there is one.
        QByteArray out = t.shortText.toUtf8() + '\n' +
                         t.shortText.section(QStringLiteral(" \u00b7 "), 0, 0).toUtf8() + '\n';
        if (record.contains(WStats::COLOR))
            out += QStringLiteral("#%1")
                       .arg(record.value(WStats::COLOR).toUInt(), 6, 16, QLatin1Char('0'))
                       .toUtf8() +
                   '\n';
        return out;
    }
    default:
        return t.longText.toUtf8() + '\n';
    }
}

} // namespace WidgetOutput
