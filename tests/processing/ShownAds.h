#pragma once

#include "processing/ProcessorsManager.h"
#include "support/NSDateExtensions.h"
#include "tests/world/World.h"

#include <gtest/gtest.h>

namespace lumora::test {

/// Counts the looks at an ad.
class Looked final : public LMAdViewProcessor {
public:
    static const ClassDescription& classDescription()
    {
        static const auto& description
            = *new ClassDescription(ClassDescription::of<Looked, LMAdViewProcessor>("TestLooked"));
        return description;
    }
    void logAd() override { logged++; }
    std::shared_ptr<UIView> viewForTakingScreenshot() override
    {
        looks++;
        return LMAdViewProcessor::viewForTakingScreenshot();
    }
    std::string getCreativeID() override { return "crid"; }
    std::string getPlacementID() override { return "placement"; }
    int logged { 0 };
    int looks { 0 };
};

/// Ads on a phone's screen whose processors are registered.
class ShownAds : public testing::Test {
protected:
    std::shared_ptr<Looked> show(double age = 0)
    {
        const auto view = make<UIView>();
        view->setFrame({ { 10, 100 }, { 320, 50 } });
        world.phone.content().addSubview(view);
        auto processor = alloc<Looked>();
        send(processor, sel::initWithAdObject, view);
        processor->setCreateAtTimestamp(serverTimeIntervalSince1970() - age);
        manager.addProcessor(processor);
        processor->looks = 0;
        return processor;
    }
    std::string looks() const
    {
        std::string text;
        for (const auto& processor : manager.getAllProcessors())
            text += std::to_string(as<Looked>(processor)->looks);
        return text;
    }

    StartedWorld world;
    ProcessorsManager& manager { ProcessorsManager::sharedInstance() };
};

} // namespace lumora::test
