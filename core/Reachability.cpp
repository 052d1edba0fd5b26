#include "core/Reachability.h"

#include "platform/foundation/NSBundle.h"
#include "platform/foundation/NSNotificationCenter.h"
#include "platform/foundation/NSString.h"
#include "platform/objc/Message.h"
#include "platform/systemconfiguration/NetworkPath.h"
#include "support/Guarded.h"

namespace lumora {

const ClassDescription& Reachability::classDescription()
{
    static const auto& description
        = *new ClassDescription(ClassDescription::of<Reachability, NSObject>("Reachability"));
    return description;
}
static const RegisteredClass registered { &Reachability::classDescription };

static bool has(uint32_t flags, uint32_t wanted) { return (flags & wanted) != 0; }

namespace {

std::shared_ptr<Reachability> withRef(SCNetworkReachabilityRef ref)
{
    if (!ref)
        return nullptr;
    auto reachability = alloc<Reachability>();
    reachability->initWithReachabilityRef(std::move(ref));
    return reachability;
}

template <typename T> std::shared_ptr<const T> shared(T block)
{
    return block ? std::make_shared<const T>(std::move(block)) : nullptr;
}

} // namespace

std::shared_ptr<Reachability> Reachability::reachabilityWithHostName(std::string_view hostname)
{
    return reachabilityWithHostname(hostname);
}

std::shared_ptr<Reachability> Reachability::reachabilityWithHostname(std::string_view hostname)
{
    return withRef(SCNetworkReachabilityCreateWithName(hostname));
}

std::shared_ptr<Reachability> Reachability::reachabilityWithAddress(std::string_view hostAddress)
{
    return withRef(SCNetworkReachabilityCreateWithAddress(hostAddress));
}

std::shared_ptr<Reachability> Reachability::reachabilityForInternetConnection()
{
    return reachabilityWithAddress("0.0.0.0");
}

std::shared_ptr<Reachability> Reachability::reachabilityForLocalWiFi()
{
    return reachabilityWithAddress("169.254.0.0");
}

Reachability* Reachability::initWithReachabilityRef(SCNetworkReachabilityRef ref)
{
    m_reachableOnWWAN = true;
    m_reachabilityRef = std::move(ref);
    m_reachabilitySerialQueue = dispatch_queue_create("reachability");
    return this;
}

void Reachability::setReachableBlock(Block block)
{
    // What was there goes after the lock, here and below.
    auto held = shared(std::move(block));
    Locker hold(m_lock);
    m_reachableBlock.swap(held);
}

void Reachability::setUnreachableBlock(Block block)
{
    auto held = shared(std::move(block));
    Locker hold(m_lock);
    m_unreachableBlock.swap(held);
}

void Reachability::setReachabilityBlock(FlagsBlock block)
{
    auto held = shared(std::move(block));
    Locker hold(m_lock);
    m_reachabilityBlock.swap(held);
}

std::shared_ptr<Reachability> Reachability::reachabilityObject() const
{
    const auto self = std::static_pointer_cast<const Reachability>(weak_from_this().lock());
    Locker hold(m_lock);
    return m_isNotifying ? std::const_pointer_cast<Reachability>(self) : nullptr;
}

bool Reachability::startNotifier()
{
    const auto self = retain(this);
    Locker hold(m_lock);
    if (m_isNotifying)
        return true;
    // The callback is where the object holds itself, so that the hold ends with the process at the latest.
    SCNetworkReachabilitySetCallback(
        m_reachabilityRef, [self](const auto&, uint32_t flags) { self->reachabilityChanged(flags); });
    m_isNotifying = SCNetworkReachabilitySetDispatchQueue(m_reachabilityRef, m_reachabilitySerialQueue);
    if (!m_isNotifying)
        SCNetworkReachabilitySetCallback(m_reachabilityRef, nullptr);
    return m_isNotifying;
}

void Reachability::stopNotifier()
{
    // What holds the object may be what is dropped here.
    const auto self = retain(this);
    Locker hold(m_lock);
    if (!m_isNotifying)
        return;
    SCNetworkReachabilitySetCallback(m_reachabilityRef, nullptr);
    SCNetworkReachabilitySetDispatchQueue(m_reachabilityRef, nullptr);
    m_isNotifying = false;
}

void Reachability::reachabilityChanged(uint32_t flags)
{
    const auto self = retain(this);
    std::shared_ptr<const Block> block;
    {
        Locker hold(m_lock);
        block = isReachableWithFlags(flags) ? m_reachableBlock : m_unreachableBlock;
    }
    if (block)
        guarded([&] { (*block)(self); });
    std::shared_ptr<const FlagsBlock> flagsBlock;
    {
        Locker hold(m_lock);
        flagsBlock = m_reachabilityBlock;
    }
    if (flagsBlock)
        guarded([&] { (*flagsBlock)(self, flags); });
    dispatch_get_main_queue().async([self] {
        NSNotificationCenter::defaultCenter().postNotification(kReachabilityChangedNotification, self);
    });
}

uint32_t Reachability::reachabilityFlags() const
{
    return SCNetworkReachabilityGetFlags(m_reachabilityRef).value_or(0);
}

bool Reachability::isReachableWithFlags(uint32_t flags) const
{
    if (!has(flags, kSCNetworkReachabilityFlagsReachable))
        return false;
    if (has(flags, kSCNetworkReachabilityFlagsConnectionRequired)
        && has(flags, kSCNetworkReachabilityFlagsTransientConnection))
        return false;
    return !has(flags, kSCNetworkReachabilityFlagsIsWWAN) || m_reachableOnWWAN;
}

bool Reachability::isReachableViaWWAN() const
{
    const uint32_t flags = reachabilityFlags();
    return has(flags, kSCNetworkReachabilityFlagsReachable) && has(flags, kSCNetworkReachabilityFlagsIsWWAN);
}

bool Reachability::isReachableViaWiFi() const
{
    const uint32_t flags = reachabilityFlags();
    return has(flags, kSCNetworkReachabilityFlagsReachable) && !has(flags, kSCNetworkReachabilityFlagsIsWWAN);
}

bool Reachability::connectionRequired() const
{
    return has(reachabilityFlags(), kSCNetworkReachabilityFlagsConnectionRequired);
}

bool Reachability::isConnectionOnDemand() const
{
    const uint32_t flags = reachabilityFlags();
    return has(flags, kSCNetworkReachabilityFlagsConnectionRequired)
        && has(flags,
            kSCNetworkReachabilityFlagsConnectionOnTraffic | kSCNetworkReachabilityFlagsConnectionOnDemand);
}

bool Reachability::isInterventionRequired() const
{
    const uint32_t flags = reachabilityFlags();
    return has(flags, kSCNetworkReachabilityFlagsConnectionRequired)
        && has(flags, kSCNetworkReachabilityFlagsInterventionRequired);
}

Reachability::Status Reachability::currentReachabilityStatus() const
{
    // Read once: two readings could disagree and name a link that was never there.
    const uint32_t flags = reachabilityFlags();
    if (!isReachableWithFlags(flags))
        return NotReachable;
    return has(flags, kSCNetworkReachabilityFlagsIsWWAN) ? ReachableViaWWAN : ReachableViaWiFi;
}

std::string Reachability::currentReachabilityString() const
{
    switch (currentReachabilityStatus()) {
    case ReachableViaWWAN:
        return NSBundle::mainBundle().localizedString("Cellular");
    case ReachableViaWiFi:
        return NSBundle::mainBundle().localizedString("WiFi");
    case NotReachable:
        break;
    }
    return NSBundle::mainBundle().localizedString("No Connection");
}

std::string Reachability::currentReachabilityFlags() const
{
    const uint32_t flags = reachabilityFlags();
    auto letter = [&](uint32_t flag, char shown) { return has(flags, flag) ? shown : '-'; };
    return {
        letter(kSCNetworkReachabilityFlagsIsWWAN, 'W'),
        letter(kSCNetworkReachabilityFlagsReachable, 'R'),
        ' ',
        letter(kSCNetworkReachabilityFlagsConnectionRequired, 'c'),
        letter(kSCNetworkReachabilityFlagsTransientConnection, 't'),
        letter(kSCNetworkReachabilityFlagsInterventionRequired, 'i'),
        letter(kSCNetworkReachabilityFlagsConnectionOnTraffic, 'C'),
        letter(kSCNetworkReachabilityFlagsConnectionOnDemand, 'D'),
        letter(kSCNetworkReachabilityFlagsIsLocalAddress, 'l'),
        letter(kSCNetworkReachabilityFlagsIsDirect, 'd'),
    };
}

std::string Reachability::description() const
{
    // The format's own rule: "%#x" shows the low 32 bits of the identity.
    return stringWithFormat("<%@: %#x (%@)>",
        { object_getClassName(this), static_cast<int64_t>(reinterpret_cast<uintptr_t>(this)),
            currentReachabilityFlags() });
}

} // namespace lumora
