#include "LVInstallsTab.h"

#include "catalogue/VMInstallStatus.h"

#include "catalogue/VMBundleProductItem.h"
#include "catalogue/VMProductsCollection.h"
#include "catalogue/VMSingleProductItem.h"
#include "foundation/LVPreferences.h"
#include "items/LVInstallItem.h"
#include "items/LVInstallItemFactory.h"
#include "widgets/LVSegmentedControl.h"

namespace {
struct DiscontinuedFlag
{
    DiscontinuedFlag()
        : show(LVPreferences::sharedPreferences()
                   ->propertyForKey(QLatin1String(LVPreferences::showDiscontinuedProducts))
                   .toBool())
    {}
    bool show;
};

DiscontinuedFlag& discontinuedFlag()
{
    static DiscontinuedFlag flag;
    return flag;
}
} // namespace

LVInstallsTab::LVInstallsTab(QWidget* parent) : LVOutlineTab(parent) {}

LVInstallsTab::~LVInstallsTab()
{
    qDeleteAll(_singleProductInstallItems);
    qDeleteAll(_bundleProductInstallItems);
}

void LVInstallsTab::setUp()
{
    setUpOutline(QStringLiteral("No bundles to show."));
    _segmentedControl = findChild<LVSegmentedControl*>();
    if (!_segmentedControl)
        return;
    _segmentedControl->setSegments({QStringLiteral("Bundles"), QStringLiteral("Products")});
    _segmentedControl->setCompact(true);
    connect(_segmentedControl, &LVSegmentedControl::activated, this,
            [this] { selectInstallsTabViewAtIndex(_segmentedControl->selectedSegment()); });
}

bool LVInstallsTab::showDiscontinuedProducts()
{
    return discontinuedFlag().show;
}

void LVInstallsTab::setShowDiscontinuedProducts(bool show)
{
    discontinuedFlag().show = show;
}

LVInstallItem* LVInstallsTab::adopt(LVInstallItem* row, QList<LVInstallItem*>& list)
{
    if (row) {
        row->setParent(this);
        list.append(row);
        row->setInstallManager(rowHost());
    }
    return row;
}

void LVInstallsTab::detachInstallItems()
{
    for (LVInstallItem* row : std::as_const(_bundleProductInstallItems) + _singleProductInstallItems) {
        row->setInstallManager(nullptr);
        // A product's operation outlives its row (LVProductOperations); the new row observes it.
        row->deleteLater();
    }
    _bundleProductInstallItems.clear();
    _singleProductInstallItems.clear();
    _installItems.clear();
    _needingAttention.clear();
}

void LVInstallsTab::setProductsCollection(const std::shared_ptr<VMProductsCollection>& collection)
{
    detachInstallItems();
    _productsCollection = collection;
    // The badge is told once, below, not once per new row.
    _adopting = true;
    if (collection && _itemFactory) {
        for (const VMProductItemPtr& product : collection->productItems()) {
            if (auto single = std::dynamic_pointer_cast<VMSingleProductItem>(product))
                adopt(_itemFactory->singleInstallItem(single), _singleProductInstallItems);
            else if (auto bundle = std::dynamic_pointer_cast<VMBundleProductItem>(product))
                adopt(_itemFactory->bundleInstallItem(bundle, collection), _bundleProductInstallItems);
        }
    }
    if (_itemFactory) {
        if (LVInstallItem* updateAll = _itemFactory->updateAllInstalledItem())
            updateAll->setInstallManager(rowHost());
    }
    const qint64 count = attentionCount();
    _adopting = false;
    selectInstallsTabViewAtIndex(_segmentedControl ? _segmentedControl->selectedTag() : BundlesTab);
    emit attentionCountChanged(count);
}

QList<LVInstallItem*> LVInstallsTab::installItems() const
{
    QList<LVInstallItem*> rows;
    if (_itemFactory) {
        if (LVInstallItem* updateAll = _itemFactory->updateAllInstalledItem())
            rows.append(updateAll);
    }
    const bool showDiscontinued = showDiscontinuedProducts();
    for (LVInstallItem* row : _installItems) {
        if (showDiscontinued || !row->discontinued())
            rows.append(row);
    }
    return rows;
}

QList<LVOutlineItem*> LVInstallsTab::rows() const
{
    return outlineItems(installItems());
}

LVInstallItem* LVInstallsTab::installItemWithProductID(const QString& productID) const
{
    if (productID.isNull())
        return nullptr;
    for (LVInstallItem* row : _singleProductInstallItems) {
        const auto product = row->productItem();
        if (product && product->productID() == productID)
            return row;
    }
    // Bundles are looked at only to stop the search: a bundle row is never the answer.
    return nullptr;
}

void LVInstallsTab::selectInstallsTabViewAtIndex(int index)
{
    _installItems.clear();
    if (_segmentedControl)
        _segmentedControl->selectSegmentWithTag(index);
    if (index == BundlesTab)
        _installItems = _bundleProductInstallItems;
    else if (index == SingleProductsTab)
        _installItems = _singleProductInstallItems;
    setPlaceholderText(index == BundlesTab ? QStringLiteral("No bundles to show.")
                                           : QStringLiteral("No products to show."));
    reloadData();
}

int LVInstallsTab::selectedSubTab() const
{
    return _segmentedControl ? _segmentedControl->selectedTag() : BundlesTab;
}

qint64 LVInstallsTab::attentionCount() const
{
    // A status not yet computed is computed now and reported to updateStatusChanged().
    for (LVInstallItem* row : std::as_const(_bundleProductInstallItems) + _singleProductInstallItems)
        row->installStatus();
    return _needingAttention.size();
}

void LVInstallsTab::updateStatusChanged(VMInstallStatus::Status status, LVInstallItem* row)
{
    // Only the rows this tab adopted count (not the update-all row).
    if (!row || row->parent() != this)
        return;
    const qsizetype before = _needingAttention.size();
    if (VMInstallStatus::needsUpdate(status))
        _needingAttention.insert(row);
    else
        _needingAttention.remove(row);
    if (!_adopting && _needingAttention.size() != before)
        emit attentionCountChanged(_needingAttention.size());
}
