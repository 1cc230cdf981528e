#pragma once

#include "platform/SelfUpdater.h"

#include <QWidget>

class QLabel;
class QProgressBar;
class QPushButton;
class QTextBrowser;

// Offers an update: the new version against the running one, its release notes, and the
// "Install Update", "Remind Me Later" and "Skip This Version" buttons. While the archive loads and
// is checked the window shows the progress, and then the outcome.
class LVUpdateWindow : public QWidget
{
    Q_OBJECT
public:
    LVUpdateWindow(const SelfUpdateItem& item, const QString& currentVersion, QWidget* parent = nullptr);

    SelfUpdateItem item() const { return _item; }
    void setReleaseNotes(const QString& html);
    // -1 for a download of unknown size.
    void setProgress(double percent);
    // The outcome; the buttons then offer only closing the window.
    void setFinished(const QString& message, bool succeeded);

    QLabel* titleLabel() const { return _titleLabel; }
    QLabel* informativeLabel() const { return _informativeLabel; }
    QLabel* statusLabel() const { return _statusLabel; }
    QTextBrowser* releaseNotesView() const { return _releaseNotesView; }
    QPushButton* installButton() const { return _installButton; }
    QPushButton* remindLaterButton() const { return _remindLaterButton; }
    QPushButton* skipButton() const { return _skipButton; }

signals:
    void installUpdate();
    void remindLater();
    void skipVersion();

private:
    SelfUpdateItem _item;
    QLabel* _titleLabel = nullptr;
    QLabel* _informativeLabel = nullptr;
    QLabel* _statusLabel = nullptr;
    QTextBrowser* _releaseNotesView = nullptr;
    QProgressBar* _progressBar = nullptr;
    QPushButton* _installButton = nullptr;
    QPushButton* _remindLaterButton = nullptr;
    QPushButton* _skipButton = nullptr;
};
