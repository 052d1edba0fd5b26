#pragma once

#include "platform/uikit/UIView.h"
#include "processing/LMAdViewProcessor.h"
#include "service/TDEventModel.h"

namespace lumora::test {

inline std::shared_ptr<TDEventModel> eventOf(const std::string& type)
{
    auto event = make<TDEventModel>();
    event->setType(type);
    return event;
}

/// Answers for one ad and fills events with what it knows.
class Filler final : public LMAdViewProcessor {
public:
    static const ClassDescription& classDescription()
    {
        static const auto& description
            = *new ClassDescription(ClassDescription::of<Filler, LMAdViewProcessor>("TestFiller"));
        return description;
    }
    void updateEventInfo(
        const std::shared_ptr<TDEventModel>& event, const EventCompletion& completion) override
    {
        if (raises)
            throw std::runtime_error("the network changed");
        if (isIgnorant)
            return completion(nullptr);
        if (isSlow)
            return slowAnswers.push_back(completion);
        event->setCreativeId("known");
        completion(event);
    }
    std::string getAdTypeInString() override { return "html"; }
    void getNewHTMLWithPurpose(HTMLPurpose, const HTMLCompletion& completion) override
    {
        htmlAsked++;
        completion(true, "<p>");
    }
    static std::shared_ptr<Filler> of(const std::shared_ptr<UIView>& ad)
    {
        auto filler = alloc<Filler>();
        send(filler, sel::initWithAdObject, ad);
        return filler;
    }

    bool raises { false };
    bool isIgnorant { false };
    bool isSlow { false };
    std::vector<EventCompletion> slowAnswers;
    int htmlAsked { 0 };
};

} // namespace lumora::test
