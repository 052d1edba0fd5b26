#include "core/LMInternetReachabilityChecker.h"

#include "core/Reachability.h"

namespace lumora {

bool LMInternetReachabilityChecker::isInternetAvailable()
{
    return Reachability::reachabilityForInternetConnection()->currentReachabilityStatus()
        != Reachability::NotReachable;
}

} // namespace lumora
