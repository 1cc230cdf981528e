#include "LVAboutWindow.h"
#include "widgets/LVAppearance.h"

#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

LVAboutWindow::LVAboutWindow(QWidget* parent) : QWidget(parent, Qt::Window)
{
    setWindowTitle(QStringLiteral("About Lumivane Manager"));
    setAccessibleName(windowTitle());
    LVAppearance::applyDark(this);

    auto* icon = new QLabel(this);
    icon->setPixmap(QApplication::windowIcon().pixmap(96, 96));
    icon->setAlignment(Qt::AlignCenter);
    icon->setAccessibleName(QStringLiteral("Application icon"));

    auto* name = new QLabel(QStringLiteral("Lumivane Manager"), this);
    QFont nameFont = name->font();
    nameFont.setBold(true);
    nameFont.setPointSizeF(nameFont.pointSizeF() * 1.4);
    name->setFont(nameFont);
    name->setAlignment(Qt::AlignCenter);

    _aboutVersionTextField = new QLabel(this);
    _aboutVersionTextField->setAlignment(Qt::AlignCenter);
    _aboutVersionTextField->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    _aboutVersionTextField->setAccessibleDescription(QStringLiteral("Version"));

    auto* blurb =
        new QLabel(QStringLiteral("Installs, updates and removes Lumivane effects for FCP X and Motion."), this);
    blurb->setAlignment(Qt::AlignCenter);
    blurb->setWordWrap(true);

    auto* close = new QPushButton(QStringLiteral("OK"), this);
    close->setAccessibleName(QStringLiteral("OK"));
    close->setDefault(true);
    connect(close, &QPushButton::clicked, this, &QWidget::close);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(28, 24, 28, 18);
    layout->setSpacing(10);
    layout->addWidget(icon);
    layout->addWidget(name);
    layout->addWidget(_aboutVersionTextField);
    layout->addWidget(blurb);
    layout->addWidget(close, 0, Qt::AlignHCenter);
    setFixedWidth(340);
}

void LVAboutWindow::bringToFront()
{
    show();
    raise();
    activateWindow();
}
