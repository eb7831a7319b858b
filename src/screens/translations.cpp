#include "translations.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QLoggingCategory>
#include <QTranslator>

Q_DECLARE_LOGGING_CATEGORY(lcScreens)

QString Translations::install(const QLocale &locale)
{
    static QTranslator english;
    static QTranslator language;
    static QTranslator qt; // Qt's own texts (the file chooser's "Cancel"), from qt6-translations-l10n
    QCoreApplication::removeTranslator(&language);
    QCoreApplication::removeTranslator(&qt);
    if (english.isEmpty() && english.load(QStringLiteral(":/i18n/tallymo_en.qm")))
        QCoreApplication::installTranslator(&english);
    // Translators installed later are asked first.
    if (locale.language() == QLocale::English || locale.language() == QLocale::C)
        return QString();
    if (!language.load(locale, QStringLiteral("tallymo"), QStringLiteral("_"), QStringLiteral(":/i18n"))) {
        qCInfo(lcScreens) << "no translation for" << locale.uiLanguages() << "- the texts stay English";
        return QString();
    }
    QCoreApplication::installTranslator(&language);
    if (qt.load(locale, QStringLiteral("qt"), QStringLiteral("_"),
                QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QCoreApplication::installTranslator(&qt);
    else
        qCInfo(lcScreens) << "no translation of Qt's own texts for" << locale.uiLanguages();
    return language.language();
}
