#include "TestEnvironment.h"

#include "foundation/LVPreferences.h"
#include "foundation/VMClock.h"
#include "foundation/VMDispatch.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QMutexLocker>

void RecordingSystemLog::write(const QString& message)
{
    QMutexLocker locker(&_lock);
    _lines.append(message);
}

QStringList RecordingSystemLog::lines() const
{
    QMutexLocker locker(&_lock);
    return _lines;
}

void RecordingSystemLog::clear()
{
    QMutexLocker locker(&_lock);
    _lines.clear();
}

TestSystemInfo::TestSystemInfo() : _native(NativePlatform::createSystemInfo()) {}

QString TestSystemInfo::machineName() const
{
    return machine ? *machine : _native->machineName();
}

QVersionNumber TestSystemInfo::operatingSystemVersion() const
{
    return osVersion ? *osVersion : _native->operatingSystemVersion();
}

SystemInfo::ModifierKeys TestSystemInfo::heldModifierKeys() const
{
    return modifiers;
}

namespace {
const QList<QByteArray> kVariables = {"HOME",           "XDG_DATA_HOME",   "XDG_CONFIG_HOME",
                                      "XDG_CACHE_HOME", "XDG_RUNTIME_DIR", "TMPDIR",
                                      "LV_SYSTEM_ROOT", "LV_SERVER_URL"};
}

TestEnvironment::TestEnvironment(double delayScale)
{
    for (const QByteArray& name : kVariables)
        _savedEnvironment.insert(name, qgetenv(name.constData()));
    const QString base = _dir.path();
    const QStringList folders = {QStringLiteral("home"),         QStringLiteral("home/.local/share"),
                                 QStringLiteral("home/.config"), QStringLiteral("home/.cache"),
                                 QStringLiteral("runtime"),      QStringLiteral("tmp"),
                                 QStringLiteral("root")};
    for (const QString& folder : folders)
        QDir(base).mkpath(folder);
    QFile::setPermissions(base + QStringLiteral("/runtime"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    qputenv("HOME", QFile::encodeName(base + QStringLiteral("/home")));
    qputenv("XDG_DATA_HOME", QFile::encodeName(base + QStringLiteral("/home/.local/share")));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(base + QStringLiteral("/home/.config")));
    qputenv("XDG_CACHE_HOME", QFile::encodeName(base + QStringLiteral("/home/.cache")));
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(base + QStringLiteral("/runtime")));
    qputenv("TMPDIR", QFile::encodeName(base + QStringLiteral("/tmp")));
    qputenv("LV_SYSTEM_ROOT", QFile::encodeName(base + QStringLiteral("/root")));
    // Nothing may reach the maker's real hosts: unless a test points the servers at its own
    // server, they are a port on this machine where nobody listens.
    qputenv("LV_SERVER_URL", "http://127.0.0.1:9");

    LVPreferences::setSettingsFile(base + QStringLiteral("/home/defaults.ini"));
    VMDispatch::setDelayScale(delayScale);

    systemLog = std::make_shared<RecordingSystemLog>();
    systemInfo = std::make_shared<TestSystemInfo>();
    Platform::setSystemLog(systemLog);
    Platform::setSystemInfo(systemInfo);
}

TestEnvironment::~TestEnvironment()
{
    Platform::reset();
    VMClock::setCurrentDateProvider(nullptr);
    VMDispatch::setDelayScale(1.0);
    LVPreferences::setSettingsFile(QString());
    for (auto it = _savedEnvironment.begin(); it != _savedEnvironment.end(); ++it) {
        if (it.value().isNull())
            qunsetenv(it.key().constData());
        else
            qputenv(it.key().constData(), it.value());
    }
}

QString TestEnvironment::home() const
{
    return _dir.path() + QStringLiteral("/home");
}

QString TestEnvironment::systemRoot() const
{
    return _dir.path() + QStringLiteral("/root");
}

QString TestEnvironment::temporaryDirectory() const
{
    return _dir.path() + QStringLiteral("/tmp");
}

QStringList TestEnvironment::temporaryFiles() const
{
    QStringList files;
    QDirIterator it(temporaryDirectory(), QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
    while (it.hasNext())
        files.append(it.next());
    return files;
}

bool TestEnvironment::writeFile(const QString& path, const QByteArray& data)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(data) == data.size();
}

QByteArray TestEnvironment::readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}
