#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>

// The demo server program (demo/lv-demo-server of the build tree) running for a test, stopped when
// this goes away. Its packages are slow unless the test says otherwise (--slow-only).
class DemoServerProcess
{
public:
    ~DemoServerProcess();

    // Starts it and waits until it prints its address. False when it does not, with the last
    // line it printed in lastLine().
    bool start(const QStringList& arguments,
               const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment());
    void stop();

    QString url() const { return _url; }
    QByteArray lastLine() const { return _lastLine; }

private:
    QProcess _process;
    QString _url;
    QByteArray _lastLine;
};
