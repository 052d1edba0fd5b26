#pragma once

#include "platform/objc/Message.h"
#include "platform/webkit/WKWebView.h"

#include <initializer_list>
#include <memory>
#include <string>
#include <utility>

namespace lumora {

// How a stand-in for a network's SDK keeps its private state: objects of run-time classes with variables, as
// the real ones are seen through key-value coding.

/// The class of that name in the current process, made under `superclass` when it is missing.
Class standInClass(const std::string& name, Class superclass);

/// An object of a class of that name, with variables.
std::shared_ptr<Object> standInObject(
    const std::string& className, std::initializer_list<std::pair<const char*, Value>> variables = {});

/// A view of a run-time class, of a size.
std::shared_ptr<UIView> standInView(const std::string& className, CGSize size);

/// A creative of a size, loading.
std::shared_ptr<WKWebView> creativeView(const std::string& html, CGSize size);

/// What an SDK answers that is asked for a text.
template <const char* const& text> std::string answers(id, SEL) { return text; }

/// Makes a class that answers the version: itself, or its shared instance under that selector.
void installVersion(const std::string& className, const char* selector, std::string (*version)(id, SEL),
    const char* sharedInstance = nullptr);
template <const char* const& version>
void installVersion(const std::string& className, const char* selector, const char* sharedInstance = nullptr)
{
    installVersion(className, selector, &answers<version>, sharedInstance);
}

} // namespace lumora
