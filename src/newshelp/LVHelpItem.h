#pragma once

#include "outline/LVOutlineItem.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <memory>

class LVHelpTitleTextField;
class VMHelpItem;

// A row of the help tab: a title that opens its page on the support site.
class LVHelpItem : public QObject, public LVOutlineItem
{
    Q_OBJECT
public:
    // Null, and "vmHelpItem = nil" logged, for a null record.
    static LVHelpItem* helpItemWithVMHelpItem(const std::shared_ptr<VMHelpItem>& helpItem);
    static LVHelpItem* initWithVMNewsItem(const std::shared_ptr<VMHelpItem>& helpItem);
    ~LVHelpItem() override;

    Kind outlineKind() const override { return Kind::Help; }
    QString title() const override;
    QWidget* view() override;
    QList<LVOutlineItem*> childItems() override { return {}; }
    bool shouldExpand() override { return false; }
    bool shouldCollapse() override { return false; }
    bool shouldSelect() override { return true; }
    void setInstallManager(LVRowHost*) override {}

private:
    explicit LVHelpItem(const std::shared_ptr<VMHelpItem>& helpItem);
    void openHelpPage();

    QPointer<LVHelpTitleTextField> _headlineView;
    std::shared_ptr<VMHelpItem> _helpItem;
    QString _helpURL;
};
