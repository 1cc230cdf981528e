#include "LVToolDiagnosticItem.h"
#include "ui_LVToolDiagnosticItem.h"

#include "catalogue/LVServers.h"
#include "engines/LVDownloader.h"
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
    LVDownloader* downloader =
        LVDownloader::downloaderWithURL(LVServers::downloadURL(QLatin1String(downloadPath)), this);
    if (!downloader)
        return;
    if (_downloader)
        _downloader->deleteLater();
    _downloader = downloader;
    downloader->setDelegate(this);
    const QString folder = Platform::systemInfo().downloadsDirectory();
    QDir().mkpath(folder);
    downloader->startWithDownloadFilePath(QDir(folder).filePath(QLatin1String(downloadFileName)));
}

void LVToolDiagnosticItem::downloadStarted(LVDownloader*)
{
    if (_infoText)
        _infoText->setText(QStringLiteral("Downloading Tool..."));
    if (_downloadButton)
        _downloadButton->setEnabled(false);
    setDownloadFilePath(QString());
}

void LVToolDiagnosticItem::downloadProgress(double, LVDownloader*) {}

void LVToolDiagnosticItem::downloadCompleted(LVDownloader* downloader)
{
    if (_infoText)
        _infoText->setText(QString());
    if (_downloadButton)
        _downloadButton->setEnabled(true);
    setDownloadFilePath(downloader->downloadFilePath());

    LVAlert alert(QStringLiteral("Tool download completed"),
                  QStringLiteral("The diagnostic tool was downloaded to your download folder. Please unzip, launch "
                                 "it, and follow the instructions."));
    alert.addButtonWithTitle(QStringLiteral("Ok"));
    alert.addButtonWithTitle(QStringLiteral("Show in Finder"), [this] { showFileBottonAction(); });
    if (LVRowHost* host = installManager())
        host->showAlert(alert);
}

void LVToolDiagnosticItem::downloadFailed(LVDownloader*)
{
    if (_infoText)
        _infoText->setText(QStringLiteral("Download failed"));
    if (_downloadButton)
        _downloadButton->setEnabled(true);
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
