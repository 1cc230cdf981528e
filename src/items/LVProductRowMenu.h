#pragma once

#include "catalogue/VMInstallStatus.h"
#include "catalogue/VMSingleProductItem.h"

#include <QStringList>
#include <functional>

class LVProductOperation;
class QMenu;

// The entries of a product row's menu: install (the latest version, an older FxPlug 3 version),
// uninstall (the product, its FxPlug 3 version), the product's web pages and the manual download.
// An entry the product model refuses while a run holds the product is disabled and says why.
namespace LVProductRowMenu {
struct Actions
{
    std::function<void(const VMVersionItemPtr&)> install;
    std::function<void(const QStringList& scriptURLs)> uninstall;
    std::function<void()> moreInfo;
    std::function<void()> documentation;
    std::function<void()> buy;
    std::function<void()> downloadManually;
};

// `status` is the row's install status.
void populate(QMenu* menu, const VMSingleProductItem& product, VMInstallStatus::Status status,
              const LVProductOperation& operation, const Actions& actions);
} // namespace LVProductRowMenu
