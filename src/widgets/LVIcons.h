#pragma once

#include <QColor>
#include <QIcon>

// The window's small glyphs, drawn rather than shipped so they stay sharp at any scale.
namespace LVIcons {
QIcon applicationLogo();
QIcon refresh(const QColor& color = QColor(0xd1, 0xd1, 0xd6));
QIcon gear(const QColor& color = QColor(0xd1, 0xd1, 0xd6));
QIcon info(const QColor& color = QColor(0xd1, 0xd1, 0xd6));
QIcon power(const QColor& color = QColor(0xd1, 0xd1, 0xd6));
QPixmap logoPixmap(int side);
} // namespace LVIcons
