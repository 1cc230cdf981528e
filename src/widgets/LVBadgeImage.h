#pragma once

#include <QColor>
#include <QImage>

// The count badges of the main tabs: a white number on a filled circle, or a pill when the number
// is too wide for a circle.
namespace LVBadgeImage {
QImage imageWithNumber(qint64 number, const QColor& color);
// The system's orange, used for every count badge.
QColor systemOrangeColor();
} // namespace LVBadgeImage
