#pragma once

#include <map>
#include <string>
#include <string_view>

namespace lumora {

namespace ServicePath {
inline constexpr std::string_view configuration = "/api/v1/sdk/config";
inline constexpr std::string_view impression = "/api/v1/sdk/impression";
inline constexpr std::string_view ad = "/api/v1/ad";
} // namespace ServicePath

struct CaseInsensitiveLess {
    using is_transparent = void;
    bool operator()(std::string_view, std::string_view) const;
};
using ServiceHeaders = std::multimap<std::string, std::string, CaseInsensitiveLess>;

struct ServiceRequest {
    std::string method;
    std::string target; ///< path and query, "/api/v1/ad"
    ServiceHeaders headers {};
    std::string body {};
    double receivedAt = 0; ///< seconds since 1970
};

enum class Ending {
    Normal,
    CloseWithoutAnswer, ///< nothing is sent
    CloseMidBody, ///< the length of the whole body is announced, half of it is sent
};

/// What to answer, and how. Whoever carries it waits `delaySeconds` first and then acts out the ending.
struct ServiceAnswer {
    int status = 200;
    ServiceHeaders headers {};
    std::string body {};
    double delaySeconds = 0;
    Ending ending = Ending::Normal;
};

} // namespace lumora
