#include "MacSystemInfo.h"

MacSystemInfo::MacSystemInfo(std::function<bool()> isAppleSilicon) : _isAppleSilicon(std::move(isAppleSilicon)) {}

QString MacSystemInfo::machineName() const
{
    if (_isAppleSilicon && _isAppleSilicon())
        return QStringLiteral("arm64");
    return EmulatedSystemInfo::machineName();
}

QString MacSystemInfo::systemRoot() const
{
    return QStringLiteral("/");
}

QString MacSystemInfo::userLibraryDirectory() const
{
    return SystemInfo::userLibraryDirectory();
}

QString MacSystemInfo::downloadsDirectory() const
{
    return SystemInfo::downloadsDirectory();
}

QString MacSystemInfo::trashDirectory() const
{
    return SystemInfo::trashDirectory();
}
