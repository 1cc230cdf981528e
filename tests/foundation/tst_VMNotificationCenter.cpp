#include "TestMain.h"
#include "foundation/VMNotificationCenter.h"

#include <QTest>

class tst_VMNotificationCenter : public QObject
{
    Q_OBJECT

private slots:
    // In the order they were added, each only for its name, and its object when it names one.
    void observersRunInOrderForTheirNameAndObject()
    {
        VMNotificationCenter center;
        QObject context;
        QStringList calls;
        const auto note = [&calls](const QString& who) {
            return [&calls, who](const VMNotification& n) { calls << who + ':' + n.object.toString(); };
        };
        center.addObserver(&context, "productsChanged", note("first"));
        center.addObserver(&context, "productsChanged", note("second"));
        center.addObserver(&context, "other", note("other"));
        center.addObserver(&context, "productInstallCompleted", note("Glow's"), QStringLiteral("Glow"));
        center.addObserver(&context, "removed", note("removed"));
        center.removeObserver(&context, "removed");
        center.postNotification("productsChanged", QStringLiteral("x"));
        center.postNotification("productInstallCompleted", QStringLiteral("Grain"));
        center.postNotification("productInstallCompleted", QStringLiteral("Glow"));
        center.postNotification("removed");
        QCOMPARE(calls, (QStringList{"first:x", "second:x", "Glow's:Glow"}));
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
};

LV_TEST_GUILESS_MAIN(tst_VMNotificationCenter)
#include "tst_VMNotificationCenter.moc"
