#include "EngineRecorder.h"
#include "LogCapture.h"
#include "TestMain.h"
#include "TestPrivilegedExecution.h"

#include "catalogue/VMInstalledVersions.h"
#include "engines/LVInstaller.h"
#include "foundation/LVPreferences.h"
#include "foundation/VMPropertyList.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QtTest>

// The runner's own rules, with a stand-in installer that prints what the test asks for: the
// checks, the arguments, the verdict on the output, authorization, callbacks and release.
class tst_LVInstaller : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void nilPathGivesNoInstaller();
    void badPathsAreRefused_data();
    void badPathsAreRefused();
    void userRunDoesNotJudgeOutput_data();
    void userRunDoesNotJudgeOutput();
    void userRunWithoutInstallerProgram();
    void adminRunJudgesOutput_data();
    void adminRunJudgesOutput();
    void adminRunAuthorizationRefused_data();
    void adminRunAuthorizationRefused();
    void callerAuthorizationIsUsedAndNotFreed();
    void finalCallbackComesLaterAndClearsDetectionCache();
    void packageDeletedOnRelease_data();
    void packageDeletedOnRelease();
    void ownerMayDropInstallerMidRun();
    void destroyedDelegateIsNotCalled();

private:
    QString writeFile(const QString& name, const QByteArray& content);
    void setInstallerOutput(const QByteArray& output);
    QStringList installerCalls() const;
    void useSlowInstaller(const QByteArray& seconds);
    // Installs `package` in the background and waits for the end; null when it never came.
    std::shared_ptr<LVInstaller> run(const QString& package, EngineRecorder& recorder,
                                     const QVariantMap& options = {{"requiresAuthentication", true}});

    std::unique_ptr<TestEnvironment> _env;
    std::shared_ptr<TestPrivilegedExecution> _privileged;
    std::shared_ptr<TestCommandLineTools> _tools;
};

std::shared_ptr<LVInstaller> tst_LVInstaller::run(const QString& package, EngineRecorder& recorder,
                                                  const QVariantMap& options)
{
    QSignalSpy finished(&recorder, &EngineRecorder::finished);
    auto installer = LVInstaller::installerWithFilePath(package, options);
    installer->setDelegate(&recorder);
    installer->startInBackground();
    return finished.wait() ? installer : nullptr;
}

QString tst_LVInstaller::writeFile(const QString& name, const QByteArray& content)
{
    const QString path = _env->path() + QLatin1Char('/') + name;
    return TestEnvironment::writeFile(path, content) ? path : QString();
}

void tst_LVInstaller::setInstallerOutput(const QByteArray& output)
{
    writeFile(QStringLiteral("tools/output"), output);
}

void tst_LVInstaller::useSlowInstaller(const QByteArray& seconds)
{
    _tools->installer = writeFile(QStringLiteral("tools/slow-installer"),
                                  "#!/bin/sh\nsleep " + seconds + "\necho 'The upgrade was successful'\n");
    QFile::setPermissions(_tools->installer, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

QStringList tst_LVInstaller::installerCalls() const
{
    return QString::fromUtf8(TestEnvironment::readFile(_env->path() + QStringLiteral("/tools/calls")))
        .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

void tst_LVInstaller::init()
{
    _env = std::make_unique<TestEnvironment>();
    VMInstalledVersions::clearBundleIdentifierCache();
    _privileged = std::make_shared<TestPrivilegedExecution>();
    Platform::setPrivilegedExecution(_privileged);
    _tools = std::make_shared<TestCommandLineTools>();
    const QString tools = _env->path() + QStringLiteral("/tools");
    // Notes its arguments, prints the output the case set, then ends as the case said.
    _tools->installer = writeFile(
        QStringLiteral("tools/installer"),
        QStringLiteral("#!/bin/sh\necho \"$*\" >> '%1/calls'\ncat '%1/output'\n. '%1/finish'\n").arg(tools).toUtf8());
    QFile::setPermissions(_tools->installer, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    setInstallerOutput("installer: The upgrade was successful.\n");
    writeFile(QStringLiteral("tools/finish"), QByteArray());
    Platform::setCommandLineTools(_tools);
}

void tst_LVInstaller::cleanup()
{
    _privileged.reset();
    _tools.reset();
    _env.reset();
}

void tst_LVInstaller::nilPathGivesNoInstaller()
{
    LogCapture log;
    QVERIFY(!LVInstaller::installerWithFilePath(QString(), {}));
    QCOMPARE(log.messages(), QStringList{QStringLiteral("filePath = nil")});
}

void tst_LVInstaller::badPathsAreRefused_data()
{
    QTest::addColumn<bool>("admin");
    QTest::addColumn<QString>("file");   // created under the test folder unless it starts with '!'
    QTest::addColumn<QString>("logged"); // '@' stands for the path
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("description");
    const QString notPkg = QStringLiteral("An internal Error occured: 'Not a pkg file'");
    QTest::newRow("user, disk image") << false << "Glow.dmg"
                                      << "Not a pkg file" << 0 << notPkg;
    QTest::newRow("user, capital extension") << false << "Glow.PKG"
                                             << "Not a pkg file" << 0 << notPkg;
    QTest::newRow("user, missing package")
        << false << "!Glow.pkg"
        << "File does not exist: @" << 0 << "An internal Error occured: 'file does not exists'";
    // The administrator's run starts; the specific problem is only logged, the caller hears the
    // general verdict.
    QTest::newRow("admin, missing") << true << "!Glow.pkg"
                                    << "File does not exist: @" << -1 << "Installation Failed";
    QTest::newRow("admin, not a package") << true << "Glow.zip"
                                          << "Not a pkg file" << -1 << "Installation Failed";
    QTest::newRow("admin, path too long")
        << true << QStringList(6, QString(200, QLatin1Char('d'))).join(QLatin1Char('/')) + "/Glow.pkg"
        << "getCString failed" << -1 << "Installation Failed";
}

void tst_LVInstaller::badPathsAreRefused()
{
    QFETCH(bool, admin);
    QFETCH(QString, file);
    QFETCH(QString, logged);
    QFETCH(int, code);
    QFETCH(QString, description);

    const QString path =
        file.startsWith(QLatin1Char('!')) ? _env->path() + QLatin1Char('/') + file.mid(1) : writeFile(file, "package");
    QVERIFY(!path.isNull());
    LogCapture log;
    EngineRecorder recorder;
    QSignalSpy finished(&recorder, &EngineRecorder::finished);
    auto installer = LVInstaller::installerWithFilePath(path, {{"requiresAuthentication", admin}});
    installer->setDelegate(&recorder);
    if (admin)
        installer->startInBackground();
    else
        QCOMPARE(installer->start(), QFileInfo::exists(path));
    QVERIFY(finished.wait());

    QCOMPARE(recorder.events, (admin ? QStringList{"installStarted", "installFailed"} : QStringList{"installFailed"}));
    QCOMPARE(recorder.error, VMError(QStringLiteral("LVInstaller"), code, description, QString("")));
    QCOMPARE(log.messages(), QStringList{QString(logged).replace(QLatin1Char('@'), path)});
    QCOMPARE(_privileged->prompts.load(), 0);
    QVERIFY(installerCalls().isEmpty());
}

void tst_LVInstaller::userRunDoesNotJudgeOutput_data()
{
    QTest::addColumn<QByteArray>("output");
    QTest::addColumn<QByteArray>("finish"); // how the stand-in ends, after printing `output`
    QTest::addColumn<QVariant>("arguments");
    QTest::addColumn<QString>("expectedCall");
    QTest::newRow("upgrade, no arguments") << QByteArray("installer: The upgrade was successful.\n") << QByteArray()
                                           << QVariant() << "-pkg @ -target CurrentUserHomeDirectory";
    QTest::newRow("error text and a failure status still succeed")
        << QByteArray("installer: Error - the package is damaged.\n") << QByteArray("exit 1")
        << QVariant(QStringLiteral("-verbose")) << "-pkg @ -target CurrentUserHomeDirectory -verbose";
    QTest::newRow("arguments kept whole") << QByteArray("") << QByteArray() << QVariant(QStringLiteral("-lang en"))
                                          << "-pkg @ -target CurrentUserHomeDirectory -lang en";
    QTest::newRow("empty arguments left out")
        << QByteArray("x") << QByteArray() << QVariant(QStringLiteral("")) << "-pkg @ -target CurrentUserHomeDirectory";
}

void tst_LVInstaller::userRunDoesNotJudgeOutput()
{
    QFETCH(QByteArray, output);
    QFETCH(QByteArray, finish);
    QFETCH(QVariant, arguments);
    QFETCH(QString, expectedCall);

    setInstallerOutput(output);
    writeFile(QStringLiteral("tools/finish"), finish);
    const QString package = writeFile(QStringLiteral("downloads/Glow.pkg"), "package");
    QVariantMap options{{"requiresAuthentication", false}};
    if (arguments.isValid())
        options.insert(QStringLiteral("arguments"), arguments);
    EngineRecorder recorder;
    QSignalSpy finished(&recorder, &EngineRecorder::finished);
    auto installer = LVInstaller::installerWithFilePath(package, options);
    installer->setDelegate(&recorder);
    installer->startInBackground();
    installer.reset();
    QVERIFY(finished.wait());

    QCOMPARE(recorder.events, (QStringList{"installStarted", "installCompleted"}));
    QVERIFY(recorder.allOnMainThread);
    QVERIFY(recorder.error.isNull());
    QCOMPARE(installerCalls(), QStringList{expectedCall.replace(QLatin1Char('@'), package)});
    QVERIFY(_env->systemLog->lines().contains(QStringLiteral("installer output: ") + QString::fromUtf8(output)));
    QCOMPARE(_privileged->creates.load(), 0);
}

void tst_LVInstaller::userRunWithoutInstallerProgram()
{
    _tools->installer = _env->path() + QStringLiteral("/tools/no-such-installer");
    EngineRecorder recorder;
    QVERIFY(run(writeFile(QStringLiteral("Glow.pkg"), "package"), recorder, {}));
    QCOMPARE(recorder.events, (QStringList{"installStarted", "installFailed"}));
    QCOMPARE(recorder.error.domain(), QStringLiteral("LVInstaller"));
    QVERIFY(!recorder.error.localizedDescription().isEmpty());
}

void tst_LVInstaller::adminRunJudgesOutput_data()
{
    QTest::addColumn<QByteArray>("output");
    QTest::addColumn<QByteArray>("finish"); // how the stand-in ends, after printing `output`
    QTest::addColumn<bool>("succeeds");
    QTest::addColumn<QStringList>("logged");
    const QByteArray upgraded("installer: The upgrade was successful.\n");
    const QStringList clean{"Installer exited: 0"};
    QTest::newRow("upgrade") << "installer: Package name is Glow\n" + upgraded << QByteArray() << true << clean;
    QTest::newRow("fresh install counts as failure")
        << QByteArray("installer: The install was successful.\n") << QByteArray() << false << clean;
    QTest::newRow("anywhere in the text")
        << QByteArray("xThe upgrade was successfuly") << QByteArray() << true << clean;
    QTest::newRow("nothing printed") << QByteArray() << QByteArray() << false << clean;
    QTest::newRow("case matters") << QByteArray("the upgrade was successful") << QByteArray() << false << clean;
    QTest::newRow("long UTF-8 output") << QByteArray("R\xc3\xa9sum\xc3\xa9 ").repeated(100) +
                                              "The upgrade was successful"
                                       << QByteArray() << true << clean;
    QTest::newRow("errors and a failure status")
        << QByteArray("installer: The install failed.\n")
        << QByteArray("echo 'installer: Error - the package is damaged' >&2; echo 'second line' >&2; exit 1") << false
        << QStringList{"Installer exited: 1",
                       "Installer standard error: installer: Error - the package is damaged\nsecond line"};
    // The verdict stays with the output, whatever the status says.
    QTest::newRow("killed after the upgrade message")
        << upgraded << QByteArray("kill -9 $$") << true << QStringList{"Installer exited: -1"};
    QTest::newRow("errors but upgraded") << upgraded << QByteArray("echo 'a warning' >&2; exit 2") << true
                                         << QStringList{"Installer exited: 2", "Installer standard error: a warning"};
}

void tst_LVInstaller::adminRunJudgesOutput()
{
    QFETCH(QByteArray, output);
    QFETCH(QByteArray, finish);
    QFETCH(bool, succeeds);
    QFETCH(QStringList, logged);

    setInstallerOutput(output);
    writeFile(QStringLiteral("tools/finish"), finish);
    const QString package = writeFile(QStringLiteral("Glow.pkg"), "package");
    LogCapture log;
    EngineRecorder recorder;
    const auto installer = run(package, recorder);
    QVERIFY(installer);

    QCOMPARE(recorder.events, (QStringList{"installStarted", succeeds ? "installCompleted" : "installFailed"}));
    QCOMPARE(installerCalls(), QStringList{QStringLiteral("-pkg %1 -target /").arg(package)});
    QCOMPARE(_privileged->prompts.load(), 1);
    QCOMPARE(_privileged->frees.load(), 1);
    QCOMPARE(log.messages(), logged);
    if (succeeds) {
        QVERIFY(recorder.error.isNull());
        QVERIFY(installer->error().isNull());
    } else {
        QCOMPARE(recorder.error, VMError(QStringLiteral("LVInstaller"), -1, QStringLiteral("Installation Failed"),
                                         QString::fromUtf8(output)));
    }
}

void tst_LVInstaller::adminRunAuthorizationRefused_data()
{
    QTest::addColumn<int>("consent");
    QTest::addColumn<int>("createStatus");
    QTest::addColumn<int>("code");
    QTest::addColumn<QStringList>("logged");
    QTest::addColumn<int>("frees");
    QTest::newRow("cancelled") << int(TestPrivilegedExecution::Cancel) << 0 << -60006 << QStringList() << 1;
    QTest::newRow("refused") << int(TestPrivilegedExecution::Refuse) << 0 << -60005 << QStringList() << 1;
    QTest::newRow("no authorization") << int(TestPrivilegedExecution::Grant) << -60001 << -60001
                                      << QStringList{"AuthorizationCreate failed"} << 0;
}

void tst_LVInstaller::adminRunAuthorizationRefused()
{
    QFETCH(int, consent);
    QFETCH(int, createStatus);
    QFETCH(int, code);
    QFETCH(QStringList, logged);
    QFETCH(int, frees);

    _privileged->consent = TestPrivilegedExecution::Consent(consent);
    _privileged->createStatus = createStatus;
    const QString package = writeFile(QStringLiteral("Glow.pkg"), "package");
    LogCapture log;
    EngineRecorder recorder;
    QVERIFY(run(package, recorder));

    QCOMPARE(recorder.events, (QStringList{"installStarted", "installFailed"}));
    QCOMPARE(recorder.error.code(), code);
    QCOMPARE(recorder.error.localizedDescription(), QStringLiteral("Installation Failed"));
    QCOMPARE(log.messages(), logged);
    QCOMPARE(_privileged->frees.load(), frees);
    QVERIFY(installerCalls().isEmpty());
}

void tst_LVInstaller::callerAuthorizationIsUsedAndNotFreed()
{
    int status = -1;
    const auto authorization = _privileged->create(&status);
    QCOMPARE(_privileged->copyRights(authorization, QStringLiteral("system.privilege.admin"), true), 0);
    QCOMPARE(_privileged->prompts.load(), 1);

    EngineRecorder recorder;
    QSignalSpy finished(&recorder, &EngineRecorder::finished);
    for (const QString& name : {QStringLiteral("A.pkg"), QStringLiteral("B.pkg")}) {
        auto installer = LVInstaller::installerWithFilePath(
            writeFile(name, "package"),
            {{"requiresAuthentication", true}, {"optionAuthorizationRef", QVariant::fromValue(authorization)}});
        installer->setDelegate(&recorder);
        installer->start();
        QVERIFY(finished.wait());
    }
    QCOMPARE(recorder.events,
             (QStringList{"installStarted", "installCompleted", "installStarted", "installCompleted"}));
    QCOMPARE(_privileged->prompts.load(), 1);
    QCOMPARE(_privileged->creates.load(), 1);
    QCOMPARE(_privileged->frees.load(), 0);
    QCOMPARE(installerCalls().size(), 2);
}

void tst_LVInstaller::finalCallbackComesLaterAndClearsDetectionCache()
{
    VMDispatch::setDelayScale(0.2); // 2.0 s -> 400 ms
    const QString id = QStringLiteral("com.quarnet.FxPlug.GlowXPC");
    QVERIFY(!VMInstalledVersions::checkProductVersionsInBundle(id)->contains(QStringLiteral("XPC_")));

    // What the package would lay down; the stand-in installer only reports success.
    QVERIFY(TestEnvironment::writeFile(
        _env->systemRoot() +
            QStringLiteral("/Applications/Lumivane/Glow.app/Contents/PlugIns/GlowXPC.pluginkit/Contents/Info.plist"),
        VMPropertyList::toXmlData(QVariantMap{{"CFBundleIdentifier", id}, {"CFBundleVersion", "1.2 (7)"}})));
    QVERIFY(!VMInstalledVersions::checkProductVersionsInBundle(id)->contains(QStringLiteral("XPC_")));

    EngineRecorder recorder;
    QSignalSpy finished(&recorder, &EngineRecorder::finished);
    auto installer = LVInstaller::installerWithFilePath(writeFile(QStringLiteral("Glow.pkg"), "p"),
                                                        {{"requiresAuthentication", true}});
    installer->setDelegate(&recorder);
    installer->startInBackground();
    QTRY_COMPARE(recorder.events, QStringList{QStringLiteral("installStarted")});
    QCOMPARE(VMInstalledVersions::checkProductVersionsInBundle(id)->value(QStringLiteral("XPC_")), QVariant());
    QVERIFY(finished.wait());
    QVERIFY2(recorder.finishedAt - recorder.startedAt >= 380,
             qPrintable(QString::number(recorder.finishedAt - recorder.startedAt)));
    QCOMPARE(VMInstalledVersions::checkProductVersionsInBundle(id)->value(QStringLiteral("XPC_")), QVariant("1.2"));
}

void tst_LVInstaller::packageDeletedOnRelease_data()
{
    QTest::addColumn<bool>("deleteFile");
    QTest::addColumn<bool>("admin");
    QTest::addColumn<QByteArray>("output");
    QTest::newRow("after success") << true << true << QByteArray("The upgrade was successful");
    QTest::newRow("after failure") << true << true << QByteArray("The install was successful");
    QTest::newRow("after a user run") << true << false << QByteArray();
    QTest::newRow("kept when not asked") << false << true << QByteArray("The upgrade was successful");
}

void tst_LVInstaller::packageDeletedOnRelease()
{
    QFETCH(bool, deleteFile);
    QFETCH(bool, admin);
    QFETCH(QByteArray, output);

    setInstallerOutput(output);
    const QString package = writeFile(QStringLiteral("Glow.pkg"), "package");
    EngineRecorder recorder;
    QSignalSpy finished(&recorder, &EngineRecorder::finished);
    recorder.installerHeld = LVInstaller::installerWithFilePath(package, {{"requiresAuthentication", admin}});
    QPointer<LVInstaller> watch = recorder.installerHeld.get();
    recorder.installerHeld->setDelegate(&recorder);
    recorder.installerHeld->setDeleteFileAfterInstallation(deleteFile);
    recorder.installerHeld->startInBackground();
    QVERIFY(finished.wait());
    QTRY_VERIFY(watch.isNull());
    QCOMPARE(QFile::exists(package), !deleteFile);
}

void tst_LVInstaller::ownerMayDropInstallerMidRun()
{
    // The installer runs slowly; its owner lets go at once.
    useSlowInstaller("0.3");
    const QString package = writeFile(QStringLiteral("Glow.pkg"), "package");
    EngineRecorder recorder;
    QSignalSpy finished(&recorder, &EngineRecorder::finished);
    auto installer = LVInstaller::installerWithFilePath(package, {{"requiresAuthentication", true}});
    QPointer<LVInstaller> watch = installer.get();
    installer->setDelegate(&recorder);
    installer->setDeleteFileAfterInstallation(true);
    installer->startInBackground();
    installer.reset();
    QVERIFY(!watch.isNull());
    QVERIFY(finished.wait());
    QCOMPARE(recorder.events, (QStringList{"installStarted", "installCompleted"}));
    QTRY_VERIFY(watch.isNull());
    QVERIFY(!QFile::exists(package));
}

void tst_LVInstaller::destroyedDelegateIsNotCalled()
{
    useSlowInstaller("0.2");
    auto recorder = std::make_unique<EngineRecorder>();
    QStringList heard;
    connect(recorder.get(), &EngineRecorder::finished, this, [&] { heard = recorder->events; });
    auto installer = LVInstaller::installerWithFilePath(writeFile(QStringLiteral("Glow.pkg"), "p"),
                                                        {{"requiresAuthentication", true}});
    installer->setDelegate(recorder.get());
    installer->startInBackground();
    QTRY_COMPARE(recorder->events, QStringList{QStringLiteral("installStarted")});
    recorder.reset();
    QVERIFY(!installer->delegate());
    QPointer<LVInstaller> watch = installer.get();
    installer.reset();
    QTRY_VERIFY(watch.isNull());
    QVERIFY(heard.isEmpty());
}

LV_TEST_GUILESS_MAIN(tst_LVInstaller)
#include "tst_LVInstaller.moc"
