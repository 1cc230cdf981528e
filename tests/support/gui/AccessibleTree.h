#pragma once

#include <QAccessibleInterface>
#include <QList>

// Every element below `root` in the accessibility tree, depth first, as a screen reader walks it.
inline QList<QAccessibleInterface*> descendants(QAccessibleInterface* root)
{
    QList<QAccessibleInterface*> found;
    for (int i = 0; root && i < root->childCount(); ++i) {
        if (QAccessibleInterface* child = root->child(i)) {
            found.append(child);
            found.append(descendants(child));
        }
    }
    return found;
}
