#include "processing/WeakRef.h"

#include "platform/webkit/WKNavigationDelegate.h"
#include "simulator/Phone.h"
#include "tests/platform/webkit/NavigationDiary.h"

#include <gtest/gtest.h>

namespace lumora {
namespace {

using test::NavigationDiary;

TEST(WeakRefTest, PassesMessagesOnWhileItsObjectLives)
{
    Phone phone { {} };
    auto diary = make<NavigationDiary>();
    const auto reference = WeakRef::to(diary);
    send(reference, sel::webViewDidCommitNavigation, id {}, id {});
    EXPECT_EQ(diary->lines, "committed");
    EXPECT_TRUE(delegateAnswers(*reference, sel::webViewDidCommitNavigation));
    EXPECT_FALSE(delegateAnswers(*reference, "webViewDidClose:"_sel));
    std::weak_ptr<Object> target = diary;
    diary.reset();
    EXPECT_TRUE(target.expired());
    EXPECT_NO_THROW(send(reference, sel::webViewDidFinishNavigation, id {}, id {}));
    EXPECT_FALSE(delegateAnswers(*reference, sel::webViewDidCommitNavigation));
}

} // namespace
} // namespace lumora
