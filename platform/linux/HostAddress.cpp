#include "platform/systemconfiguration/HostAddress.h"

#include <arpa/inet.h>
#include <string>

namespace lumora {

std::optional<HostAddress> hostAddressFromText(std::string_view text)
{
    const std::string whole { text };
    const std::string withoutLink { text.substr(0, text.find('%')) };
    // The end of a text is its first zero for the system.
    if (whole.find('\0') != std::string::npos)
        return std::nullopt;
    HostAddress address {};
    if (inet_pton(AF_INET6, withoutLink.c_str(), address.data()) == 1)
        return address;
    address = { 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF };
    if (inet_pton(AF_INET, whole.c_str(), address.data() + 12) == 1)
        return address;
    return std::nullopt;
}

} // namespace lumora
