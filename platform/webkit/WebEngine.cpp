#include "platform/webkit/WebEngine.h"

#include "platform/process/ProcessLocal.h"
#include "platform/webkit/PageEngine.h"

namespace lumora {

namespace {
// Main thread only.
const ProcessLocal<WebEngineFactory> s_factory;
} // namespace

void setWebEngineFactory(WebEngineFactory factory) { s_factory.get() = std::move(factory); }

std::shared_ptr<WebEngine> makeWebEngine()
{
    const WebEngineFactory& factory = s_factory.get();
    return factory ? factory() : std::make_shared<PageEngine>();
}

} // namespace lumora
