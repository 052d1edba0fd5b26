#pragma once

#include "platform/objc/Message.h"

namespace lumora::sel {

// What a metadata class answers: one stateless class per network and format that knows where the network
// keeps its identifiers. All are class-level. The first three are required; a caller asks
// `respondsToSelector` before any other. Identifiers are empty, never absent, when nothing is found. Main
// thread.
inline constinit const TypedSelector<std::string()> getSDKName { "getSDKName" };
inline constinit const TypedSelector<std::string()> getVersion { "getVersion" };
/// "banner", "interstitial" or "native".
inline constinit const TypedSelector<std::string()> adType { "adType" };
inline constinit const TypedSelector<std::string(id)> getCreativeIDWithObject { "getCreativeIDWithObject:" };
inline constinit const TypedSelector<std::string(id, id)> getCreativeIDWithObject_withSupportObject {
    "getCreativeIDWithObject:withSupportObject:"
};
inline constinit const TypedSelector<std::string(id)> getPlacementIDWithObject {
    "getPlacementIDWithObject:"
};
inline constinit const TypedSelector<std::string(id, id)> getPlacementIDWithObject_withSupportObject {
    "getPlacementIDWithObject:withSupportObject:"
};
/// The view to photograph instead of the ad view, or nil.
inline constinit const TypedSelector<std::shared_ptr<Object>(id)> getOtherViewForScreenshotWithView {
    "getOtherViewForScreenshotWithView:"
};
/// A dictionary of further report fields, or nothing.
inline constinit const TypedSelector<Value(id)> getOtherInfoForView { "getOtherInfoForView:" };
inline constinit const TypedSelector<Value(id, id)> getOtherInfoForView_andForSupportObject {
    "getOtherInfoForView:andForSupportObject:"
};
inline constinit const TypedSelector<int64_t()> getAdFormatId { "getAdFormatId" };

// TDMetadataClassPlayerManipulateSupportProtocol: for video ads whose player a report pauses and resumes.
inline constinit const TypedSelector<std::shared_ptr<Object>()> getPlayer { "getPlayer" };
inline constinit const TypedSelector<bool()> havePlayer { "havePlayer" };
inline constinit const TypedSelector<void()> pausePlayer { "pausePlayer" };
inline constinit const TypedSelector<void()> playPlayer { "playPlayer" };

} // namespace lumora::sel

namespace lumora {
inline constexpr const char* TDMetadataClassProtocol = "TDMetadataClassProtocol";
inline constexpr const char* TDMetadataClassPlayerManipulateSupportProtocol
    = "TDMetadataClassPlayerManipulateSupportProtocol";
} // namespace lumora
