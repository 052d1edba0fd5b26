#include "core/Reachability.h"

#include "platform/foundation/NSBundle.h"
#include "platform/foundation/NSString.h"
#include "platform/objc/Message.h"
#include "platform/process/Process.h"
#include "platform/systemconfiguration/NetworkPath.h"

namespace lumora {

const ClassDescription& Reachability::classDescription()
{
    static const auto& description
        = *new ClassDescription(ClassDescription::of<Reachability, NSObject>("Reachability"));
    return description;
}
static const RegisteredClass registered { &Reachability::classDescription };

static bool has(uint32_t flags, uint32_t wanted) { return (flags & wanted) != 0; }

std::shared_ptr<Reachability> Reachability::reachabilityForInternetConnection()
{
    return make<Reachability>();
}

uint32_t Reachability::reachabilityFlags() const
{
    return isa()->registry().process().configuration().network->flags();
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
    return stringWithFormat("<%@: %#x (%@)>",
        { object_getClassName(this), static_cast<int64_t>(reinterpret_cast<uintptr_t>(this)),
            currentReachabilityFlags() });
}

} // namespace lumora
