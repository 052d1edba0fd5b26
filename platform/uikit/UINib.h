#pragma once

#include "platform/objc/Object.h"

namespace lumora {

class NSBundle;

/// Makes the objects of an interface file, "<name>.json" in the bundle (docs/file-formats.md), with their
/// outlets connected to each other and to the owner. A file that is missing, damaged or names an unknown
/// class gives no objects; a property, picture, constraint or outlet that cannot be is left out. Each of
/// these writes a line on the console. Main thread only.
std::vector<std::shared_ptr<Object>> loadNibNamed(const NSBundle& bundle, const std::string& name, id owner);

} // namespace lumora
