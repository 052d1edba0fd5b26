#include "platform/webkit/WKNavigation.h"

namespace lumora {

const ClassDescription& WKNavigation::classDescription()
{
    static const auto& description
        = *new ClassDescription(ClassDescription::of<WKNavigation, NSObject>("WKNavigation"));
    return description;
}
static const RegisteredClass registeredWKNavigation { &WKNavigation::classDescription };

const ClassDescription& WKNavigationAction::classDescription()
{
    static const auto& description
        = *new ClassDescription(ClassDescription::of<WKNavigationAction, NSObject>("WKNavigationAction")
                                    .method<&WKNavigationAction::navigationType>("navigationType"_sel)
                                    .method<&WKNavigationAction::request>("request"_sel));
    return description;
}
static const RegisteredClass registeredWKNavigationAction { &WKNavigationAction::classDescription };

std::shared_ptr<WKNavigationAction> WKNavigationAction::with(
    NSMutableURLRequest request, WKNavigationType type)
{
    auto action = make<WKNavigationAction>();
    action->m_request = std::move(request);
    action->m_type = type;
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
