#include "VMHelpItem.h"

#include "catalogue/VMCatalogueReader.h"
#include "foundation/VMLog.h"
#include "platform/Platform.h"

VMHelpItem::VMHelpItem() : _title(QStringLiteral("Untitled Help")) {}

VMHelpItem::~VMHelpItem() = default;

VMHelpItemPtr VMHelpItem::initWithDict(const QVariantMap& dict)
{
    return initWithNode(VMPropertyList::treeFromVariant(dict).root());
}

VMHelpItemPtr VMHelpItem::initWithNode(plist_t dict)
{
    VMHelpItemPtr item(new VMHelpItem(Empty{}));
    VMCatalogueReader reader(dict);
    reader.readString("Title", item->_title);
    reader.readString("Help URL", item->_helpURL);
    for (const QString& problem : reader.problems())
        VM_LOG_MESSAGE(problem);
    return item;
}

bool VMHelpItem::setValue(const QVariant& value, const QString& key)
{
    const auto text = [&value] { return value.isValid() ? value.toString() : QString(); };
    if (key == QLatin1String("title")) {
        _title = text();
        postNotification(QStringLiteral("reloadItemInNodeTable"));
    } else if (key == QLatin1String("helpURL")) {
        _helpURL = text();
    } else {
        Platform::systemLog().write(QStringLiteral("setValue: key '%1' not recognized").arg(key));
        return false;
    }
    return true;
}
