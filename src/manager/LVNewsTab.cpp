#include "LVNewsTab.h"

#include "catalogue/VMNewsCollection.h"
#include "foundation/LVPreferences.h"
#include "foundation/VMClock.h"
#include "foundation/VMLogger.h"
#include "newshelp/LVNewsItem.h"
#include "outline/LVOutlineView.h"

namespace {
// NSDate's description, as the log has always shown release dates.
QString dateDescription(const QDateTime& date)
{
    return date.isValid() ? date.toUTC().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss +0000"))
                          : QStringLiteral("(null)");
}
} // namespace

LVNewsTab::LVNewsTab(QWidget* parent) : LVOutlineTab(parent) {}

QList<LVOutlineItem*> LVNewsTab::rows() const
{
    return outlineItems(_newsItems);
}

LVNewsTab::~LVNewsTab()
{
    qDeleteAll(_newsItems);
}

void LVNewsTab::setUp()
{
    setUpOutline(QStringLiteral("No news right now."));
}

void LVNewsTab::setNewsCollection(const std::shared_ptr<VMNewsCollection>& collection)
{
    _newsCollection = collection;
    const QDateTime now = VMClock::currentDate();
    QList<LVNewsItem*> rows;
    if (collection) {
        const bool extendedLogging = LVPreferences::sharedPreferences()->usesExtendedLogging();
        for (const VMNewsItemPtr& record : collection->newsItems()) {
            if (VMNewsCollection::isNewsItemCurrent(*record, now)) {
                if (LVNewsItem* row = LVNewsItem::newsItemWithVMNewsItem(record))
                    rows.append(row);
            } else if (extendedLogging) {
                // One arg() call: a title holding "%1" must stay as it is.
                VMLogger::logMessage(QStringLiteral("News item expired: %1, %2, %3")
                                         .arg(record->title(), dateDescription(record->releaseDate()),
                                              QString::number(record->showDays())));
            }
        }
    }
    setNewsItems(rows);
    emit newsCollectionApplied(int(_newsItems.size()));
}

void LVNewsTab::setNewsItems(const QList<LVNewsItem*>& newsItems)
{
    const QList<LVNewsItem*> old = _newsItems;
    for (LVNewsItem* row : old)
        row->setInstallManager(nullptr);
    _newsItems.clear();
    for (LVNewsItem* row : newsItems) {
        row->setParent(this);
        row->setInstallManager(rowHost());
        _newsItems.append(row);
    }
    reloadData();
    if (!_newsItems.isEmpty() && outlineView())
        outlineView()->expandItem(_newsItems.first());
    for (LVNewsItem* row : old)
        row->deleteLater();
}
