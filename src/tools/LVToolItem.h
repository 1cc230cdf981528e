#pragma once

#include "outline/LVOutlineItem.h"

class LVRowHost;

#include <QList>
#include <QObject>
#include <QPointer>

class QWidget;

// A row of the tools tab: a controller that lives for the whole run and owns a small panel built
// from the interface file named after its class. The class side keeps the tool list, built once.
class LVToolItem : public QObject, public LVOutlineItem
{
    Q_OBJECT
public:
    ~LVToolItem() override;

    // The tools tab's rows, built on the first call and kept: settings, knowledge-base search,
    // update all, total uninstall, delete expendable files (macOS 12 or later), diagnostics.
    static QList<LVToolItem*> toolItems();
    // The same list made anew from each tool's `tool` (a tool that answers null is left out).
    static QList<LVToolItem*> makeToolItems();
    // The listed tool whose class is exactly `toolClass` (a subclass does not count); null if none.
    static LVToolItem* toolForClass(const QMetaObject* toolClass);
    template <typename Tool> static Tool* toolForClass()
    {
        return static_cast<Tool*>(toolForClass(&Tool::staticMetaObject));
    }

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
