#include "simulator/networks/StandIn.h"

namespace lumora {

Class standInClass(const std::string& name, Class superclass)
{
    Class known = NSClassFromString(name);
    return known ? known : ClassBuilder(name, superclass).build();
}

std::shared_ptr<Object> standInObject(
    const std::string& className, std::initializer_list<std::pair<const char*, Value>> variables)
{
    auto object = alloc<Object>(standInClass(className, classOf<NSObject>()));
    send(object, sel::init);
    for (const auto& [name, value] : variables)
        object_setInstanceVariable(*object, name, value);
    return object;
}

std::shared_ptr<WKWebView> creativeView(const std::string& html, CGSize size)
{
    auto webView = make<WKWebView>();
    webView->setFrame({ {}, size });
    webView->loadHTMLString(html, "");
    return webView;
}

} // namespace lumora
