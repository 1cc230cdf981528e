#include "LVToolDiagnosticItem.h"
#include "ui_LVToolDiagnosticItem.h"

#include "catalogue/LVServers.h"
#include "engines/LVFetch.h"
#include "items/LVRowHost.h"
#include "platform/Platform.h"

#include <QDir>
#include <QMutexLocker>

LVToolDiagnosticItem* LVToolDiagnosticItem::tool()
{
    static LVToolDiagnosticItem* const instance = new LVToolDiagnosticItem;
    return instance;
}

QWidget* LVToolDiagnosticItem::loadPanel()
{
    auto* panel = new LVToolContainerView;
    Ui::LVToolDiagnosticItem ui;
    ui.setupUi(panel);
    _downloadButton = ui._downloadButton;
    _infoText = ui._infoText;
    connect(ui._downloadButton, &QPushButton::clicked, this, &LVToolDiagnosticItem::downloadDiagnosticToolAction);
    connect(ui._infoButton, &QPushButton::clicked, this, &LVToolDiagnosticItem::diagnosticToolInfoAction);
    return panel;
}

QString LVToolDiagnosticItem::downloadFilePath() const
{
    QMutexLocker locker(&_downloadFilePathLock);
    return _downloadFilePath;
}

void LVToolDiagnosticItem::setDownloadFilePath(const QString& path)
{
    QMutexLocker locker(&_downloadFilePathLock);
    _downloadFilePath = path;
}

void LVToolDiagnosticItem::downloadDiagnosticToolAction()
{
    const QString folder = Platform::systemInfo().downloadsDirectory();
    QDir().mkpath(folder);
    delete _fetch;
    _fetch = LVFetch::file(LVServers::downloadURL(QLatin1String(downloadPath)),
                           QDir(folder).filePath(QLatin1String(downloadFileName)), this,
                           [this](const LVFetch::Result& result) { downloadEnded(result); });
    if (!_fetch)
        return;
    connect(_fetch, &LVFetch::started, this, [this] {
        if (_infoText)
            _infoText->setText(QStringLiteral("Downloading Tool..."));
        if (_downloadButton)
            _downloadButton->setEnabled(false);
        setDownloadFilePath(QString());
    });
}

void LVToolDiagnosticItem::downloadEnded(const LVFetch::Result& result)
{
    if (_downloadButton)
        _downloadButton->setEnabled(true);
    if (!result.succeeded) {
        if (_infoText)
            _infoText->setText(QStringLiteral("Download failed"));
        return;
    }
    if (_infoText)
        _infoText->setText(QString());
    setDownloadFilePath(result.filePath);

    LVAlert alert(QStringLiteral("Tool download completed"),
                  QStringLiteral("The diagnostic tool was downloaded to your download folder. Please unzip, launch "
                                 "it, and follow the instructions."));
    alert.addButtonWithTitle(QStringLiteral("Ok"));
    alert.addButtonWithTitle(QStringLiteral("Show in Finder"), [this] { showFileBottonAction(); });
    if (LVRowHost* host = installManager())
        host->showAlert(alert);
}

void LVToolDiagnosticItem::showFileBottonAction()
{
    const QString path = downloadFilePath();
    if (!path.isNull())
        Platform::workspace().revealFile(path);
}

void LVToolDiagnosticItem::diagnosticToolInfoAction()
{
    Platform::workspace().openUrl(LVServers::supportURL(QLatin1String(infoPagePath)));
}
