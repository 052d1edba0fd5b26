#include "processing/ShownAd.h"

#include "interception/Extraction.h"
#include "platform/dispatch/Executor.h"
#include "platform/process/Process.h"
#include "processing/AdProcessingManager.h"
#include "processing/LMAdViewProcessorsFactory.h"
#include "support/Guarded.h"

namespace lumora {

static bool isUnderstood(Object* object)
{
    return LMAdViewProcessorsFactory::getProcessorClassForAd(object) != nullptr;
}

ShownAd::ShownAd(const Moment& moment, id self, std::initializer_list<id> arguments) noexcept
    : m_moment(moment)
{
    guardedHook(self, [&] {
        const id first = arguments.size() ? *arguments.begin() : nullptr;
        if (const auto isShown = moment.circumstances.isShown; isShown && !isShown(self, first))
            return;
        m_search = AdViewSearch(moment.circumstances.moment);
        keep(Part::Receiver, weakly(self));
        for (size_t i = 0; i < arguments.size() && i < 2; i++)
            keep(i ? Part::Second : Part::First, weakly(arguments.begin()[i]));
        m_process = &Process::current();
    });
}

void ShownAd::handOver(const std::shared_ptr<Object>& answer) noexcept
{
    if (!m_process)
        return;
    keep(Part::Answer, answer);
    Process::Scope scope(*m_process);
    guarded([this] { dispatch_get_main_queue().async([shown = *this] { shown.logAd(); }); });
}

std::shared_ptr<Object> ShownAd::find(const Candidate& candidate) const
{
    auto object = m_parts[static_cast<size_t>(candidate.part)].lock();
    if (candidate.keyPath)
        object = getValueFromObject(object.get(), candidate.keyPath).object();
    // Also of one that is gone: what it presents is there.
    if (candidate.isSearched)
        object = m_search.find(object, [](UIView& view) { return isUnderstood(&view); });
    return !candidate.kind || isKindOfClassNamed(object.get(), candidate.kind) ? object : nullptr;
}

void ShownAd::logAd() const
{
    std::shared_ptr<Object> ad;
    for (const Candidate& candidate : m_moment.candidates) {
        auto found = find(candidate);
        const bool understood = found && isUnderstood(found.get());
        if (!ad || understood)
            ad = std::move(found);
        if (understood)
            break;
    }
    if (ad)
        AdProcessingManager::logAd(ad, true);
}

} // namespace lumora
