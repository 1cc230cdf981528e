#include "LVConsentPrompt.h"

#include "foundation/VMDispatch.h"
#include "platform/Platform.h"

#include <QApplication>
#include <QMessageBox>
#include <QMetaObject>
#include <QPushButton>

namespace LVConsentPrompt {

namespace {

int askOnMainThread(const QString& right)
{
    QMessageBox box(QMessageBox::Warning, QCoreApplication::applicationName(),
                    QObject::tr("%1 wants to make changes.").arg(QCoreApplication::applicationName()),
                    QMessageBox::Cancel, QApplication::activeWindow());
    box.setInformativeText(QObject::tr("It needs the right “%1” to change the system folder “%2”.")
                               .arg(right, Platform::systemInfo().systemRoot()));
    QPushButton* allow = box.addButton(QObject::tr("Allow"), QMessageBox::AcceptRole);
    box.setDefaultButton(allow);
    box.exec();
    return box.clickedButton() == static_cast<QAbstractButton*>(allow) ? PrivilegedExecution::Success
                                                                       : PrivilegedExecution::Canceled;
}

} // namespace

int ask(const QString& right)
{
    if (VMDispatch::isMainThread())
        return askOnMainThread(right);
    int answer = PrivilegedExecution::Canceled;
    QMetaObject::invokeMethod(
        QCoreApplication::instance(), [&] { answer = askOnMainThread(right); }, Qt::BlockingQueuedConnection);
    return answer;
}

void install()
{
    Platform::privilegedExecution().setConsentProvider(&ask);
}

} // namespace LVConsentPrompt
