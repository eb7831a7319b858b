#include "releasenotes.h"

#include <QXmlStreamReader>

namespace {

const char kReleasesXml[] =
#include "releasesxml.inc"
    ;

} // namespace

QString ReleaseNotes::forVersion(const QByteArray &releasesXml, const QString &version)
{
    QXmlStreamReader xml(releasesXml);
    QStringList lines;
    bool inRelease = false;
    while (!xml.atEnd()) {
        xml.readNext();
        if (xml.isStartElement() && xml.name() == QLatin1StringView("release")) {
            inRelease = xml.attributes().value(QLatin1StringView("version")) == version;
        } else if (xml.isEndElement() && xml.name() == QLatin1StringView("release")) {
            if (inRelease)
                break;
        } else if (inRelease && xml.isStartElement() &&
                   (xml.name() == QLatin1StringView("p") || xml.name() == QLatin1StringView("li"))) {
            const bool item = xml.name() == QLatin1StringView("li");
            const QString text = xml.readElementText().simplified();
            lines.append(item ? QStringLiteral("• ") + text : text);
        }
    }
    return xml.hasError() ? QString() : lines.join(QLatin1Char('\n'));
}

QString ReleaseNotes::version()
{
    return QStringLiteral(TALLYMO_VERSION);
}

QString ReleaseNotes::current()
{
    return forVersion(QByteArray(kReleasesXml), version());
}
