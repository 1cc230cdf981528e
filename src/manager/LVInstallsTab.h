#pragma once

#include "catalogue/VMInstallStatus.h"
#include "outline/LVOutlineTab.h"

#include <QList>
#include <QSet>
#include <memory>

class LVInstallItem;
class LVInstallItemFactory;
class LVSegmentedControl;
class VMProductsCollection;

// The installs tab: one row per bundle and per single product, made by the factory it is handed,
// shown on two sub-tabs (bundles, products) below an "update all" row. Discontinued products are
// listed only while the user asks for them; every row counts towards the attention badge.
class LVInstallsTab : public LVOutlineTab
{
    Q_OBJECT
public:
    enum SubTab { BundlesTab = 0, SingleProductsTab = 1 };

    explicit LVInstallsTab(QWidget* parent = nullptr);
    ~LVInstallsTab() override;

    // Once the page's children exist: the outline and the sub-tab control.
    void setUp();

    // Class-wide, read once from the preferences.
    static bool showDiscontinuedProducts();
    static void setShowDiscontinuedProducts(bool show);

    std::shared_ptr<LVInstallItemFactory> itemFactory() const { return _itemFactory; }
    void setItemFactory(std::shared_ptr<LVInstallItemFactory> factory) { _itemFactory = std::move(factory); }

    // Drops the rows of the old collection and makes rows for the new one.
    void setProductsCollection(const std::shared_ptr<VMProductsCollection>& collection);
    std::shared_ptr<VMProductsCollection> productsCollection() const { return _productsCollection; }

    // The rows shown now: the "update all" row first, then the sub-tab's rows (filtered).
    QList<LVInstallItem*> installItems() const;
    QList<LVInstallItem*> singleProductInstallItems() const { return _singleProductInstallItems; }
    QList<LVInstallItem*> bundleProductInstallItems() const { return _bundleProductInstallItems; }
    LVInstallItem* installItemWithProductID(const QString& productID) const;

    void selectInstallsTabViewAtIndex(int index);
    int selectedSubTab() const;
    LVSegmentedControl* segmentedControl() const { return _segmentedControl; }

    // Rows that are neither absent nor up to date, shown or not.
    qint64 attentionCount() const;
    void updateStatusChanged(VMInstallStatus::Status status, LVInstallItem* installItem);

signals:
    void attentionCountChanged(qint64 count);

protected:
    QList<LVOutlineItem*> rows() const override;

private:
    void detachInstallItems();
    LVInstallItem* adopt(LVInstallItem* row, QList<LVInstallItem*>& list);

    std::shared_ptr<LVInstallItemFactory> _itemFactory;
    std::shared_ptr<VMProductsCollection> _productsCollection;
    QList<LVInstallItem*> _singleProductInstallItems;
    QList<LVInstallItem*> _bundleProductInstallItems;
    QList<LVInstallItem*> _installItems;
    // Kept as statuses change, so that a catalogue of thousands is not counted again per row.
    QSet<const LVInstallItem*> _needingAttention;
    bool _adopting = false;
    LVSegmentedControl* _segmentedControl = nullptr;
};
