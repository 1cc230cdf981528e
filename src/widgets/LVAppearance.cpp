#include "LVAppearance.h"

#include <QApplication>
#include <QStyleFactory>
#include <QWidget>

namespace LVAppearance {

QPalette darkPalette()
{
    QPalette p;
    const QColor window(0x26, 0x26, 0x28);
    const QColor base(0x1e, 0x1e, 0x20);
    const QColor text(0xe8, 0xe8, 0xea);
    const QColor disabledText(0x80, 0x80, 0x84);
    const QColor accent(0x0a, 0x84, 0xff);
    p.setColor(QPalette::Window, window);
    p.setColor(QPalette::WindowText, text);
    p.setColor(QPalette::Base, base);
    p.setColor(QPalette::AlternateBase, QColor(0x2a, 0x2a, 0x2d));
    p.setColor(QPalette::ToolTipBase, QColor(0x3a, 0x3a, 0x3c));
    p.setColor(QPalette::ToolTipText, text);
    p.setColor(QPalette::PlaceholderText, disabledText);
    p.setColor(QPalette::Text, text);
    p.setColor(QPalette::Button, QColor(0x3a, 0x3a, 0x3c));
    p.setColor(QPalette::ButtonText, text);
    p.setColor(QPalette::BrightText, Qt::white);
    p.setColor(QPalette::Light, QColor(0x4a, 0x4a, 0x4d));
    p.setColor(QPalette::Midlight, QColor(0x3a, 0x3a, 0x3c));
    p.setColor(QPalette::Mid, QColor(0x30, 0x30, 0x33));
    p.setColor(QPalette::Dark, QColor(0x18, 0x18, 0x1a));
    p.setColor(QPalette::Shadow, Qt::black);
    p.setColor(QPalette::Highlight, accent);
    p.setColor(QPalette::HighlightedText, Qt::white);
    p.setColor(QPalette::Link, QColor(0x4d, 0xa3, 0xff));
    p.setColor(QPalette::LinkVisited, QColor(0xa0, 0x7c, 0xff));
    for (auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        p.setColor(QPalette::Disabled, role, disabledText);
    return p;
}

void applyToApplication(QApplication& application)
{
    application.setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    application.setPalette(darkPalette());
}

void applyDark(QWidget* widget)
{
    if (!widget)
        return;
    widget->setPalette(darkPalette());
    widget->setAutoFillBackground(true);
}

} // namespace LVAppearance
