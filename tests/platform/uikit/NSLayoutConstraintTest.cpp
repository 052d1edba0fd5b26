#include "platform/uikit/NSLayoutConstraint.h"

#include "platform/uikit/UIImageView.h"
#include "platform/uikit/UILayoutGuide.h"
#include "tests/platform/uikit/Phone.h"

namespace lumora::test {

using Attribute = NSLayoutAttribute;
using Lines = std::vector<std::string>;

static std::shared_ptr<NSLayoutConstraint> relate(Object* item, Attribute attribute, Object* to,
    Attribute attribute2, double multiplier = 1, double constant = 0)
{
    if (auto* view = as<UIView>(item))
        view->setTranslatesAutoresizingMaskIntoConstraints(false);
    auto constraint
        = NSLayoutConstraint::constraintWithItem(item, attribute, to, attribute2, multiplier, constant);
    constraint->setActive(true);
    return constraint;
}

static std::shared_ptr<NSLayoutConstraint> fix(UIView& view, Attribute attribute, double constant)
{
    return relate(&view, attribute, nullptr, Attribute::NotAnAttribute, 1, constant);
}

TEST(NSLayoutConstraint, RelatesOneAttributeToOneOfTheSuperview)
{
    struct Row {
        const char* name;
        Attribute attribute, of;
        double multiplier, constant;
        CGRect expected;
    };
    // The view starts at 10, 20 with a size of 30 x 40 in a superview of 200 x 100.
    for (const Row& row :
        {
            Row { "left", Attribute::Left, Attribute::Left, 1, 7, CGRectMake(7, 20, 30, 40) },
            Row { "trailing outside", Attribute::Trailing, Attribute::Trailing, 1, 30,
                CGRectMake(200, 20, 30, 40) },
            Row { "top", Attribute::Top, Attribute::Top, 1, 3, CGRectMake(10, 3, 30, 40) },
            Row { "bottom", Attribute::Bottom, Attribute::Bottom, 1, -5, CGRectMake(10, 55, 30, 40) },
            Row { "centre", Attribute::CenterX, Attribute::CenterX, 1, 0, CGRectMake(85, 20, 30, 40) },
            Row { "centre to edge", Attribute::CenterY, Attribute::Bottom, 1, 0, CGRectMake(10, 80, 30, 40) },
            Row { "part of the width", Attribute::Width, Attribute::Width, 0.25, 2,
                CGRectMake(10, 20, 52, 40) },
            Row { "height of the width", Attribute::Height, Attribute::Width, 0.5, 0,
                CGRectMake(10, 20, 30, 100) },
        }) {
        SCOPED_TRACE(row.name);
        Phone phone;
        auto superview = phone.add(CGRectMake(50, 60, 200, 100));
        auto view = phone.add(CGRectMake(10, 20, 30, 40), superview.get());
        relate(view.get(), row.attribute, superview.get(), row.of, row.multiplier, row.constant);
        superview->layoutIfNeeded();
        EXPECT_EQ(view->frame(), row.expected);
    }
}

TEST(NSLayoutConstraint, SolvesSiblingsTogetherInAnyOrder)
{
    Phone phone;
    auto row = phone.add(CGRectMake(0, 0, 300, 50));
    auto left = phone.add({}, row.get());
    auto right = phone.add({}, row.get());
    relate(right.get(), Attribute::Left, left.get(), Attribute::Right, 1, 10);
    relate(left.get(), Attribute::Width, right.get(), Attribute::Width, 2);
    relate(right.get(), Attribute::Right, row.get(), Attribute::Right);
    relate(left.get(), Attribute::Left, row.get(), Attribute::Left, 1, 20);
    relate(left.get(), Attribute::Height, left.get(), Attribute::Width, 0.1);
    row->layoutIfNeeded();
    EXPECT_EQ(left->frame(), CGRectMake(20, 0, 180, 18));
    EXPECT_EQ(right->frame(), CGRectMake(210, 0, 90, 0));
}

TEST(NSLayoutConstraint, ContentDecidesWhatIsLeftFreeThenTheFrame)
{
    Phone phone;
    const UIImage sixtyByTwenty { 6, 2, std::vector<uint8_t>(48), 0.1 };
    auto view = phone.add<UIImageView>(CGRectMake(5, 6, 7, 8));
    view->setImage(sixtyByTwenty);
    fix(*view, Attribute::Height, 30);
    phone.window->layoutIfNeeded();
    EXPECT_EQ(view->frame(), CGRectMake(5, 6, 60, 30));
    // A box takes its width from its content where that says it; its height stays.
    auto box = phone.add(CGRectMake(0, 0, 10, 11));
    auto picture = phone.add<UIImageView>({}, box.get());
    picture->setImage(sixtyByTwenty);
    relate(picture.get(), Attribute::Leading, box.get(), Attribute::Leading, 1, 4);
    auto margin = relate(picture.get(), Attribute::Trailing, box.get(), Attribute::Trailing, 1, -6);
    box->setTranslatesAutoresizingMaskIntoConstraints(false);
    phone.advance(0);
    EXPECT_EQ(box->frame(), CGRectMake(0, 0, 70, 11));
    margin->setConstant(-16);
    phone.advance(0);
    EXPECT_EQ(box->frame(), CGRectMake(0, 0, 80, 11));
}

TEST(NSLayoutConstraint, PinsToTheSafeArea)
{
    Phone phone;
    auto screenful = phone.add(CGRectMake(0, 0, 375, 812));
    auto banner = phone.add(CGRectMake(0, 762, 375, 50));
    auto onTop = phone.add(CGRectMake(0, 0, 10, 10), screenful.get());
    auto onBanner = phone.add(CGRectMake(0, 0, 10, 10), banner.get());
    relate(onTop.get(), Attribute::Top, screenful->safeAreaLayoutGuide(), Attribute::Top, 1, 2);
    relate(onBanner.get(), Attribute::Bottom, banner->safeAreaLayoutGuide(), Attribute::Bottom);
    phone.window->layoutIfNeeded();
    EXPECT_EQ(onTop->frame().minY(), 46);
    EXPECT_EQ(onBanner->frame().maxY(), 16);
    EXPECT_EQ(banner->safeAreaInsets(), (UIEdgeInsets { 0, 0, 34, 0 }));
    banner->removeFromSuperview();
    EXPECT_EQ(banner->safeAreaInsets(), UIEdgeInsets {});
}

TEST(NSLayoutConstraint, LeavesOutWhatContradictsAndSaysSoOnce)
{
    Phone phone;
    auto view = phone.add({});
    fix(*view, Attribute::Width, 10);
    auto second = fix(*view, Attribute::Width, 20);
    phone.window->layoutIfNeeded();
    phone.window->setNeedsLayout();
    phone.window->layoutIfNeeded();
    EXPECT_EQ(view->frame().size.width, 10);
    EXPECT_EQ(phone.console(),
        Lines { "NSLayoutConstraint between UIView contradicts other constraints and is left out" });
    fix(*view, Attribute::Height, 5)->setPriority(250);
    fix(*view, Attribute::Height, 6);
    second->setActive(false);
    phone.window->layoutIfNeeded();
    EXPECT_EQ(view->frame().size, (CGSize { 10, 6 }));
}

TEST(NSLayoutConstraint, SurvivesNumbersThatAreNone)
{
    Phone phone;
    auto view = phone.add(CGRectMake(1, 2, 3, 4));
    fix(*view, Attribute::Width, std::numeric_limits<double>::quiet_NaN());
    relate(view.get(), Attribute::Left, phone.window.get(), Attribute::Right,
        std::numeric_limits<double>::infinity());
    phone.window->layoutIfNeeded();
    view->setFrame(CGRectMake(0, 0, std::numeric_limits<double>::infinity(), 0));
    EXPECT_EQ(view->frame(), CGRectMake(1, 2, 3, 4));
    EXPECT_EQ(phone.console().size(), 3U);
}

TEST(NSLayoutConstraint, TakesAViewAboveTheSuperviewAsItStands)
{
    Phone phone;
    auto outer = phone.add(CGRectMake(0, 0, 300, 300));
    auto inner = phone.add(CGRectMake(40, 50, 100, 100), outer.get());
    auto deep = phone.add(CGRectMake(0, 0, 10, 10), inner.get());
    relate(deep.get(), Attribute::Right, outer.get(), Attribute::Right);
    relate(deep.get(), Attribute::Top, phone.window->safeAreaLayoutGuide(), Attribute::Top);
    phone.window->layoutIfNeeded();
    EXPECT_EQ(deep->frame(), CGRectMake(250, -6, 10, 10));
}

TEST(NSLayoutConstraint, EndsWithItsViewsOrTheirLastCommonSuperview)
{
    Phone phone;
    auto ad = phone.add(CGRectMake(0, 0, 300, 250));
    auto view = phone.add(CGRectMake(0, 0, 10, 10), ad.get());
    auto constraint = relate(view.get(), Attribute::Left, ad.get(), Attribute::Left, 1, 9);
    view->removeFromSuperview();
    EXPECT_FALSE(constraint->isActive());
    constraint->setActive(true);
    EXPECT_FALSE(constraint->isActive());
    EXPECT_EQ(phone.console().size(), 1U);
    ad->addSubview(view);
    constraint->setActive(true);
    view->removeFromSuperview();
    view.reset();
    ad->layoutIfNeeded();
    EXPECT_EQ(constraint->firstItem(), nullptr);
    EXPECT_TRUE(ad->constraints().empty());
}

} // namespace lumora::test
