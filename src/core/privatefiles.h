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
// A symbolic link in its place is refused (ELOOP), never followed.
int openPrivate(const QString &path, int flags, QString *error);

// For the start of every program: what this process creates is the user's alone (umask 077), and
// the temporary folders of processes that ended without removing theirs are removed. With
// `ownTemporaries`, temporary files (Qt's and those of the libraries it loads) go to a folder of
// this process's own under runtimeFolder(), removed at exit.
void beginPrivateProcess(bool ownTemporaries);

// Removes the new files writeFile() left in `folder` when its process was killed before putting
// them in place (no process of theirs runs any more). The number removed.
int removeAbandonedWrites(const QString &folder);

} // namespace PrivateFiles
