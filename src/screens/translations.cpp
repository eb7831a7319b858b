#include "translations.h"

#include <QCoreApplication>
#include <QLoggingCategory>
#include <QTranslator>

Q_DECLARE_LOGGING_CATEGORY(lcScreens)

QString Translations::install(const QLocale &locale)
{
    static QTranslator english;
    static QTranslator language;
    QCoreApplication::removeTranslator(&language);
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
    return language.language();
}
