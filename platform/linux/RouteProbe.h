#pragma once

#include <optional>

namespace lumora {

/// Whether the kernel knows a way to the internet for AF_INET or AF_INET6. Sends nothing and waits for
/// nothing; takes one descriptor meanwhile. Nothing when there is no descriptor to be had. Any thread.
std::optional<bool> findsRoute(int family);

} // namespace lumora
