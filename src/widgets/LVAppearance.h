#pragma once

#include <QPalette>

class QApplication;
class QWidget;

// The dark look of the application's windows.
namespace LVAppearance {
QPalette darkPalette();
void applyToApplication(QApplication& application);
void applyDark(QWidget* widget);
} // namespace LVAppearance
