#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lumora {

class OSAbstractHash;

/// A set of providers, one bit each.
enum class OSImageHashingProviderId : uint16_t { None = 0, AHash = 1, DHash = 2, PHash = 4 };
inline constexpr auto OSImageHashingProviderDefaultProviderId = OSImageHashingProviderId::DHash;

constexpr OSImageHashingProviderId operator|(OSImageHashingProviderId a, OSImageHashingProviderId b)
{
    return static_cast<OSImageHashingProviderId>(static_cast<unsigned>(a) | static_cast<unsigned>(b));
}
constexpr bool contains(OSImageHashingProviderId set, OSImageHashingProviderId provider)
{
    return (static_cast<unsigned>(set) & static_cast<unsigned>(provider)) != 0;
}

enum class OSImageHashingQuality : uint16_t { Low = 0, Medium = 1, High = 2, None = 3 };

/// "aHash", "dHash" or "pHash", in this spelling; any other name is none.
OSImageHashingProviderId OSImageHashingProviderIdFromString(std::string_view name);
/// The name of one provider or of none; nothing for several.
std::optional<std::string> NSStringFromOSImageHashingProviderId(OSImageHashingProviderId provider);
/// The names of the three providers.
std::vector<std::string> NSArrayFromOSImageHashingProviderIdNames();

/// "Low", "Medium" or "High", in this spelling; any other name is none.
OSImageHashingQuality OSImageHashingQualityFromString(std::string_view name);
std::string NSStringFromOSImageHashingQuality(OSImageHashingQuality quality);
/// The names of the three qualities that hash.
std::vector<std::string> NSArrayFromOSImageHashingQualityNames();

/// No provider for no quality, the difference hash for every other: kept, the setting only switches hashing
/// on.
OSImageHashingProviderId OSImageHashingProviderIdForHashingQuality(OSImageHashingQuality quality);

/// The process's instances of the providers in a set, in the order dHash, pHash, aHash.
std::vector<OSAbstractHash*> NSArrayForProvidersFromOSImageHashingProviderId(
    OSImageHashingProviderId providers);
/// The first of them, or null.
OSAbstractHash* OSImageHashingProviderFromImageHashingProviderId(OSImageHashingProviderId providers);

} // namespace lumora
