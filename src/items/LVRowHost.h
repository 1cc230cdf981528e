#pragma once

#include "catalogue/VMInstallStatus.h"
#include "catalogue/VMSingleProductItem.h"
#include "widgets/LVAlertPresenter.h"

#include <QList>
#include <QString>
#include <memory>

class LVInstallItem;
class LVProductRowViews;
class QWidget;
class VMError;

// What a row may ask of the list controller that shows it: in the application the install
// manager, in tests a stand-in. Rows hold it as their `installManager`, so they reach the window
// without depending on the layer above them.
class LVRowHost
{
public:
    LVRowHost();
    virtual ~LVRowHost();

    // Alerts over the main window.
    virtual void showAlert(const LVAlert& alert) = 0;
    virtual void showAlert(const LVAlert& alert, LVAlertPresenter::Completion completionHandler) = 0;
    virtual void showError(const VMError& error) = 0;

    // Install rows report every real change of their status here.
    virtual void updateStatusChanged(VMInstallStatus::Status status, LVInstallItem* installItem) = 0;
    virtual void selectInstallItem(LVInstallItem* item) = 0;
    // Every single-product row, shown or not (the tools work on these).
    virtual QList<LVInstallItem*> singleProductInstallItems() const = 0;
    // Their products, in the list's order.
    QList<VMSingleProductItemPtr> singleProducts() const;
    virtual qint64 indicateAsNewProductPeriod() const = 0;
    // A row's view changed its height: the list lays its rows out again.
    virtual void noteRowHeightsChanged() {}
    // The main window, or null while it has not been shown.
    virtual QWidget* window() const = 0;

    // Product rows' views, lent to the rows in sight.
    LVProductRowViews& productRowViews() { return *_productRowViews; }

private:
    std::unique_ptr<LVProductRowViews> _productRowViews;
};
