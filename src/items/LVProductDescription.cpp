#include "LVProductDescription.h"

#include "catalogue/VMUtils.h"
#include "catalogue/VMVersionItem.h"
#include "foundation/VMLog.h"
#include "widgets/LVBadgeImage.h"

#include <QColor>
#include <QDateTime>
#include <QFont>
#include <QTextCharFormat>
#include <QTextCursor>
#include <QTextDocument>

namespace {
QColor systemRedColor()
{
    return QColor(0xff, 0x45, 0x3a);
}

QColor systemYellowColor()
{
    return QColor(0xff, 0xd6, 0x0a);
}

QTextCharFormat helvetica(int pixelSize, bool bold, const QColor& color)
{
    QFont font(QStringLiteral("Helvetica"));
    font.setPixelSize(pixelSize);
    font.setBold(bold);
    QTextCharFormat format;
    format.setFont(font);
    format.setForeground(color);
    return format;
}

QString htmlSpan(const QString& text, const QColor& color)
{
    return QStringLiteral("<span style=\"color:%1\">%2</span>")
        .arg(color.name(), text.toHtmlEscaped().replace(QLatin1Char('\n'), QLatin1String("<br>")));
}
} // namespace

void LVProductDescription::write(QTextDocument* document, const VMSingleProductItem& product, const QString& installed)
{
    const VMVersionItemPtr installedItem = product.versionItemForVersionString(installed);
    const VMVersionItemPtr latest = product.latestVersionItem();
    if (!latest)
        VM_LOG_MESSAGE(QStringLiteral("No latest version found!"));

    QList<VMVersionItemPtr> described;
    if (installed.isNull() || !installedItem) {
        if (latest)
            described.append(latest);
    } else if (installedItem != latest) {
        for (const VMVersionItemPtr& version : product.versionItems())
            if (VMUtils::compareVersion(installed, version->productVersion()) == -1)
                described.append(version);
    }

    document->clear();
    QTextCursor cursor(document);
    const QColor white(Qt::white);
    cursor.insertText(product.productDescription(), helvetica(14, false, white));

    if (latest) {
        QStringList requirements;
        if (!latest->osXVersion().isNull() &&
            VMUtils::compareVersion(latest->osXVersion(), VMUtils::checkOSXVersion()) == 1)
            requirements.append(QStringLiteral("OS X %1").arg(latest->osXVersion()));
        const struct
        {
            qint64 host;
            const char* bundle;
            const char* name;
        } hosts[] = {{1, "com.apple.FinalCut", "FCP X %1"}, {2, "com.apple.motionapp", "Motion %1"}};
        for (const auto& host : hosts) {
            const QVariant required = latest->hostVersions().value(VMUtils::stringForHostApp(host.host));
            if (required.isValid() &&
                VMUtils::compareVersion(required.toString(),
                                        VMUtils::checkInstalledBundleVersion(QLatin1String(host.bundle))) == 1)
                requirements.append(QString::fromLatin1(host.name).arg(required.toString()));
        }
        if (!requirements.isEmpty())
            cursor.insertText(QStringLiteral("\nThis update requires %1, please update").arg(requirements.join(", ")),
                              helvetica(12, true, LVBadgeImage::systemOrangeColor()));
    }

    const auto appendList = [&](const QString& heading, QString (VMVersionItem::*text)() const) {
        QString list;
        for (const VMVersionItemPtr& version : std::as_const(described))
            if (!((*version).*text)().isNull())
                list = QStringLiteral("%1\n\u2022 %2").arg(list, ((*version).*text)());
        if (list.isEmpty())
            return;
        cursor.insertText(heading, helvetica(12, true, white));
        cursor.insertText(list, helvetica(12, false, white));
    };
    appendList(QStringLiteral("\nFeatures:"), &VMVersionItem::featuresText);
    appendList(QStringLiteral("\nBug Fixes:"), &VMVersionItem::bugFixesText);
}

QString LVProductDescription::titleHtml(const VMSingleProductItem& product, const QString& title,
                                        qint64 newProductPeriodDays)
{
    const VMVersionItemPtr latest = product.latestVersionItem();
    const QDateTime releaseDate = latest ? latest->releaseDate() : QDateTime();
    QString html =
        QStringLiteral("<span style=\"font-family:Helvetica; font-size:13px; font-weight:bold; color:#ffffff\">%1")
            .arg(title.toHtmlEscaped());
    if (releaseDate.isValid() && releaseDate.addSecs(newProductPeriodDays * 86400) > VMUtils::currentDate())
        html += htmlSpan(QStringLiteral(" New"), systemRedColor());
    else if (product.productDiscontinued())
        html += htmlSpan(QStringLiteral("\nDiscontinued"), systemYellowColor());
    return html + QLatin1String("</span>");
}
