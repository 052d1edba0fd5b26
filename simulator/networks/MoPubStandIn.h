#pragma once

#include "platform/uikit/UIView.h"

#include <memory>
#include <string>

namespace lumora {

/// A stand-in for the MoPub SDK's banners, as far as they can be seen from outside: class names, selectors
/// and the private objects behind them. Main thread.
class MoPubStandIn {
public:
    static constexpr const char* version = "5.13.1";

    /// Defines the SDK's classes in the current process, as loading the SDK does.
    static void install();

    struct Creative {
        std::string html;
        std::string dspCreativeId;
        std::string creativeId;
        CGSize size { 300, 250 };
    };
    /// An `MPAdView`, empty until it loads.
    static std::shared_ptr<UIView> makeBanner(CGSize size);
    /// The server's answer arrives: the creative is rendered and the banner is told that it did load.
    static void load(UIView& banner, const Creative& creative);
};

} // namespace lumora
