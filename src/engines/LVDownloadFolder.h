#pragma once

#include <QString>

// The application's own folder for downloads, inside the user's temporary folder. A download cut
// short by a crash or a kill leaves its partial file there; the next copy that takes the operation
// lock (and so is the only one downloading) empties it. Nothing outside it is ever removed.
class LVDownloadFolder
{
public:
    // Created when missing; empty when the temporary folder is unknown.
    static QString path();
    // Removes everything in the folder and returns how many entries went. Only for the holder of
    // the operation lock.
    static int removeLeftovers();
};
