#include "processing/MediationDetector.h"

#include "interception/Extraction.h"
#include "interception/TDMetadataClassProtocol.h"
#include "platform/uikit/UIWindow.h"
#include "processing/LMAdViewProcessorsFactory.h"

#include <algorithm>

namespace lumora {

namespace {

// Kept: only exactly this class ends the walk, a window of the host's own class does not.
bool isOutside(const Object* view) { return !view || view->isa() == classOf<UIWindow>(); }

} // namespace

std::optional<std::vector<Class>> MediationDetector::checkForMediation(Object* view)
{
    if (isOutside(view))
        return std::nullopt;
    std::vector<Class> chain;
    for (Object* at = view; !isOutside(at); at = superviewOf(at)) {
        if (Class processor = LMAdViewProcessorsFactory::getProcessorClassForObject(at, nullptr))
            chain.push_back(processor);
    }
    std::reverse(chain.begin(), chain.end());
    return chain;
}

NSDictionary MediationDetector::getFinalSDKNameAndVersion(Object* view, Class processor)
{
    std::string name = send(processor, sel::getSDKName), version = send(processor, sel::getVersion);
    std::vector<Class> chain = checkForMediation(view).value_or(std::vector<Class> {});
    // Several views of one network in a row are one level.
    chain.erase(std::unique(chain.begin(), chain.end()), chain.end());
    if (!chain.empty()) {
        // Kept: the levels around are left out when the innermost is another network than the processor's.
        if (send(chain.back(), sel::getSDKName) != name)
            chain = { chain.back(), processor };
        name.clear();
        version.clear();
    }
    for (size_t level = 0; level < chain.size(); level++) {
        const char* separator = level ? ":" : "";
        name += separator + send(chain[level], sel::getSDKName);
        version += separator + send(chain[level], sel::getVersion);
    }
    return { { "name", std::move(name) }, { "version", std::move(version) } };
}

bool MediationDetector::isAdMediated(Object* view, std::string_view sdkName)
{
    const auto chain = checkForMediation(view);
    return chain && !chain->empty() && send(chain->back(), sel::getSDKName) != sdkName;
}

} // namespace lumora
