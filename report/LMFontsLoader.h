#pragma once

namespace lumora {

/// Registers the library's fonts once per process, before the first screen that uses them. A missing file is
/// skipped; one that the font manager refuses is named on the system console. Any thread.
class LMFontsLoader {
public:
    static void load();
};

} // namespace lumora
