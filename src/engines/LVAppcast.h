#pragma once

#include "platform/SelfUpdater.h"

#include <QByteArray>
#include <QList>
#include <QString>

// An update feed: an RSS document whose items each announce one version of the application,
// its release notes and its archive (the enclosure, with its signature).
namespace LVAppcast {

// The feed's items in the order they stand; `errorString` says why when the feed can't be read
// (an item without an enclosure URL is left out).
QList<SelfUpdateItem> itemsWithData(const QByteArray& xml, QString* errorString = nullptr);

} // namespace LVAppcast
