#include "EngineRecorder.h"
#include "LogCapture.h"
#include "TestMain.h"
#include "TestPrivilegedExecution.h"

#include "catalogue/VMInstalledVersions.h"
#include "engines/LVUninstaller.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QtTest>

// Scripts run through /bin/sh with the test answering the password prompt.
class tst_LVUninstaller : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void creation();
    void judgesEachScriptsOutput_data();
    void judgesEachScriptsOutput();
    void stopsAtFirstFailure();
    void emptyListCompletesAfterDelay();
    void vanishedScriptEndsRunAsSuccess();
    void refusedPromptRunsNothingAndCompletes_data();
    void refusedPromptRunsNothingAndCompletes();
    void scriptThatCannotRunFailsTheRun_data();
    void scriptThatCannotRunFailsTheRun();
    void callerAuthorizationIsUsedAndNotFreed();
    void startOnMainThread();
    void destroyedDelegateIsNotCalled();

private:
    // A script that notes its name in the run log and then prints `output` (with printf).
    QByteArray script(const QString& name, const QByteArray& output) const;
    QStringList ran() const;
    std::shared_ptr<LVUninstaller> runToEnd(const QByteArrayList& scripts, EngineRecorder& recorder,
                                            const QVariantMap& options = {});

    std::unique_ptr<TestEnvironment> _env;
    std::shared_ptr<TestPrivilegedExecution> _privileged;
    std::shared_ptr<TestCommandLineTools> _tools;
};

QByteArray tst_LVUninstaller::script(const QString& name, const QByteArray& output) const
{
    return "echo " + name.toUtf8() + " >> '" + (_env->path() + QStringLiteral("/ran")).toUtf8() + "'\nprintf '" +
           output + "'\n";
}

QStringList tst_LVUninstaller::ran() const
{
    return QString::fromUtf8(TestEnvironment::readFile(_env->path() + QStringLiteral("/ran")))
        .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

std::shared_ptr<LVUninstaller> tst_LVUninstaller::runToEnd(const QByteArrayList& scripts, EngineRecorder& recorder,
                                                           const QVariantMap& options)
{
    QSignalSpy finished(&recorder, &EngineRecorder::finished);
    auto uninstaller = LVUninstaller::uninstallerWithScripts(scripts, options);
    if (!uninstaller)
        return nullptr;
    uninstaller->setDelegate(&recorder);
    uninstaller->startInBackground();
    if (!finished.wait())
        return nullptr;
    return uninstaller;
}

void tst_LVUninstaller::init()
{
    _env = std::make_unique<TestEnvironment>();
    _privileged = std::make_shared<TestPrivilegedExecution>();
    Platform::setPrivilegedExecution(_privileged);
    _tools = std::make_shared<TestCommandLineTools>();
    _tools->shell = QStringLiteral("/bin/sh");
    Platform::setCommandLineTools(_tools);
}

void tst_LVUninstaller::cleanup()
{
    QVERIFY2(_env->temporaryFiles().isEmpty(), qPrintable(_env->temporaryFiles().join(QLatin1Char(' '))));
    _privileged.reset();
    _tools.reset();
    _env.reset();
}

void tst_LVUninstaller::creation()
{
    LogCapture log;
    QVERIFY(!LVUninstaller::uninstallerWithScripts(std::nullopt, {}));
    QCOMPARE(log.messages(), QStringList{QStringLiteral("scriptsData = nil")});
    QVERIFY(!LVUninstaller::uninstallerWithScript(QByteArray(), {}));

    {
        // One temporary file per script, in order, holding the script; gone with the runner.
        auto uninstaller = LVUninstaller::uninstallerWithScripts(QByteArrayList{"echo a", "", "echo c"}, {});
        QVERIFY(uninstaller);
        const QStringList paths = uninstaller->scriptFilePaths();
        QCOMPARE(paths.size(), 3);
        QStringList contents;
        for (const QString& path : paths) {
            QVERIFY(path.startsWith(_env->temporaryDirectory()));
            contents.append(QString::fromUtf8(TestEnvironment::readFile(path)));
        }
        QCOMPARE(contents, (QStringList{"echo a", "", "echo c"}));
        QCOMPARE(_env->temporaryFiles().size(), 3);
    }
    QVERIFY(_env->temporaryFiles().isEmpty());
}

void tst_LVUninstaller::judgesEachScriptsOutput_data()
{
    QTest::addColumn<QByteArray>("output");
    QTest::addColumn<bool>("succeeds");
    QTest::newRow("0 and newline") << QByteArray("0\\n") << true;
    QTest::newRow("nothing") << QByteArray("") << true;
    QTest::newRow("0 without newline") << QByteArray("0") << false;
    QTest::newRow("1 and newline") << QByteArray("1\\n") << false;
    QTest::newRow("0 twice") << QByteArray("0\\n0\\n") << false;
    QTest::newRow("chatter then 0") << QByteArray("removed\\n0\\n") << false;
}

void tst_LVUninstaller::judgesEachScriptsOutput()
{
    QFETCH(QByteArray, output);
    QFETCH(bool, succeeds);

    EngineRecorder recorder;
    const auto uninstaller = runToEnd({script(QStringLiteral("one"), output)}, recorder);
    QVERIFY(uninstaller);
    QCOMPARE(recorder.events, (QStringList{"uninstallStarted", succeeds ? "uninstallCompleted" : "uninstallFailed"}));
    QVERIFY(recorder.allOnMainThread);
    QCOMPARE(ran(), QStringList{"one"});
    QCOMPARE(_privileged->executions(), QStringList{"/bin/sh " + uninstaller->scriptFilePaths().first()});
    QCOMPARE(_privileged->frees.load(), _privileged->creates.load());
    if (succeeds) {
        QVERIFY(recorder.error.isNull());
    } else {
        const QString printed = QString::fromUtf8(output).replace(QStringLiteral("\\n"), QStringLiteral("\n"));
        QCOMPARE(recorder.error,
                 VMError(QStringLiteral("LVUninstaller"), -1, QStringLiteral("Uninstallation Failed"), printed));
    }
}

void tst_LVUninstaller::stopsAtFirstFailure()
{
    EngineRecorder recorder;
    const auto uninstaller =
        runToEnd({script("first", "0\\n"), script("second", "1\\n"), script("third", "0\\n")}, recorder);
    QVERIFY(uninstaller);
    QCOMPARE(ran(), (QStringList{"first", "second"}));
    QCOMPARE(recorder.events, (QStringList{"uninstallStarted", "uninstallFailed"}));
    QCOMPARE(recorder.error.localizedDescription(), QStringLiteral("Uninstallation Failed"));
    QCOMPARE(recorder.error.localizedFailureReason(), QStringLiteral("1\n"));
    // Each script asked for its own authorization and gave it back.
    QCOMPARE(_privileged->prompts.load(), 2);
    QCOMPARE(_privileged->frees.load(), 2);
}

void tst_LVUninstaller::emptyListCompletesAfterDelay()
{
    VMDispatch::setDelayScale(0.2);
    EngineRecorder recorder;
    QSignalSpy finished(&recorder, &EngineRecorder::finished);
    auto uninstaller = LVUninstaller::uninstallerWithScripts(QByteArrayList(), {});
    uninstaller->setDelegate(&recorder);
    QVERIFY(uninstaller->start());
    QVERIFY(finished.wait());
    QCOMPARE(recorder.events, (QStringList{"uninstallStarted", "uninstallCompleted"}));
    QVERIFY2(recorder.finishedAt - recorder.startedAt >= 380,
             qPrintable(QString::number(recorder.finishedAt - recorder.startedAt)));
    QCOMPARE(_privileged->creates.load(), 0);
}

void tst_LVUninstaller::vanishedScriptEndsRunAsSuccess()
{
    EngineRecorder recorder;
    QSignalSpy finished(&recorder, &EngineRecorder::finished);
    auto uninstaller =
        LVUninstaller::uninstallerWithScripts(QByteArrayList{script("first", "0\\n"), script("second", "1\\n")}, {});
    uninstaller->setDelegate(&recorder);
    QFile::remove(uninstaller->scriptFilePaths().first());
    QCOMPARE(uninstaller->start(), false);
    QVERIFY(finished.wait());
    QCOMPARE(recorder.events, (QStringList{"uninstallStarted", "uninstallCompleted"}));
    QVERIFY(ran().isEmpty());
}

void tst_LVUninstaller::refusedPromptRunsNothingAndCompletes_data()
{
    QTest::addColumn<int>("consent");
    QTest::newRow("cancelled") << int(TestPrivilegedExecution::Cancel);
    QTest::newRow("refused") << int(TestPrivilegedExecution::Refuse);
}

void tst_LVUninstaller::refusedPromptRunsNothingAndCompletes()
{
    QFETCH(int, consent);
    _privileged->consent = TestPrivilegedExecution::Consent(consent);
    EngineRecorder recorder;
    QVERIFY(runToEnd({script("first", "1\\n"), script("second", "1\\n")}, recorder));
    // Nothing printed counts as clean, so every script is tried and the run "completes".
    QCOMPARE(recorder.events, (QStringList{"uninstallStarted", "uninstallCompleted"}));
    QVERIFY(ran().isEmpty());
    QCOMPARE(_privileged->prompts.load(), 2);
    QCOMPARE(_privileged->frees.load(), 2);
}

void tst_LVUninstaller::scriptThatCannotRunFailsTheRun_data()
{
    QTest::addColumn<int>("createStatus");
    QTest::addColumn<bool>("shellMissing");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("description");
    QTest::addColumn<QString>("logged");
    QTest::addColumn<int>("frees"); // of the one authorization the first script asked for
    QTest::newRow("no authorization") << int(PrivilegedExecution::InvalidSet) << false
                                      << int(PrivilegedExecution::InvalidSet) << "AuthorizationCreate failed"
                                      << "AuthorizationCreate failed" << 0;
    QTest::newRow("no shell") << int(PrivilegedExecution::Success) << true
                              << int(PrivilegedExecution::ToolExecuteFailure) << "Uninstaller Execution failed"
                              << "Uninstaller Execution failed: -60031" << 1;
}

void tst_LVUninstaller::scriptThatCannotRunFailsTheRun()
{
    QFETCH(int, createStatus);
    QFETCH(bool, shellMissing);
    QFETCH(int, code);
    QFETCH(QString, description);
    QFETCH(QString, logged);
    QFETCH(int, frees);
    _privileged->createStatus = createStatus;
    if (shellMissing)
        _tools->shell = _env->path() + QStringLiteral("/no-such-shell");
    LogCapture log;
    EngineRecorder recorder;
    QVERIFY(runToEnd({script("first", "0\\n"), script("second", "0\\n")}, recorder));
    QCOMPARE(recorder.events, (QStringList{"uninstallStarted", "uninstallFailed"}));
    QCOMPARE(recorder.error, VMError(QStringLiteral("LVUninstaller"), code, description));
    QCOMPARE(log.messages(), QStringList{logged});
    QVERIFY(ran().isEmpty());
    QCOMPARE(_privileged->creates.load(), 1);
    QCOMPARE(_privileged->frees.load(), frees);
}

void tst_LVUninstaller::callerAuthorizationIsUsedAndNotFreed()
{
    int status = -1;
    const auto authorization = _privileged->create(&status);
    QCOMPARE(_privileged->copyRights(authorization, QStringLiteral("system.privilege.admin"), true), 0);
    EngineRecorder recorder;
    QVERIFY(runToEnd({script("first", "0\\n"), script("second", "")}, recorder,
                     {{"optionAuthorizationRef", QVariant::fromValue(authorization)}}));
    QCOMPARE(recorder.events, (QStringList{"uninstallStarted", "uninstallCompleted"}));
    QCOMPARE(ran(), (QStringList{"first", "second"}));
    QCOMPARE(_privileged->creates.load(), 1);
    QCOMPARE(_privileged->prompts.load(), 1);
    QCOMPARE(_privileged->frees.load(), 0);
}

void tst_LVUninstaller::startOnMainThread()
{
    // A tool runs it directly; the callbacks still come through the event loop, in order.
    EngineRecorder recorder;
    QSignalSpy finished(&recorder, &EngineRecorder::finished);
    recorder.uninstallerHeld = LVUninstaller::uninstallerWithScript(script("only", "0\\n"), {});
    recorder.uninstallerHeld->setDelegate(&recorder);
    QVERIFY(recorder.uninstallerHeld->start());
    QVERIFY(recorder.events.isEmpty());
    QCOMPARE(ran(), QStringList{"only"});
    QVERIFY(finished.wait());
    QCOMPARE(recorder.events, (QStringList{"uninstallStarted", "uninstallCompleted"}));
    QVERIFY(!recorder.uninstallerHeld);
    QTRY_VERIFY(_env->temporaryFiles().isEmpty());
}

void tst_LVUninstaller::destroyedDelegateIsNotCalled()
{
    auto recorder = std::make_unique<EngineRecorder>();
    bool heard = false;
    connect(recorder.get(), &EngineRecorder::finished, this, [&] { heard = true; });
    auto uninstaller = LVUninstaller::uninstallerWithScript("sleep 0.2\necho 0\n", {});
    uninstaller->setDelegate(recorder.get());
    uninstaller->startInBackground();
    QTRY_COMPARE(recorder->events, QStringList{QStringLiteral("uninstallStarted")});
    recorder.reset();
    QPointer<LVUninstaller> watch = uninstaller.get();
    uninstaller.reset();
    QVERIFY(!watch.isNull()); // the run still holds it
    QTRY_VERIFY(watch.isNull());
    QVERIFY(!heard);
}

LV_TEST_GUILESS_MAIN(tst_LVUninstaller)
#include "tst_LVUninstaller.moc"
