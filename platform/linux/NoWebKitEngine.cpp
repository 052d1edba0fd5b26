#include "platform/webkit/WebKitEngine.h"

namespace lumora {

const std::string& webKitEngineProblem()
{
    static const std::string& problem = *new std::string { "built without WebKitGTK" };
    return problem;
}

std::shared_ptr<WebEngine> makeWebKitEngine() { return nullptr; }

} // namespace lumora
