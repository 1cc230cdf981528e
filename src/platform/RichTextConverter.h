#pragma once

#include <QByteArray>
#include <QString>

// Turns rich text (RTF) into HTML for display; a null string when it can't.
class RichTextConverter
{
public:
    virtual ~RichTextConverter() = default;
    virtual QString rtfToHtml(const QByteArray&) const { return QString(); }
};
