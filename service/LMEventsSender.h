#pragma once

#include "service/TDEventModel.h"

#include <functional>

namespace lumora {

/// Sends one event through the configuration service's report exchange. Any thread; the completion is called
/// once, on the HTTP session's queue, with whether any answer arrived, or at once with false for an event
/// that has an unset property.
class LMEventsSender {
public:
    void sendEvent(const std::shared_ptr<TDEventModel>& event,
        const std::function<void(bool delivered)>& withCompletion) const;
};

} // namespace lumora
