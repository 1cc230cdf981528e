#pragma once

#include <functional>

#include "items/LVInstallItem.h"
#include "items/LVInstallItemFactory.h"

#include <QPointer>
#include <QWidget>
#include <memory>

class VMProductItem;

// An install row for tests: its status is whatever the test says updateStatus computes, it may be
// discontinued and stand for a product, and its view is a plain widget of a given height.
class TestInstallItem : public LVInstallItem
{
    Q_OBJECT
public:
    explicit TestInstallItem(const QString& title = QString(), uint computedStatus = 0, QObject* parent = nullptr);
    ~TestInstallItem() override;

    QString title() const override { return _title; }
    void updateStatus() override;
    bool discontinued() const override { return isDiscontinued; }
    std::shared_ptr<VMProductItem> productItem() const override { return product; }
    QWidget* view() override;
    QList<LVOutlineItem*> childItems() override { return children; }
    bool shouldExpand() override { return expandable; }
    bool shouldSelect() override { return selectable; }
    void populateContextMenu(QMenu* menu, QEvent* event) override;
    void singleClicked(QMouseEvent* event, LVInstallItemTitleField* titleField) override;
    void doubleClicked(QMouseEvent* event, LVInstallItemTitleField* titleField) override;

    uint computedStatus = 0;
    int updateStatusCalls = 0;
    bool isDiscontinued = false;
    bool expandable = false;
    bool selectable = true;
    int viewHeight = 40;
    int singleClicks = 0;
    int doubleClicks = 0;
    int populateCalls = 0;
    std::shared_ptr<VMProductItem> product;
    QList<LVOutlineItem*> children;

private:
    QString _title;
    QPointer<QWidget> _view;
};

// Single-product rows made by a function the test gives; no bundle rows, no "update all" row.
class TestSingleItemFactory : public LVInstallItemFactory
{
public:
    using Make = std::function<LVInstallItem*(const std::shared_ptr<VMSingleProductItem>&)>;
    explicit TestSingleItemFactory(Make make) : _make(std::move(make)) {}
    LVInstallItem* singleInstallItem(const std::shared_ptr<VMSingleProductItem>& product) override
    {
        return _make(product);
    }

private:
    Make _make;
};
