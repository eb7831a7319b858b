#include "mainscreencontroller.h"

#include "core/dateformatter.h"
#include "core/settingskeys.h"
#include "desktop/displayformat.h"
#include "desktop/widgetstats.h"
#include "fonttable.h"
#include "plans/billingcycle.h"
#include "plans/datacap.h"

#include <QCoreApplication>
#include <QFontMetricsF>

#include <cmath>

namespace {

// The forecast caption is the forecast's key localised: the keys, for the translation tools.
[[maybe_unused]] const char *const kForecastWords[] = {
    QT_TRANSLATE_NOOP("MainScreenController", "safe"), QT_TRANSLATE_NOOP("MainScreenController", "caution"),
    QT_TRANSLATE_NOOP("MainScreenController", "danger"), QT_TRANSLATE_NOOP("MainScreenController", "over")};

constexpr int kDonkeyFontRow = 13;
constexpr int kSnowFontRow = 14;
constexpr int kDonkeyColorRow = 18;
constexpr int kSnowColorRow = 19;

QString escaped(const QString &text)
{
    return text.toHtmlEscaped().replace(QLatin1Char('\n'), QLatin1StringView("<br>"));
}

// A run of text in a font, as rich text the view's Text item draws.
QString span(const QString &text, const QFont &font)
{
    return QStringLiteral("<span style=\"font-family:'%1'; font-size:%2px; font-weight:%3\">%4</span>")
        .arg(font.families().value(0, font.family()))
        .arg(font.pixelSize())
        .arg(int(font.weight()))
        .arg(escaped(text));
}

double maxLineWidth(const QFontMetricsF &metrics, const QString &text)
{
    double width = 0;
    for (const QString &line : text.split(QLatin1Char('\n')))
        width = std::max(width, metrics.horizontalAdvance(line));
    return width;
}

} // namespace

MainScreenController::MainScreenController(QObject *parent) : UsageFiguresController(parent)
{
    m_gradient = colorArrayWithHexColor(0);
}

MainScreenController::~MainScreenController()
{
    stopAnimator();
}

void MainScreenController::setMonitor(UsageMonitor *d)
{
    if (d) {
        SettingsDomain &pref = d->shared().userPref();
        const int pop = pref.boolForKey(Keys::PREF_SHOWED_SETUP) ? 0 : 1;
        if (pop)
            pref.setValue(Keys::PREF_MIGRATE_CHECK_COREDATA, true);
        if (pop != m_whatToPop) {
            m_whatToPop = pop;
            emit whatToPopChanged();
        }
    }
    UsageFiguresController::setMonitor(d);
}

int MainScreenController::fontMode() const
{
    return monitor() ? int(monitor()->shared().userPref().integerForKey(Keys::PREF_THEME_FONT)) : 0;
}

int MainScreenController::colorMode() const
{
    return monitor() ? int(monitor()->shared().userPref().integerForKey(Keys::PREF_THEME_COLOR)) : 0;
}

int MainScreenController::displayMode() const
{
    return monitor() ? int(monitor()->shared().userPref().integerForKey(Keys::PREF_THEME_DISPLAY)) : 0;
}

int MainScreenController::backgroundMode() const
{
    return monitor() ? int(monitor()->shared().userPref().integerForKey(Keys::PREF_THEME_BACKGROUND)) : 0;
}

QFont MainScreenController::getFont(int role) const
{
    return FontTable::font(fontMode(), role);
}

double MainScreenController::colorFactor(int stop)
{
    const double x = double(stop) / 7 - 1;
    return 1 - 0.5 * x * x;
}

double MainScreenController::widthFactor(double width)
{
    if (width >= 414)
        return 1.3;
    if (width >= 375)
        return 1.2;
    return 1.0;
}

MainScreenController::Gradient MainScreenController::colorArrayWithHexColor(quint32 hex)
{
    const QColor base = QColor::fromRgb(QRgb(hex & 0xFFFFFF));
    const double hue = std::max(0.0, double(base.hsvHueF()));
    const double saturation = base.hsvSaturationF();
    const double brightness = base.valueF();
    Gradient colors;
    for (int i = 0; i < kStops; ++i)
        colors[size_t(i)] =
            QColor::fromHsvF(float(hue), float(saturation), float(brightness * colorFactor(i)));
    return colors;
}

MainScreenController::Gradient MainScreenController::colorArrayForSnow()
{
    constexpr int n = kStops - 1;
    const int k = int(std::floor(n * 0.775));
    const int m = n - k;
    Gradient colors;
    size_t at = 1;
    for (int i = 0; i < k; ++i)
        colors[at++] = QColor(int(std::floor(34 + 73.0 * i / k)), int(std::floor(31 + 25.0 * i / k)),
                              int(std::floor(75 + 10.0 * i / k)));
    for (int i = 0; i < m; ++i)
        colors[at++] =
            QColor(int(std::floor(107 + 74.0 * i / (m - 1))), int(std::floor(56 + 26.0 * i / (m - 1))),
                   int(std::floor(85 + 10.0 * i / (m - 1))));
    colors[0] = colors[1];
    return colors;
}

QString MainScreenController::percentUsed(qint64 percent)
{
    return tr("%1% used").arg(percent);
}

QString MainScreenController::percentAccessible() const
{
    return m_rendered ? percentUsed(roundedPercent()) : QString();
}

QFont MainScreenController::percentFont() const
{
    const QFont f0 = getFont(0);
    return FontTable::makeFont(f0, int(std::lround(f0.pixelSize() * widthFactor(m_width))));
}

double MainScreenController::percentWidth() const
{
    return QFontMetricsF(percentFont()).horizontalAdvance(m_percent);
}

double MainScreenController::usedWidth() const
{
    if (displayMode() == Minimal)
        return QFontMetricsF(FontTable::makeFont(getFont(2), getFont(2).pixelSize() + 9))
            .horizontalAdvance(QStringLiteral("%"));
    return std::max(QFontMetricsF(getFont(1)).horizontalAdvance(QStringLiteral("%")),
                    maxLineWidth(QFontMetricsF(getFont(2)), tr("used")));
}

bool MainScreenController::usedVisible() const
{
    if (!m_rendered)
        return false;
    const double w = m_width;
    return !((w + percentWidth()) / 2 + 20 + usedWidth() > w - 5);
}

QVariantList MainScreenController::gradientColors() const
{
    QVariantList list;
    for (const QColor &c : m_gradient)
        list.append(c);
    return list;
}

bool MainScreenController::gradientAnimated() const
{
    return !m_still && monitor() && monitor()->applicationState() == UsageMonitor::Active;
}

void MainScreenController::setViewWidth(double width)
{
    if (width == m_width)
        return;
    m_width = width;
    emit layoutChanged();
}

void MainScreenController::setViewHeight(double height)
{
    if (height == m_height)
        return;
    m_height = height;
    emit layoutChanged();
}

QString MainScreenController::getBigMBString(double bytes) const
{
    const DisplayFormat::SplitAmount a = DisplayFormat::getMBString(bytes);
    const QFont f1 = getFont(1);
    return span(a.number, FontTable::makeFont(f1, 21)) + span(a.unit, FontTable::makeFont(f1, 16));
}

QString MainScreenController::getSmallMBString(double bytes) const
{
    const DisplayFormat::SplitAmount a = DisplayFormat::getMBString(bytes);
    const QFont f2 = getFont(2);
    return span(a.number, FontTable::makeFont(f2, 14)) + span(a.unit, FontTable::makeFont(f2, 11));
}

QString MainScreenController::getDownUpMBStringWithDown(double down, double up) const
{
    const QFont arrows = FontTable::systemFont(QFont::Normal, 9);
    return QStringLiteral("<p align=\"center\" style=\"margin:0\">") +
           span(QStringLiteral("\u25BC  "), arrows) + getSmallMBString(down) +
           QStringLiteral("</p><p align=\"center\" style=\"margin:0\">") +
           span(QStringLiteral("\u25B2  "), arrows) + getSmallMBString(up) + QStringLiteral("</p>");
}

QString MainScreenController::getDownUpAccessibilty(double down, double up)
{
    return tr("download %1, upload %2")
        .arg(DisplayFormat::getDataBytesStr(down), DisplayFormat::getDataBytesStr(up));
}

QString MainScreenController::getUsageStringType(int type) const
{
    const CurrentValues &v = currentValues();
    const bool cell = type == 0;
    const double total = cell ? v.monthCell : v.monthWifi;
    // The glyph ("c" or "w", 24 px, 8 px above the total) is drawn by the view: glyphFor(type).
    QString text = QStringLiteral("<p align=\"center\" style=\"margin:0 0 8px 0\">") + getBigMBString(total) +
                   QStringLiteral("</p>");
    if (displayMode() == Complete)
        text += getDownUpMBStringWithDown(cell ? v.monthCellIn : v.monthWifiIn,
                                          cell ? v.monthCellOut : v.monthWifiOut);
    return text;
}

void MainScreenController::reloadValues()
{
    UsageFiguresController::reloadValues();
    // The links as the sample behind these figures found them; only before the first sample are
    // they asked for here (on this thread, where NetworkManager can keep us waiting).
    if (UsageMonitor *d = monitor()) {
        std::optional<QList<LinkClass>> links = d->shared().lastSampledLinks();
        if (!links)
            links = d->shared().presentLinks();
        m_onMobileData = LinkClassifier::onMobileData(links.value_or(QList<LinkClass>()));
    }
    render();
}

void MainScreenController::render()
{
    UsageMonitor *d = monitor();
    const CurrentValues &v = currentValues();
    if (!d || !v.monthStartDate.isValid() || !v.monthEndDate.isValid())
        return;
    SharedCode &shared = d->shared();
    const QFont f1 = getFont(1), f2 = getFont(2);
    const bool minimal = displayMode() == Minimal;
    const bool daily = BillingCycle::isDailyCycleForPlan(shared, QString());

    const qint64 n = timeLeft();
    m_days = timeLeftText(v, n, minimal, daily, f1, f2);
    renderNetworks(v, minimal);

    const QString key = forecast();
    m_hexColor = ColorScheme::colorForRatio(shared, forecastRatio());
    m_percent = QString::number(roundedPercent());
    renderPercentColor();
    renderUsedAndForecast(key, minimal, f1, f2);
    m_rendered = true;
    emit rendered();
    emit layoutChanged();

    animateGradient();
    WidgetHelper::reload();
    m_record = {{WStats::PERCENT, v.monthPercent},
                {WStats::COLOR, m_hexColor},
                {WStats::FORECAST, key},
                {WStats::USED, v.monthCell},
                {WStats::DAYS, n}};
    d->watch().sendContext(m_record);
}

// The time left over the period's dates (none for a daily plan); in Minimal display the cellular
// total over the time left.
QString MainScreenController::timeLeftText(const CurrentValues &v, qint64 n, bool minimal, bool daily,
                                           const QFont &f1, const QFont &f2) const
{
    const QString unit = timeUnit();
    if (minimal) {
        const DisplayFormat::SplitAmount cell = DisplayFormat::getMBString(v.monthCell);
        return span(cell.number, f1) + span(cell.unit, f2) + span(QStringLiteral("\n%1 ").arg(n), f1) +
               span(unit.toUpper(), f2);
    }
    QString caption = tr("%1 left").arg(unit);
    if (!daily) {
        const DateFormatter format = DateFormatter::withTemplate(QStringLiteral("MMMd"));
        const QDateTime last = BillingCycle::dateByAddingUnit(CalendarUnit::Day, -1, v.monthEndDate);
        caption = tr("%1\n%2 - %3").arg(caption, format.toString(v.monthStartDate), format.toString(last));
    }
    return span(QStringLiteral("%1 ").arg(n), f1) + span(caption, f2);
}

// The cellular and Wi-Fi blocks and what a screen reader says of them; none in Minimal display.
void MainScreenController::renderNetworks(const CurrentValues &v, bool minimal)
{
    if (minimal) {
        m_cell.clear();
        m_wifi.clear();
        m_cellSpoken.clear();
        m_wifiSpoken.clear();
        m_onMobileText.clear();
        return;
    }
    m_onMobileText = m_onMobileData.isEmpty()
                         ? QString()
                         : tr("On mobile data: %1").arg(m_onMobileData.join(QStringLiteral(", ")));
    m_cell = getUsageStringType(0);
    m_wifi = getUsageStringType(1);
    m_cellSpoken = tr("Cellular %1, %2")
                       .arg(DisplayFormat::getDataBytesStr(v.monthCell),
                            getDownUpAccessibilty(v.monthCellIn, v.monthCellOut));
    m_wifiSpoken = tr("Wi-Fi %1, %2")
                       .arg(DisplayFormat::getDataBytesStr(v.monthWifi),
                            getDownUpAccessibilty(v.monthWifiIn, v.monthWifiOut));
}

// The percentage's colour: outlined cyan in the donkey theme, white in the snow theme, a bright
// form of the forecast's colour on the black background, else white.
void MainScreenController::renderPercentColor()
{
    const int font = fontMode(), color = colorMode();
    m_outlined = font == kDonkeyFontRow && color == kDonkeyColorRow;
    if (m_outlined) {
        m_percentColor = QColor(0x00, 0xFF, 0xFF);
    } else if (font == kSnowFontRow && color == kSnowColorRow) {
        m_percentColor = Qt::white;
    } else if (backgroundMode() == 1) {
        const RgbColor c = DisplayFormat::brightColorWithHex(m_hexColor);
        m_percentColor = QColor::fromRgbF(float(c.red), float(c.green), float(c.blue));
    } else {
        m_percentColor = Qt::white;
    }
}

// The "% used" beside the percentage, and the forecast's caption and icon (hidden in Minimal
// display).
void MainScreenController::renderUsedAndForecast(const QString &forecastKey, bool minimal, const QFont &f1,
                                                 const QFont &f2)
{
    if (minimal)
        m_used = span(QStringLiteral("%"), FontTable::makeFont(f2, f2.pixelSize() + 9));
    else
        m_used = span(QStringLiteral("%"), f1) + span(QLatin1Char('\n') + tr("used"), f2);

    m_forecastVisible = !minimal;
    m_forecastCaption =
        span(QCoreApplication::translate("MainScreenController", qPrintable(forecastKey)).toUpper(), f1) +
        span(QLatin1Char('\n') + tr("forecast"), f2);
    m_forecastIcon = QStringLiteral("qrc:/qt/qml/Tallymo/icons/forecast-%1.svg")
                         .arg(DataCap::forecastIconCode(forecastKey));
}

void MainScreenController::animateGradient()
{
    if (!m_showing)
        return;
    if (fontMode() == kSnowFontRow && colorMode() == kSnowColorRow && m_hexColor != 0)
        m_gradient = colorArrayForSnow();
    else
        m_gradient = colorArrayWithHexColor(backgroundMode() == 1 ? 0 : m_hexColor);
    emit gradientChanged();
}

void MainScreenController::showMessage(const QString &message)
{
    presentAlert(AlertService::alertControllerWithTitle(QString(), message));
}

void MainScreenController::updateTheme()
{
    reloadValues();
}

void MainScreenController::setBeside(bool beside)
{
    if (beside == m_beside)
        return;
    m_beside = beside;
    // Beside the main screen nothing covers it: alerts need not wait for the screens to close.
    if (beside)
        setPresenting(false);
    emit besideChanged();
}

void MainScreenController::handlePan(double dx, double dy)
{
    if (isPresenting() && !m_beside)
        return;
    if (std::abs(dy) > 10 && dy < 0 && (dx == 0 || std::abs(dy / dx) > 1))
        showMore(true);
    else if (std::abs(dx) > 10 && dx < 0 && (dy == 0 || std::abs(dx / dy) > 1))
        showSettings();
}

void MainScreenController::handleShortcuts(const QString &type)
{
    if (type == QLatin1StringView("SHORTCUTS_HISTORY")) {
        showMore(false);
    } else if (type == QLatin1StringView("SHORTCUTS_THEME") ||
               type == QLatin1StringView("SHORTCUTS_DATAPLAN")) {
        setPresenting(!m_beside);
        emit showSettingsRequested(type == QLatin1StringView("SHORTCUTS_THEME") ? QStringLiteral("theme")
                                                                                : QStringLiteral("dataplan"),
                                   false);
    }
}

void MainScreenController::showMore(bool animated)
{
    setPresenting(!m_beside);
    if (monitor())
        monitor()->plans().showHistoryForPlan(QString(), this, animated);
    emit showMoreRequested(animated);
}

void MainScreenController::showSettings()
{
    setPresenting(!m_beside);
    emit showSettingsRequested(QString(), true);
}

void MainScreenController::enterBackground()
{
    if (m_whatToPop == 1)
        return;
    emit dismissPresented();
    setPresenting(false);
    if (monitor())
        monitor()->alerts().showAppSwitcherTip();
}

void MainScreenController::becameVisible()
{
    m_showing = true;
    // Back from a plan's or the settings' screens: the figures follow what was changed there (the
    // render follows when they are posted).
    if (UsageMonitor *d = monitor())
        d->doComputeValuesOnly();
    if (m_whatToPop == 1)
        emit setupRequested();
    animateGradient();
    startAnimatorIfPossible();
}

void MainScreenController::becameHidden()
{
    m_showing = false;
    stopAnimator();
}

void MainScreenController::dismissedSetupMigrate()
{
    if (m_whatToPop == 0)
        return;
    m_whatToPop = 0;
    emit whatToPopChanged();
    reloadValues();
}

void MainScreenController::startAnimatorIfPossible()
{
    const bool active = monitor() && monitor()->applicationState() == UsageMonitor::Active;
    if (!(active || m_still) || !m_showing || m_animation != NoAnimation)
        return;
    const int font = fontMode();
    if (font == kDonkeyFontRow)
        m_animation = DonkeyBounce;
    else if (font == kSnowFontRow)
        m_animation = WinterWonderland;
    else
        return;
    emit animationChanged();
}

void MainScreenController::stopAnimator()
{
    if (m_animation == NoAnimation)
        return;
    m_animation = NoAnimation;
    emit animationChanged();
}

void MainScreenController::applicationStateChanged()
{
    const int state = monitor() ? monitor()->applicationState() : UsageMonitor::Active;
    const bool parallax = state == UsageMonitor::Active;
    if (parallax != m_parallax) {
        m_parallax = parallax;
        emit parallaxChanged();
    }
    emit gradientChanged(); // animated only while active
    if (state == UsageMonitor::Background)
        stopAnimator();
    else if (state == UsageMonitor::Active)
        startAnimatorIfPossible();
}

QVariantMap MainScreenController::snowEmitter(double width, double height) const
{
    constexpr double kImage = 64; // the flake image's size in pixels; the cell draws it at 0.2 ± 0.2
    constexpr double kRadToDeg = 180 / 3.14159265358979323846;
    return {{QStringLiteral("rate"), 40},
            {QStringLiteral("lifeSpan"), height / 71 * 1000},
            {QStringLiteral("x"), width / 2 - 1.14 * width / 2},
            {QStringLiteral("y"), -2.5},
            {QStringLiteral("width"), 1.14 * width},
            {QStringLiteral("height"), 5},
            {QStringLiteral("angle"), 3.14159265358979323846 / 2 * kRadToDeg},
            {QStringLiteral("angleRange"), 0.39999455797206046 * kRadToDeg},
            {QStringLiteral("speed"), 80},
            {QStringLiteral("speedRange"), 100},
            {QStringLiteral("acceleration"), 10},
            {QStringLiteral("size"), 0.2 * kImage},
            {QStringLiteral("sizeRange"), 0.2 * kImage},
            {QStringLiteral("alphaRange"), 0.2}};
}

QString MainScreenController::glyphFor(int type) const
{
    if (!m_rendered || displayMode() == Minimal)
        return QString();
    return QStringLiteral("qrc:/qt/qml/Tallymo/icons/glyph-%1.svg")
        .arg(type == 0 ? QLatin1Char('c') : QLatin1Char('w'));
}
