#pragma once

#include "platform/objc/Object.h"
#include "platform/uikit/UIImage.h"

#include <memory>
#include <string_view>

namespace lumora {

/// The first object of one of the library's interface files, its fonts being registered first; null, with a
/// line on the console, when the file is missing or damaged. Main thread.
std::shared_ptr<Object> loadInterface(std::string_view name, Object* owner = nullptr);
template <typename T> std::shared_ptr<T> loadInterface(std::string_view name)
{
    return as<T>(loadInterface(name));
}

/// A picture of the library's bundle, in the sharpest size there is; a null image when it is missing.
UIImage libraryImage(std::string_view name);

} // namespace lumora
