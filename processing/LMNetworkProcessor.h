#pragma once

#include "interception/Extraction.h"
#include "platform/objc/ClassDescription.h"
#include "processing/LMAdViewProcessor.h"

#include <vector>

namespace lumora {

/// A processor class as data. Where a network keeps its version and its identifiers stands with its metadata
/// classes, which are asked.
struct ProcessorClass {
    /// By which the factory finds it.
    const char* name;
    /// As the services know the network.
    const char* sdkName;
    LMAdFormat format { LMAdFormat::Unknown };
    /// An interstitial instead, when the ad object is of one of these or lies in one.
    std::vector<const char*> interstitialKinds {};
    /// Asked in order for an identifier, until one answers; the first tells the version. The base's answers
    /// if there is none.
    std::vector<const char*> metadataClasses {};
    /// The controller that shows an ad object without a view of its own.
    const char* container { nullptr };
    /// Where the creative is read from the ad object itself.
    ReadFromView creativeId {};
};

/// The base of the networks' processors: answers from the row of its class. An ad object that is no view is
/// stood for by the view that shows it, once there is one; its taps are the ad's.
class LMNetworkProcessor : public LMAdViewProcessor {
public:
    static const ClassDescription& classDescription();
    /// The class of a row, below this one or a class derived from it. The row must never move.
    static ClassDescription describe(const ProcessorClass& row, const ClassDescription& base);

    std::string getCreativeID() override;
    std::string getPlacementID() override;
    LMAdFormat getAdFormatId() override;
    /// The ad object or its view; else the web view that it owns, or the one in the controller on top if that
    /// is of the kind for such ads. A view that comes after its ad object is listened to from when this first
    /// sees it.
    std::shared_ptr<UIView> viewForTakingScreenshot() override;
    void startTrackingTapEvents() override;

protected:
    /// The row of the class.
    const ProcessorClass& row() const;

private:
    std::shared_ptr<UIView> findView();
    /// Listens for taps on a view that shows the ad, once. Processors whose ads are gone stop listening
    /// there.
    void listenTo(UIView& view);
    /// Whether the page of a controller on top is this ad's: it was before, or no other ad of the kind is
    /// newer.
    bool isShownIn(UIView& view) const;
    std::string ask(const TypedSelector<std::string(id)>& identifier);
};

} // namespace lumora
