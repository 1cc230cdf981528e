#pragma once

#include <QString>

// The application's own folder for downloads, inside the user's temporary folder, created by this
// user alone (0700, never through a link): no one else can put a package there or swap one. A
// download cut short by a crash or a kill leaves its partial file there; the next copy that takes
// the operation lock (and so is the only one downloading) empties it. Nothing outside it is ever
// removed, and a folder of that name that is not the user's own is neither used nor emptied.
class LVDownloadFolder
{
public:
    // Created when missing; empty (with the reason in `error`) when the temporary folder is
    // unknown or the folder there is not the user's own.
    static QString path(QString* error = nullptr);
    // Removes everything in the folder and returns how many entries went. Only for the holder of
    // the operation lock.
    static int removeLeftovers();
};
