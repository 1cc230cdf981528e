#pragma once

#include "platform/Platform.h"

#include <QMutex>
#include <QStringList>
#include <QTemporaryDir>
#include <memory>

// The system log as a list of lines, for tests to read.
class RecordingSystemLog : public SystemLog
{
public:
    void write(const QString& message) override;
    QStringList lines() const;
    void clear();

private:
    mutable QMutex _lock;
    QStringList _lines;
};

// This machine's facts with some of them set by the test: the processor, the macOS version and
// the modifier keys held. The folders are the native ones.
class TestSystemInfo : public SystemInfo
{
public:
    TestSystemInfo();

    QString machineName() const override;
    QVersionNumber operatingSystemVersion() const override;
    ModifierKeys heldModifierKeys() const override;
    QString systemRoot() const override { return _native->systemRoot(); }
    QString homeDirectory() const override { return _native->homeDirectory(); }
    QString temporaryDirectory() const override { return _native->temporaryDirectory(); }
    QString downloadsDirectory() const override { return _native->downloadsDirectory(); }
    QString userLibraryDirectory() const override { return _native->userLibraryDirectory(); }
    QString localApplicationsDirectory() const override { return _native->localApplicationsDirectory(); }
    QString trashDirectory() const override { return _native->trashDirectory(); }
    QString applicationSupportDirectory() const override { return _native->applicationSupportDirectory(); }

    std::optional<QString> machine;
    std::optional<QVersionNumber> osVersion;
    ModifierKeys modifiers = NoModifier;

private:
    std::shared_ptr<SystemInfo> _native;
};

// Everything a test writes goes into one temporary folder that is removed afterwards: HOME, the
// XDG folders, the temporary folder, the system root and the settings file. Delays are shrunk by
// `delayScale`. The system log is recorded and the system facts can be set.
class TestEnvironment
{
public:
    explicit TestEnvironment(double delayScale = 0.01);
    ~TestEnvironment();

    QString path() const { return _dir.path(); }
    QString home() const;
    QString systemRoot() const;
    QString temporaryDirectory() const;

    // The files left in the temporary folder (recursively), for no-leftover checks.
    QStringList temporaryFiles() const;

    // Writes `data` to `path`, making the folders on the way; false when it could not.
    static bool writeFile(const QString& path, const QByteArray& data = QByteArray());
    // The file's bytes; empty when it cannot be read.
    static QByteArray readFile(const QString& path);

    std::shared_ptr<RecordingSystemLog> systemLog;
    std::shared_ptr<TestSystemInfo> systemInfo;

private:
    QTemporaryDir _dir;
    QHash<QByteArray, QByteArray> _savedEnvironment;
};
