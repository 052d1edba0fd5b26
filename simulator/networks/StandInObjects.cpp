#include "simulator/networks/StandInObjects.h"

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

std::shared_ptr<UIView> standInView(const std::string& className, CGSize size)
{
    auto view = alloc<UIView>(standInClass(className, classOf<UIView>()));
    send(view, sel::initWithFrame, CGRect { {}, size });
    return view;
}

std::shared_ptr<WKWebView> creativeView(const std::string& html, CGSize size)
{
    auto webView = make<WKWebView>();
    webView->setFrame({ {}, size });
    webView->loadHTMLString(html, "");
    return webView;
}

static const char sharedKey = 0;

// The shared instance, tied to its class.
static id sharedInstance(id self, SEL)
{
    if (objc_getAssociatedObject(*self, &sharedKey).isNothing())
        objc_setAssociatedObject(*self, &sharedKey, alloc<Object>(static_cast<Class>(self)));
    return objc_getAssociatedObject(*self, &sharedKey).object().get();
}

void installVersion(
    const std::string& className, const char* selector, std::string (*version)(id, SEL), const char* shared)
{
    ClassBuilder builder(className, classOf<NSObject>());
    if (!shared)
        builder.classMethod(sel_registerName(selector), version);
    else
        builder.method(sel_registerName(selector), version)
            .classMethod(sel_registerName(shared), &sharedInstance);
}

} // namespace lumora
