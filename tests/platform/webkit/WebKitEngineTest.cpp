#include "platform/webkit/WebKitEngine.h"

#include "tests/platform/webkit/WebEngineTest.h"

namespace lumora::test {

namespace {

EngineUnderTest webKit() { return { makeWebKitEngine, webKitEngineProblem }; }

} // namespace

INSTANTIATE_TEST_SUITE_P(WebKit, WebEngineTest, testing::Values(webKit()));

} // namespace lumora::test
