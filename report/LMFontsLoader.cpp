#include "report/LMFontsLoader.h"

#include "platform/coregraphics/CGContext.h"
#include "platform/dispatch/Executor.h"
#include "platform/foundation/Console.h"
#include "platform/foundation/NSBundle.h"
#include "platform/foundation/NSFileManager.h"
#include "platform/foundation/NSString.h"
#include "platform/process/ProcessLocal.h"

namespace lumora {

static ProcessOnce s_fontsLoaded;
// In the background: a host's start does not wait for font files.
static const LoadHook s_loadHook { []() noexcept {
    dispatch_get_global_queue().async(&LMFontsLoader::load);
} };

void LMFontsLoader::load()
{
    s_fontsLoaded.run([] {
        for (const char* name : { "Roboto-Bold", "Roboto-Medium", "Roboto-Regular" }) {
            const auto path = NSBundle::bundleForLibrary().pathForResource(name, "ttf");
            const auto font = path ? contentsOfFile(*path) : std::nullopt;
            if (!font)
                continue;
            if (const auto reason = CTFontManagerRegisterGraphicsFont(*font))
                NSLog(stringWithFormat("Failed to load font: %@", { *reason }));
        }
    });
}

} // namespace lumora
