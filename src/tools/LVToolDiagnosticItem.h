#pragma once

#include "LVToolItem.h"
#include "engines/LVFetch.h"

#include <QLabel>
#include <QMutex>
#include <QPushButton>
#include <QString>

// Downloads the diagnostic tool into the user's Downloads folder and offers to show it.
class LVToolDiagnosticItem : public LVToolItem
{
    Q_OBJECT
public:
    static constexpr const char* downloadPath = "/VM_installers/LV_GatherDiagnostics.app.zip";
    static constexpr const char* downloadFileName = "LV_GatherDiagnostics.app.zip";
    static constexpr const char* infoPagePath = "/pages/level-2-tech-support";

    static LVToolDiagnosticItem* tool();

    QString title() const override { return QStringLiteral("Diagnostic Tool"); }

    void downloadDiagnosticToolAction();
    void showFileBottonAction();
    void diagnosticToolInfoAction();

    QString downloadFilePath() const;
    void setDownloadFilePath(const QString& path);

    QPushButton* downloadButton() const { return _downloadButton; }
    QLabel* infoText() const { return _infoText; }

protected:
    QWidget* loadPanel() override;

private:
    LVToolDiagnosticItem() = default;
    void downloadEnded(const LVFetch::Result& result);

    QPointer<QPushButton> _downloadButton;
    QPointer<QLabel> _infoText;
    mutable QMutex _downloadFilePathLock;
    QString _downloadFilePath;
    QPointer<LVFetch> _fetch;
};
