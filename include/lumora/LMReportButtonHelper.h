#pragma once

#include "platform/objc/Message.h"

namespace lumora {

class UIView;

namespace sel {
/// To a report button on an ad: the host's `ReportButtonDelegate`. Ignored for nil and for what does not
/// conform.
inline constinit const TypedSelector<void(id)> setDelegate { "setDelegate:" };
/// To a report button on an ad: reports it with a text of the host's own; nothing is ignored.
inline constinit const TypedSelector<void(Value)> sendReportWithInfo { "sendReportWithInfo:" };
}

/// Puts report buttons on ad views. Stateless. Any thread; the work on views is done on the main thread.
class LMReportButtonHelper {
public:
    /// Of an ad's metadata: the class that knows where the network keeps its identifiers.
    static constexpr const char* metaclassKey = "metaclass";
    /// The network's own ad object.
    static constexpr const char* supportviewKey = "supportview";

    /// Asks the configuration whether features may run; if so, one second later the view carries a report
    /// button. An ad view that already has one directly under it gets no second. The view is held weakly
    /// while it waits.
    ///
    /// The delegate is dropped, because the button takes one only after it is configured:
    /// send the button `setDelegate:` afterwards. Kept: hosts rely on hearing nothing until they ask.
    static void addReportButtonToView(id adView, id withDelegate);
    /// The same for an ad whose network is known. `withMetadata` has an entry under `metaclassKey` and may
    /// have one under `supportviewKey`.
    static void addReportButtonToView(id adView, id withDelegate, const NSDictionary& withMetadata);

    /// True when a direct subview's class is exactly the report button's. False for nil and for what is no
    /// view.
    static bool isReportButtonInSubviewsOfView(const Object* view);
};

} // namespace lumora
