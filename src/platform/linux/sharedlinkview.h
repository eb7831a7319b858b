#pragma once

#include "core/networkinterfaces.h"

#include <optional>

// NetworkManager's view of the links as the running service last read it, in a file of the user's
// runtime folder. The service listens to NetworkManager's signals and reads the view again at every
// change, so while it runs, a one-shot sample of the same user can take the view from the file
// instead of loading a bus library and asking NetworkManager itself. The file names the service's
// process (its id and start time) and the system bus it asked on: a view left by a service that is
// gone, or read on another bus, is never used.
namespace SharedLinkView {

// What NetworkManager said when the service last asked (nothing: it was not on the bus); no value
// when no running service shares its view at `path`.
std::optional<std::optional<QList<ManagedLink>>> read(const QString &path);

// Writes this process's view to `path` when it differs from `*written`, the last one written.
void write(const QString &path, const std::optional<QList<ManagedLink>> &links, QByteArray *written);

} // namespace SharedLinkView
