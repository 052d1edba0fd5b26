#pragma once

#include <array>
#include <map>
#include <string>
#include <string_view>

namespace lumora {

/// Where the services take what is sent to them; a "*" stands for any one part between slashes, a "**" at the
/// end for any rest.
namespace ServicePath {
inline constexpr std::string_view configuration = "/api/v1/sdk/config";
inline constexpr std::string_view impression = "/api/v1/sdk/impression";
inline constexpr std::string_view ad = "/api/v1/ad";
// The collector's, with the bundle identifier.
inline constexpr std::string_view batch = "/ads/ios/*";
inline constexpr std::string_view screenshots = "/ads/ios/*/i";
inline constexpr std::string_view sourceHashes = "/ads/ios/*/h";
inline constexpr std::string_view complaint = "/complaints/ios/*/";
inline constexpr std::string_view event = "/event/ios/*/**"; ///< and the kind of event, whatever it holds
inline constexpr std::string_view logs = "/logs";

inline constexpr std::array all { configuration, impression, ad, batch, screenshots, sourceHashes, complaint,
    event, logs };
} // namespace ServicePath

bool pathMatches(std::string_view pattern, std::string_view path);

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

    std::string_view path() const;
    /// All values of a header, so that one sent twice is seen as what it is; empty without one.
    std::string header(std::string_view name) const;
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

ServiceAnswer jsonAnswer(int status, std::string body);
/// With the message as the "error" of a JSON object.
ServiceAnswer errorAnswer(int status, std::string_view message);

} // namespace lumora
