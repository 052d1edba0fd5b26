#pragma once

#include "platform/objc/Message.h"
#include "platform/webkit/WKWebView.h"

#include <initializer_list>
#include <memory>
#include <string>

namespace lumora {

/// How a stand-in for a network's SDK keeps its private state: objects of run-time classes with variables, as
/// the real ones are seen through key-value coding.

/// The class of that name in the current process, made under `superclass` when it is missing.
Class standInClass(const std::string& name, Class superclass);

/// An object of a class of that name, with variables.
std::shared_ptr<Object> standInObject(
    const std::string& className, std::initializer_list<std::pair<const char*, Value>> variables);

/// A creative of a size, loading.
std::shared_ptr<WKWebView> creativeView(const std::string& html, CGSize size);

}
