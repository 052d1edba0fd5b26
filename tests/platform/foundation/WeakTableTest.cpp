#include "platform/foundation/NSHashTable.h"

#include <gtest/gtest.h>
#include <string>

namespace lumora {

TEST(NSHashTable, KeepsLivingMembersInOrder)
{
    NSHashTable<int> table;
    auto first = std::make_shared<int>(1);
    auto second = std::make_shared<int>(2);
    auto third = std::make_shared<int>(3);
    for (const auto& object : { first, second, third, first })
        table.addObject(object);
    EXPECT_EQ(table.count(), 3u);
    second.reset();
    table.removeObject(nullptr);
    EXPECT_EQ(table.allObjects(), (std::vector { first, third }));
    EXPECT_TRUE(table.containsObject(third.get()));
    table.removeObject(first.get());
    EXPECT_EQ(table.allObjects(), std::vector { third });
    EXPECT_THROW(table.addObject(nullptr), NSException);
}

TEST(NSMapTable, DropsAnEntryWithItsObject)
{
    NSMapTable<std::string, int> table;
    auto view = std::make_shared<int>(1);
    auto other = std::make_shared<int>(2);
    table.setObject("b", view);
    table.setObject("a", other);
    table.setObject("b", other);
    EXPECT_EQ(table.allEntries(),
        (std::vector<std::pair<std::string, std::shared_ptr<int>>> { { "b", other }, { "a", other } }));
    table.setObject("c", view);
    view.reset();
    EXPECT_EQ(table.objectForKey("c"), nullptr);
    EXPECT_EQ(table.objectForKey("missing"), nullptr);
    table.removeObject("b");
    EXPECT_EQ(table.count(), 1u);
    EXPECT_THROW(table.setObject("d", nullptr), NSException);
}

} // namespace lumora
