#include "MacDistributedCenter.h"

#include <CoreFoundation/CoreFoundation.h>

#include <vector>

namespace {

struct Observation
{
    MacDistributedCenter::Callback callback;
    void* context;
    CFStringRef name;
};

CFStringRef makeString(const std::string& text)
{
    return CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(text.data()),
                                   CFIndex(text.size()), kCFStringEncodingUTF8, false);
}

std::string utf8(CFStringRef string)
{
    if (!string)
        return std::string();
    const CFIndex length = CFStringGetLength(string);
    const CFIndex capacity = CFStringGetMaximumSizeForEncoding(length, kCFStringEncodingUTF8) + 1;
    std::vector<char> buffer(static_cast<std::size_t>(capacity));
    if (!CFStringGetCString(string, buffer.data(), capacity, kCFStringEncodingUTF8))
        return std::string();
    return std::string(buffer.data());
}

void received(CFNotificationCenterRef, void* observer, CFStringRef name, const void* object, CFDictionaryRef)
{
    const auto* observation = static_cast<const Observation*>(observer);
    // The object of a distributed notification is a string or nothing.
    CFStringRef text =
        object && CFGetTypeID(object) == CFStringGetTypeID() ? static_cast<CFStringRef>(object) : nullptr;
    observation->callback(observation->context, utf8(name), utf8(text));
}

} // namespace

namespace MacDistributedCenter {

void post(const std::string& name, const std::string& object)
{
    CFStringRef cfName = makeString(name);
    CFStringRef cfObject = makeString(object);
    if (cfName && cfObject)
        CFNotificationCenterPostNotificationWithOptions(CFNotificationCenterGetDistributedCenter(), cfName, cfObject,
                                                        nullptr, kCFNotificationDeliverImmediately);
    if (cfObject)
        CFRelease(cfObject);
    if (cfName)
        CFRelease(cfName);
}

void* observe(const std::string& name, Callback callback, void* context)
{
    auto* observation = new Observation{callback, context, makeString(name)};
    if (!observation->name) {
        delete observation;
        return nullptr;
    }
    CFNotificationCenterAddObserver(CFNotificationCenterGetDistributedCenter(), observation, &received,
                                    observation->name, nullptr, CFNotificationSuspensionBehaviorDeliverImmediately);
    return observation;
}

void stopObserving(void* observation)
{
    auto* record = static_cast<Observation*>(observation);
    if (!record)
        return;
    CFNotificationCenterRemoveObserver(CFNotificationCenterGetDistributedCenter(), record, record->name, nullptr);
    CFRelease(record->name);
    delete record;
}

} // namespace MacDistributedCenter
