#pragma once

#include "platform/RichTextConverter.h"

// RTF to HTML through the Mac's textutil, reading the document from standard input.
class MacRichTextConverter : public RichTextConverter
{
public:
    explicit MacRichTextConverter(const QString& textutil = QStringLiteral("/usr/bin/textutil"));
    QString rtfToHtml(const QByteArray& rtf) const override;

private:
    QString _textutil;
};
