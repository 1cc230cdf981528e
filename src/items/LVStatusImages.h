#pragma once

#include <QIcon>
#include <QString>

// The named status images of the install rows ("NSStatusNone", "NSStatusAvailable",
// "NSStatusPartiallyAvailable", "NSTouchBarDownloadTemplate", "NSStopProgressFreestandingTemplate"):
// the application's resource of that name when there is one, otherwise drawn here. Main thread only.
namespace LVStatusImages {
QIcon named(const QString& name);
} // namespace LVStatusImages
