#include "service/LMEventsSender.h"

#include "service/TDAPI.h"
#include "support/Guarded.h"

namespace lumora {

void LMEventsSender::sendEvent(
    const std::shared_ptr<TDEventModel>& event, const std::function<void(bool)>& withCompletion) const
{
    const std::optional<NSDictionary> dictionary = event->getEventAsMutableDictionary();
    if (!dictionary)
        return callCompletion(withCompletion, false);
    TDAPI::sendReport(
        *dictionary,
        [withCompletion](bool delivered, const NSDictionary&) { callCompletion(withCompletion, delivered); },
        [withCompletion](const NSDictionary&) { callCompletion(withCompletion, false); });
}

} // namespace lumora
