#pragma once

#include "platform/uikit/UIView.h"

#include <memory>
#include <string>

namespace lumora {

/// A stand-in for the banners of the Google Mobile Ads SDK, as far as they can be seen from outside. Main
/// thread.
class GoogleStandIn {
public:
    /// Told by `GADORequest`; the class that earlier versions had tells the older one.
    static constexpr const char* version = "7.69.0";
    static constexpr const char* olderVersion = "7.42.2";

    /// Defines the SDK's classes in the current process, as loading the SDK does.
    static void install();

    struct Creative {
        std::string html;
        /// The text of the SDK's debug dialog, such as "crid:12345".
        std::string debugText;
        CGSize size { 320, 50 };
    };
    /// A `GADBannerView`, or Ad Manager's `DFPBannerView`.
    static std::shared_ptr<UIView> makeBanner(CGSize size, const std::string& className = "GADBannerView");
    /// The server's answer arrives: the creative is rendered and the banner receives its ad.
    static void load(UIView& banner, const Creative& creative);
};

} // namespace lumora
