#include "lumora/LMReportButtonHelper.h"
#include "platform/quartzcore/CAShapeLayer.h"
#include "report/LMFontsLoader.h"
#include "report/LMInterstitialTutorialView.h"
#include "report/LMReportAdView.h"
#include "report/TDSwipableReportViewController.h"
#include "tests/platform/TestProcess.h"
#include "tests/report/FullScreenAd.h"

#include <fstream>
#include <gtest/gtest.h>

namespace lumora {
namespace {

using tests::World;

TEST(LMFontsLoaderTest, RegistersWhatIsAFontWhenTheProcessStarts)
{
    test::TemporaryFolder bundle;
    test::TemporaryFolder home;
    std::ofstream(bundle.path / "Roboto-Medium.ttf") << "no font";
    ProcessConfiguration configuration;
    configuration.libraryBundle = bundle.path;
    test::TestProcess started(home.path, configuration);
    started.executor().drain();
    EXPECT_EQ(started.console->lines().size(), 1u) << "a missing font is skipped";
    EXPECT_TRUE(started.console->lines().at(0).ends_with("Failed to load font: the data is not a font"));
    LMFontsLoader::load();
    EXPECT_EQ(started.console->lines().size(), 1u) << "once per process";
}

/// What a user sees or touches, in points of the screen.
struct Element {
    std::string name;
    UIView* view;
    CGRect place;
};

/// Looks at a report screen the way a designer would.
class Inspector {
public:
    explicit Inspector(UIView& window)
        : m_window(window)
    {
    }

    std::vector<std::string> flawsOf(UIView& screen)
    {
        collect(screen);
        for (const Element& element : m_elements) {
            check(m_window.bounds().insetBy(-0.5, -0.5), element.place, element.name + " is off the screen");
            for (const Element& other : m_elements) {
                if (&element < &other && !related(*element.view, *other.view)
                    && overlap(element.place, other.place))
                    m_flaws.push_back(element.name + " and " + other.name + " overlap");
            }
        }
        return m_flaws;
    }

private:
    void check(const CGRect& outer, const CGRect& inner, const std::string& flaw)
    {
        if (inner.minX() < outer.minX() || inner.minY() < outer.minY() || inner.maxX() > outer.maxX()
            || inner.maxY() > outer.maxY())
            m_flaws.push_back(flaw);
    }
    static bool overlap(const CGRect& one, const CGRect& other)
    {
        return one.minX() < other.maxX() && other.minX() < one.maxX() && one.minY() < other.maxY()
            && other.minY() < one.maxY();
    }
    static bool related(UIView& one, UIView& other)
    {
        return one.isDescendantOfView(&other) || other.isDescendantOfView(&one);
    }

    void collect(UIView& view)
    {
        for (const auto& child : view.subviews()) {
            const std::string name = nameOf(*child);
            check(view.bounds().insetBy(-0.5, -0.5), child->frame(), name + " leaves its parent");
            CGRect place = child->convertRectToView(child->bounds(), &m_window);
            if (auto* const label = as<UILabel>(child.get()))
                place = textOf(*label, place, name);
            const bool touched = as<UIButton>(child) || !child->gestureRecognizers().empty();
            const bool backdrop = touched && child->subviews().empty();
            if (!backdrop && (touched || as<UILabel>(child) || as<UIImageView>(child)))
                m_elements.push_back({ name, child.get(), place });
            if (touched && !backdrop)
                checkTarget(*child, place, name);
            collect(*child);
        }
    }

    void checkTarget(UIView& view, const CGRect& place, const std::string& name)
    {
        constexpr double smallestTarget = 36;
        if (std::min(place.size.width, place.size.height) < smallestTarget)
            m_flaws.push_back(name + " is too small to touch");
        if (!as<UIView>(m_window.hitTest({ place.midX(), place.midY() }, nullptr))->isDescendantOfView(&view))
            m_flaws.push_back(name + " is covered");
    }

    /// Where the words are; a flaw when they are cut or shrunk beyond reading.
    CGRect textOf(UILabel& label, const CGRect& place, const std::string& name)
    {
        constexpr double smallestFactor = 0.7;
        TextStyle style { .font = label.font(), .numberOfLines = label.numberOfLines() };
        CGSize needed = measureText(label.text(), style, style.numberOfLines == 1 ? 0 : place.size.width);
        if (label.adjustsFontSizeToFitWidth() && needed.width > place.size.width)
            needed.width = std::max(place.size.width, needed.width * smallestFactor);
        if (needed.width > place.size.width + 0.5 || needed.height > place.size.height + 0.5)
            m_flaws.push_back(name + " is cut");
        return CGRectMake(
            place.midX() - needed.width / 2, place.midY() - needed.height / 2, needed.width, needed.height);
    }

    static std::string nameOf(UIView& view)
    {
        if (const auto* label = as<UILabel>(&view))
            return "\"" + label->text() + "\"";
        auto* const button = as<UIButton>(&view);
        return button ? "button " + button->title() : object_getClassName(&view);
    }

    UIView& m_window;
    std::vector<Element> m_elements;
    std::vector<std::string> m_flaws;
};

using Flaws = std::vector<std::string>;

/// A phone with such a screen and an ad on it whose button has come.
struct Scene {
    Scene(CGSize screen, const CGRect& adFrame, const NSDictionary& metadata)
        : world { { .adjust = [screen](Phone::Options& options) {
            const bool notched = screen.width == 375 || screen.width == 430;
            options.screen = { screen.width, screen.height, 2, notched ? 44.0 : 0, notched ? 34.0 : 0 };
        } } }
    {
        world.start();
        ad->setFrame(adFrame);
        world.phone.content().addSubview(ad);
        LMReportButtonHelper::addReportButtonToView(ad.get(), nullptr, metadata);
        world.phone.wait(1);
    }
    TDButtonHandler& handler() const { return *tests::buttonOn(*ad)->buttonHandler(); }
    Flaws flawsOf(UIView& view) const { return Inspector(world.phone.window()).flawsOf(view); }

    World world;
    std::shared_ptr<UIView> ad { make<UIView>() };
};

constexpr CGSize screens[] { { 320, 568 }, { 375, 812 }, { 430, 932 }, { 844, 390 }, { 667, 375 },
    { 568, 320 }, { 768, 1024 } };

TEST(ReportScreensTest, TheSheetFitsEveryScreen)
{
    for (const CGSize screen : screens) {
        SCOPED_TRACE(screen.width);
        Scene scene(screen, { {}, screen }, tests::fullScreenMetadata());
        scene.handler().presentReportForIntersitialAdType();
        scene.world.phone.wait(0.5);
        auto* const sheet = as<TDSwipableReportViewController>(
            scene.world.phone.window().rootViewController()->presentedViewController());
        ASSERT_TRUE(sheet);
        EXPECT_EQ(scene.flawsOf(*sheet->view()), Flaws {});
        EXPECT_EQ(sheet->view()->backgroundColor(), UIColor::clearColor());
        const auto body = as<UIView>(sheet->valueForKey("safeAreaRootView").object());
        const auto mask = as<CAShapeLayer>(body->layer().mask());
        ASSERT_TRUE(mask);
        EXPECT_EQ(mask->path(),
            UIBezierPath::bezierPathWithRoundedRect(
                body->bounds(), UIRectCornerBottomLeft | UIRectCornerBottomRight, { 30, 30 }));
        EXPECT_GE(screen.height - body->frame().maxY(), 44) << "room to tap it away";
    }
}

TEST(ReportScreensTest, TheTutorialFitsEveryScreen)
{
    for (const CGSize screen : screens) {
        SCOPED_TRACE(screen.width);
        Scene scene(screen, { {}, screen }, tests::fullScreenMetadata());
        scene.world.phone.wait(3);
        const auto tutorial = tests::find<LMInterstitialTutorialView>(*scene.ad);
        ASSERT_TRUE(tutorial);
        EXPECT_EQ(scene.flawsOf(*tutorial), Flaws {});
        const auto button = tests::buttonOn(*scene.ad);
        id hit = scene.world.phone.window().hitTest({ screen.width - 17, button->center().y }, nullptr);
        EXPECT_TRUE(as<UIView>(hit)->isDescendantOfView(button.get())) << "the button lies above it";
    }
}

TEST(ReportScreensTest, TheOverlayFitsEveryAd)
{
    struct Row {
        CGSize screen;
        CGRect ad;
    };
    for (const Row& row : { Row { { 320, 568 }, CGRectMake(0, 100, 320, 50) },
             Row { { 320, 568 }, CGRectMake(10, 100, 300, 250) },
             Row { { 320, 568 }, CGRectMake(0, 44, 320, 480) },
             Row { { 430, 932 }, CGRectMake(0, 100, 430, 100) },
             Row { { 375, 812 }, CGRectMake(20, 44, 160, 600) },
             Row { { 768, 1024 }, CGRectMake(20, 100, 728, 90) },
             Row { { 375, 812 }, CGRectMake(0, 100, 728, 90) },
             Row { { 320, 568 }, CGRectMake(-204, 100, 728, 90) },
             Row { { 320, 568 }, CGRectMake(-74, 100, 468, 60) },
             Row { { 667, 375 }, CGRectMake(0, 0, 667, 375) },
             Row { { 375, 812 }, CGRectMake(0, 0, 500, 250) },
             Row { { 844, 390 }, CGRectMake(0, 70, 970, 250) } }) {
        std::ostringstream name;
        name << row.ad.size.width << " x " << row.ad.size.height << " at " << row.ad.minX() << " on "
             << row.screen.width;
        SCOPED_TRACE(name.str());
        Scene scene(row.screen, row.ad, {});
        scene.handler().presentReportAdForBannersAndNativeAdType();
        scene.world.phone.wait(0.5);
        const auto overlay = tests::find<LMReportAdView>(*scene.ad);
        ASSERT_TRUE(overlay);
        EXPECT_EQ(overlay->frame(), scene.ad->bounds());
        EXPECT_EQ(scene.flawsOf(*overlay), Flaws {});
        const auto reason = tests::reasonOn(*overlay, "repetitive");
        EXPECT_DOUBLE_EQ(reason->layer().cornerRadius(), reason->frame().size.height / 2);
        EXPECT_EQ(reason->layer().borderWidth(), 1);
    }
}

} // namespace
} // namespace lumora
