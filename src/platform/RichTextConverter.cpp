#include "RichTextConverter.h"

#include <QByteArrayList>

namespace {

bool isLetter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// Groups whose contents are tables and metadata, never text.
bool isHiddenDestination(const QByteArray& word)
{
    static const QByteArrayList hidden = {"fonttbl", "colortbl", "stylesheet", "info", "pict", "header", "footer"};
    return hidden.contains(word);
}

} // namespace

QString RichTextConverter::plainTextFromRtf(const QByteArray& rtf)
{
    QByteArray text;
    int depth = 0;
    int hiddenFrom = -1; // the depth of the group being skipped, or -1
    for (qsizetype i = 0; i < rtf.size(); ++i) {
        const char c = rtf.at(i);
        if (c == '{') {
            ++depth;
            if (hiddenFrom < 0 && rtf.mid(i + 1, 2) == "\\*")
                hiddenFrom = depth;
            continue;
        }
        if (c == '}') {
            if (depth == hiddenFrom)
                hiddenFrom = -1;
            depth = qMax(0, depth - 1);
            continue;
        }
        if (c == '\\') {
            const char next = i + 1 < rtf.size() ? rtf.at(i + 1) : '\0';
            if (next == '\\' || next == '{' || next == '}') {
                if (hiddenFrom < 0)
                    text.append(next);
                ++i;
                continue;
            }
            if (next == '\'') {
                bool ok = false;
                const int code = rtf.mid(i + 2, 2).toInt(&ok, 16);
                if (ok && hiddenFrom < 0)
                    text.append(QString(QChar(code)).toUtf8()); // the ANSI code page's Latin-1 half
                i += 3;
                continue;
            }
            qsizetype end = i + 1;
            while (end < rtf.size() && isLetter(rtf.at(end)))
                ++end;
            const QByteArray word = rtf.mid(i + 1, end - i - 1);
            while (end < rtf.size() && (rtf.at(end) == '-' || (rtf.at(end) >= '0' && rtf.at(end) <= '9')))
                ++end;
            if (end < rtf.size() && rtf.at(end) == ' ')
                ++end;
            i = end - 1;
            if (hiddenFrom < 0 && isHiddenDestination(word))
                hiddenFrom = depth;
            else if (hiddenFrom < 0 && (word == "par" || word == "line"))
                text.append('\n');
            else if (hiddenFrom < 0 && word == "tab")
                text.append('\t');
            continue;
        }
        if (hiddenFrom < 0 && c != '\r' && c != '\n')
            text.append(c);
    }
    return QString::fromUtf8(text).trimmed();
}
