#pragma once

#include "LVToolItem.h"
#include "engines/LVDownloaderDelegate.h"
#include "engines/LVUninstallerDelegate.h"

#include "widgets/LVSpinner.h"

#include <QByteArray>
#include <QComboBox>
#include <QPushButton>
#include <memory>

class LVAdminAuthorization;
class LVDownloader;
class LVToolUninstallItemDelegate;
class LVUninstaller;

// Removes the maker's products in one step: fetches a ready-made uninstall script from the
// download server, runs it as administrator, shows a summary and makes every product row
// re-read its state. A failed download or a refused password leaves the tool busy.
class LVToolUninstallItem : public LVToolItem, public LVDownloaderDelegate, public LVUninstallerDelegate
{
    Q_OBJECT
public:
    enum UninstallOption : uint { AllProducts = 1, FxPlug3Products = 2 };
    enum State : uint {
        ScriptDownloadStarted = 1,
        ScriptDownloaded = 2,
        ScriptDownloadFailed = 3,
        UninstallStarted = 4,
        UninstallCompleted = 5,
        UninstallFailed = 6,
    };

    static constexpr const char* supportEmailAddress = "support@quarnet.com";

    static LVToolUninstallItem* tool();
    ~LVToolUninstallItem() override;

    bool initView() override;
    QString title() const override { return QStringLiteral("Uninstall Products"); }

    uint uninstallOption() const { return _uninstallOption; }
    void setUninstallOption(uint option);
    void optionsButtonAction();
    // The script's address for the current option; empty for an option without one.
    QUrl uninstallScriptURL() const;

    LVToolUninstallItemDelegate* delegate() const;
    void setDelegate(LVToolUninstallItemDelegate* delegate);

    void uninstallButtonAction();
    void startUninstall();
    // The entry for callers outside the tools tab (the older-versions offer at start-up uses 2).
    void startUninstallWithOption(uint option, LVToolUninstallItemDelegate* delegate);
    bool startDownloadUninstallScriptURL(const QUrl& url);
    void runUninstaller(const QByteArray& script);
    void checkInstallComplete(bool success);
    // Busy: the indicator shown and the button disabled.
    bool isBusy() const { return _busy; }

    void downloadStarted(LVDownloader* downloader) override;
    void downloadProgress(double progress, LVDownloader* downloader) override;
    void downloadCompleted(LVDownloader* downloader) override;
    void downloadFailed(LVDownloader* downloader) override;
    void uninstallStarted(LVUninstaller* uninstaller) override;
    void uninstallCompleted(LVUninstaller* uninstaller) override;
    void uninstallFailed(LVUninstaller* uninstaller) override;

    QPushButton* uninstallButton() const { return _uninstallButton; }
    QComboBox* optionsButton() const { return _optionsButton; }
    LVSpinner* progressIndicator() const { return _progressIndicator; }

protected:
    QWidget* loadPanel() override;

private:
    LVToolUninstallItem();
    void tellDelegate(uint state);
    void setBusy(bool busy);
    void showErrorOccuredAlert();
    void selectOptionInPopUp();

    QPointer<QPushButton> _uninstallButton;
    QPointer<QComboBox> _optionsButton;
    QPointer<LVSpinner> _progressIndicator;
    uint _uninstallOption = FxPlug3Products;
    LVToolUninstallItemDelegate* _delegate = nullptr;
    QPointer<QObject> _delegateObject;
    bool _busy = false;
    QPointer<LVDownloader> _downloader;
    std::unique_ptr<LVAdminAuthorization> _authorization;
};
