#pragma once

#include "platform/uikit/UIView.h"
#include "report/ReportedAd.h"
#include "service/TDEventModel.h"

#include <string>

namespace lumora {

class TDReportButtonView;

/// The controller behind one report button: takes its taps, opens the report screen that suits the ad, sends
/// the chosen reason as a report, and lets the button show what became of it. What the report says of the ad
/// it has from `ReportedAd`. The button owns it; it holds button, ad and delegate weakly. Main thread, except
/// the event pipeline's completion, which it moves there.
class TDButtonHandler final : public NSObject {
public:
    static const ClassDescription& classDescription();

    /// How far the report flow is.
    enum class FlowState : int64_t { Idle = 0, ScreenShown = 1, Sending = 2 };

    FlowState vcState() const { return m_vcState; }
    std::shared_ptr<TDReportButtonView> buttonView() const { return m_buttonView.lock(); }
    void setButtonView(const std::shared_ptr<TDReportButtonView>& button) { m_buttonView = button; }
    const ReportedAd& ad() const { return m_ad; }
    std::shared_ptr<UIView> adView() const { return m_ad.view(); }
    void setAdView(const std::shared_ptr<UIView>& adView) { m_ad.setView(adView); }
    std::shared_ptr<Object> delegate() const { return m_delegate.lock(); }
    /// The host's listener, told of every report.
    void setDelegate(const std::shared_ptr<Object>& delegate) { m_delegate = delegate; }
    const std::shared_ptr<Object>& metadataClass() const { return m_ad.metadataClass(); }
    std::shared_ptr<Object> supportObject() const { return m_ad.supportObject(); }
    const std::string& userReport() const { return m_userReport; }
    /// What was left of the metadata when the two reserved keys were taken out: kept for whoever attached the
    /// button, the library does not read it.
    const NSDictionary& metadata() const { return m_metadata; }

    /// Takes the two keys that `LMReportButtonHelper` reserves out of the dictionary.
    void saveAndGetInfoFromMetadataDict(const NSDictionary& metadata);
    /// The action of the button's recognizers: expands the icon, or opens the report screen.
    void handleButtonTapAction(Object* recognizer);
    /// Nothing calls it: kept, it is the action of a close control, which the button has only hidden.
    void reportButtonWasClosed();
    void presentReportForIntersitialAdType();
    void presentReportAdForBannersAndNativeAdType();
    /// The ad's `gatherInfo`.
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
    std::string adLocalId() const;
    void sendEvent(const std::shared_ptr<TDEventModel>& event);
    void tellDelegate(const NSDictionary& report) const;
    void deliveryEnded(bool delivered) const;

    FlowState m_vcState { FlowState::Idle };
    std::weak_ptr<TDReportButtonView> m_buttonView;
    ReportedAd m_ad;
    std::weak_ptr<Object> m_delegate;
    NSDictionary m_metadata;
    std::string m_userReport;
};

} // namespace lumora
