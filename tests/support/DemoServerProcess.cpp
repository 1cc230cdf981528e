#include "DemoServerProcess.h"

#include <QElapsedTimer>

DemoServerProcess::~DemoServerProcess()
{
    stop();
}

bool DemoServerProcess::start(const QStringList& arguments, const QProcessEnvironment& environment)
{
    _process.setProgram(qEnvironmentVariable("LV_TEST_BINARY_DIR") + QStringLiteral("/demo/lv-demo-server"));
    _process.setArguments(arguments);
    _process.setProcessEnvironment(environment);
    _process.start();
    if (!_process.waitForStarted())
        return false;
    // The server prints its lines once it listens; the address comes last.
    static const QByteArray prefix("LV_SERVER_URL=");
    QElapsedTimer clock;
    clock.start();
    while (!_lastLine.startsWith(prefix) && clock.elapsed() < 120000 && _process.state() == QProcess::Running) {
        if (_process.canReadLine())
            _lastLine = _process.readLine().trimmed();
        else
            _process.waitForReadyRead(1000);
    }
    if (!_lastLine.startsWith(prefix))
        return false;
    _url = QString::fromUtf8(_lastLine.mid(prefix.size()));
    return true;
}

void DemoServerProcess::stop()
{
    if (_process.state() == QProcess::NotRunning)
        return;
    _process.terminate();
    if (!_process.waitForFinished()) {
        _process.kill();
        _process.waitForFinished();
    }
}
