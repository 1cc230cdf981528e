#pragma once

#include "outline/LVOutlineTab.h"

class LVToolItem;

// The tools tab: the tool rows it is given, in that order. The tools themselves live beside it;
// the tab knows which of them the application lists.
class LVToolsTab : public LVOutlineTab
{
    Q_OBJECT
public:
    explicit LVToolsTab(QWidget* parent = nullptr);
    ~LVToolsTab() override;

    // The application's tools, built on the first call and kept: settings, knowledge-base search,
    // update all, total uninstall, delete expendable files (macOS 12 or later), diagnostics.
    static QList<LVToolItem*> applicationTools();
    // The same list made anew from each tool's `tool` (a tool that answers null is left out).
    static QList<LVToolItem*> makeApplicationTools();
    // The listed tool whose class is exactly `toolClass` (a subclass does not count); null if none.
    static LVToolItem* toolForClass(const QMetaObject* toolClass);
    template <typename Tool> static Tool* toolForClass()
    {
        return static_cast<Tool*>(toolForClass(&Tool::staticMetaObject));
    }

    void setUp();

    // The rows are not owned by the tab: tools are the application's singletons.
    void setToolItems(const QList<LVOutlineItem*>& toolItems);
    QList<LVOutlineItem*> toolItems() const { return _toolItems; }

protected:
    QList<LVOutlineItem*> rows() const override { return _toolItems; }

private:
    QList<LVOutlineItem*> _toolItems;
};
