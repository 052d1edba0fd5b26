// An ad's markup is searched for dialogs and store links. Whatever it holds, the scanners find what the
// regular-expression engine finds.

#include "fuzz/Fuzzing.h"
#include "platform/foundation/NSDataDetector.h"
#include "platform/foundation/NSString.h"
#include "processing/AlertScan.h"
#include "processing/StoreLinks.h"

namespace lumora {
namespace {

using fuzz::expect;

void compareDialogs(std::string_view markup)
{
    static const auto alerts
        = NSRegularExpression::regularExpressionWithPattern(R"re(window\.alert\("([\s\S]*?)"\))re", false);
    static const auto confirms
        = NSRegularExpression::regularExpressionWithPattern(R"re(confirm\("([\s\S]*?)"\))re", false);
    const std::vector<ScriptDialog> dialogs = scriptDialogsIn(markup);
    size_t at = 0;
    for (const auto& engine : { alerts, confirms }) {
        for (const auto& match : engine->matchesInString(markup)) {
            expect(at < dialogs.size() && dialogs[at].message == match.groups[1].text, "the engine's dialog");
            at++;
        }
    }
    expect(at == dialogs.size(), "no more than the engine's");
}

void compareLinks(std::string_view markup)
{
    static const auto detector = NSDataDetector::dataDetectorWithTypes(NSTextCheckingTypeLink, storeHost);
    static const auto engine
        = NSRegularExpression::regularExpressionWithPattern(NSDataDetector::linkPattern(storeHost), false);
    const auto links = detector->matchesInString(markup);
    const auto expected = engine->matchesInString(markup);
    expect(links.size() == expected.size(), "as many links as the engine");
    for (size_t i = 0; i < links.size(); i++)
        expect(links[i].text == expected[i].text && links[i].location == expected[i].location,
            "the engine's link");
    expect(getURLFrom(links).size() <= links.size(), "some of them lead to the store");
    getAllURLsFrom(links);
}

} // namespace
} // namespace lumora

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace lumora;
    fuzz::phone();
    const std::string markup = repairedUTF8(fuzz::textOf(data, size));
    compareDialogs(markup);
    compareLinks(markup);
    return 0;
}
