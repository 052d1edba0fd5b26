#include "platform/uikit/UINib.h"

#include "platform/foundation/NSBundle.h"
#include "platform/uikit/NSLayoutConstraint.h"
#include "platform/uikit/UIButton.h"
#include "platform/uikit/UIImageView.h"
#include "tests/platform/uikit/Phone.h"

#include <fstream>

namespace lumora::test {

/// What an interface file makes: a view with outlets of its own.
class CardView final : public UIView {
public:
    static const ClassDescription& classDescription()
    {
        static const ClassDescription description = ClassDescription::of<CardView, UIView>("CardView")
                                                        .method<&CardView::initWithCoder>(sel::initWithCoder)
                                                        .method<&CardView::awakeFromNib>(sel::awakeFromNib)
                                                        .method<&CardView::proceed>("proceed:"_sel)
                                                        .variable<&CardView::m_icon>("icon")
                                                        .variable<&CardView::m_width>("width")
                                                        .variable<&CardView::m_delegate>("delegate")
                                                        .variable<&CardView::m_note>("note");
        return description;
    }
    id initWithCoder(Object*)
    {
        heightAtInit = frame().size.height;
        return this;
    }
    void awakeFromNib() { awakened = m_icon != nullptr; }
    void proceed(Object*) { ++proceeded; }

    double heightAtInit { 0 };
    bool awakened { false };
    int proceeded { 0 };
    std::shared_ptr<UIImageView> m_icon;
    std::shared_ptr<NSLayoutConstraint> m_width;
    std::weak_ptr<Object> m_delegate;
    std::string m_note;
};
static const RegisteredClass registeredCardView { &CardView::classDescription };

/// A phone whose library bundle is a folder of the test.
struct PhoneWithNibs {
    std::vector<std::shared_ptr<Object>> load(const std::string& content, id owner = nullptr)
    {
        std::ofstream(folder.path / "Nib.json") << content;
        return loadNibNamed(NSBundle::bundleForLibrary(), "Nib", owner);
    }
    TemporaryFolder folder;
    TestProcess world { folder.path, { .libraryBundle = folder.path } };
};

TEST(UINib, MakesATreeWithOutletsConstraintsAndActions)
{
    PhoneWithNibs phone;
    auto owner = make<NSObject>();
    const auto objects = phone.load(R"({
        "class": "CardView", "frame": [0, 0, 200, 60], "background": "#0559AF80", "cornerRadius": 30, "clips": true,
        "properties": { "note": "hello" },
        "outlets": { "icon": "icon", "width": "labelWidth", "delegate": "owner" },
        "actions": [{ "item": "button", "action": "proceed:" }],
        "subviews": [
            { "id": "icon", "class": "UIImageView", "frame": [0, 0, 24, 24], "contentMode": "scaleAspectFit", "tint": "#FFFFFF" },
            { "id": "label", "class": "UILabel", "text": "Ad Reported", "font": { "name": "Roboto-Bold", "size": 12 },
              "textColor": "#FF0000", "alignment": "center", "lines": 2 },
            { "id": "button", "class": "UIButton", "frame": [150, 0, 50, 60], "text": "Go", "hidden": false }],
        "constraints": [
            { "item": "icon", "attribute": "centerY", "to": "superview" },
            { "item": "icon", "attribute": "width", "constant": 24 },
            { "item": "label", "attribute": "left", "to": "icon", "attribute2": "right", "constant": 6 },
            { "id": "labelWidth", "item": "label", "attribute": "width", "to": "superview", "multiplier": 0.25, "constant": 1 },
            { "pin": "label", "top": 5, "bottom": 7 }] })",
        owner.get());
    ASSERT_EQ(objects.size(), 1U);
    auto card = as<CardView>(objects[0]);
    ASSERT_TRUE(card);
    EXPECT_EQ(phone.world.console->lines(), std::vector<std::string> {});
    EXPECT_EQ(card->heightAtInit, 60);
    EXPECT_TRUE(card->awakened);
    EXPECT_EQ(card->m_note, "hello");
    EXPECT_EQ(card->m_delegate.lock(), owner);
    EXPECT_NEAR(card->backgroundColor()->alpha, 128 / 255.0, 1e-9);
    card->layoutIfNeeded();
    auto label = as<UILabel>(std::shared_ptr<Object>(card->subviews()[1]));
    EXPECT_EQ(label->frame(), CGRectMake(30, 5, 51, 48));
    EXPECT_EQ(card->m_icon->frame(), CGRectMake(0, 18, 24, 24));
    card->m_width->setConstant(10);
    card->layoutIfNeeded();
    EXPECT_EQ(label->frame().size.width, 60);
    auto window = make<UIWindow>();
    window->addSubview(card);
    window->sendTouch(UITouchPhase::Began, { 175, 30 });
    window->sendTouch(UITouchPhase::Ended, { 175, 30 });
    EXPECT_EQ(card->proceeded, 1);
}

TEST(UINib, GivesNothingForAFileThatIsNone)
{
    const std::pair<const char*, const char*> rows[] = { { "not JSON", "{" }, { "a number", "5" },
        { "no object", "[1]" }, { "unknown class", R"({ "class": "NoSuchView" })" },
        { "unknown class inside", R"({ "subviews": [{ "class": "NoSuchView" }] })" }, { "empty", "" } };
    for (const auto& [name, content] : rows) {
        PhoneWithNibs phone;
        EXPECT_TRUE(phone.load(content).empty()) << name;
        EXPECT_TRUE(loadNibNamed(NSBundle::bundleForLibrary(), "Missing", nullptr).empty());
        EXPECT_EQ(phone.world.console->lines().size(), 2U) << name;
    }
}

TEST(UINib, LeavesOutWhatCannotBe)
{
    for (const char* detail :
        { R"("background": "blue")", R"("alpha": "half")", R"("text": "on a plain view")", R"("frames": [])",
            R"("subviews": [{ "class": "NSObject" }])", R"("properties": { "noSuchKey": 1 })",
            R"("outlets": { "noSuchKey": "me" })", R"("outlets": { "tag": "nobody" })",
            R"("constraints": [7])", R"("constraints": [{ "item": "me", "attribute": "size" }])",
            R"("constraints": [{ "item": "nobody", "attribute": "width" }])",
            R"("actions": [{ "item": "me" }])" }) {
        PhoneWithNibs phone;
        EXPECT_EQ(phone.load(std::string { R"({ "id": "me", )" } + detail + "}").size(), 1U) << detail;
        EXPECT_FALSE(phone.world.console->lines().empty()) << detail;
    }
}

} // namespace lumora::test
