#pragma once

#include <QList>
#include <QString>

class LVInstallManager;
class QWidget;

// What the main window's outlines ask of a row controller: its view, its children and how it
// takes selection, expansion and collapse. Install, news, help and tool rows all answer it.
class LVOutlineItem
{
public:
    virtual ~LVOutlineItem() = default;

    virtual QString title() const { return QString(); }
    virtual QWidget* view() { return nullptr; }
    virtual QList<LVOutlineItem*> childItems() { return {}; }
    virtual bool shouldExpand() { return false; }
    virtual bool shouldCollapse() { return true; }
    virtual bool shouldSelect() { return false; }
    virtual void setInstallManager(LVInstallManager*) {}
};
