#pragma once

#include "platform/objc/Message.h"

namespace lumora::sel {
/// How an object writes itself to a coder, and reads itself from one: an archive's, or an interface file's.
inline constinit const TypedSelector<void(id)> encodeWithCoder { "encodeWithCoder:" };
inline constinit const TypedSelector<id(id)> initWithCoder { "initWithCoder:" };
} // namespace lumora::sel
