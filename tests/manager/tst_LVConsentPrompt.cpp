#include "TestEnvironment.h"
#include "TestMain.h"

#include "foundation/VMDispatch.h"
#include "manager/LVConsentPrompt.h"

#include <QAbstractButton>
#include <QApplication>
#include <QMessageBox>
#include <QTest>
#include <QTimer>
#include <atomic>

class tst_LVConsentPrompt : public QObject
{
    Q_OBJECT
    std::unique_ptr<TestEnvironment> env;

    // Clicks the button of the prompt whose text is `label`, once the prompt is up.
    void answerWith(const QString& label, QString* informativeText)
    {
        auto* timer = new QTimer(this);
        connect(timer, &QTimer::timeout, this, [=] {
            auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            if (!box)
                return;
            *informativeText = box->informativeText();
            for (QAbstractButton* button : box->buttons()) {
                if (button->text() == label) {
                    timer->deleteLater();
                    button->click();
                    return;
                }
            }
        });
        timer->start(20);
    }

private slots:
    void init() { env = std::make_unique<TestEnvironment>(); }
    void cleanup() { env.reset(); }

    void answersFromAnyThread_data()
    {
        QTest::addColumn<QString>("button");
        QTest::addColumn<bool>("fromBackground");
        QTest::addColumn<int>("status");
        QTest::newRow("allowed on the main thread") << "Allow" << false << int(PrivilegedExecution::Success);
        QTest::newRow("cancelled on the main thread") << "Cancel" << false << int(PrivilegedExecution::Canceled);
        QTest::newRow("allowed from an install thread") << "Allow" << true << int(PrivilegedExecution::Success);
        QTest::newRow("cancelled from an install thread") << "Cancel" << true << int(PrivilegedExecution::Canceled);
    }
    void answersFromAnyThread()
    {
        QFETCH(QString, button);
        QFETCH(bool, fromBackground);
        QFETCH(int, status);
        QString informative;
        answerWith(button, &informative);
        if (fromBackground) {
            std::atomic<int> answer{1};
            VMDispatch::performInBackground([&] { answer = LVConsentPrompt::ask("system.privilege.admin"); });
            QTRY_COMPARE(answer.load(), status);
        } else {
            QCOMPARE(LVConsentPrompt::ask("system.privilege.admin"), status);
        }
        QVERIFY(informative.contains("system.privilege.admin"));
        QVERIFY(informative.contains(env->systemRoot()));
    }

    void privilegedRunsGoThroughThePrompt()
    {
        LVConsentPrompt::install();
        QString informative;
        answerWith("Cancel", &informative);
        auto& privileged = Platform::privilegedExecution();
        int status = 1;
        auto authorization = privileged.create(&status);
        QCOMPARE(status, 0);
        std::atomic<int> rights{1};
        VMDispatch::performInBackground(
            [&] { rights = privileged.copyRights(authorization, PrivilegedExecution::adminRight, true); });
        QTRY_COMPARE(rights.load(), int(PrivilegedExecution::Canceled));
        privileged.free(authorization);
    }
};

LV_TEST_MAIN(tst_LVConsentPrompt)
#include "tst_LVConsentPrompt.moc"
