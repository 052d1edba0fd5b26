#pragma once

namespace lumora {

/// Registers the library's fonts once per process, in the background from the process's start on; a screen
/// that needs them sooner waits. A missing or unreadable file is skipped, what is no font named on the system
/// console. Any thread.
class LMFontsLoader {
public:
    static void load();
};

} // namespace lumora
