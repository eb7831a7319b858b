#pragma once

#include <QByteArray>
#include <QString>

namespace ReleaseNotes {

// The notes of one version from a releases file (AppStream's <releases> format): the paragraphs and
// list items of its description, one per line, items with a bullet. Empty when the version is not
// listed or the file cannot be read.
QString forVersion(const QByteArray &releasesXml, const QString &version);
// This build's version ("0.1.0").
QString version();
// The notes of this build's version, from the releases file built into the program.
QString current();

} // namespace ReleaseNotes
