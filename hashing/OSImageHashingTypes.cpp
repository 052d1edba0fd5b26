#include "hashing/OSImageHashingTypes.h"

#include "hashing/OSHashProviders.h"

#include <algorithm>
#include <array>
#include <utility>

namespace lumora {

namespace {

using Provider = OSImageHashingProviderId;
using Quality = OSImageHashingQuality;

template <typename T> using Name = std::pair<T, std::string_view>;
constexpr std::array providerNames { Name<Provider> { Provider::AHash, "aHash" },
    Name<Provider> { Provider::DHash, "dHash" }, Name<Provider> { Provider::PHash, "pHash" } };
constexpr std::array qualityNames { Name<Quality> { Quality::Low, "Low" },
    Name<Quality> { Quality::Medium, "Medium" }, Name<Quality> { Quality::High, "High" } };

template <typename T> T named(const std::array<Name<T>, 3>& names, std::string_view name)
{
    for (const auto& [value, itsName] : names) {
        if (itsName == name)
            return value;
    }
    return T::None;
}

template <typename T> std::optional<std::string> nameOf(const std::array<Name<T>, 3>& names, T value)
{
    for (const auto& [itsValue, name] : names) {
        if (itsValue == value)
            return std::string { name };
    }
    return value == T::None ? std::optional<std::string> { "None" } : std::nullopt;
}

template <typename T> std::vector<std::string> allNames(const std::array<Name<T>, 3>& names)
{
    std::vector<std::string> all;
    all.reserve(names.size());
    for (const auto& [value, name] : names)
        all.emplace_back(name);
    return all;
}

} // namespace

Provider OSImageHashingProviderIdFromString(std::string_view name) { return named(providerNames, name); }
std::optional<std::string> NSStringFromOSImageHashingProviderId(Provider provider)
{
    return nameOf(providerNames, provider);
}
std::vector<std::string> NSArrayFromOSImageHashingProviderIdNames() { return allNames(providerNames); }

Quality OSImageHashingQualityFromString(std::string_view name) { return named(qualityNames, name); }
std::string NSStringFromOSImageHashingQuality(Quality quality)
{
    return nameOf(qualityNames, quality).value_or("None");
}
std::vector<std::string> NSArrayFromOSImageHashingQualityNames() { return allNames(qualityNames); }

Provider OSImageHashingProviderIdForHashingQuality(Quality quality)
{
    return quality == Quality::None ? Provider::None : Provider::DHash;
}

std::vector<OSAbstractHash*> NSArrayForProvidersFromOSImageHashingProviderId(Provider providers)
{
    std::vector<OSAbstractHash*> instances;
    if (contains(providers, Provider::DHash))
        instances.push_back(&OSDHash::sharedInstance());
    if (contains(providers, Provider::PHash))
        instances.push_back(&OSPHash::sharedInstance());
    if (contains(providers, Provider::AHash))
        instances.push_back(&OSAHash::sharedInstance());
    return instances;
}

OSAbstractHash* OSImageHashingProviderFromImageHashingProviderId(Provider providers)
{
    const auto instances = NSArrayForProvidersFromOSImageHashingProviderId(providers);
    return instances.empty() ? nullptr : instances.front();
}

} // namespace lumora
