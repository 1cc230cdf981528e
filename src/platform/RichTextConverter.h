#pragma once

#include <QByteArray>
#include <QString>

// Turns rich text (RTF) into something Qt shows.
class RichTextConverter
{
public:
    virtual ~RichTextConverter() = default;
    // HTML for the RTF document; a null string when this machine can't convert it.
    virtual QString rtfToHtml(const QByteArray&) const { return QString(); }
    // The document's words without its formatting: what is shown when there is no HTML.
    static QString plainTextFromRtf(const QByteArray& rtf);
};
