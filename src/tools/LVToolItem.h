#pragma once

#include "outline/LVOutlineItem.h"

#include <QObject>
#include <QPointer>

class LVRowHost;
class QWidget;

// A row of the tools tab: a controller that lives for the whole run and owns a small panel built
// from the interface file named after its class. The tools tab lists them.
class LVToolItem : public QObject, public LVOutlineItem
{
    Q_OBJECT
public:
    ~LVToolItem() override;

    // Builds the panel. A tool without an interface file logs "Couldn't instantiate panel xib" and
    // still answers true (the row then has no view).
    virtual bool initView();
    QWidget* view() override;

    QList<LVOutlineItem*> childItems() override { return {}; }
    bool shouldExpand() override { return false; }
    bool shouldCollapse() override { return false; }
    bool shouldSelect() override { return false; }
    // The window the tool raises its alerts over and whose rows it works on: handed in by the tools
    // tab; null until then or once that window is gone.
    LVRowHost* installManager() const;
    void setInstallManager(LVRowHost* manager) override;
    Kind outlineKind() const override { return Kind::Tool; }

protected:
    explicit LVToolItem(QObject* parent = nullptr);
    // The panel from the interface file named after the class; null when the class has none.
    virtual QWidget* loadPanel() { return nullptr; }

    QPointer<QWidget> _contentView;

private:
    LVRowHost* _installManager = nullptr;
    QPointer<QObject> _installManagerObject;
};
