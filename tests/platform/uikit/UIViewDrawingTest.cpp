#include "platform/uikit/UIViewDrawing.h"

#include "platform/quartzcore/CAShapeLayer.h"
#include "platform/uikit/UIImageView.h"
#include "tests/platform/drawing/Pixels.h"
#include "tests/platform/uikit/Phone.h"

namespace lumora::test {

constexpr UIColor red { 1, 0, 0, 1 };
constexpr UIColor green { 0, 1, 0, 1 };

struct Picture : Phone {
    Picture() { view->setBackgroundColor(red); }
    std::string at(int x, int y) { return pixelAt(takeImageOfView(*view, view->bounds().size, 1), x, y); }

    std::shared_ptr<UIView> view { add(CGRectMake(30, 30, 40, 40)) };
};

TEST(UIViewDrawing, DrawsWhatTheViewsSay)
{
    Picture picture;
    auto inner = picture.add(CGRectMake(20, 20, 40, 40), picture.view.get());
    inner->setBackgroundColor(green);
    EXPECT_EQ(picture.at(10, 10), "ff0000ff");
    EXPECT_EQ(picture.at(30, 30), "00ff00ff");
    inner->setHidden(true);
    EXPECT_EQ(picture.at(30, 30), "ff0000ff");
    inner->setHidden(false);
    inner->setAlpha(0.5);
    EXPECT_EQ(picture.at(30, 30).substr(4), "00ff");
    picture.view->layer().setCornerRadius(20);
    EXPECT_EQ(picture.at(1, 1), "00000000");
    EXPECT_NE(picture.at(38, 38), "00000000");
    picture.view->setClipsToBounds(true);
    EXPECT_EQ(picture.at(38, 38), "00000000");
    picture.view->layer().setBorderWidth(4);
    EXPECT_EQ(picture.at(20, 1), "000000ff");
}

TEST(UIViewDrawing, FollowsZPositionMaskAndShape)
{
    Picture picture;
    auto low = picture.add(CGRectMake(0, 0, 40, 40), picture.view.get());
    low->setBackgroundColor(green);
    picture.add(CGRectMake(0, 0, 40, 40), picture.view.get())->setBackgroundColor(UIColor::whiteColor());
    EXPECT_EQ(picture.at(20, 20), "ffffffff");
    low->layer().setZPosition(1);
    EXPECT_EQ(picture.at(20, 20), "00ff00ff");
    auto shape = make<CAShapeLayer>();
    shape->setPath(UIBezierPath::bezierPathWithRect(CGRectMake(0, 0, 10, 10)));
    shape->setFrame(CGRectMake(5, 5, 10, 10));
    shape->setZPosition(2);
    picture.view->layer().addSublayer(shape);
    EXPECT_EQ(picture.at(6, 6), "000000ff");
    EXPECT_EQ(picture.at(4, 4), "00ff00ff");
    auto mask = make<CAShapeLayer>();
    mask->setPath(UIBezierPath::bezierPathWithRoundedRect(CGRectMake(0, 0, 40, 40), 12, { 20, 20 }));
    picture.view->layer().setMask(mask);
    EXPECT_EQ(picture.at(0, 0), "00ff00ff");
    EXPECT_EQ(picture.at(1, 38), "00000000");
}

TEST(UIViewDrawing, ShowsAnimationsUnlessALayerIsAsked)
{
    Picture picture;
    UIView::animateWithDuration(1, [&] { picture.view->setBackgroundColor(green); });
    picture.advance(0.5);
    EXPECT_EQ(picture.at(20, 20), "808000ff");
    EXPECT_EQ(pixelAt(renderLayer(picture.view->layer(), { 40, 40 }, 1), 20, 20), "00ff00ff");
    EXPECT_TRUE(takeImageOfView(*picture.view, { 0, 40 }, 1).isNull());
}

TEST(UIImageView, PlacesAndColoursItsPicture)
{
    Picture picture;
    auto imageView = picture.add<UIImageView>(CGRectMake(0, 0, 40, 40), picture.view.get());
    imageView->setImage(UIImage(2, 1, { 0, 0, 255, 255, 0, 0, 255, 255 }, 0.1));
    EXPECT_EQ(imageView->intrinsicContentSize(), (CGSize { 20, 10 }));
    EXPECT_EQ(picture.at(20, 1), "0000ffff");
    imageView->setContentMode(UIViewContentMode::ScaleAspectFit);
    EXPECT_EQ(picture.at(20, 1), "ff0000ff");
    EXPECT_EQ(picture.at(2, 20), "0000ffff");
    imageView->setContentMode(UIViewContentMode::Center);
    EXPECT_EQ(picture.at(2, 20), "ff0000ff");
    imageView->setTintColor(green);
    EXPECT_EQ(picture.at(20, 20), "00ff00ff");
}

} // namespace lumora::test
