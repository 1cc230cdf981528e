#pragma once

#include <QLockFile>
#include <QString>
#include <memory>

// Keeps two copies of the application (window or command line, of any user) from installing or
// uninstalling at the same time: one lock file per machine (per system root), held for as long as
// the object lives.
// A lock left by a process that has died is taken over.
class LVOperationLock
{
public:
    LVOperationLock();
    ~LVOperationLock();

    // False when another process holds it; `message` then says which.
    bool tryLock(QString* message = nullptr);
    bool isLocked() const;

    static QString filePath();

private:
    std::unique_ptr<QLockFile> _lockFile;
};
