#pragma once

#include <QString>

class LVToolUpdateAllInstalledItem;

// Hears an update run: 1 and the product's title when its download begins, 4 and the title when
// its installation begins, 5 (all succeeded) or 6 (some failed) with no name when the run ends. The
// delegate must be a QObject: the tool stops calling it once it is destroyed.
class LVToolUpdateAllInstalledItemDelegate
{
public:
    virtual ~LVToolUpdateAllInstalledItemDelegate() = default;
    virtual void updateStateChanged(uint state, const QString& productName, LVToolUpdateAllInstalledItem* updater) = 0;
};
