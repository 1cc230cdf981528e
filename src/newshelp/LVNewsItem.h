#pragma once

#include "outline/LVOutlineItem.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <memory>

namespace Ui {
class LVNewsItem;
}
class LVMoreInfoNewsItem;
class LVNewsInfoView;
class LVNewsItemHeaderView;
class QLabel;
class VMNewsItem;

// A row of the news tab: the headline, expanding into a child row with the news image (fetched the
// first time the row is expanded) and a link to more information.
class LVNewsItem : public QObject, public LVOutlineItem
{
    Q_OBJECT
public:
    // Null, and "newsItem = nil" logged, for a null record.
    static LVNewsItem* newsItemWithVMNewsItem(const std::shared_ptr<VMNewsItem>& newsItem);
    static LVNewsItem* initWithVMNewsItem(const std::shared_ptr<VMNewsItem>& newsItem);
    ~LVNewsItem() override;

    QString newsImageURL() const { return _newsImageURL; }

    Kind outlineKind() const override { return Kind::News; }
    QString title() const override;
    QWidget* view() override;
    QList<LVOutlineItem*> childItems() override;
    // Starts the image download when there is no image yet; always agrees.
    bool shouldExpand() override;
    bool shouldCollapse() override { return true; }
    bool shouldSelect() override { return true; }
    void setInstallManager(LVRowHost*) override {}

    // Opens the record's "more info" page, when it names a valid one.
    void moreInfoButtonAction();

    // The views, for tests; created by view().
    QLabel* headlineTextField() const;
    QWidget* moreInfoView() const;
    LVNewsInfoView* newsInfoView() const;

private:
    explicit LVNewsItem(const std::shared_ptr<VMNewsItem>& newsItem);
    void loadView();
    // Asks the install list to expand or collapse this row.
    void requestToggle();

    std::unique_ptr<Ui::LVNewsItem> _ui;
    QPointer<QWidget> _panel;
    QPointer<LVNewsItemHeaderView> _headlineView;
    QPointer<QWidget> _moreInfoView;
    std::shared_ptr<VMNewsItem> _newsItem;
    QString _newsImageURL;
    std::unique_ptr<LVMoreInfoNewsItem> _moreInfoItem;
};
