#pragma once

#include <QList>
#include <QMetaType>
#include <QString>
#include <memory>

class QObject;
class VMNode;

using VMNodePtr = std::shared_ptr<VMNode>;

// What the catalogue outline asks of every collection and record. Records are held by
// std::shared_ptr, so a record can hand itself out as a notification object.
class VMNode : public std::enable_shared_from_this<VMNode>
{
public:
    virtual ~VMNode() = default;

    virtual QString title() const = 0;
    virtual bool titleEditable() const = 0;
    virtual bool isExpandable() const = 0;
    // An empty list for a node without children.
    virtual QList<VMNodePtr> children() const = 0;
    // This build carries no editing panels, so there is never a view.
    virtual QObject* contentView() const { return nullptr; }

protected:
    VMNode() = default;
    VMNode(const VMNode&) = delete;
    VMNode& operator=(const VMNode&) = delete;

    // The node as a notification object; a null pointer when the node is not owned by a shared_ptr.
    VMNodePtr self() const;
    void postNotification(const QString& name) const;
};

Q_DECLARE_METATYPE(VMNodePtr)
