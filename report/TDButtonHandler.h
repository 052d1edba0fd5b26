#pragma once

#include "platform/uikit/UIImage.h"
#include "platform/uikit/UIView.h"
#include "service/TDEventModel.h"

#include <string>

namespace lumora {

class TDReportButtonView;

/// The controller behind one report button: takes its taps, opens the report screen that suits the ad, and
/// turns the chosen reason into a report. The button owns it; it holds button, ad view, support object and
/// delegate weakly, the metadata class strongly. Main thread, except the event pipeline's completion, which
/// it moves there.
class TDButtonHandler final : public NSObject {
public:
    static const ClassDescription& classDescription();

    /// How far the report flow is.
    enum class FlowState : int64_t { Idle = 0, ScreenShown = 1, Sending = 2 };

    FlowState vcState() const { return m_vcState; }
    std::shared_ptr<TDReportButtonView> buttonView() const { return m_buttonView.lock(); }
    void setButtonView(const std::shared_ptr<TDReportButtonView>& button) { m_buttonView = button; }
    std::shared_ptr<UIView> adView() const { return m_adView.lock(); }
    void setAdView(const std::shared_ptr<UIView>& adView) { m_adView = adView; }
    std::shared_ptr<Object> delegate() const { return m_delegate.lock(); }
    /// The host's listener, told of every report.
    void setDelegate(const std::shared_ptr<Object>& delegate) { m_delegate = delegate; }
    /// Null for a button that was attached without metadata. A class object.
    const std::shared_ptr<Object>& metadataClass() const { return m_metadataClass; }
    /// What the metadata class says; empty without one, and when a private property of the network raises.
    std::string metadataText(const TypedSelector<std::string()>& question) const;
    std::shared_ptr<Object> supportObject() const { return m_supportObject.lock(); }
    const std::string& userReport() const { return m_userReport; }
    /// What was left of the metadata when the two reserved keys were taken out; read by nobody.
    const NSDictionary& metadata() const { return m_metadata; }

    /// Takes "metaclass" and "supportview" out of the dictionary.
    void saveAndGetInfoFromMetadataDict(const NSDictionary& metadata);
    /// The action of the button's recognizers: expands the icon, or opens the report screen.
    void handleButtonTapAction(Object* recognizer);
    /// Nothing calls it: kept, it is the action of a close control, which the button has only hidden.
    void reportButtonWasClosed();
    void presentReportForIntersitialAdType();
    void presentReportAdForBannersAndNativeAdType();
    /// Gathers identifier, screenshot and markup and sends nothing: kept, the round of the ad monitor ends
    /// here.
    void getAdInfo();
    /// Assembles the report and hands it to the event pipeline. The state stays Sending: kept, only a report
    /// screen ends it, so after a report of the host's own a tap opens nothing.
    void reportThisAd();
    std::string getCreativeId() const;
    /// Reports with a text of the host's own; nothing is ignored.
    void sendReportWithInfo(const Value& info);

    // What the report screens tell. Closed with nothing at all, a sheet leaves the button hidden: kept, only
    // a cancelled one brings it back.
    void swipableReportViewControllerDidClosed(const Value& userInfo);
    void swipableReportViewControllerDidCanceled();
    void reportAdViewDidCanceled(Object* overlay);
    void reportAdViewDidTouchReportButton(Object* overlay, const std::string& info);

    // Every other recognizer on the ad waits for the button's, so a tap on the button never reaches the ad.
    bool shouldRequireFailure(Object* recognizer, Object* other);
    bool shouldBeRequiredToFail(Object* recognizer, Object* other);

private:
    std::shared_ptr<TDButtonHandler> self();
    bool metadataClassResponds(SEL selector) const;
    std::string getPlacementId() const;
    /// The ad as a PNG in base64; empty without an ad view or picture.
    std::string screenshotOfAd() const;
    void addMetadataTo(TDEventModel& event) const;
    void sendEvent(const std::shared_ptr<TDEventModel>& event);
    void tellDelegate(const NSDictionary& report) const;
    void deliveryEnded(bool delivered) const;

    FlowState m_vcState { FlowState::Idle };
    std::weak_ptr<TDReportButtonView> m_buttonView;
    std::weak_ptr<UIView> m_adView;
    std::weak_ptr<Object> m_delegate;
    NSDictionary m_metadata;
    std::string m_userReport;
    std::shared_ptr<Object> m_metadataClass;
    std::weak_ptr<Object> m_supportObject;
};

}
