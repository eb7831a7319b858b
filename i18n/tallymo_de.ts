<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>AboutController</name>
    <message>
        <location filename="../src/screens/advancedcontrollers.cpp" line="+141"/>
        <source>About</source>
        <translation>Über</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Get Support</source>
        <translation>Hilfe erhalten</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>See More Apps</source>
        <translation>Weitere Apps</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Like %1</source>
        <translation>%1 gefällt mir</translation>
    </message>
    <message>
        <location line="+5"/>
        <source>Tallymo %1</source>
        <translation>Tallymo %1</translation>
    </message>
    <message>
        <location line="+9"/>
        <source>No web browser opened %1.</source>
        <translation>Kein Webbrowser hat %1 geöffnet.</translation>
    </message>
</context>
<context>
    <name>AddController</name>
    <message>
        <location filename="../src/screens/plancontrollers.cpp" line="+170"/>
        <location line="+32"/>
        <source>Add Usage</source>
        <translation>Verbrauch hinzufügen</translation>
    </message>
    <message>
        <location line="-31"/>
        <source>Amount of cellular data used. This amount will be added to your current usage.</source>
        <translation>Verbrauchte Mobilfunkdaten. Diese Menge wird zu deinem aktuellen Verbrauch addiert.</translation>
    </message>
    <message>
        <location line="+30"/>
        <source>Do you want to add %1 to your current cellular usage?</source>
        <translation>Möchtest du %1 zu deinem aktuellen Mobilfunkverbrauch hinzufügen?</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <location filename="../src/screens/plancontrollers.h" line="+146"/>
        <source>Add</source>
        <translation>Hinzufügen</translation>
    </message>
</context>
<context>
    <name>AddExistingController</name>
    <message>
        <location filename="../src/screens/plancontrollers.cpp" line="+39"/>
        <source>Existing Usage</source>
        <translation>Bisheriger Verbrauch</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Amount of cellular data already used in this billing period.</source>
        <translation>In diesem Abrechnungszeitraum bereits verbrauchte Mobilfunkdaten.</translation>
    </message>
</context>
<context>
    <name>AlertService</name>
    <message>
        <location filename="../src/services/usagealerts.cpp" line="+51"/>
        <source>You&apos;ve used %1%.</source>
        <translation>Du hast %1% verbraucht.</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Usage Alert</source>
        <translation>Verbrauchswarnung</translation>
    </message>
    <message>
        <location line="+13"/>
        <source>You&apos;ve used
%1% of your data cap.</source>
        <translation>Du hast
%1% deines Datenvolumens verbraucht.</translation>
    </message>
    <message>
        <location line="+52"/>
        <source>Bill Cycle</source>
        <translation>Abrechnungszeitraum</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Your bill cycle ends today. Open Tallymo to check your usage.</source>
        <translation>Dein Abrechnungszeitraum endet heute. Öffne Tallymo, um deinen Verbrauch zu prüfen.</translation>
    </message>
    <message>
        <location line="+6"/>
        <source>Your bill cycle ends in one hour. Open Tallymo to check your usage.</source>
        <translation>Dein Abrechnungszeitraum endet in einer Stunde. Öffne Tallymo, um deinen Verbrauch zu prüfen.</translation>
    </message>
    <message>
        <location line="+24"/>
        <source>Keep the background service running to refresh usage in the background.</source>
        <translation>Lass den Hintergrunddienst laufen, damit der Verbrauch im Hintergrund aktualisiert wird.</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>ⓘ %1</source>
        <translation>ⓘ %1</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>QUICK TIP</source>
        <translation>KURZER TIPP</translation>
    </message>
    <message>
        <location line="+17"/>
        <source>Tallymo is unable to refresh usage statistics in the background. See Settings &gt; Advanced &gt; Background App Refresh to learn more.</source>
        <translation>Tallymo kann die Verbrauchsstatistik nicht im Hintergrund aktualisieren. Mehr dazu unter Einstellungen &gt; Erweitert &gt; Hintergrundaktualisierung.</translation>
    </message>
    <message>
        <location line="+16"/>
        <source>OK</source>
        <translation>OK</translation>
    </message>
</context>
<context>
    <name>AlertsController</name>
    <message>
        <location filename="../src/services/alertthresholds.cpp" line="+11"/>
        <source>First</source>
        <translation>Erste</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Second</source>
        <translation>Zweite</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Third</source>
        <translation>Dritte</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Fourth</source>
        <translation>Vierte</translation>
    </message>
    <message>
        <location filename="../src/screens/alertscontrollers.cpp" line="+23"/>
        <source>Usage Alerts</source>
        <translation>Verbrauchswarnungen</translation>
    </message>
</context>
<context>
    <name>BackgroundColorController</name>
    <message>
        <location filename="../src/screens/themecontrollers.cpp" line="+133"/>
        <source>Background</source>
        <translation>Hintergrund</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Appearance</source>
        <translation>Erscheinungsbild</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Color</source>
        <translation>Farbe</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Black</source>
        <translation>Schwarz</translation>
    </message>
</context>
<context>
    <name>BilldateController</name>
    <message>
        <location filename="../src/screens/plancontrollers.cpp" line="+65"/>
        <source>Start Date</source>
        <translation>Startdatum</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Pick your bill cycle date. This is the day that your monthly billing period will begin each month.</source>
        <translation>Wähle deinen Abrechnungstag. An diesem Tag beginnt jeden Monat dein monatlicher Abrechnungszeitraum.</translation>
    </message>
</context>
<context>
    <name>ByteController</name>
    <message>
        <location filename="../src/screens/plancontrollers.h" line="-32"/>
        <source>MB</source>
        <translation>MB</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>GB</source>
        <translation>GB</translation>
    </message>
</context>
<context>
    <name>CapController</name>
    <message>
        <location filename="../src/screens/plancontrollers.cpp" line="-51"/>
        <source>Data Cap</source>
        <translation>Datenvolumen</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Amount of cellular data in one billing period.</source>
        <translation>Mobilfunkdaten in einem Abrechnungszeitraum.</translation>
    </message>
</context>
<context>
    <name>ChartList</name>
    <message>
        <location filename="../src/qml/ChartList.qml" line="+70"/>
        <source>Cellular</source>
        <translation>Mobilfunk</translation>
    </message>
    <message>
        <location line="+7"/>
        <source>Wi-Fi</source>
        <translation>WLAN</translation>
    </message>
    <message>
        <location line="+29"/>
        <source>%1, cellular %2, Wi-Fi %3</source>
        <translation>%1, Mobilfunk %2, WLAN %3</translation>
    </message>
</context>
<context>
    <name>ChartPage</name>
    <message>
        <location filename="../src/qml/ChartPage.qml" line="+14"/>
        <source>Bill Cycles</source>
        <translation>Zeiträume</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Back</source>
        <translation>Zurück</translation>
    </message>
    <message>
        <location line="+9"/>
        <source>OK</source>
        <translation>OK</translation>
    </message>
</context>
<context>
    <name>ColorsController</name>
    <message>
        <location filename="../src/screens/themecontrollers.cpp" line="-20"/>
        <source>Colors</source>
        <translation>Farben</translation>
    </message>
</context>
<context>
    <name>DatePage</name>
    <message>
        <location filename="../src/qml/DatePage.qml" line="+43"/>
        <source>Previous Month</source>
        <translation>Vorheriger Monat</translation>
    </message>
    <message>
        <location line="+18"/>
        <source>Next Month</source>
        <translation>Nächster Monat</translation>
    </message>
</context>
<context>
    <name>DatePickerController</name>
    <message>
        <location filename="../src/screens/planpickers.h" line="+64"/>
        <source>Start Date</source>
        <translation>Startdatum</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Pick your bill cycle start date. This is the first day of your billing period.</source>
        <translation>Wähle das Startdatum deines Abrechnungszeitraums. Es ist der erste Tag deines Abrechnungszeitraums.</translation>
    </message>
</context>
<context>
    <name>DayCountController</name>
    <message>
        <location filename="../src/screens/planpickers.cpp" line="+11"/>
        <source>N</source>
        <translation>N</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Number of days in one billing period.</source>
        <translation>Anzahl der Tage in einem Abrechnungszeitraum.</translation>
    </message>
</context>
<context>
    <name>DayPage</name>
    <message>
        <location filename="../src/qml/DayPage.qml" line="+20"/>
        <source>Back</source>
        <translation>Zurück</translation>
    </message>
    <message>
        <location line="+9"/>
        <source>Done</source>
        <translation>Fertig</translation>
    </message>
</context>
<context>
    <name>DayViewController</name>
    <message>
        <location filename="../src/day/dayviewcontroller.h" line="+46"/>
        <source>Time</source>
        <translation>Zeit</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Map</source>
        <translation>Karte</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Network</source>
        <translation>Netzwerk</translation>
    </message>
</context>
<context>
    <name>DesktopSearch</name>
    <message>
        <location filename="../src/desktop/searchitem.cpp" line="+215"/>
        <source>Not set up yet: open Tallymo to set up your data plan.</source>
        <translation>Noch nicht eingerichtet: Öffne Tallymo, um deinen Datentarif einzurichten.</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>%1% used · %2 %3 left · forecast: %4</source>
        <translation>%1 % verbraucht · noch %2 %3 · Prognose: %4</translation>
    </message>
</context>
<context>
    <name>DisplayController</name>
    <message>
        <location filename="../src/screens/themecontrollers.cpp" line="-7"/>
        <source>Display</source>
        <translation>Anzeige</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Level of detail to show.</source>
        <translation>Wie viele Einzelheiten angezeigt werden.</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Minimal</source>
        <translation>Minimal</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Standard</source>
        <translation>Standard</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Complete</source>
        <translation>Vollständig</translation>
    </message>
</context>
<context>
    <name>ExportController</name>
    <message>
        <location filename="../src/history/exportcontroller.cpp" line="+274"/>
        <source>Most Recent</source>
        <translation>Aktuellster</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Weeks</source>
        <translation>Wochen</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Months</source>
        <translation>Monate</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Cycles</source>
        <translation>Zeiträume</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Last %1 %2</source>
        <translation>Letzte %1 %2</translation>
    </message>
    <message>
        <location line="+5"/>
        <source>Export Statistics</source>
        <translation>Statistik exportieren</translation>
    </message>
    <message>
        <location line="+5"/>
        <source>Export usage statistics in JSON format and send the exported file by email or save it.</source>
        <translation>Exportiere die Nutzungsstatistik im JSON-Format und sende die Datei per E-Mail oder speichere sie.</translation>
    </message>
    <message>
        <location line="+130"/>
        <source>Send the export by email, or save it to a file?</source>
        <translation>Den Export per E-Mail senden oder als Datei speichern?</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Email</source>
        <translation>E-Mail</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Save…</source>
        <translation>Speichern …</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <location line="+18"/>
        <source>The export can only be saved to a folder on this computer.</source>
        <translation>Der Export kann nur in einem Ordner auf diesem Computer gespeichert werden.</translation>
    </message>
    <message>
        <location line="-100"/>
        <source>Export file creation error.</source>
        <translation>Die Exportdatei konnte nicht angelegt werden.</translation>
    </message>
    <message>
        <location line="+5"/>
        <source>No statistics to export.</source>
        <translation>Keine Statistik zum Exportieren.</translation>
    </message>
    <message>
        <location line="+10"/>
        <source>Export file error.</source>
        <translation>Fehler in der Exportdatei.</translation>
    </message>
    <message>
        <location line="+18"/>
        <source>Your email is not set up.</source>
        <translation>Deine E-Mail ist nicht eingerichtet.</translation>
    </message>
    <message numerus="yes">
        <location line="+34"/>
        <source>%n records exported</source>
        <translation>
            <numerusform>%n Eintrag exportiert</numerusform>
            <numerusform>%n Einträge exportiert</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>ExportPage</name>
    <message>
        <location filename="../src/qml/ExportPage.qml" line="+20"/>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Back</source>
        <translation>Zurück</translation>
    </message>
    <message>
        <location line="+37"/>
        <source>Save Export</source>
        <translation>Export speichern</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Save</source>
        <translation>Speichern</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>JSON files (*.json)</source>
        <translation>JSON-Dateien (*.json)</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>All files (*)</source>
        <translation>Alle Dateien (*)</translation>
    </message>
</context>
<context>
    <name>Face</name>
    <message>
        <location filename="../programs/tallymo-watch/Face.qml" line="+24"/>
        <source>Tallymo Watch</source>
        <translation>Tallymo-Uhr</translation>
    </message>
</context>
<context>
    <name>FontController</name>
    <message>
        <location filename="../src/screens/themecontrollers.cpp" line="+42"/>
        <source>Font</source>
        <translation>Schrift</translation>
    </message>
    <message>
        <location line="+27"/>
        <source>Could not save the choice: %1</source>
        <translation>Die Auswahl konnte nicht gespeichert werden: %1</translation>
    </message>
</context>
<context>
    <name>FontTable</name>
    <message>
        <location filename="../src/screens/fonttable.cpp" line="+76"/>
        <source>Light</source>
        <translation>Leicht</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Thin</source>
        <translation>Dünn</translation>
    </message>
    <message>
        <location line="+11"/>
        <source>DONKEY Bounce</source>
        <translation>DONKEY Bounce</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Winter Wonderland</source>
        <translation>Winterwunderland</translation>
    </message>
    <message>
        <location line="+75"/>
        <source>%1 (%2)</source>
        <translation>%1 (%2)</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Desktop font, light (%1)</source>
        <translation>Desktop-Schrift, leicht (%1)</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Desktop font (%1)</source>
        <translation>Desktop-Schrift (%1)</translation>
    </message>
</context>
<context>
    <name>IconController</name>
    <message>
        <location filename="../src/screens/themecontrollers.cpp" line="+7"/>
        <source>App Icon</source>
        <translation>App-Symbol</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Red</source>
        <translation>Rot</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Black</source>
        <translation>Schwarz</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Blue</source>
        <translation>Blau</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Green</source>
        <translation>Grün</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Purple</source>
        <translation>Lila</translation>
    </message>
    <message>
        <location line="+21"/>
        <source>Icons cannot be changed here.</source>
        <translation>Symbole können hier nicht geändert werden.</translation>
    </message>
</context>
<context>
    <name>LabelController</name>
    <message>
        <location filename="../src/screens/planeditors.h" line="+19"/>
        <source>Label</source>
        <translation>Name</translation>
    </message>
</context>
<context>
    <name>Main</name>
    <message>
        <location filename="../src/qml/Main.qml" line="+20"/>
        <source>Tallymo</source>
        <translation>Tallymo</translation>
    </message>
</context>
<context>
    <name>MainScreen</name>
    <message>
        <location filename="../src/qml/MainScreen.qml" line="+14"/>
        <source>Data usage</source>
        <translation>Datenverbrauch</translation>
    </message>
</context>
<context>
    <name>MainScreenController</name>
    <message>
        <location filename="../src/screens/mainscreencontroller.cpp" line="+20"/>
        <source>safe</source>
        <translation>sicher</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>caution</source>
        <translation>Vorsicht</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>danger</source>
        <translation>Gefahr</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>over</source>
        <translation>überschritten</translation>
    </message>
    <message>
        <location line="+130"/>
        <source>%1% used</source>
        <translation>%1 % verbraucht</translation>
    </message>
    <message>
        <location line="+25"/>
        <location line="+196"/>
        <source>used</source>
        <translation>genutzt</translation>
    </message>
    <message>
        <location line="-131"/>
        <source>download %1, upload %2</source>
        <translation>Download %1, Upload %2</translation>
    </message>
    <message>
        <location line="+72"/>
        <source>%1 left</source>
        <translation>%1 übrig</translation>
    </message>
    <message>
        <location line="+4"/>
        <source>%1
%2 - %3</source>
        <translation>%1
%2 – %3</translation>
    </message>
    <message>
        <location line="+18"/>
        <source>On mobile data: %1</source>
        <translation>Mobile Daten über: %1</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Cellular %1, %2</source>
        <translation>Mobilfunk %1, %2</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Wi-Fi %1, %2</source>
        <translation>WLAN %1, %2</translation>
    </message>
    <message>
        <location line="+36"/>
        <source>forecast</source>
        <translation>Prognose</translation>
    </message>
</context>
<context>
    <name>MapPane</name>
    <message>
        <location filename="../src/qml/MapPane.qml" line="+115"/>
        <source>Place: %1</source>
        <translation>Ort: %1</translation>
    </message>
    <message>
        <location line="+27"/>
        <source>The map cannot be loaded; the places are shown without it.</source>
        <translation>Die Karte kann nicht geladen werden; die Orte werden ohne sie gezeigt.</translation>
    </message>
</context>
<context>
    <name>MapViewController</name>
    <message>
        <location filename="../src/map/mapviewcontroller.cpp" line="+104"/>
        <source>No Locations</source>
        <translation>Keine Orte</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>No locations. Go to Settings &gt; Advanced &gt; Map Usage to turn on.</source>
        <translation>Keine Orte. Unter Einstellungen &gt; Erweitert &gt; Verbrauchskarte einschalten.</translation>
    </message>
    <message>
        <location line="+95"/>
        <source>All Locations</source>
        <translation>Alle Orte</translation>
    </message>
</context>
<context>
    <name>MultiCyclesController</name>
    <message>
        <location filename="../src/history/historycontrollers.cpp" line="+291"/>
        <source>QUICK TIP</source>
        <translation>KURZER TIPP</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Pull down to dismiss.</source>
        <translation>Zum Schließen nach unten ziehen.</translation>
    </message>
    <message>
        <location filename="../src/history/historycontrollers.h" line="+211"/>
        <source>Bill Cycles</source>
        <translation>Abrechnungszeiträume</translation>
    </message>
</context>
<context>
    <name>Navigator</name>
    <message>
        <location filename="../src/screens/navigator.cpp" line="+225"/>
        <location line="+4"/>
        <source>Exported to %1</source>
        <translation>Exportiert nach %1</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Show in Files</source>
        <translation>In Dateien zeigen</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <location line="+8"/>
        <source>No file manager opened %1.</source>
        <translation>Kein Dateimanager hat %1 geöffnet.</translation>
    </message>
</context>
<context>
    <name>NetList</name>
    <message>
        <location filename="../src/qml/NetList.qml" line="+52"/>
        <source>%1, cellular %2, Wi-Fi %3</source>
        <translation>%1, Mobilfunk %2, WLAN %3</translation>
    </message>
</context>
<context>
    <name>NetViewController</name>
    <message>
        <location filename="../src/connections/netviewcontroller.h" line="+38"/>
        <source>No IP Addresses</source>
        <translation>Keine IP-Adressen</translation>
    </message>
</context>
<context>
    <name>NetworkChoiceController</name>
    <message>
        <location filename="../src/screens/networkcontrollers.cpp" line="+143"/>
        <source>Automatic</source>
        <translation>Automatisch</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Mobile Data</source>
        <translation>Mobile Daten</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Wi-Fi &amp; Wired</source>
        <translation>WLAN &amp; Kabel</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Not Counted</source>
        <translation>Nicht gezählt</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Not connected now. The choice holds when it is back.</source>
        <translation>Gerade nicht verbunden. Die Wahl gilt wieder, sobald es zurück ist.</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>%1 on %2.</source>
        <translation>%1 an %2.</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>NetworkManager does not know whether it is metered.</source>
        <translation>NetworkManager weiß nicht, ob es getaktet ist.</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>NetworkManager says it is metered.</source>
        <translation>Laut NetworkManager getaktet.</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>NetworkManager says it is not metered.</source>
        <translation>Laut NetworkManager nicht getaktet.</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>NetworkManager guesses it is metered.</source>
        <translation>NetworkManager vermutet: getaktet.</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>NetworkManager guesses it is not metered.</source>
        <translation>NetworkManager vermutet: nicht getaktet.</translation>
    </message>
    <message>
        <location line="+5"/>
        <source>This computer serves a hotspot on it: what it forwards counts against the plan only with Tethering on.</source>
        <translation>Dieser Computer betreibt darauf einen Hotspot: Was er weiterleitet, zählt nur mit eingeschaltetem Tethering zum Tarif.</translation>
    </message>
    <message>
        <location line="+19"/>
        <source>The choice cannot be saved: %1</source>
        <translation>Die Wahl kann nicht gespeichert werden: %1</translation>
    </message>
</context>
<context>
    <name>NetworksController</name>
    <message>
        <location line="-144"/>
        <source>Networks</source>
        <translation>Netzwerke</translation>
    </message>
    <message>
        <location line="+9"/>
        <source>Mobile Data</source>
        <translation>Mobile Daten</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Wi-Fi &amp; Wired</source>
        <translation>WLAN &amp; Kabel</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Hotspot</source>
        <translation>Hotspot</translation>
    </message>
    <message>
        <location line="+4"/>
        <source>Not Counted</source>
        <translation>Nicht gezählt</translation>
    </message>
    <message>
        <location line="+7"/>
        <source>Wi-Fi</source>
        <translation>WLAN</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Ethernet</source>
        <translation>Ethernet</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>USB tethering</source>
        <translation>USB-Tethering</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Bluetooth</source>
        <translation>Bluetooth</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Modem</source>
        <translation>Modem</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Virtual link</source>
        <translation>Virtuelle Verbindung</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Loopback</source>
        <translation>Loopback</translation>
    </message>
    <message>
        <location line="+4"/>
        <source>Unknown kind</source>
        <translation>Unbekannte Art</translation>
    </message>
    <message>
        <location line="+31"/>
        <source>Mobile data counts against your plan: modems, tethering and every connection marked metered. Everything else is Wi-Fi &amp; wired. Choose a network to decide yourself.</source>
        <translation>Mobile Daten zählen zu deinem Tarif: Modems, Tethering und jede als getaktet markierte Verbindung. Alles andere ist WLAN &amp; Kabel. Wähle ein Netzwerk, um selbst zu entscheiden.</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>The network links cannot be read.</source>
        <translation>Die Netzwerkverbindungen können nicht gelesen werden.</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Virtual links (VPN tunnels, bridges, containers) carry traffic that is counted on the link beneath them.</source>
        <translation>Virtuelle Verbindungen (VPN-Tunnel, Bridges, Container) tragen Verkehr, der auf der Verbindung darunter gezählt wird.</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Not connected now. The choice holds when they are back.</source>
        <translation>Gerade nicht verbunden. Die Wahl gilt wieder, sobald sie zurück sind.</translation>
    </message>
</context>
<context>
    <name>PageHeader</name>
    <message>
        <location filename="../src/qml/PageHeader.qml" line="+8"/>
        <source>Back</source>
        <translation>Zurück</translation>
    </message>
</context>
<context>
    <name>PickerController</name>
    <message>
        <location filename="../src/screens/themecontrollers.cpp" line="-154"/>
        <source>Could not save the choice: %1</source>
        <translation>Die Auswahl konnte nicht gespeichert werden: %1</translation>
    </message>
</context>
<context>
    <name>PickerWeekController</name>
    <message>
        <location filename="../src/screens/planpickers.cpp" line="+23"/>
        <source>Start Date</source>
        <translation>Startdatum</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Pick your bill cycle start date. This is the first day of your weekly billing period.</source>
        <translation>Wähle den Starttag deines Abrechnungszeitraums. Es ist der erste Tag deines wöchentlichen Abrechnungszeitraums.</translation>
    </message>
    <message>
        <location line="+7"/>
        <source>Every %1</source>
        <translation>Jeden %1</translation>
    </message>
</context>
<context>
    <name>PlanController</name>
    <message>
        <location filename="../src/screens/plancontrollers.cpp" line="-205"/>
        <source>New Plan</source>
        <translation>Neuer Tarif</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Plan Details</source>
        <translation>Tarifdetails</translation>
    </message>
    <message>
        <location line="+30"/>
        <source>Label</source>
        <translation>Name</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Plan Type</source>
        <translation>Tarifart</translation>
    </message>
    <message>
        <location line="+9"/>
        <source>Start Date</source>
        <translation>Startdatum</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Data Cap</source>
        <translation>Datenvolumen</translation>
    </message>
    <message>
        <location line="+7"/>
        <source>Rollover Data</source>
        <translation>Datenübertrag</translation>
    </message>
    <message>
        <location line="+5"/>
        <source>Tethering</source>
        <translation>Tethering</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Usage History</source>
        <translation>Verbrauchsverlauf</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Export Statistics</source>
        <translation>Statistik exportieren</translation>
    </message>
    <message>
        <location line="+22"/>
        <source>Do you want to delete this plan?</source>
        <translation>Möchtest du diesen Tarif löschen?</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Delete</source>
        <translation>Löschen</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
</context>
<context>
    <name>PlanPage</name>
    <message>
        <location filename="../src/qml/PlanPage.qml" line="+18"/>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Back</source>
        <translation>Zurück</translation>
    </message>
    <message>
        <location line="+8"/>
        <source>Save</source>
        <translation>Sichern</translation>
    </message>
    <message>
        <location line="+37"/>
        <location line="+5"/>
        <source>Delete</source>
        <translation>Löschen</translation>
    </message>
</context>
<context>
    <name>PlanTexts</name>
    <message>
        <location filename="../src/plans/billingcycle.cpp" line="+179"/>
        <source>30 Days</source>
        <translation>30 Tage</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Weekly</source>
        <translation>Wöchentlich</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>28 Days</source>
        <translation>28 Tage</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Daily</source>
        <translation>Täglich</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>%1 Days</source>
        <translation>%1 Tage</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Monthly</source>
        <translation>Monatlich</translation>
    </message>
    <message>
        <location line="+54"/>
        <source>%1 of the month</source>
        <translation>%1 des Monats</translation>
    </message>
</context>
<context>
    <name>PlansPage</name>
    <message>
        <location filename="../src/qml/PlansPage.qml" line="+22"/>
        <source>Add Plan</source>
        <translation>Tarif hinzufügen</translation>
    </message>
    <message>
        <location line="+73"/>
        <source>Plan Details</source>
        <translation>Tarifdetails</translation>
    </message>
</context>
<context>
    <name>PlantypeController</name>
    <message>
        <location filename="../src/screens/planeditors.cpp" line="+41"/>
        <source>Plan Type</source>
        <translation>Tarifart</translation>
    </message>
    <message>
        <location line="+11"/>
        <location line="+9"/>
        <source>Monthly</source>
        <translation>Monatlich</translation>
    </message>
    <message>
        <location line="-9"/>
        <source>30 Days</source>
        <translation>30 Tage</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>28 Days</source>
        <translation>28 Tage</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Weekly</source>
        <translation>Wöchentlich</translation>
    </message>
    <message>
        <location line="+10"/>
        <source>N Days</source>
        <translation>N Tage</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>N</source>
        <translation>N</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Choose your data plan type.</source>
        <translation>Wähle die Art deines Datentarifs.</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Number of days in one billing period.</source>
        <translation>Anzahl der Tage in einem Abrechnungszeitraum.</translation>
    </message>
</context>
<context>
    <name>QObject</name>
    <message>
        <location filename="../src/platform/linux/desktopicons.cpp" line="+58"/>
        <source>Your own desktop entry %1 is in the way; the icon was left as it is.</source>
        <translation>Dein eigener Desktop-Eintrag %1 steht im Weg; das Symbol bleibt, wie es ist.</translation>
    </message>
    <message>
        <location line="+6"/>
        <source>Could not remove %1.</source>
        <translation>%1 konnte nicht entfernt werden.</translation>
    </message>
    <message>
        <location line="+7"/>
        <source>Tallymo&apos;s desktop entry is not installed, so the launcher icon cannot change.</source>
        <translation>Der Desktop-Eintrag von Tallymo ist nicht installiert, daher kann das Startsymbol nicht geändert werden.</translation>
    </message>
</context>
<context>
    <name>ResetController</name>
    <message>
        <location filename="../src/screens/advancedcontrollers.cpp" line="-125"/>
        <source>Advanced</source>
        <translation>Erweitert</translation>
    </message>
    <message>
        <location line="+10"/>
        <source>This system has no service manager for its users.</source>
        <translation>Dieses System hat keinen Dienstverwalter für seine Benutzer.</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Refresh usage statistics in the background.</source>
        <translation>Verbrauchsstatistik im Hintergrund aktualisieren.</translation>
    </message>
    <message>
        <location line="+4"/>
        <source>Tap to turn on the background service.</source>
        <translation>Tippe hier, um den Hintergrunddienst einzuschalten.</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Show current usage on the app icon.</source>
        <translation>Aktuellen Verbrauch am App-Symbol anzeigen.</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Map Usage only uses low-power location services to preserve battery life. The desktop&apos;s location service has to allow Tallymo.</source>
        <translation>Verbrauchskarte nutzt nur stromsparende Ortungsdienste, um den Akku zu schonen. Der Ortungsdienst des Desktops muss Tallymo erlauben.</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Background App Refresh</source>
        <translation>Hintergrundaktualisierung</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>On</source>
        <translation>Ein</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Off</source>
        <translation>Aus</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Percentage Badge</source>
        <translation>Prozent-Kennzeichen</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Map Usage</source>
        <translation>Verbrauchskarte</translation>
    </message>
    <message>
        <location line="+2"/>
        <location line="+25"/>
        <source>Keyboard Shortcut</source>
        <translation>Tastenkürzel</translation>
    </message>
    <message>
        <location line="-24"/>
        <source>Add Cellular Usage</source>
        <translation>Mobilfunkverbrauch hinzufügen</translation>
    </message>
    <message>
        <location line="+1"/>
        <location line="+33"/>
        <source>Reset Current Statistics</source>
        <translation>Aktuelle Statistik zurücksetzen</translation>
    </message>
    <message>
        <location line="-20"/>
        <source>The background service is on: usage is now refreshed in the background.</source>
        <translation>Der Hintergrunddienst ist an: Der Verbrauch wird jetzt im Hintergrund aktualisiert.</translation>
    </message>
    <message>
        <location line="+11"/>
        <source>To hear your usage at a keystroke, bind this command to a key in your desktop&apos;s keyboard settings:

tallymo intent show-usage --speak</source>
        <translation>Um deinen Verbrauch auf Tastendruck zu hören, lege diesen Befehl in den Tastatureinstellungen deines Desktops auf eine Taste:

tallymo intent show-usage --speak</translation>
    </message>
    <message>
        <location line="+8"/>
        <source>This will delete current usage statistics.</source>
        <translation>Dadurch wird die aktuelle Verbrauchsstatistik gelöscht.</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <location line="+33"/>
        <source>No location service allowed Tallymo to know where it is: usage is recorded without places until it does.</source>
        <translation>Kein Ortungsdienst hat Tallymo den Standort erlaubt: Der Verbrauch wird ohne Orte aufgezeichnet, bis einer es tut.</translation>
    </message>
</context>
<context>
    <name>RolloverAmountController</name>
    <message>
        <location filename="../src/screens/planpickers.cpp" line="+59"/>
        <source>Rollover Amount</source>
        <translation>Übertragene Menge</translation>
    </message>
</context>
<context>
    <name>RolloverController</name>
    <message>
        <location filename="../src/screens/planeditors.cpp" line="+34"/>
        <location line="+11"/>
        <source>Rollover Data</source>
        <translation>Datenübertrag</translation>
    </message>
    <message>
        <location line="-9"/>
        <source>With rollover, the cellular data left unused in the previous billing period is added to the data cap of the current one.</source>
        <translation>Mit Datenübertrag wird das im vorigen Abrechnungszeitraum nicht verbrauchte Mobilfunkvolumen zum Datenvolumen des aktuellen Zeitraums hinzugefügt.</translation>
    </message>
    <message>
        <location line="+12"/>
        <source>Rollover Amount</source>
        <translation>Übertragene Menge</translation>
    </message>
</context>
<context>
    <name>SearchItem</name>
    <message>
        <location filename="../src/desktop/searchitem.cpp" line="-167"/>
        <source>cell</source>
        <translation>mobilfunk</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>used</source>
        <translation>verbraucht</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>stats</source>
        <translation>statistik</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>count</source>
        <translation>zähler</translation>
    </message>
    <message>
        <location line="+20"/>
        <source>Current Data Usage Statistics</source>
        <translation>Aktuelle Datenverbrauchsstatistik</translation>
    </message>
</context>
<context>
    <name>SelectPlanController</name>
    <message>
        <location filename="../src/screens/selectplancontroller.cpp" line="+26"/>
        <source>Select Plan</source>
        <translation>Tarif wählen</translation>
    </message>
</context>
<context>
    <name>SettingsController</name>
    <message>
        <location filename="../src/screens/settingscontrollers.cpp" line="+7"/>
        <source>Settings</source>
        <translation>Einstellungen</translation>
    </message>
    <message>
        <location line="+12"/>
        <source>Data Plan</source>
        <translation>Datentarif</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Networks</source>
        <translation>Netzwerke</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Advanced</source>
        <translation>Erweitert</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Usage Alerts</source>
        <translation>Verbrauchswarnungen</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Export Statistics</source>
        <translation>Statistik exportieren</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Theme</source>
        <translation>Design</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Share Screenshot</source>
        <translation>Bildschirmfoto teilen</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>About</source>
        <translation>Über</translation>
    </message>
</context>
<context>
    <name>SetupController</name>
    <message>
        <location filename="../src/screens/setupcontroller.cpp" line="+28"/>
        <source>Finish</source>
        <translation>Fertig</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Set Up</source>
        <translation>Einrichten</translation>
    </message>
    <message>
        <location line="+6"/>
        <source>Done</source>
        <translation>Fertig</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Next</source>
        <translation>Weiter</translation>
    </message>
    <message>
        <location line="+6"/>
        <source>Tallymo counts the mobile data you use and tells you whether your data cap will last until the end of the billing period. Three questions and you are ready.</source>
        <translation>Tallymo zählt deine mobilen Daten und sagt dir, ob dein Datenvolumen bis zum Ende des Abrechnungszeitraums reicht. Drei Fragen, und es kann losgehen.</translation>
    </message>
    <message>
        <location line="+5"/>
        <source>You are on mobile data now (%1): it counts against your plan. Settings &gt; Networks decides which connections count.</source>
        <translation>Du nutzt gerade mobile Daten (%1): Sie zählen zu deinem Tarif. Unter Einstellungen &gt; Netzwerke legst du fest, welche Verbindungen zählen.</translation>
    </message>
    <message>
        <location line="+43"/>
        <source>Could not save the settings: %1</source>
        <translation>Die Einstellungen konnten nicht gespeichert werden: %1</translation>
    </message>
</context>
<context>
    <name>SetupFlow</name>
    <message>
        <location filename="../src/qml/SetupFlow.qml" line="+22"/>
        <source>Back</source>
        <translation>Zurück</translation>
    </message>
    <message>
        <location line="+79"/>
        <source>You are all set. Swipe up for the history, swipe left for the settings.</source>
        <translation>Alles bereit. Nach oben wischen für den Verlauf, nach links für die Einstellungen.</translation>
    </message>
</context>
<context>
    <name>ShareController</name>
    <message>
        <location filename="../src/screens/advancedcontrollers.cpp" line="+43"/>
        <source>My data usage. Beautifully tracked by Tallymo.</source>
        <translation>Mein Datenverbrauch. Schön erfasst von Tallymo.</translation>
    </message>
    <message>
        <location line="+7"/>
        <source>Share Screenshot</source>
        <translation>Bildschirmfoto teilen</translation>
    </message>
    <message>
        <location line="+4"/>
        <source>There is no picture of the main screen to share.</source>
        <translation>Es gibt kein Bild des Hauptbildschirms zum Teilen.</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>There is no picture folder to save the screenshot in.</source>
        <translation>Es gibt keinen Bilderordner für das Bildschirmfoto.</translation>
    </message>
    <message>
        <location line="+6"/>
        <source>Cannot save the screenshot in %1.</source>
        <translation>Das Bildschirmfoto kann nicht in %1 gesichert werden.</translation>
    </message>
    <message>
        <location line="+7"/>
        <source>Copy Image</source>
        <translation>Bild kopieren</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Send by Mail</source>
        <translation>Per E-Mail senden</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Show in Files</source>
        <translation>In Dateien zeigen</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Saved as %1</source>
        <translation>Gesichert als %1</translation>
    </message>
    <message>
        <location line="+9"/>
        <source>The screenshot is on the clipboard.</source>
        <translation>Das Bildschirmfoto ist in der Zwischenablage.</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Your email is not set up.</source>
        <translation>Deine E-Mail ist nicht eingerichtet.</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Tallymo</source>
        <translation>Tallymo</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>The mail program could not be opened.</source>
        <translation>Das E-Mail-Programm konnte nicht geöffnet werden.</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>No file manager opened %1.</source>
        <translation>Kein Dateimanager hat %1 geöffnet.</translation>
    </message>
</context>
<context>
    <name>SharePage</name>
    <message>
        <location filename="../src/qml/SharePage.qml" line="+39"/>
        <source>Screenshot</source>
        <translation>Bildschirmfoto</translation>
    </message>
</context>
<context>
    <name>SharedCode</name>
    <message>
        <location filename="../src/plans/billingcycle.cpp" line="-91"/>
        <source>hours</source>
        <translation>Stunden</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>hour</source>
        <translation>Stunde</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>days</source>
        <translation>Tage</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>day</source>
        <translation>Tag</translation>
    </message>
</context>
<context>
    <name>ShowUsageIntentResponse</name>
    <message>
        <location filename="../src/desktop/usageintent.cpp" line="+55"/>
        <source>Tallymo is not set up yet. Open Tallymo to set up your data plan.</source>
        <translation>Tallymo ist noch nicht eingerichtet. Öffne Tallymo, um deinen Datentarif einzurichten.</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>You have used %1 percent of your data. %2 left for %3 %4. The forecast is %5.</source>
        <translation>Du hast %1 Prozent deiner Daten verbraucht. Noch %2 für %3 %4. Die Prognose ist %5.</translation>
    </message>
</context>
<context>
    <name>StyledLine</name>
    <message>
        <location filename="../src/qml/StyledLine.qml" line="+23"/>
        <source>Cellular</source>
        <translation>Mobilfunk</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Wi-Fi</source>
        <translation>WLAN</translation>
    </message>
</context>
<context>
    <name>SystemdUserManager</name>
    <message>
        <location filename="../src/platform/dbus/systemdusermanager.cpp" line="+42"/>
        <source>There is no session bus to ask the service manager.</source>
        <translation>Es gibt keinen Sitzungsbus, um den Dienstverwalter zu fragen.</translation>
    </message>
    <message>
        <location line="+16"/>
        <source>No service manager runs for this user (systemd --user), so Tallymo cannot refresh in the background.</source>
        <translation>Für diesen Benutzer läuft kein Dienstverwalter (systemd --user), daher kann Tallymo nicht im Hintergrund aktualisieren.</translation>
    </message>
    <message>
        <location line="+4"/>
        <source>The background service tallymo.service is not installed.</source>
        <translation>Der Hintergrunddienst tallymo.service ist nicht installiert.</translation>
    </message>
    <message>
        <location line="+21"/>
        <source>The service manager did not turn on %1: %2</source>
        <translation>Der Dienstverwalter hat %1 nicht eingeschaltet: %2</translation>
    </message>
</context>
<context>
    <name>TetheringController</name>
    <message>
        <location filename="../src/screens/planeditors.cpp" line="+36"/>
        <source>Tethering</source>
        <translation>Tethering</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Some carrier setups can cause Tallymo not to track tethering usage. In these cases, turn on Alternate Tethering.</source>
        <translation>Bei manchen Netzbetreibern erfasst Tallymo den Tethering-Verbrauch nicht. Schalte in diesem Fall Alternatives Tethering ein.</translation>
    </message>
    <message>
        <location line="+7"/>
        <source>Alternate Tethering</source>
        <translation>Alternatives Tethering</translation>
    </message>
</context>
<context>
    <name>ThemeController</name>
    <message>
        <location filename="../src/screens/themecontrollers.cpp" line="+162"/>
        <source>Theme</source>
        <translation>Design</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Display</source>
        <translation>Anzeige</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Font</source>
        <translation>Schrift</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Colors</source>
        <translation>Farben</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Background</source>
        <translation>Hintergrund</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>App Icon</source>
        <translation>App-Symbol</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Widget</source>
        <translation>Widget</translation>
    </message>
</context>
<context>
    <name>ThresholdController</name>
    <message>
        <location filename="../src/screens/alertscontrollers.cpp" line="+66"/>
        <source>Alert you when you&apos;ve used more than %1% of your data cap.</source>
        <translation>Warnt dich, wenn du mehr als %1% deines Datenvolumens verbraucht hast.</translation>
    </message>
</context>
<context>
    <name>TileMap</name>
    <message>
        <location filename="../src/screens/tilemap.cpp" line="+35"/>
        <source>Map tiles: %1</source>
        <translation>Kartenkacheln: %1</translation>
    </message>
</context>
<context>
    <name>TimeChartViewController</name>
    <message>
        <location filename="../src/history/historycontrollers.cpp" line="-246"/>
        <source>No Usage</source>
        <translation>Kein Verbrauch</translation>
    </message>
</context>
<context>
    <name>UsageIntent</name>
    <message>
        <location filename="../src/desktop/usageintent.cpp" line="+12"/>
        <source>Call Tallymo</source>
        <translation>Tallymo aufrufen</translation>
    </message>
</context>
<context>
    <name>UsageMonitor</name>
    <message>
        <location filename="../src/services/lifecycle.cpp" line="+177"/>
        <source>😊 What&apos;s New</source>
        <translation>😊 Neuigkeiten</translation>
    </message>
</context>
<context>
    <name>WatchFace</name>
    <message>
        <location filename="../programs/tallymo-watch/watchface.cpp" line="+44"/>
        <source>No session bus.</source>
        <translation>Kein Sitzungsbus.</translation>
    </message>
    <message>
        <location line="+120"/>
        <source>Safe</source>
        <translation>Sicher</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Caution</source>
        <translation>Vorsicht</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Danger</source>
        <translation>Gefahr</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Over</source>
        <translation>Überschritten</translation>
    </message>
    <message>
        <location line="+10"/>
        <source>%1 used</source>
        <translation>%1 verbraucht</translation>
    </message>
    <message>
        <location line="+7"/>
        <source>%1 left</source>
        <translation>%1 übrig</translation>
    </message>
    <message>
        <location line="+8"/>
        <source>%1 to go</source>
        <translation>noch %1</translation>
    </message>
    <message>
        <location line="+8"/>
        <source>days</source>
        <translation>Tage</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>day</source>
        <translation>Tag</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>hours</source>
        <translation>Stunden</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>hour</source>
        <translation>Stunde</translation>
    </message>
    <message>
        <location line="+27"/>
        <source>Open Tallymo to set up your data plan.</source>
        <translation>Öffne Tallymo, um deinen Datentarif einzurichten.</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Tallymo&apos;s background service is not running.</source>
        <translation>Der Hintergrunddienst von Tallymo läuft nicht.</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Connecting…</source>
        <translation>Verbinden …</translation>
    </message>
</context>
<context>
    <name>WidgetColorController</name>
    <message>
        <location filename="../src/screens/themecontrollers.cpp" line="-86"/>
        <source>Widget</source>
        <translation>Widget</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Appearance</source>
        <translation>Erscheinungsbild</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Color</source>
        <translation>Farbe</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Black</source>
        <translation>Schwarz</translation>
    </message>
</context>
<context>
    <name>WidgetOptionController</name>
    <message>
        <location line="+102"/>
        <source>Widget</source>
        <translation>Widget</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Colors</source>
        <translation>Farben</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Style</source>
        <translation>Stil</translation>
    </message>
</context>
<context>
    <name>WidgetOutput</name>
    <message>
        <location filename="../src/desktop/widgetoutput.cpp" line="+32"/>
        <source>Tallymo: not set up</source>
        <translation>Tallymo: nicht eingerichtet</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Finish setting up Tallymo to see your usage here.</source>
        <translation>Richte Tallymo fertig ein, um deinen Verbrauch hier zu sehen.</translation>
    </message>
    <message>
        <location line="+5"/>
        <source>Tallymo: no figures</source>
        <translation>Tallymo: keine Zahlen</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>The usage could not be read.</source>
        <translation>Der Verbrauch konnte nicht gelesen werden.</translation>
    </message>
    <message>
        <location line="+7"/>
        <source>%1 left</source>
        <translation>%1 übrig</translation>
    </message>
    <message>
        <location line="+6"/>
        <source>%1 used</source>
        <translation>%1 verbraucht</translation>
    </message>
    <message>
        <location line="+12"/>
        <source>Cellular used: %1 (%2)
%3
Time left: %4
Forecast: %5</source>
        <translation>Mobilfunk verbraucht: %1 (%2)
%3
Verbleibende Zeit: %4
Prognose: %5</translation>
    </message>
    <message>
        <location line="+24"/>
        <source>Safe</source>
        <translation>Sicher</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Caution</source>
        <translation>Vorsicht</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Danger</source>
        <translation>Gefahr</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Over</source>
        <translation>Überschritten</translation>
    </message>
</context>
<context>
    <name>WidgetStyleController</name>
    <message>
        <location filename="../src/screens/themecontrollers.cpp" line="-99"/>
        <source>Style</source>
        <translation>Stil</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Standard</source>
        <translation>Standard</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Complete</source>
        <translation>Vollständig</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Mini</source>
        <translation>Mini</translation>
    </message>
</context>
</TS>
