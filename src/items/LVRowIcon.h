#pragma once

#include <QPointer>
#include <QString>
#include <functional>

class LVFetch;
class QImage;
class QObject;

// A row's icon: the cached image at once, else one fetch (none while `running` is under way) whose
// image is cached for every row. `show` gets a null image when the fetch fails.
namespace LVRowIcon {
void load(const QString& url, QPointer<LVFetch>& running, QObject* row, const std::function<void(const QImage&)>& show);
}
