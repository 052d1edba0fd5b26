#include "processing/AlertScan.h"

#include "platform/foundation/NSRegularExpression.h"

#include <gtest/gtest.h>
#include <random>

namespace lumora {
namespace {

using Dialogs = std::vector<std::pair<std::string, std::string>>;

Dialogs found(std::string_view markup)
{
    Dialogs dialogs;
    for (const ScriptDialog& dialog : scriptDialogsIn(markup))
        dialogs.emplace_back(dialog.type, dialog.message);
    return dialogs;
}

/// The same by the engine, one kind after the other.
Dialogs foundByEngine(std::string_view markup)
{
    Dialogs dialogs;
    for (const char* const type : { "alert", "confirm" }) {
        const std::string call = type == std::string { "alert" } ? "window.alert" : "confirm";
        const auto engine = NSRegularExpression::regularExpressionWithPattern(
            "\\Q" + call + "\\E\\(\"([\\s\\S]*?)\"\\)", false);
        for (const auto& match : engine->matchesInString(markup))
            dialogs.emplace_back(type, match.groups[1].text);
    }
    return dialogs;
}

TEST(AlertScan, FindsAlertsThenConfirms)
{
    EXPECT_EQ(found(R"js(confirm("go?"); window.alert("a");window.alert("a") alert("no") confirm('no'))js"),
        (Dialogs { { "alert", "a" }, { "alert", "a" }, { "confirm", "go?" } }));
    EXPECT_EQ(found(R"js(window.alert("a" + "b"), window.alert(")"), window.alert("unclosed))js"),
        (Dialogs { { "alert", R"js(a" + "b)js" }, { "alert", ")" } }));
}

TEST(AlertScan, FindsWhatTheEngineFinds)
{
    const std::string pieces[] { "window.", "alert(\"", "window.alert(\"", "window.alert(\"", "confirm(\"",
        "\")", "\")", "\"", ")", "(", "\n", "w", "c", "\u00FC", "text" };
    std::mt19937 random(7);
    for (int round = 0; round < 20'000; round++) {
        std::string markup;
        for (auto count = random() % 20; count > 0; count--)
            markup += pieces[random() % std::size(pieces)];
        ASSERT_EQ(found(markup), foundByEngine(markup)) << markup;
    }
}

} // namespace
} // namespace lumora
