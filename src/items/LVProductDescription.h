#pragma once

#include "catalogue/VMSingleProductItem.h"

#include <QString>

class QTextDocument;

// What a product row writes about its product.
namespace LVProductDescription {
// The description; the requirements of the latest version that this machine does not meet; the
// features and bug fixes of every version newer than `installedVersion` (of the latest alone when
// none is installed).
void write(QTextDocument* document, const VMSingleProductItem& product, const QString& installedVersion);
// The title in bold white, with " New" in red while the latest version is younger than
// `newProductPeriodDays`, else "Discontinued" in yellow on a line of its own for a discontinued
// product.
QString titleHtml(const VMSingleProductItem& product, const QString& title, qint64 newProductPeriodDays);
} // namespace LVProductDescription
