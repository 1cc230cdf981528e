#pragma once

#include "engines/LVInstaller.h"
#include "engines/LVUninstaller.h"
#include "foundation/VMDispatch.h"
#include "platform/Platform.h"

#include <QElapsedTimer>
#include <QObject>
#include <QStringList>

// A delegate of both runners that writes down what it hears, where and when, and can drop the
// runner it was given on the final callback the way the rows do.
class EngineRecorder : public QObject, public LVInstallerDelegate, public LVUninstallerDelegate
{
    Q_OBJECT
public:
    EngineRecorder() { clock.start(); }

    void installStarted(LVInstaller*) override { note(QStringLiteral("installStarted")); }
    void installCompleted(LVInstaller* installer) override
    {
        error = installer->error();
        note(QStringLiteral("installCompleted"));
        installerHeld.reset();
        emit finished();
    }
    void installFailed(LVInstaller* installer) override
    {
        error = installer->error();
        note(QStringLiteral("installFailed"));
        installerHeld.reset();
        emit finished();
    }
    void uninstallStarted(LVUninstaller*) override { note(QStringLiteral("uninstallStarted")); }
    void uninstallCompleted(LVUninstaller* uninstaller) override
    {
        error = uninstaller->error();
        note(QStringLiteral("uninstallCompleted"));
        uninstallerHeld.reset();
        emit finished();
    }
    void uninstallFailed(LVUninstaller* uninstaller) override
    {
        error = uninstaller->error();
        note(QStringLiteral("uninstallFailed"));
        uninstallerHeld.reset();
        emit finished();
    }

    QStringList events;
    bool allOnMainThread = true;
    qint64 startedAt = -1;
    qint64 finishedAt = -1;
    VMError error;
    QElapsedTimer clock;
    // Dropped on the final callback, like an owner releasing its runner.
    std::shared_ptr<LVInstaller> installerHeld;
    std::shared_ptr<LVUninstaller> uninstallerHeld;

signals:
    void finished();

private:
    void note(const QString& event)
    {
        events.append(event);
        allOnMainThread = allOnMainThread && VMDispatch::isMainThread();
        if (event.endsWith(QLatin1String("Started")))
            startedAt = clock.elapsed();
        else
            finishedAt = clock.elapsed();
    }
};

// The command-line tools at paths chosen by the test; unset ones stay the platform's.
class TestCommandLineTools : public CommandLineTools
{
public:
    QString installerPath() const override { return installer.isNull() ? _native->installerPath() : installer; }
    QString pluginkitPath() const override { return pluginkit.isNull() ? _native->pluginkitPath() : pluginkit; }
    QString shellPath() const override { return shell.isNull() ? _native->shellPath() : shell; }
    QString installer;
    QString pluginkit;
    QString shell;

private:
    std::shared_ptr<CommandLineTools> _native = NativePlatform::createCommandLineTools();
};
