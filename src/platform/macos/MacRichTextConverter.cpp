#include "MacRichTextConverter.h"
#include "MacProgramRunner.h"

MacRichTextConverter::MacRichTextConverter(const QString& textutil) : _textutil(textutil) {}

QString MacRichTextConverter::rtfToHtml(const QByteArray& rtf) const
{
    if (rtf.isEmpty())
        return QString();
    const MacProgramResult result = MacProgramRunner::run(
        _textutil,
        {QStringLiteral("-convert"), QStringLiteral("html"), QStringLiteral("-stdin"), QStringLiteral("-stdout")}, rtf,
        15000);
    if (!result.succeeded() || result.standardOutput.isEmpty())
        return QString();
    return QString::fromUtf8(result.standardOutput);
}
