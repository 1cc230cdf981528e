#pragma once

#include "platform/RichTextConverter.h"

// RTF to HTML through pandoc, when it is installed.
class PosixRichTextConverter : public RichTextConverter
{
public:
    QString rtfToHtml(const QByteArray& rtf) const override;
};
