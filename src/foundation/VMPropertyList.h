#pragma once

#include <QByteArray>
#include <QString>
#include <QVariant>

// libplist's node handle, as <plist/plist.h> declares it.
typedef void* plist_t;

// Property lists (XML or binary) in and out of Qt values: dictionaries become QVariantMap,
// arrays QVariantList, strings QString, integers qint64, reals double, booleans bool, dates
// QDateTime (UTC) and data QByteArray.
namespace VMPropertyList {

// Parses XML or binary property-list bytes. Anything that is not a property list gives an
// invalid QVariant and, when asked for, a reason in `errorString`.
QVariant fromData(const QByteArray& data, QString* errorString = nullptr);

// Reads and parses a file; a missing or unreadable file is reported like bad content.
QVariant fromFile(const QString& path, QString* errorString = nullptr);

// XML property list of `value`; empty when the value holds a type a property list can't carry.
QByteArray toXmlData(const QVariant& value);
QByteArray toBinaryData(const QVariant& value);

// A parsed property list kept as libplist's tree, for readers that take what they need straight
// from its nodes instead of converting all of it. Owns the tree.
class Tree
{
public:
    Tree() = default;
    ~Tree();
    Tree(Tree&& other) noexcept : _root(other._root) { other._root = nullptr; }
    Tree& operator=(Tree&& other) noexcept;
    Tree(const Tree&) = delete;
    Tree& operator=(const Tree&) = delete;

    plist_t root() const { return _root; }
    // Frees the tree on a background thread: for a large tree that costs about as much as parsing
    // it, and whoever read it need not wait.
    static void freeInBackground(Tree&& tree);

private:
    friend Tree treeFromData(const QByteArray&, QString*);
    friend Tree treeFromVariant(const QVariant&);
    explicit Tree(plist_t root) : _root(root) {}
    plist_t _root = nullptr;
};

// Like fromData, but keeps libplist's tree; no root when the bytes are no property list.
Tree treeFromData(const QByteArray& data, QString* errorString = nullptr);
// The tree of a Qt value; no root when the value holds a type a property list can't carry.
Tree treeFromVariant(const QVariant& value);
// The Qt value of one node of a tree (invalid for a null node).
QVariant nodeToVariant(plist_t node);

} // namespace VMPropertyList
