#pragma once

#include <QString>

// A folder that only the running user can reach: made by this user with mode 0700, or one found
// in that state (owner checked, never a symbolic link). Anything else in its place is refused,
// never used, changed or emptied.
namespace PrivateFolder {

// Creates the folder (its parent must exist) or accepts the one there. A folder of this user's
// that others may read but not write (an older copy's) is narrowed to 0700. False with the
// reason in `error` when the path is anything else.
bool ensure(const QString& path, QString* error);

// Removes everything inside `path` (an ensured folder) without following a link anywhere: a link
// is removed as a link. Returns how many entries went.
int removeContents(const QString& path);

} // namespace PrivateFolder
