#include "cli/LVApplyPlan.h"

#include "catalogue/VMBundleProductItem.h"
#include "catalogue/VMUtils.h"
#include "foundation/VMPropertyList.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSet>

namespace {

const QString kLatest = QStringLiteral("latest");
const QString kAbsent = QStringLiteral("absent");

struct Wish
{
    QString value;
    QString source; // the file's key it came from
    bool direct = false;
};

// The first key that the top level of a JSON object `data` (already known to be valid) names a
// second time; null when each is named once. The parser keeps the last silently.
QString repeatedKey(const QByteArray& data)
{
    QSet<QString> seen;
    int depth = 0;
    for (qsizetype i = 0; i < data.size(); ++i) {
        const char c = data.at(i);
        if (c == '{' || c == '[') {
            ++depth;
        } else if (c == '}' || c == ']') {
            --depth;
        } else if (c == '"') {
            const qsizetype start = i;
            for (++i; i < data.size() && data.at(i) != '"'; ++i) {
                if (data.at(i) == '\\')
                    ++i;
            }
            qsizetype next = i + 1;
            while (next < data.size() && QChar::isSpace(uchar(data.at(next))))
                ++next;
            if (depth != 1 || next >= data.size() || data.at(next) != ':')
                continue;
            const QJsonArray key = QJsonDocument::fromJson('[' + data.mid(start, i - start + 1) + ']').array();
            const QString name = key.isEmpty() ? QString() : key.first().toString();
            if (seen.contains(name))
                return name;
            seen.insert(name);
        }
    }
    return QString();
}

} // namespace

QVariantMap LVApplyPlan::readFile(const QString& path, QString* error)
{
    // A device or a pipe (through a link, too) could be endless or never answer.
    const QFileInfo info(path);
    if (!info.isFile()) {
        *error = QStringLiteral("%1 is not a regular file.").arg(shown(path));
        return {};
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("Cannot read %1: %2").arg(shown(path), file.errorString());
        return {};
    }
    const QByteArray data = file.read(maximumFileSize + 1);
    if (data.size() > maximumFileSize) {
        *error = QStringLiteral("%1 is larger than %2 bytes.").arg(shown(path)).arg(maximumFileSize);
        return {};
    }
    return readData(data, path, error);
}

QVariantMap LVApplyPlan::readData(const QByteArray& data, const QString& name, QString* error)
{
    QJsonParseError jsonError;
    const QJsonDocument json = QJsonDocument::fromJson(data, &jsonError);
    if (jsonError.error == QJsonParseError::NoError) {
        if (!json.isObject()) {
            *error = QStringLiteral("%1 must hold one object of product IDs.").arg(shown(name));
            return {};
        }
        if (const QString twice = repeatedKey(data); !twice.isNull()) {
            *error = QStringLiteral("%1 names '%2' more than once.").arg(shown(name), shown(twice));
            return {};
        }
        return json.object().toVariantMap();
    }
    const QVariant plist = VMPropertyList::fromData(data);
    if (plist.typeId() != QMetaType::QVariantMap) {
        *error = QStringLiteral("%1 is neither a JSON object nor a property-list dictionary.").arg(shown(name));
        return {};
    }
    return plist.toMap();
}

VMVersionItemPtr LVApplyPlan::exactVersion(const VMSingleProductItem& product, const QString& version)
{
    // "1.1.0" names "1.1"; "2.0.1x" names nothing, though the loose comparison would read 2.0.1.
    static const QRegularExpression numeric(QStringLiteral("^[0-9]+(\\.[0-9]+)*$"));
    const bool wellFormed = numeric.match(version).hasMatch();
    VMVersionItemPtr equal;
    for (const VMVersionItemPtr& item : product.versionItems()) {
        if (item && item->productVersion() == version)
            return item;
        if (item && wellFormed && !equal && VMUtils::compareVersion(item->productVersion(), version) == 0)
            equal = item;
    }
    return equal;
}

QString LVApplyPlan::shown(const QString& text)
{
    constexpr qsizetype kLongest = 80;
    return text.size() <= kLongest ? text : text.left(kLongest) + QStringLiteral("…");
}

QList<LVApplyPlan::Step> LVApplyPlan::make(const QVariantMap& desired, const VMProductsCollection& collection,
                                           const VersionDetector& installed, QString* error)
{
    QHash<QString, Wish> wishes; // by product ID
    for (auto it = desired.cbegin(); it != desired.cend(); ++it) {
        const QString& key = it.key();
        if (it.value().typeId() != QMetaType::QString || it.value().toString().trimmed().isEmpty()) {
            *error = QStringLiteral("'%1' must be \"latest\", \"absent\" or a version string.").arg(shown(key));
            return {};
        }
        QString value = it.value().toString().trimmed();
        if (value.compare(kLatest, Qt::CaseInsensitive) == 0)
            value = kLatest;
        else if (value.compare(kAbsent, Qt::CaseInsensitive) == 0)
            value = kAbsent;

        QList<VMSingleProductItemPtr> products;
        bool direct = true;
        const QList<VMProductItemPtr> found = collection.productItemsWithProductIDs({key});
        if (!found.isEmpty()) {
            if (auto single = std::dynamic_pointer_cast<VMSingleProductItem>(found.first())) {
                products = {single};
            } else if (auto bundle = std::dynamic_pointer_cast<VMBundleProductItem>(found.first())) {
                if (value != kLatest && value != kAbsent) {
                    *error = QStringLiteral("A bundle has no versions to choose from: '%1' is \"%2\".")
                                 .arg(shown(key), shown(value));
                    return {};
                }
                products = collection.bundleMembers(*bundle);
                direct = false;
            }
        } else {
            // A plug-in's bundle identifier names its product too.
            for (const VMProductItemPtr& item : collection.productItems()) {
                auto single = std::dynamic_pointer_cast<VMSingleProductItem>(item);
                if (single && single->allProductIdentifiers().contains(key)) {
                    products = {single};
                    break;
                }
            }
        }
        if (products.isEmpty()) {
            *error = QStringLiteral("No product or bundle with the ID '%1' in the catalogue.").arg(shown(key));
            return {};
        }
        for (const VMSingleProductItemPtr& product : std::as_const(products)) {
            if (value != kLatest && value != kAbsent && !exactVersion(*product, value)) {
                *error = QStringLiteral("'%1' has no version %2 (the key '%3').")
                             .arg(product->productID(), shown(value), shown(key));
                return {};
            }
            const auto previous = wishes.constFind(product->productID());
            if (previous != wishes.cend() && previous->direct && !direct)
                continue; // what the file says of the product itself beats what it says of its bundle
            if (previous != wishes.cend() && previous->direct == direct && previous->value != value) {
                *error = QStringLiteral("'%1' and '%2' ask for different things of %3.")
                             .arg(shown(previous->source), shown(key), product->productID());
                return {};
            }
            wishes.insert(product->productID(), Wish{value, key, direct});
        }
    }

    QList<Step> steps;
    for (const VMProductItemPtr& item : collection.productItems()) {
        auto product = std::dynamic_pointer_cast<VMSingleProductItem>(item);
        if (!product || !wishes.contains(product->productID()))
            continue;
        Step step;
        step.product = product;
        step.wanted = wishes.value(product->productID()).value;
        step.installedVersion = installed(*product);
        const bool isInstalled = !step.installedVersion.isNull();
        if (step.wanted == kAbsent) {
            step.action = isInstalled ? Action::Uninstall : Action::None;
        } else {
            step.target = step.wanted == kLatest ? product->latestVersionItem() : exactVersion(*product, step.wanted);
            if (!step.target) {
                *error = QStringLiteral("'%1' has no version at all.").arg(product->productID());
                return {};
            }
            const int order =
                isInstalled ? VMUtils::compareVersion(step.installedVersion, step.target->productVersion()) : -1;
            if (!isInstalled)
                step.action = Action::Install;
            else if (order < 0)
                step.action = Action::Update;
            // "latest" is met by a newer version too; a pinned version only by itself.
            else if (order > 0 && step.wanted != kLatest)
                step.action = Action::Downgrade;
            if (step.action == Action::None)
                step.target = nullptr;
        }
        steps.append(step);
    }
    return steps;
}

QString LVApplyPlan::actionName(Action action)
{
    switch (action) {
    case Action::None:
        return QStringLiteral("none");
    case Action::Install:
        return QStringLiteral("install");
    case Action::Update:
        return QStringLiteral("update");
    case Action::Downgrade:
        return QStringLiteral("downgrade");
    case Action::Uninstall:
        return QStringLiteral("uninstall");
    }
    return QString();
}
