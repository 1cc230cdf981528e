#include "LVLicenseAgreementWindow.h"
#include "widgets/LVAppearance.h"

#include <QCloseEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QTextBrowser>
#include <QTextCursor>
#include <QVBoxLayout>

LVLicenseAgreementWindow::LVLicenseAgreementWindow(QWidget* parent) : QWidget(parent, Qt::Window)
{
    setWindowTitle(QStringLiteral("License Agreement"));
    setAccessibleName(windowTitle());
    setWindowModality(Qt::ApplicationModal);
    LVAppearance::applyDark(this);

    auto* heading = new QLabel(QStringLiteral("Please read the license agreement for Lumivane Manager."), this);
    heading->setWordWrap(true);

    _licenseAgreementTextView = new QTextBrowser(this);
    _licenseAgreementTextView->setAccessibleName(QStringLiteral("License agreement text"));
    _licenseAgreementTextView->setOpenExternalLinks(true);
    // Clear: the window's own dark background shows through.
    _licenseAgreementTextView->setStyleSheet(QStringLiteral("QTextBrowser { background: transparent; }"));
    _licenseAgreementTextView->viewport()->setAutoFillBackground(false);

    _dontAgreeButton = new QPushButton(QStringLiteral("Don't Agree"), this);
    _dontAgreeButton->setAccessibleName(_dontAgreeButton->text());
    _agreeButton = new QPushButton(QStringLiteral("Agree"), this);
    _agreeButton->setAccessibleName(_agreeButton->text());
    _agreeButton->setDefault(true);
    connect(_agreeButton, &QPushButton::clicked, this, &LVLicenseAgreementWindow::agreed);
    connect(_dontAgreeButton, &QPushButton::clicked, this, &LVLicenseAgreementWindow::declined);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(_dontAgreeButton);
    buttons->addWidget(_agreeButton);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(heading);
    layout->addWidget(_licenseAgreementTextView, 1);
    layout->addLayout(buttons);
    resize(560, 460);
}

void LVLicenseAgreementWindow::setAgreementText(const QString& html, const QString& plainText, const QColor& textColor)
{
    if (!html.isNull())
        _licenseAgreementTextView->setHtml(html);
    else
        _licenseAgreementTextView->setPlainText(plainText);
    QTextCursor cursor(_licenseAgreementTextView->document());
    cursor.select(QTextCursor::Document);
    QTextCharFormat format;
    format.setForeground(textColor);
    format.setBackground(Qt::transparent);
    cursor.mergeCharFormat(format);
}

void LVLicenseAgreementWindow::closeEvent(QCloseEvent* event)
{
    // The window ends only through its two buttons.
    event->ignore();
}
