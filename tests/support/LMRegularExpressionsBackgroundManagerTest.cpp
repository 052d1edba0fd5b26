#include "support/LMRegularExpressionsBackgroundManager.h"

#include "platform/objc/NSException.h"
#include "tests/platform/TestProcess.h"

#include <gtest/gtest.h>
#include <stdexcept>

namespace lumora::test {

/// A detector whose search fails.
template <typename Exception> struct RaisingDetector final : NSRegularExpression {
    std::vector<Match> search(std::string_view, NSMatchingOptions, size_t) const override
    {
        if constexpr (std::is_same_v<Exception, NSException>)
            throw NSException(NSRangeException, "out of range");
        else
            throw Exception("failed");
    }
};

TEST(LMRegularExpressionsBackgroundManager, AnswersOnceOnItsOwnQueue)
{
    struct Row {
        const char* name;
        std::shared_ptr<const NSRegularExpression> detector;
        NSMatchingOptions options;
        bool completionRaises;
        /// A number of matches, -1 for nothing; one for each answer.
        std::vector<int> answers;
    };
    const auto digits = NSRegularExpression::regularExpressionWithPattern("\\d", false);
    const Row rows[] {
        { "the whole source, whatever the range", digits, 0, false, { 3 } },
        { "the options hold", digits, NSMatchingAnchored, false, { 1 } },
        { "a matcher that raises", std::make_shared<RaisingDetector<NSException>>(), 0, false, { -1 } },
        { "a matcher that fails otherwise", std::make_shared<RaisingDetector<std::runtime_error>>(), 0, false,
            {} },
        { "no detector", nullptr, 0, false, { -1 } },
        { "a completion that raises", digits, 0, true, { 3 } },
    };
    TemporaryFolder home;
    TestProcess world { home.path };
    auto& manager = LMRegularExpressionsBackgroundManager::sharedInstance();
    EXPECT_EQ(manager.getQueue().label(), "com.lumora.concurrent.regexp");
    for (const Row& row : rows) {
        std::vector<int> answers;
        manager.matchesInStringInBackgroundWithDetector(
            row.detector, "1 2 3", row.options, { 4, 1 }, [&](const auto& matches) {
                EXPECT_FALSE(world.executor().isMainThread());
                answers.push_back(matches ? static_cast<int>(matches->size()) : -1);
                if (row.completionRaises)
                    throw NSException(NSGenericException, "completion");
            });
        EXPECT_TRUE(answers.empty()) << row.name;
        world.executor().drain();
        EXPECT_EQ(answers, row.answers) << row.name;
    }
    manager.matchesInStringInBackgroundWithDetector(digits, "1", 0, {}, nullptr);
    world.executor().drain();
    // The failure that is not the platform's, and the completion's own.
    EXPECT_EQ(world.console->lines().size(), 2U);
}

} // namespace lumora::test
