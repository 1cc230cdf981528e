#include "RecordingWorkspace.h"
#include "TestAlertPresenter.h"
#include "TestEnvironment.h"
#include "TestMain.h"
#include "TestPrivilegedExecution.h"

#include "foundation/VMPropertyList.h"
#include "tools/LVToolSearchAndDelete.h"

#include <QDir>
#include <QLabel>
#include <QPushButton>
#include <QTableView>
#include <QtTest>

// The search for stray copies over a real folder tree (the test's system root and home) and the
// move of the checked ones to the Trash, by the user or through the privileged script.
class tst_LVToolSearchAndDelete : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void searchListsOnlyStrayCopies();
    void deleteMovesCheckedFiles();
    void vanishedFileIsSkipped();
    void failureAlert();
    void script_data();
    void script();
    void craftedNamesRunNothing_data();
    void craftedNamesRunNothing();
    void scriptMeansTheSameInABig5Locale_data();
    void scriptMeansTheSameInABig5Locale();

private:
    // An application bundle with this identifier at a path below the test folder.
    QString makeApp(const QString& relativePath, const QString& identifier);
    QStringList listedPaths() const;
    void check(const QString& path);
    QString trash() const { return Platform::systemInfo().trashDirectory(); }

    std::unique_ptr<TestEnvironment> _env;
    std::shared_ptr<RecordingWorkspace> _workspace;
    std::shared_ptr<TestPrivilegedExecution> _privileged;
    std::shared_ptr<TestAlertPresenter> _alerts;
    LVToolSearchAndDelete* _tool = nullptr;
    QString _strayWithSpace, _strayInDownloads, _locked;
};

QString tst_LVToolSearchAndDelete::makeApp(const QString& relativePath, const QString& identifier)
{
    const QString path = _env->path() + QLatin1Char('/') + relativePath;
    return TestEnvironment::writeFile(path + QStringLiteral("/Contents/Info.plist"),
                                      VMPropertyList::toXmlData(QVariantMap{{"CFBundleIdentifier", identifier}}))
               ? path
               : QString();
}

void tst_LVToolSearchAndDelete::init()
{
    _env = std::make_unique<TestEnvironment>();
    _workspace = std::make_shared<RecordingWorkspace>();
    Platform::setWorkspace(_workspace);
    _privileged = std::make_shared<TestPrivilegedExecution>();
    Platform::setPrivilegedExecution(_privileged);
    _alerts = std::make_shared<TestAlertPresenter>();
    _tool = LVToolSearchAndDelete::sharedManager();
    _tool->setAlertPresenter(_alerts);

    const QString hollin = "com.quarnet.FxPlug.Hollin";
    const QString manager = "com.quarnet.Lumivane-Manager";
    // Where they belong, or where nobody counts them: never listed.
    QVERIFY(!makeApp("root/Applications/Lumivane/Hollin.app", hollin).isNull());
    QVERIFY(!makeApp("root/Applications/Lumivane Manager.app", manager).isNull());
    QVERIFY(!makeApp("root/Volumes/Backup/Applications/Lumivane/Farrow.app", "com.quarnet.FxPlug.Farrow").isNull());
    QVERIFY(!makeApp("home/.Trash/Tessel.app", "com.quarnet.FxPlug.Tessel").isNull());
    QVERIFY(
        !makeApp("home/Library/Mobile Documents/com~apple~CloudDocs/Ondine.app", "com.quarnet.FxPlug.Ondine").isNull());
    QVERIFY(!makeApp("home/Desktop/Other.app", "com.example.other").isNull());
    // Stray copies.
    _strayWithSpace = makeApp("root/Users/Shared/Old Installers/Hollin.app", hollin);
    _strayInDownloads = makeApp("home/Downloads/Lumivane Manager.app", manager);
    _locked = makeApp("root/Library/Locked/Veradis.app", "com.quarnet.FxPlug4.Veradis");
    _tool->show();
}

void tst_LVToolSearchAndDelete::cleanup()
{
    _tool->cancelButtonAction();
    _tool->setAlertPresenter(nullptr);
    _env.reset();
}

QStringList tst_LVToolSearchAndDelete::listedPaths() const
{
    QStringList paths;
    QAbstractItemModel* model = _tool->tableView()->model();
    for (int row = 0; row < model->rowCount(); ++row)
        paths.append(model->index(row, 2).data().toString());
    paths.sort();
    return paths;
}

void tst_LVToolSearchAndDelete::check(const QString& path)
{
    QAbstractItemModel* model = _tool->tableView()->model();
    for (int row = 0; row < model->rowCount(); ++row) {
        if (model->index(row, 2).data().toString() == path)
            QVERIFY(model->setData(model->index(row, 0), Qt::Checked, Qt::CheckStateRole));
    }
}

void tst_LVToolSearchAndDelete::searchListsOnlyStrayCopies()
{
    QVERIFY(listedPaths().isEmpty());
    _tool->searchButton()->click();
    QStringList expected{_strayWithSpace, _strayInDownloads, _locked};
    expected.sort();
    QCOMPARE(listedPaths(), expected);
    QCOMPARE(_tool->searchResultInfo()->text(), QStringLiteral("3 files / applications found"));
    QCOMPARE(_tool->tableView()->model()->index(0, 1).data().toString(), QStringLiteral("Hollin.app"));
    QVERIFY(!_tool->deleteFilesButton()->isEnabled());

    // A checked row enables the deletion; a selected one, showing it in the Finder.
    QAbstractItemModel* model = _tool->tableView()->model();
    QVERIFY(model->setData(model->index(1, 0), Qt::Checked, Qt::CheckStateRole));
    QVERIFY(_tool->deleteFilesButton()->isEnabled());
    QCOMPARE(model->index(1, 0).data(Qt::CheckStateRole).value<Qt::CheckState>(), Qt::Checked);
    QVERIFY(model->setData(model->index(1, 0), Qt::Unchecked, Qt::CheckStateRole));
    QVERIFY(!_tool->deleteFilesButton()->isEnabled());

    QVERIFY(!_tool->showInFinderButton()->isEnabled());
    _tool->tableView()->selectRow(2);
    QVERIFY(_tool->showInFinderButton()->isEnabled());
    _tool->showInFinderButton()->click();
    QCOMPARE(_workspace->revealed, QStringList{model->index(2, 2).data().toString()});
}

void tst_LVToolSearchAndDelete::deleteMovesCheckedFiles()
{
    _workspace->refusedMoves.insert(_locked, Workspace::TrashNoPermission);
    _tool->searchButtonAction();
    check(_strayWithSpace);
    check(_locked);
    _tool->deleteFilesButton()->click();
    // The user's own move is done at once; the locked copy waits for the privileged script.
    QVERIFY(!QFileInfo::exists(_strayWithSpace));
    QTRY_COMPARE(listedPaths(), QStringList{_strayInDownloads});

    QVERIFY(QFileInfo::exists(trash() + QStringLiteral("/Hollin.app/Contents/Info.plist")));
    QVERIFY(!QFileInfo::exists(_locked));
    QVERIFY(QFileInfo::exists(trash() + QStringLiteral("/Veradis.app/Contents/Info.plist")));
    QCOMPARE(_privileged->executions().size(), 1);
    QVERIFY(_env->systemLog->lines().contains(QStringLiteral("fileSystemRepresentation: ") + _locked));
    QVERIFY(_alerts->alerts().isEmpty());
    QCOMPARE(_tool->searchResultInfo()->text(), QStringLiteral("1 files / applications found"));
}

void tst_LVToolSearchAndDelete::vanishedFileIsSkipped()
{
    _tool->searchButtonAction();
    check(_strayInDownloads);
    QVERIFY(QDir(_strayInDownloads).removeRecursively());
    _tool->deleteButtonAction();
    QCOMPARE(listedPaths().size(), 2);
    QVERIFY(_alerts->alerts().isEmpty());
    QVERIFY(_privileged->executions().isEmpty());
}

void tst_LVToolSearchAndDelete::failureAlert()
{
    _workspace->refusedMoves.insert(_strayInDownloads, Workspace::TrashUnknownError);
    _tool->searchButtonAction();
    check(_strayInDownloads);
    check(_strayWithSpace);
    _tool->deleteButtonAction();
    QCOMPARE(_alerts->alerts().size(), 1);
    QCOMPARE(_alerts->alerts().first().messageText(), QStringLiteral("Failure moving Files to the Trash"));
    QCOMPARE(_alerts->alerts().first().informativeText(),
             QStringLiteral("One or more files could not be found or moved to the trash.\nPlease move them manually "
                            "in the Finder to the trash."));
    QCOMPARE(_alerts->lastWindow(), _tool->panel());
    // The others are still moved, and the list is searched again.
    QVERIFY(!QFileInfo::exists(_strayWithSpace));
    QStringList expected{_strayInDownloads, _locked};
    expected.sort();
    QCOMPARE(listedPaths(), expected);
}

void tst_LVToolSearchAndDelete::script_data()
{
    QTest::addColumn<QStringList>("paths");
    QTest::addColumn<QString>("lines"); // %T stands for the Trash folder
    QTest::newRow("none") << QStringList() << QString();
    QTest::newRow("space and quote quoted")
        << QStringList{"/Users/Shared/Old Installers/A.app", "/tmp/it's.app"}
        << "#!/bin/bash\n\nexport LC_ALL=C\nmv '/Users/Shared/Old Installers/A.app' '%T'\nmv '/tmp/it'\\''s.app' "
           "'%T'\necho $?";
    QTest::newRow("a newline is left out") << QStringList{"/tmp/a\nb.app", "/tmp/c.app"}
                                           << "#!/bin/bash\n\nexport LC_ALL=C\nmv '/tmp/c.app' '%T'\necho $?";
}

void tst_LVToolSearchAndDelete::script()
{
    QFETCH(QStringList, paths);
    QFETCH(QString, lines);
    const QByteArray script = LVToolSearchAndDelete::moveItemsToTrashScript(paths);
    QCOMPARE(script.isNull(), lines.isNull());
    QCOMPARE(QString::fromUtf8(script), QString(lines).replace(QStringLiteral("%T"), trash()));
}

void tst_LVToolSearchAndDelete::craftedNamesRunNothing_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("movable");
    QTest::addColumn<bool>("vanishes"); // gone before the privileged move: that move fails
    QTest::newRow("semicolons") << "a;touch X;.app" << true << false;
    QTest::newRow("command substitution") << "b$(touch X).app" << true << false;
    QTest::newRow("backticks") << "c`touch X`.app" << true << false;
    QTest::newRow("quote") << "d'e.app" << true << false;
    QTest::newRow("glob") << "*.app" << true << false;
    QTest::newRow("others") << "f|g&h<i>j\\\"k#~{l,m}!=%^?[n].app" << true << false;
    QTest::newRow("newline") << "e\ntouch X\n.app" << false << false;
    QTest::newRow("quote, failing move") << "d'e.app" << true << true;
}

// The privileged script runs for real through /bin/sh, into a Trash whose path needs escaping too.
void tst_LVToolSearchAndDelete::craftedNamesRunNothing()
{
    QFETCH(QString, name);
    QFETCH(bool, movable);
    QFETCH(bool, vanishes);
    const QString dataHome = _env->path() + QStringLiteral("/home/my data $(touch X)");
    qputenv("XDG_DATA_HOME", QFile::encodeName(dataHome));
    QVERIFY(QDir().mkpath(trash()));
    const QString workingDirectory = _env->path() + QStringLiteral("/cwd");
    QVERIFY(QDir().mkpath(workingDirectory));
    const QString previousDirectory = QDir::currentPath();
    QVERIFY(QDir::setCurrent(workingDirectory));
    const QString shared = _env->path() + QStringLiteral("/root/Users/Shared/");
    QVERIFY(QDir().mkpath(shared + QStringLiteral("Sibling.app")));
    const QString path = makeApp(QStringLiteral("root/Users/Shared/") + name, "com.quarnet.FxPlug.Hollin");
    QVERIFY(!path.isNull());
    _workspace->refusedMoves.insert(path, Workspace::TrashNoPermission);

    _tool->searchButtonAction();
    check(path);
    if (vanishes)
        QVERIFY(QDir(path).removeRecursively());
    _tool->deleteButtonAction();
    // The privileged run reports back later; its end repeats the search.
    if (movable)
        QTRY_VERIFY(!listedPaths().contains(path));
    QVERIFY(QDir::setCurrent(previousDirectory));

    for (const QString& folder : {workingDirectory, shared, dataHome, _env->path()})
        QVERIFY2(!QFileInfo::exists(folder + QStringLiteral("/X")), qPrintable(folder));
    QVERIFY(QFileInfo::exists(shared + QStringLiteral("Sibling.app")));
    QCOMPARE(_privileged->executions().size(), movable ? 1 : 0);
    QCOMPARE(QFileInfo::exists(trash() + QLatin1Char('/') + name), movable && !vanishes);
    QCOMPARE(QFileInfo::exists(path), !movable);
    QCOMPARE(_alerts->alerts().size(), movable && !vanishes ? 0 : 1);
    if (!_alerts->alerts().isEmpty())
        QCOMPARE(_alerts->alerts().first().messageText(), QStringLiteral("Failure moving Files to the Trash"));
}

void tst_LVToolSearchAndDelete::scriptMeansTheSameInABig5Locale_data()
{
    QTest::addColumn<QString>("name");
    // The last byte of these characters in UTF-8 and the byte after them make one Big5 character.
    QTest::newRow("semicolons after a CJK character") << QStringLiteral("\u65e5;touch X;.app");
    QTest::newRow("quote after a CJK character") << QStringLiteral("\u65e5'touch X'.app");
    QTest::newRow("substitution after a CJK character") << QStringLiteral("\u8a31$(touch X).app");
}

// A Mac's /bin/sh is bash, which reads a script in the locale it was started in.
void tst_LVToolSearchAndDelete::scriptMeansTheSameInABig5Locale()
{
    QFETCH(QString, name);
    const QString bash = QStandardPaths::findExecutable(QStringLiteral("bash"));
    if (bash.isEmpty())
        QSKIP("No bash here.");
    const QString locales = _env->path() + QStringLiteral("/locales");
    QVERIFY(QDir().mkpath(locales));
    QProcess localedef;
    localedef.start(QStringLiteral("localedef"), {QStringLiteral("-i"), QStringLiteral("zh_TW"), QStringLiteral("-f"),
                                                  QStringLiteral("BIG5"), locales + QStringLiteral("/zh_TW.BIG5")});
    if (!localedef.waitForFinished(60000) || !QFileInfo::exists(locales + QStringLiteral("/zh_TW.BIG5")))
        QSKIP("No Big5 locale can be made here (localedef with the zh_TW source and the BIG5 charmap).");

    const QString folder = _env->path() + QStringLiteral("/cwd");
    QVERIFY(QDir().mkpath(folder + QStringLiteral("/from/") + name));
    QVERIFY(QDir().mkpath(trash()));
    const QString script = _env->path() + QStringLiteral("/move.sh");
    QVERIFY(TestEnvironment::writeFile(
        script, LVToolSearchAndDelete::moveItemsToTrashScript({folder + QStringLiteral("/from/") + name})));

    QProcess shell;
    shell.setWorkingDirectory(folder);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("LOCPATH"), locales);
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("zh_TW.BIG5"));
    shell.setProcessEnvironment(environment);
    shell.start(bash, {script});
    QVERIFY(shell.waitForFinished(30000));
    QVERIFY2(!shell.readAllStandardError().contains("locale"), "bash did not take the Big5 locale");
    QCOMPARE(shell.readAllStandardOutput().trimmed(), QByteArray("0"));
    QVERIFY(!QFileInfo::exists(folder + QStringLiteral("/X")));
    QVERIFY(QFileInfo::exists(trash() + QLatin1Char('/') + name));
}

LV_TEST_MAIN(tst_LVToolSearchAndDelete)
#include "tst_LVToolSearchAndDelete.moc"
