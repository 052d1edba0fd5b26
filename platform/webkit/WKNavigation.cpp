#include "platform/webkit/WKNavigation.h"

namespace lumora {

const ClassDescription& WKNavigation::classDescription()
{
    static const auto& description
        = *new ClassDescription(ClassDescription::of<WKNavigation, NSObject>("WKNavigation"));
    return description;
}
static const RegisteredClass registeredWKNavigation { &WKNavigation::classDescription };

const ClassDescription& WKFrameInfo::classDescription()
{
    static const auto& description
        = *new ClassDescription(ClassDescription::of<WKFrameInfo, NSObject>("WKFrameInfo")
                                    .method<&WKFrameInfo::isMainFrame>("isMainFrame"_sel));
    return description;
}
static const RegisteredClass registeredWKFrameInfo { &WKFrameInfo::classDescription };

std::shared_ptr<WKFrameInfo> WKFrameInfo::with(bool isMainFrame)
{
    auto frame = make<WKFrameInfo>();
    frame->m_isMainFrame = isMainFrame;
    return frame;
}

const ClassDescription& WKNavigationAction::classDescription()
{
    static const auto& description
        = *new ClassDescription(ClassDescription::of<WKNavigationAction, NSObject>("WKNavigationAction")
                                    .method<&WKNavigationAction::navigationType>("navigationType"_sel)
                                    .method<&WKNavigationAction::request>("request"_sel)
                                    .method<&WKNavigationAction::targetFrame>("targetFrame"_sel));
    return description;
}
static const RegisteredClass registeredWKNavigationAction { &WKNavigationAction::classDescription };

std::shared_ptr<WKNavigationAction> WKNavigationAction::with(
    NSMutableURLRequest request, WKNavigationType type, WKNavigationTarget target)
{
    auto action = make<WKNavigationAction>();
    action->m_request = std::move(request);
    action->m_type = type;
    if (target != WKNavigationTarget::NewWindow)
        action->m_targetFrame = WKFrameInfo::with(target == WKNavigationTarget::MainFrame);
    return action;
}

const ClassDescription& WKNavigationResponse::classDescription()
{
    static const auto& description
        = *new ClassDescription(ClassDescription::of<WKNavigationResponse, NSObject>("WKNavigationResponse"));
    return description;
}
static const RegisteredClass registeredWKNavigationResponse { &WKNavigationResponse::classDescription };

std::shared_ptr<WKNavigationResponse> WKNavigationResponse::with(NSHTTPURLResponse response)
{
    auto result = make<WKNavigationResponse>();
    result->m_response = std::move(response);
    return result;
}

} // namespace lumora
