#pragma once

#include "catalogue/VMProductItem.h"

#include <QLatin1String>
#include <QVariant>
#include <memory>

// The names by which an installation or uninstallation of a product is announced to every row,
// tool and window, and the product property that carries a version just installed.
namespace VMProductEvents {

// Object: the product record.
inline constexpr QLatin1String installCompleted("productInstallCompleted");
inline constexpr QLatin1String uninstallCompleted("productUninstallCompleted");
// Object: whoever changed what the install list shows; the list reloads.
inline constexpr QLatin1String reloadUpdateItem("reloadLVUpdateItem");
// Product property: the version just installed, until the rows have taken it.
inline constexpr QLatin1String temporaryVersionKey("temporaryVersionStr");

// The product record an announcement carries, whichever record type it was posted as; null
// for anything else.
std::shared_ptr<VMProductItem> productOf(const QVariant& object);

} // namespace VMProductEvents
