#pragma once

#include "TestAlertPresenter.h"
#include "items/LVInstallItem.h"
#include "items/LVRowHost.h"

#include <QObject>
#include <memory>

// The list a row or tool speaks to, for tests that only need one to exist: alerts go to a
// TestAlertPresenter and the rows are the ones the test lists (and owns).
// A QObject, so that rows and tools notice when it goes away.
class TestRowHost : public QObject, public LVRowHost
{
public:
    void showAlert(const LVAlert& alert) override { showAlert(alert, {}); }
    void showAlert(const LVAlert& alert, LVAlertPresenter::Completion completionHandler) override
    {
        if (!alert.isNull())
            alerts->present(alert, nullptr, std::move(completionHandler));
    }
    void showError(const VMError& error) override
    {
        if (!error.isNull())
            showAlert(LVAlert::alertWithError(error));
    }
    void updateStatusChanged(VMInstallStatus::Status, LVInstallItem*) override {}
    void selectInstallItem(LVInstallItem*) override {}
    QList<LVInstallItem*> singleProductInstallItems() const override { return rows; }
    qint64 indicateAsNewProductPeriod() const override { return 14; }
    QWidget* window() const override { return nullptr; }

    std::shared_ptr<TestAlertPresenter> alerts = std::make_shared<TestAlertPresenter>();
    QList<LVInstallItem*> rows;
};
