#include "TestMain.h"
#include "foundation/VMNotificationCenter.h"

#include <QTest>

class tst_VMNotificationCenter : public QObject
{
    Q_OBJECT

private slots:
    void observersRunInOrderWithTheObject()
    {
        VMNotificationCenter center;
        QObject context;
        QStringList calls;
        center.addObserver(&context, "productsChanged",
                           [&](const VMNotification& n) { calls << "first:" + n.object.toString(); });
        center.addObserver(&context, "productsChanged",
                           [&](const VMNotification& n) { calls << "second:" + n.object.toString(); });
        center.addObserver(&context, "other", [&](const VMNotification&) { calls << "other"; });
        center.postNotification("productsChanged", QStringLiteral("x"));
        QCOMPARE(calls, (QStringList{"first:x", "second:x"}));
    }

    void objectFilterSelectsNotifications()
    {
        VMNotificationCenter center;
        QObject context;
        int hits = 0;
        center.addObserver(
            &context, "productInstallCompleted", [&](const VMNotification&) { ++hits; }, QStringLiteral("Glow"));
        center.postNotification("productInstallCompleted", QStringLiteral("Grain"));
        center.postNotification("productInstallCompleted", QStringLiteral("Glow"));
        QCOMPARE(hits, 1);
    }

    void observerGoesWithItsContext()
    {
        VMNotificationCenter center;
        int hits = 0;
        {
            QObject context;
            center.addObserver(&context, "n", [&](const VMNotification&) { ++hits; });
            center.postNotification("n");
            QCOMPARE(center.observerCount("n"), 1);
        }
        center.postNotification("n");
        QCOMPARE(hits, 1);
        QCOMPARE(center.observerCount("n"), 0);
    }

    void handlersMayChangeTheObserversWhilePosting()
    {
        VMNotificationCenter center;
        QObject first, second;
        QStringList calls;
        center.addObserver(&first, "n", [&](const VMNotification&) {
            calls << "first";
            center.removeObserver(&second);
            center.postNotification("nested");
        });
        center.addObserver(&second, "n", [&](const VMNotification&) { calls << "second"; });
        center.addObserver(&first, "nested", [&](const VMNotification&) { calls << "nested"; });
        center.postNotification("n");
        QCOMPARE(calls, (QStringList{"first", "nested"}));
    }

    void removeObserverByName()
    {
        VMNotificationCenter center;
        QObject context;
        int a = 0, b = 0;
        center.addObserver(&context, "a", [&](const VMNotification&) { ++a; });
        center.addObserver(&context, "b", [&](const VMNotification&) { ++b; });
        center.removeObserver(&context, "a");
        center.postNotification("a");
        center.postNotification("b");
        QCOMPARE(a, 0);
        QCOMPARE(b, 1);
    }
};

LV_TEST_GUILESS_MAIN(tst_VMNotificationCenter)
#include "tst_VMNotificationCenter.moc"
