#pragma once

#include "platform/uikit/UIView.h"
#include "processing/LMAdViewProcessor.h"
#include "service/TDEventModel.h"

#include <functional>
#include <string>

namespace lumora {

/// The ad under one report button, as the services get to know it: what its metadata class says, what it
/// looks like, what its processor makes of it. The button's handler owns it; it holds view and support object
/// weakly, the metadata class strongly. Main thread. What a network or a view raises costs that one field.
class ReportedAd {
public:
    std::shared_ptr<UIView> view() const { return m_view.lock(); }
    void setView(const std::shared_ptr<UIView>& view) { m_view = view; }
    /// Null for a button that was attached without metadata. A class object.
    const std::shared_ptr<Object>& metadataClass() const { return m_metadataClass; }
    void setMetadataClass(std::shared_ptr<Object> metadataClass)
    {
        m_metadataClass = std::move(metadataClass);
    }
    /// A second object of the network's that some metadata classes need.
    std::shared_ptr<Object> supportObject() const { return m_supportObject.lock(); }
    void setSupportObject(const std::shared_ptr<Object>& object) { m_supportObject = object; }

    /// What the metadata class says; empty without one, and when a private property of the network raises.
    std::string metadataText(const TypedSelector<std::string()>& question) const;
    bool isInterstitial() const;
    /// Empty when the metadata class cannot tell.
    std::string creativeId() const;
    std::string placementId() const;
    /// A PNG in base64; empty without a view or picture.
    std::string screenshot() const;

    /// Lets a player that an SDK stopped for the report screen go on.
    void resumePlayer() const;
    /// Screenshot, identifiers, and what else the metadata class tells.
    void addFactsTo(TDEventModel& event) const;
    /// The processor's ad type and markup; calls `then` once, at once where there is no processor or it
    /// raises.
    void addMarkupTo(const std::shared_ptr<TDEventModel>& event, std::function<void()> then) const;
    /// Gathers identifier, screenshot and markup and sends nothing: kept, the round of the ad monitor ends
    /// here.
    void gatherInfo(const std::string& adId) const;

private:
    bool metadataClassResponds(SEL selector) const;
    /// Asks with the support object where the metadata class answers to that, else without.
    std::string identifier(const TypedSelector<std::string(id, id)>& withSupportObject,
        const TypedSelector<std::string(id)>& alone) const;
    std::shared_ptr<LMAdViewProcessor> processor() const;

    std::weak_ptr<UIView> m_view;
    std::shared_ptr<Object> m_metadataClass;
    std::weak_ptr<Object> m_supportObject;
};

} // namespace lumora
