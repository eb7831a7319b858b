#pragma once

#include <QByteArrayView>
#include <QString>

// Files that hold the user's usage history, places and plans: private to the user whatever the
// umask (folders 0700, files 0600), and replaced whole so that a failed write never leaves a
// damaged or empty file where a good one was.
namespace PrivateFiles {

// Creates the folder (and its parents) when missing and makes it 0700. False with *error on failure.
bool makePrivateFolder(const QString &path, QString *error = nullptr);

// Writes `data` to a new file beside `path` (0600), flushes it to the disk and only then puts it in
// place of `path`. Any failure (a full disk, a read-only folder) leaves `path` as it was, removes the
// new file and says why in *error. With `keepPrevious`, the file being replaced stays reachable
// under that name (a link, no copy), so the version before this write survives damage to this one.
bool writeFile(const QString &path, QByteArrayView data, QString *error, const QString &keepPrevious = {});

// Tallymo's folder for files that live only while the user is logged in (the widget record, mail
// attachments): $XDG_RUNTIME_DIR/tallymo, or the user's cache folder when there is no runtime
// folder; never a shared temporary folder.
QString runtimeFolder();

// Opens (creating when missing, 0600) a file for appending or rewriting in place; -1 with *error.
int openPrivate(const QString &path, int flags, QString *error);

} // namespace PrivateFiles
