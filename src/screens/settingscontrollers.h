#pragma once

#include "themecontrollers.h"

#include <functional>

class SharedCode;

// The settings root: the data plan (showing the active plan's label); the advanced settings, usage
// alerts, export and theme; sharing a picture of the main screen and the about screen. Rows whose
// screen this build cannot open yet are shown disabled.
class SettingsController : public MenuController
{
    Q_OBJECT
public:
    // Section kinds and their row counts.
    static constexpr int kRowsPerKind[] = {1, 4, 2};

    SettingsController(SharedCode &shared, std::function<bool(const QString &screen)> canOpen,
                       QObject *parent = nullptr);
    // Reads the active plan's label again (a plan may have been switched or renamed meanwhile).
    void aboutToShow() override;

private:
    void reload();

    SharedCode &m_shared;
    std::function<bool(const QString &)> m_canOpen;
};
