#include "manager/AppDelegate.h"

#include <QApplication>

int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    AppDelegate delegate;
    delegate.applicationDidFinishLaunching();
    return application.exec();
}
