#pragma once

#include "lumora/LMReportButtonHelper.h"
#include "simulator/FullScreenAd.h"
#include "tests/world/World.h"

namespace lumora::test {

/// A view of the host's own on the screen, at the moment its button comes.
inline std::shared_ptr<UIView> adWithButton(
    World& world, const CGRect& frame, const NSDictionary& metadata = {}, id delegate = nullptr)
{
    auto ad = make<UIView>();
    ad->setFrame(frame);
    world.phone.content().addSubview(ad);
    LMReportButtonHelper::addReportButtonToView(ad.get(), delegate, metadata);
    world.phone.wait(1);
    return ad;
}

} // namespace lumora::test
