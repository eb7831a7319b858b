#pragma once

#include "themecontrollers.h"

#include <functional>

class SharedCode;

// The settings root: the data plan (showing the active plan's label); the networks, the advanced
// settings, usage alerts, export and theme; sharing a picture of the main screen and the about screen.
class SettingsController : public MenuController
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the app's navigator")
public:
    // Section kinds and their row counts.
    static constexpr int kRowsPerKind[] = {1, 5, 2};

    explicit SettingsController(SharedCode &shared, QObject *parent = nullptr);
    // Reads the active plan's label again (a plan may have been switched or renamed meanwhile).
    void aboutToShow() override;

private:
    void reload();

    SharedCode &m_shared;
};
