#pragma once

#include <QPointer>
#include <QString>
#include <functional>

class LVFetch;
class QImage;
class QObject;

// A row's icon: the cached image at once, else one fetch whose image is cached for every row.
// `show` gets a null image when the fetch fails; a row whose fetch failed does not fetch again when
// its view comes back into sight (a new catalogue makes new rows, which try again).
namespace LVRowIcon {
struct Fetch
{
    QPointer<LVFetch> running;
    bool failed = false;
};
void load(const QString& url, Fetch& fetch, QObject* row, const std::function<void(const QImage&)>& show);
} // namespace LVRowIcon
