#pragma once

#include "outline/LVOutlineTab.h"

#include <memory>

class LVNewsItem;
class VMNewsCollection;

// The news tab: one row per news record that is still current; the first row opens by itself.
class LVNewsTab : public LVOutlineTab
{
    Q_OBJECT
public:
    explicit LVNewsTab(QWidget* parent = nullptr);
    ~LVNewsTab() override;

    void setUp();

    // Rows for the records current now; expired ones are logged with extended logging.
    void setNewsCollection(const std::shared_ptr<VMNewsCollection>& collection);
    std::shared_ptr<VMNewsCollection> newsCollection() const { return _newsCollection; }
    void setNewsItems(const QList<LVNewsItem*>& newsItems);
    QList<LVNewsItem*> newsItems() const { return _newsItems; }

signals:
    // After setNewsCollection, with the number of rows shown.
    void newsCollectionApplied(int count);

protected:
    QList<LVOutlineItem*> rows() const override;

private:
    std::shared_ptr<VMNewsCollection> _newsCollection;
    QList<LVNewsItem*> _newsItems;
};
