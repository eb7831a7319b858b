#!/usr/bin/env bash
# Collects the texts of the app's screens and the services they show into the translation files
# (i18n/*.ts), keeping every translation already made. Translate with Qt Linguist
# (`linguist i18n/tallymo_de.ts`); the build compiles the files into the app.
set -euo pipefail
cd "$(dirname "$0")/.."
lupdate=$(command -v lupdate || echo /usr/lib/qt6/bin/lupdate)
sources=(src/core src/plans src/desktop src/services src/history src/map src/connections src/day src/screens
         src/qml src/platform programs/tallymo-watch)
"$lupdate" -locations relative -no-obsolete -extensions cpp,h,qml "${sources[@]}" -ts i18n/tallymo_de.ts
# The source texts are the English the user reads: the English file holds only the plural forms.
"$lupdate" -locations relative -no-obsolete -pluralonly -extensions cpp,h,qml "${sources[@]}" -ts i18n/tallymo_en.ts
