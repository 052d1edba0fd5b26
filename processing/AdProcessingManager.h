#pragma once

#include "processing/LMAdViewProcessor.h"

namespace lumora {

/// The front door of the processors pipeline. Its hooks tell it of every ad that is seen; it finds or makes
/// the ad's processor, and answers which processor belongs to a view, whether an ad is on screen, and whether
/// it was tapped while it showed. One per process; main thread.
class AdProcessingManager final : public NSObject {
public:
    static const ClassDescription& classDescription();
    static AdProcessingManager& sharedInstance();

    /// Seconds between two ticks of `ProcessorsManager`.
    int64_t seconds() const { return m_seconds; }
    void setSeconds(int64_t seconds) { m_seconds = seconds; }

    /// Installs the pipeline's hooks and adopts the ads that are there, once per process. A class that the
    /// host does not have, or without hooks, is passed over.
    void frameworkWasInitialised();
    /// On the main queue: gives each web view in the windows its delegate once more, which lets the web
    /// views' hook see it, and logs it as an ad that is seen. Kept: at start-up the record is mostly still
    /// being fetched, and the hook then puts no proxy in, so that only networks' own web view classes are
    /// known.
    void handleExistingAds();

    /// The hooks' entry: a user sees this ad. With the check on, the gate is asked first.
    static void logAd(const std::shared_ptr<Object>& view, bool withTtlCheck);
    void logAdWithTTLCheck(const std::shared_ptr<Object>& view);
    /// Begins a new showing of an ad that has a processor; makes and registers one for another that a network
    /// is known for.
    void logAd(const std::shared_ptr<Object>& view);
    /// Begins a new showing for every processor of the view.
    void setNewTimestampForProcessorByAdView(const Object* view);

    /// The oldest processor of a view; null if none.
    std::shared_ptr<LMAdViewProcessor> getProcessorBy(const Object* view) const;
    /// The newest processor whose ad is the view, contains it, or lies inside it; null if none.
    std::shared_ptr<LMAdViewProcessor> getProcessorReversedBy(const Object* view) const;
    /// Whether an ad with these identifiers, which began to show in that second, is on screen. `createTS` is
    /// milliseconds since 1970.
    bool isAdvertShowingOnScreenByCreativeId(std::string_view creativeId, std::string_view placementId,
        int64_t createTS, std::string_view sdkName) const;
    /// Whether the last tap on a view came in its ad's present showing.
    bool didUserTapOnView(const Object* view) const;
    /// Says so when the application opens an address within two seconds of a tap on an ad. Kept: the hooks of
    /// URL opening only look on, so nobody calls it.
    void appDidOpenURL(const std::string& url);
    /// Asks the gate and never calls the completion: kept so, start-up's line that the library was initiated
    /// must stay unsaid.
    static void checkTtlWithCompletion(const std::function<void(bool)>& completion);

private:
    int64_t m_seconds { 5 };
};

} // namespace lumora
