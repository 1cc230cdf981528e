#include "VMLogger.h"

#include "foundation/VMClock.h"
#include "foundation/VMDispatch.h"
#include "platform/Platform.h"

#include <QCoreApplication>
#include <QMutex>
#include <QTimeZone>

namespace {
QMutex g_creationLock;
VMLogger* g_sharedLogger = nullptr;
thread_local VMLogger::Hold* t_hold = nullptr;
} // namespace

VMLogger::Hold::Hold(HeldLines* into) : _outer(t_hold), _into(into)
{
    t_hold = this;
}

VMLogger::Hold::~Hold()
{
    t_hold = _outer;
}

void VMLogger::logHeld(const HeldLines& lines)
{
    for (const auto& [severity, message] : lines)
        dispatch(severity, message);
}

VMLogger::VMLogger(QObject* parent) : QObject(parent) {}

VMLogger* VMLogger::sharedLogger()
{
    QMutexLocker locker(&g_creationLock);
    if (!g_sharedLogger) {
        g_sharedLogger = new VMLogger;
        if (auto* app = QCoreApplication::instance()) {
            // Owned by the application, so it goes when the application goes.
            if (VMDispatch::isMainThread())
                g_sharedLogger->setParent(app);
            else
                g_sharedLogger->moveToThread(app->thread());
            QObject::connect(app, &QObject::destroyed, [] {
                QMutexLocker lock(&g_creationLock);
                g_sharedLogger = nullptr;
            });
        }
    }
    return g_sharedLogger;
}

void VMLogger::logMessage(const QString& message)
{
    dispatch(Message, message);
}
void VMLogger::logError(const QString& message)
{
    dispatch(Error, message);
}
void VMLogger::logWarning(const QString& message)
{
    dispatch(Warning, message);
}

void VMLogger::dispatch(Severity severity, const QString& message)
{
    if (!QCoreApplication::instance())
        return;
    if (t_hold) {
        t_hold->_into->append({severity, message});
        return;
    }
    if (!VMDispatch::isMainThread()) {
        // Queued in call order: lines from one thread keep their order.
        VMDispatch::performOnMainThread([severity, message] { dispatch(severity, message); });
        return;
    }
    sharedLogger()->write(severity, message);
}

void VMLogger::_logMessage(const QString& message)
{
    write(Message, message);
}
void VMLogger::_logError(const QString& message)
{
    write(Error, message);
}
void VMLogger::_logWarning(const QString& message)
{
    write(Warning, message);
}

QString VMLogger::formattedLine(const QString& message)
{
    const QDateTime now = VMClock::currentDate().toTimeZone(QTimeZone::utc());
    return QStringLiteral("• %1: %2\n").arg(now.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss +0000")), message);
}

QColor VMLogger::colorForSeverity(Severity severity)
{
    switch (severity) {
    case Error:
        return QColor(Qt::red);
    case Warning:
        return QColor(255, 128, 0); // orange
    case Message:
        break;
    }
    return QColor(Qt::black);
}

QString VMLogger::systemLogPrefix(Severity severity)
{
    switch (severity) {
    case Error:
        return QStringLiteral("Error: ");
    case Warning:
        return QStringLiteral("Warning: ");
    case Message:
        break;
    }
    return QStringLiteral("Message: ");
}

void VMLogger::write(Severity severity, const QString& message)
{
    if (message.isEmpty())
        return;
    const QString line = formattedLine(message);
    if (_view)
        _view->appendLogLine(line, colorForSeverity(severity));
    if (!isVisible())
        Platform::systemLog().write(systemLogPrefix(severity) + line);
    emit lineLogged(line, severity);
}

void VMLogger::setView(VMLogView* view)
{
    _view = view;
}

void VMLogger::show()
{
    if (_view)
        _view->showLog();
}

void VMLogger::hide()
{
    if (_view)
        _view->hideLog();
}

bool VMLogger::isVisible() const
{
    return _view && _view->isLogVisible();
}

void VMLogger::clearText()
{
    if (_view)
        _view->clearLog();
}
