#pragma once

#include "platform/objc/Message.h"

namespace lumora {

class UIView;

/// What a host derives from to be told of reports. Allocate it with `make<YourDelegate>()`; the library holds
/// it weakly. Called on the main thread, before the report is delivered and whatever becomes of it.
class ReportButtonDelegate : public NSObject {
public:
    static const ClassDescription& classDescription();

    /// The user reported the ad in this view; `info` is the report as it will be sent.
    virtual void reportButtonWasClickedInView(UIView& adView, const NSDictionary& info) = 0;

private:
    void received(Object* adView, const NSDictionary& info);
};

} // namespace lumora
