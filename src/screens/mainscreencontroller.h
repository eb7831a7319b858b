#pragma once

#include "usagefigurescontroller.h"

#include <QColor>
#include <QFont>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

#include <array>

// The main screen: one big percentage of the cap used, the time left and the period's dates, the
// cellular and Wi-Fi totals and the forecast, over a gradient in the forecast's colour. It builds
// every text (as rich text), font, colour and visibility from the monitor's figures; the view
// only lays them out, animates the gradient and reports what the user does.
class MainScreenController : public UsageFiguresController
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(int whatToPop READ whatToPop NOTIFY whatToPopChanged)
    Q_PROPERTY(bool hasRender READ hasRender NOTIFY rendered)
    Q_PROPERTY(QString daysText READ daysText NOTIFY rendered)
    Q_PROPERTY(QString cellText READ cellText NOTIFY rendered)
    Q_PROPERTY(QString wifiText READ wifiText NOTIFY rendered)
    Q_PROPERTY(QString cellGlyph READ cellGlyph NOTIFY rendered)
    Q_PROPERTY(QString wifiGlyph READ wifiGlyph NOTIFY rendered)
    Q_PROPERTY(QString cellAccessible READ cellAccessible NOTIFY rendered)
    Q_PROPERTY(QString wifiAccessible READ wifiAccessible NOTIFY rendered)
    Q_PROPERTY(QString mobileDataText READ mobileDataText NOTIFY rendered)
    Q_PROPERTY(QString percentText READ percentText NOTIFY rendered)
    Q_PROPERTY(QString percentAccessible READ percentAccessible NOTIFY rendered)
    Q_PROPERTY(QFont percentFont READ percentFont NOTIFY layoutChanged)
    Q_PROPERTY(QColor percentColor READ percentColor NOTIFY rendered)
    Q_PROPERTY(bool percentOutlined READ percentOutlined NOTIFY rendered)
    Q_PROPERTY(QColor percentOutlineColor READ percentOutlineColor CONSTANT)
    Q_PROPERTY(QString usedText READ usedText NOTIFY rendered)
    Q_PROPERTY(bool usedVisible READ usedVisible NOTIFY layoutChanged)
    Q_PROPERTY(QString forecastCaption READ forecastCaption NOTIFY rendered)
    Q_PROPERTY(QString forecastIcon READ forecastIcon NOTIFY rendered)
    Q_PROPERTY(bool forecastVisible READ forecastVisible NOTIFY rendered)
    Q_PROPERTY(QVariantList gradientColors READ gradientColors NOTIFY gradientChanged)
    Q_PROPERTY(bool gradientAnimated READ gradientAnimated NOTIFY gradientChanged)
    Q_PROPERTY(int animation READ animation NOTIFY animationChanged)
    Q_PROPERTY(double viewWidth READ viewWidth WRITE setViewWidth NOTIFY layoutChanged)
    Q_PROPERTY(double viewHeight READ viewHeight WRITE setViewHeight NOTIFY layoutChanged)
    Q_PROPERTY(double parallaxEffectY READ parallaxEffectY NOTIFY layoutChanged)
    Q_PROPERTY(bool parallaxOn READ parallaxOn NOTIFY parallaxChanged)
    Q_PROPERTY(bool stillFrames READ stillFrames CONSTANT)
    // The window shows the other screens beside the main screen (a wide window), not over it.
    Q_PROPERTY(bool beside READ beside WRITE setBeside NOTIFY besideChanged)

public:
    enum Display { Standard = 0, Minimal = 1, Complete = 2 };
    enum Animation { NoAnimation = 0, DonkeyBounce = 1, WinterWonderland = 2 };
    Q_ENUM(Animation)
    static constexpr int kStops = 15;
    using Gradient = std::array<QColor, kStops>;

    explicit MainScreenController(QObject *parent = nullptr);
    ~MainScreenController() override;

    // The monitor whose figures are shown. Decides whether the setup flow comes first.
    void setMonitor(UsageMonitor *monitor);

    int whatToPop() const { return m_whatToPop; }
    bool hasRender() const { return m_rendered; }
    QString daysText() const { return m_days; }
    QString cellText() const { return m_cell; }
    QString wifiText() const { return m_wifi; }
    // The network's glyph above its block (0 cellular, 1 Wi-Fi); none in Minimal display.
    QString glyphFor(int type) const;
    QString cellGlyph() const { return glyphFor(0); }
    QString wifiGlyph() const { return glyphFor(1); }
    QString cellAccessible() const { return m_cellSpoken; }
    QString wifiAccessible() const { return m_wifiSpoken; }
    // Which connections count as mobile data now ("On mobile data: Pixel hotspot"); empty when none.
    QString mobileDataText() const { return m_onMobileText; }
    QString percentText() const { return m_percent; }
    QString percentAccessible() const;
    QFont percentFont() const;
    QColor percentColor() const { return m_percentColor; }
    bool percentOutlined() const { return m_outlined; }
    QColor percentOutlineColor() const { return QColor(0x77, 0x77, 0x77); }
    QString usedText() const { return m_used; }
    bool usedVisible() const;
    QString forecastCaption() const { return m_forecastCaption; }
    QString forecastIcon() const { return m_forecastIcon; }
    bool forecastVisible() const { return m_forecastVisible; }
    QVariantList gradientColors() const;
    bool gradientAnimated() const;
    int animation() const { return m_animation; }
    double viewWidth() const { return m_width; }
    double viewHeight() const { return m_height; }
    void setViewWidth(double width);
    void setViewHeight(double height);
    double parallaxEffectY() const { return 0.2 * m_height; }
    bool parallaxOn() const { return m_parallax; }
    quint32 gHexcolor() const { return m_hexColor; }
    // For pictures of the screen: no colour animation, and theme animations at a fixed frame.
    bool stillFrames() const { return m_still; }
    void setStillFrames(bool still) { m_still = still; }

    // The figures the screen pushed last: what the widget record and the watch receive.
    QVariantMap lastRecord() const { return m_record; }

    // The 15 gradient colours for a base colour (0 gives black) and the snow theme's palette.
    static Gradient colorArrayWithHexColor(quint32 hex);
    static Gradient colorArrayForSnow();
    // The brightness factor of gradient stop i: 0.5 at both ends, 1 in the middle.
    static double colorFactor(int stop);
    // The percentage size factor for a screen width: 1.3 from 414, 1.2 from 375, else 1.
    static double widthFactor(double width);

    bool beside() const { return m_beside; }
    void setBeside(bool beside);

    // Settings read on each use.
    int fontMode() const;
    int colorMode() const;
    int displayMode() const;
    int backgroundMode() const;
    QFont getFont(int role) const;

    // RootController.
    void reloadValues() override;

    Q_INVOKABLE void updateTheme();
    // A message over the main screen with an OK button (a screen over it reports a failure).
    Q_INVOKABLE void showMessage(const QString &message);
    // The user's drag so far, in logical pixels; acts while no other screen is over it.
    Q_INVOKABLE void handlePan(double dx, double dy);
    Q_INVOKABLE void handleShortcuts(const QString &type) override;
    Q_INVOKABLE void showMore(bool animated);
    Q_INVOKABLE void showSettings();
    Q_INVOKABLE void enterBackground();
    Q_INVOKABLE void becameVisible();
    Q_INVOKABLE void becameHidden();
    Q_INVOKABLE void dismissedSetupMigrate();
    Q_INVOKABLE void startAnimatorIfPossible();
    Q_INVOKABLE void stopAnimator();
    // The application's state moved (active, inactive, background): parallax and animation follow.
    Q_INVOKABLE void applicationStateChanged();
    // The gradient's vertical offset for a lean of the device (or the pointer's place) from -1 to 1:
    // +parallaxEffectY at -1, -parallaxEffectY at 1 (it moves against the tilt).
    Q_INVOKABLE double parallaxOffset(double tilt) const
    {
        return m_parallax ? -tilt * parallaxEffectY() : 0;
    }
    // The snow theme's emitter for a view size: rate, lifespan (ms), the emitting strip, the fall's
    // angle and spread (degrees), speed and its range, downward acceleration, size and alpha range.
    Q_INVOKABLE QVariantMap snowEmitter(double width, double height) const;
    // The percentage accessible text for a number ("42% used").
    static QString percentUsed(qint64 percent);

signals:
    void whatToPopChanged();
    void rendered();
    void layoutChanged();
    void gradientChanged();
    void animationChanged();
    void parallaxChanged();
    void besideChanged();
    // What the view shows over the main screen.
    void showMoreRequested(bool animated);
    void showSettingsRequested(const QString &push, bool animated);
    void setupRequested();
    void dismissPresented();

private:
    void render();
    QString timeLeftText(const CurrentValues &v, qint64 n, bool minimal, bool daily, const QFont &f1,
                         const QFont &f2) const;
    void renderNetworks(const CurrentValues &v, bool minimal);
    void renderPercentColor();
    void renderUsedAndForecast(const QString &forecastKey, bool minimal, const QFont &f1, const QFont &f2);
    void animateGradient();
    QString getUsageStringType(int type) const;
    QString getBigMBString(double bytes) const;
    QString getSmallMBString(double bytes) const;
    QString getDownUpMBStringWithDown(double down, double up) const;
    static QString getDownUpAccessibilty(double down, double up);
    double percentWidth() const;
    double usedWidth() const;

    int m_whatToPop = 0;
    bool m_rendered = false;
    bool m_showing = false;
    bool m_beside = false;
    bool m_parallax = false;
    bool m_still = false;
    QString m_days, m_cell, m_wifi, m_cellSpoken, m_wifiSpoken, m_percent, m_used;
    QStringList m_onMobileData; // from the last sample's links, at each reload
    QString m_onMobileText;
    QString m_forecastCaption, m_forecastIcon;
    bool m_forecastVisible = false;
    QColor m_percentColor = Qt::white;
    bool m_outlined = false;
    quint32 m_hexColor = 0;
    Gradient m_gradient;
    int m_animation = NoAnimation;
    double m_width = 0;
    double m_height = 0;
    QVariantMap m_record;
};
