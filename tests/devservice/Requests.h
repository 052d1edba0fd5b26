#pragma once

#include "devservice/LocalServices.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace lumora::test {

inline constexpr const char* configurationPath = "/api/v1/sdk/config?platform_version=13.3&sdk_version=2.1.0";
inline constexpr const char* impressionPath = "/api/v1/sdk/impression";
inline constexpr const char* adPath = "/api/v1/ad";

inline ServiceRequest get(std::string target)
{
    return { "GET", std::move(target), { { "authorization", "Bearer key" } } };
}

inline ServiceRequest post(std::string target, std::string body)
{
    return { "POST", std::move(target), { { "AUTHORIZATION", "Bearer key" } }, std::move(body), 1000.5 };
}

inline std::string header(const ServiceAnswer& answer, std::string_view name)
{
    const auto found = answer.headers.find(name);
    return found == answer.headers.end() ? "none" : found->second;
}

using Bodies = std::vector<std::string>;

inline Bodies bodies(const std::vector<Arrival>& arrivals)
{
    Bodies bodies(arrivals.size());
    std::transform(arrivals.begin(), arrivals.end(), bodies.begin(),
        [](const Arrival& arrival) { return (arrival.isJSON ? "" : "not JSON: ") + arrival.body; });
    return bodies;
}

} // namespace lumora::test
