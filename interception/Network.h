#pragma once

#include "interception/Extraction.h"
#include "interception/Swizzling.h"
#include "interception/TDMetadataClassProtocol.h"
#include "platform/objc/ClassDescription.h"

#include <variant>

namespace lumora {

/// A metadata class as data: one network and format. What a row leaves out it inherits from its base, and
/// without one it does not answer at all.
struct MetadataClass {
    /// "TDMetaclass_<Network>_<format>".
    const char* name;
    /// An earlier row of the same network.
    const char* base { nullptr };
    const char* sdkName { nullptr };
    /// "banner", "interstitial" or "native".
    const char* adType { nullptr };
    std::optional<Version> version {};
    /// The form decides the operation: with or without a support object.
    std::variant<std::monostate, ReadFromView, ReadFromBoth> creativeId {};
    std::variant<std::monostate, ReadFromView, ReadFromBoth> placementId {};
    /// Further report fields, a dictionary, or nothing.
    std::variant<std::monostate, std::function<Value(id adView)>,
        std::function<Value(id adView, id supportObject)>>
        otherInfo {};
    /// The view to photograph instead of the ad view, or null.
    std::shared_ptr<Object> (*screenshotView)(id adView) { nullptr };
    std::optional<int64_t> adFormatId {};
    std::vector<const char*> protocols {};
    /// Further class-level operations.
    std::vector<ClassDescription::Entry> operations {};
};

/// One network's SDK: the methods that are hooked, and where its identifiers are. The replacements' names are
/// the ones that crash reports have shown since the first release, spelling included: kept, and private to
/// each file.
struct Network {
    /// "TD<Network>Swizzler": the class whose `swizzleMethods` installs the hooks.
    const char* swizzler;
    std::vector<Hook> hooks {};
    std::vector<MetadataClass> metadataClasses {};
    /// What the swizzler answers beside `swizzleMethods`, class-level.
    std::vector<ClassDescription::Entry> operations {};
};

/// Makes a network's classes findable by name; one static object in the network's file. The table is made
/// when the first class is looked up, and never destroyed.
struct RegisteredNetwork {
    explicit RegisteredNetwork(const Network& (*network)());
};

} // namespace lumora
