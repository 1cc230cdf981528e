#include "TestMain.h"
#include "foundation/VMDispatch.h"

#include <QElapsedTimer>
#include <QSemaphore>
#include <QTest>
#include <QThread>

class tst_VMDispatch : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { VMDispatch::setDelayScale(1.0); }

    void delaysAreScaled()
    {
        VMDispatch::setDelayScale(0.05);
        QCOMPARE(VMDispatch::scaledMilliseconds(2.0), 100);
        QObject context;
        bool ran = false;
        QElapsedTimer timer;
        timer.start();
        VMDispatch::performAfterDelay(&context, 2.0, [&] { ran = true; });
        QVERIFY(!ran);
        QTRY_VERIFY_WITH_TIMEOUT(ran, 2000);
        QVERIFY(timer.elapsed() >= 90);
    }

    void delayedWorkDiesWithItsContext()
    {
        VMDispatch::setDelayScale(0.01);
        bool ran = false;
        auto* context = new QObject;
        VMDispatch::performAfterDelay(context, 1.0, [&] { ran = true; });
        delete context;
        QTest::qWait(50);
        QVERIFY(!ran);
    }

    void backgroundWorkComesBackToTheMainThreadInOrder()
    {
        QList<int> order;
        QThread* mainThread = QThread::currentThread();
        bool allOnMain = true;
        QSemaphore done;
        VMDispatch::performInBackground([&] {
            const bool background = !VMDispatch::isMainThread();
            for (int i = 0; i < 200; ++i) {
                VMDispatch::performOnMainThread([&, i] {
                    allOnMain = allOnMain && QThread::currentThread() == mainThread;
                    order.append(i);
                });
            }
            if (background)
                done.release();
        });
        QVERIFY(done.tryAcquire(1, 5000));
        QTRY_COMPARE(order.size(), 200);
        QVERIFY(allOnMain);
        for (int i = 0; i < 200; ++i)
            QCOMPARE(order.at(i), i);
    }

    void delayRequestedFromABackgroundThreadRunsOnMain()
    {
        VMDispatch::setDelayScale(0.01);
        QObject context;
        QThread* ranOn = nullptr;
        VMDispatch::performInBackground(
            [&] { VMDispatch::performAfterDelay(&context, 2.0, [&] { ranOn = QThread::currentThread(); }); });
        QTRY_VERIFY(ranOn != nullptr);
        QCOMPARE(ranOn, QThread::currentThread());
    }
};

LV_TEST_GUILESS_MAIN(tst_VMDispatch)
#include "tst_VMDispatch.moc"
