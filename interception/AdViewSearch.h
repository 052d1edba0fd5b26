#pragma once

#include "platform/uikit/UIView.h"

#include <functional>
#include <memory>

namespace lumora {

class UIViewController;

/// Where an ad without a view of its own may be looked for: in itself, in what it is about to present over
/// the host, or in what it has presented.
enum class AdMoment { Loaded, WillShow, DidShow };

/// Whether a view is the one that is looked for.
using ViewTest = std::function<bool(UIView&)>;

/// Finds the view of an ad whose network hands none over. Made before the network's method runs, on any
/// thread; asked on the main thread after it, when the network has put the ad where it belongs. Null counts
/// as an ad without views.
class AdViewSearch {
public:
    /// Off the main thread an ad that will show counts as presenting nothing, because what was on top before
    /// is not known.
    explicit AdViewSearch(AdMoment moment = AdMoment::Loaded);

    /// First the web view in the ad's own view; then one among the objects the ad owns; then what is in the
    /// controller it presents; then its own view. Null if none.
    std::shared_ptr<UIView> find(const std::shared_ptr<Object>& ad) const;
    /// In the first of these places that has one, the first web view that passes the test, else the first
    /// view; when no view of any place does, as above. Looks at the first 200 views, or objects, of each
    /// place.
    std::shared_ptr<UIView> find(const std::shared_ptr<Object>& ad, const ViewTest& isGood) const;

    /// The object itself, the view of a controller once it is loaded, or what any other object answers to
    /// `view`.
    static std::shared_ptr<UIView> viewOf(const std::shared_ptr<Object>& object);
    /// The first view that passes the test, depth first, the root included.
    static std::shared_ptr<UIView> firstViewIn(const std::shared_ptr<UIView>& root, const ViewTest& isGood);
    /// The first web view in a view, itself included.
    static std::shared_ptr<UIView> webViewIn(const std::shared_ptr<UIView>& view);
    /// A web view that passes the test, if there is one, among the objects that an ad owns and those that
    /// they own, the nearest first.
    static std::shared_ptr<UIView> webViewOwnedBy(
        const std::shared_ptr<Object>& ad, const ViewTest& isGood = nullptr);

private:
    std::shared_ptr<UIView> presentedView() const;

    AdMoment m_moment;
    std::weak_ptr<UIViewController> m_before;
};

} // namespace lumora
