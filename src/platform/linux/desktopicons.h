#pragma once

#include "screens/themecontrollers.h"

#include <functional>

// The launcher icon on a Linux desktop: a per-user copy of the installed desktop entry in
// $XDG_DATA_HOME/applications that names the installed alternate icon (org.tallymo.Tallymo-<name>).
// Choosing the default icon removes the copy. A desktop entry of the user's own is never touched.
class LinuxAlternateIcons : public AlternateIcons
{
public:
    static constexpr QLatin1StringView kDesktopId{"org.tallymo.Tallymo"};

    LinuxAlternateIcons();
    QString alternateIconName() const override;
    bool setAlternateIconName(const QString &name, QString *error) override;
    // The icon name for an alternate icon (the default for none).
    static QString themeIconName(const QString &alternate);
    QString userEntryPath() const { return m_userEntry; }
    // Told the new alternate name after each change (the window icon follows).
    std::function<void(const QString &name)> changed;

private:
    QString installedEntryPath() const;
    QString m_userEntry;
};
