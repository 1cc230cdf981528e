#include "PrivateFolder.h"

#include <QDir>
#include <QFile>

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

QString refusal(const QString& path, const QString& reason)
{
    return QStringLiteral("The folder %1 %2; it is not used. Remove it, or set TMPDIR to a folder of "
                          "your own.")
        .arg(path, reason);
}

// The names in the open folder `folder`, read from the descriptor (a path would follow links again).
QList<QByteArray> namesIn(int folder)
{
    QList<QByteArray> names;
    DIR* listing = fdopendir(dup(folder));
    if (!listing)
        return names;
    while (const dirent* entry = readdir(listing)) {
        const QByteArray name(entry->d_name);
        if (name != "." && name != "..")
            names.append(name);
    }
    closedir(listing);
    return names;
}

// Removes the entry `name` of the open folder `parent`, descending into real folders only.
bool removeAt(int parent, const char* name)
{
    struct stat status
    {
    };
    if (fstatat(parent, name, &status, AT_SYMLINK_NOFOLLOW) != 0)
        return false;
    if (!S_ISDIR(status.st_mode))
        return unlinkat(parent, name, 0) == 0;
    const int folder = openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (folder < 0)
        return false;
    for (const QByteArray& child : namesIn(folder))
        removeAt(folder, child.constData());
    close(folder);
    return unlinkat(parent, name, AT_REMOVEDIR) == 0;
}

} // namespace

bool PrivateFolder::ensure(const QString& path, QString* error)
{
    const QByteArray native = QFile::encodeName(path);
    if (mkdir(native.constData(), 0700) != 0 && errno != EEXIST) {
        if (error)
            *error =
                refusal(path, QStringLiteral("can't be created (%1)").arg(QString::fromLocal8Bit(strerror(errno))));
        return false;
    }
    struct stat status
    {
    };
    if (lstat(native.constData(), &status) != 0 || S_ISLNK(status.st_mode) || !S_ISDIR(status.st_mode)) {
        if (error)
            *error = refusal(path, QStringLiteral("is a link or not a folder"));
        return false;
    }
    if (status.st_uid != geteuid()) {
        if (error)
            *error = refusal(path, QStringLiteral("belongs to another user"));
        return false;
    }
    if (status.st_mode & (S_IWGRP | S_IWOTH)) {
        if (error)
            *error = refusal(path, QStringLiteral("may be written by other users"));
        return false;
    }
    if ((status.st_mode & 07777) != 0700 && chmod(native.constData(), 0700) != 0) {
        if (error)
            *error = refusal(path, QStringLiteral("can't be made private"));
        return false;
    }
    return true;
}

int PrivateFolder::removeContents(const QString& path)
{
    const int folder = open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (folder < 0)
        return 0;
    int removed = 0;
    for (const QByteArray& name : namesIn(folder))
        removed += removeAt(folder, name.constData()) ? 1 : 0;
    close(folder);
    return removed;
}
