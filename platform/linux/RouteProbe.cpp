#include "platform/linux/RouteProbe.h"

#include <arpa/inet.h>
#include <cerrno>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace lumora {

std::optional<bool> findsRoute(int family)
{
    // A root name server: addresses set aside for documents are thrown away by careful routers.
    constexpr uint16_t port = 53;
    sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    inet_pton(AF_INET, "198.41.0.4", &address.sin_addr);
    sockaddr_in6 address6 {};
    address6.sin6_family = AF_INET6;
    address6.sin6_port = htons(port);
    inet_pton(AF_INET6, "2001:503:ba3e::2:30", &address6.sin6_addr);

    const int file = socket(family, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (file < 0)
        return errno == EMFILE || errno == ENFILE || errno == ENOMEM || errno == ENOBUFS
            ? std::nullopt
            : std::optional(false);
    // A datagram socket that connects only looks for a route.
    const bool found = family == AF_INET
        ? connect(file, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0
        : connect(file, reinterpret_cast<const sockaddr*>(&address6), sizeof address6) == 0;
    close(file);
    return found;
}

} // namespace lumora
