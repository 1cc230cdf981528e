#include "LVUpdateWindow.h"
#include "widgets/LVAppearance.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTextBrowser>
#include <QVBoxLayout>

namespace {
QPushButton* makeButton(const QString& title, QWidget* parent)
{
    auto* button = new QPushButton(title, parent);
    button->setAccessibleName(title);
    return button;
}
} // namespace

LVUpdateWindow::LVUpdateWindow(const SelfUpdateItem& item, const QString& currentVersion, QWidget* parent)
    : QWidget(parent, Qt::Window), _item(item)
{
    setWindowTitle(QStringLiteral("Software Update"));
    setAccessibleName(windowTitle());
    LVAppearance::applyDark(this);

    auto* icon = new QLabel(this);
    icon->setPixmap(QApplication::windowIcon().pixmap(64, 64));
    icon->setAlignment(Qt::AlignTop);
    icon->setAccessibleName(QStringLiteral("Application icon"));

    _titleLabel = new QLabel(QStringLiteral("A new version of Lumivane Manager is available!"), this);
    QFont titleFont = _titleLabel->font();
    titleFont.setBold(true);
    _titleLabel->setFont(titleFont);
    const QString newVersion = item.displayVersionString.isEmpty() ? item.versionString : item.displayVersionString;
    _informativeLabel = new QLabel(
        QStringLiteral("Lumivane Manager %1 is now available\u2014you have %2. Would you like to download it now?")
            .arg(newVersion, currentVersion),
        this);
    _informativeLabel->setWordWrap(true);

    auto* notesLabel = new QLabel(QStringLiteral("Release Notes:"), this);
    QFont notesFont = notesLabel->font();
    notesFont.setBold(true);
    notesLabel->setFont(notesFont);
    _releaseNotesView = new QTextBrowser(this);
    _releaseNotesView->setAccessibleName(QStringLiteral("Release notes"));
    _releaseNotesView->setOpenExternalLinks(true);
    setReleaseNotes(item.itemDescription);

    _progressBar = new QProgressBar(this);
    _progressBar->setAccessibleName(QStringLiteral("Download progress"));
    _progressBar->setRange(0, 100);
    _progressBar->hide();
    _statusLabel = new QLabel(this);
    _statusLabel->setWordWrap(true);
    _statusLabel->setAccessibleDescription(QStringLiteral("Update status"));
    _statusLabel->hide();

    _skipButton = makeButton(QStringLiteral("Skip This Version"), this);
    _remindLaterButton = makeButton(QStringLiteral("Remind Me Later"), this);
    _installButton = makeButton(QStringLiteral("Install Update"), this);
    _installButton->setDefault(true);
    connect(_skipButton, &QPushButton::clicked, this, &LVUpdateWindow::skipVersion);
    connect(_remindLaterButton, &QPushButton::clicked, this, &LVUpdateWindow::remindLater);
    connect(_installButton, &QPushButton::clicked, this, &LVUpdateWindow::installUpdate);

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(_skipButton);
    buttons->addStretch();
    buttons->addWidget(_remindLaterButton);
    buttons->addWidget(_installButton);

    auto* text = new QVBoxLayout;
    text->addWidget(_titleLabel);
    text->addWidget(_informativeLabel);
    text->addSpacing(6);
    text->addWidget(notesLabel);
    text->addWidget(_releaseNotesView, 1);
    text->addWidget(_progressBar);
    text->addWidget(_statusLabel);
    text->addLayout(buttons);

    auto* layout = new QHBoxLayout(this);
    layout->addWidget(icon, 0, Qt::AlignTop);
    layout->addLayout(text, 1);
    resize(620, 420);
}

void LVUpdateWindow::setReleaseNotes(const QString& html)
{
    _releaseNotesView->setHtml(html);
}

void LVUpdateWindow::setProgress(double percent)
{
    _installButton->setEnabled(false);
    _skipButton->setEnabled(false);
    _progressBar->show();
    if (percent < 0) {
        _progressBar->setRange(0, 0);
    } else {
        _progressBar->setRange(0, 100);
        _progressBar->setValue(int(percent));
    }
}

void LVUpdateWindow::setFinished(const QString& message, bool succeeded)
{
    _progressBar->hide();
    _statusLabel->setText(message);
    _statusLabel->setStyleSheet(succeeded ? QString() : QStringLiteral("color: #ff6b5e;"));
    _statusLabel->show();
    _installButton->hide();
    _skipButton->hide();
    _remindLaterButton->setText(QStringLiteral("Close"));
    _remindLaterButton->setAccessibleName(QStringLiteral("Close"));
    _remindLaterButton->setDefault(true);
}
