#pragma once

#include <QtTest>

// The test classes of one folder share one program, so that the folder costs one link and one
// code-generation step instead of one per class. The program's first argument names the class to
// run (CTest passes it); the rest goes to QTest::qExec as usual.
namespace LVTestMain {
using Runner = int (*)(int argc, char* argv[]);
bool add(const char* className, Runner runner);
} // namespace LVTestMain

// Registers a class with a function that runs it (for a class that needs something set up before
// its application exists).
#define LV_TEST_CUSTOM_MAIN(TestObject, runner)                                                                        \
    namespace {                                                                                                        \
    const bool lvRegistered##TestObject = LVTestMain::add(#TestObject, runner);                                        \
    }

#define LV_TEST_MAIN_WITH(TestObject, ...)                                                                             \
    namespace {                                                                                                        \
    int lvRun##TestObject(int argc, char* argv[])                                                                      \
    {                                                                                                                  \
        QTest::Internal::callInitMain<TestObject>();                                                                   \
        __VA_ARGS__                                                                                                    \
        TestObject tc;                                                                                                 \
        return QTest::qExec(&tc, argc, argv);                                                                          \
    }                                                                                                                  \
    }                                                                                                                  \
    LV_TEST_CUSTOM_MAIN(TestObject, lvRun##TestObject)

// The application QTEST_MAIN and QTEST_GUILESS_MAIN would make.
#define LV_TEST_MAIN(TestObject) LV_TEST_MAIN_WITH(TestObject, QTEST_MAIN_SETUP())
#define LV_TEST_GUILESS_MAIN(TestObject) LV_TEST_MAIN_WITH(TestObject, QTEST_QAPP_SETUP(QCoreApplication))
