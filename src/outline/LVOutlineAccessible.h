#pragma once

#include <QAccessible>

class QObject;
class QString;

// An outline view as screen readers see it: a tree of its rows, each read by its title.
namespace LVOutlineAccessible {
// For QAccessible::installFactory: the interface of an LVOutlineView, null for anything else.
QAccessibleInterface* factory(const QString& className, QObject* object);
} // namespace LVOutlineAccessible
