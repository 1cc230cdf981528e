#pragma once

#include "platform/RichTextConverter.h"

// RTF to HTML through pandoc, when it is installed.
class LinuxRichTextConverter : public RichTextConverter
{
public:
    QString rtfToHtml(const QByteArray& rtf) const override;
};
