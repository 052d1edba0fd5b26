#include "platform/quartzcore/CAShapeLayer.h"
#include "report/LMFontsLoader.h"
#include "report/LMInterstitialTutorialView.h"
#include "report/LMReportAdView.h"
#include "report/TDSwipableReportViewController.h"
#include "tests/platform/TestProcess.h"
#include "tests/report/AdWithButton.h"

#include <fstream>
#include <gtest/gtest.h>

namespace lumora {
namespace {

using test::World;

TEST(LMFontsLoaderTest, RegistersWhatIsAFontWhenTheProcessStarts)
{
    test::TemporaryFolder bundle;
    test::TemporaryFolder home;
    for (const char* name : { "Roboto-Bold.ttf", "Roboto-Medium.ttf", "Roboto-Regular.ttf" })
        std::ofstream(bundle.path / name) << "no font";
    ProcessConfiguration configuration;
    configuration.libraryBundle = bundle.path;
    test::TestProcess started(home.path, configuration);
    started.executor().drain();
    LMFontsLoader::load();
    EXPECT_EQ(started.console->lines().size(), 3u) << "once per process";
    for (const std::string& line : started.console->lines())
        EXPECT_TRUE(line.ends_with("Failed to load font: the data is not a font")) << line;
}

using Flaws = std::vector<std::string>;

bool holds(const CGRect& outer, const CGRect& inner)
{
    return outer.minX() - 0.5 <= inner.minX() && outer.minY() - 0.5 <= inner.minY()
        && inner.maxX() <= outer.maxX() + 0.5 && inner.maxY() <= outer.maxY() + 0.5;
}

/// Looks at a report screen the way a designer would.
class Inspector {
public:
    explicit Inspector(UIView& window)
        : m_window(window)
    {
    }
    Flaws flawsOf(UIView& screen)
    {
        inspect(screen);
        for (size_t i = 0; i < m_elements.size(); i++) {
            const auto& [name, view, place] = m_elements[i];
            if (!holds(m_window.bounds(), place))
                m_flaws.push_back(name + " is off the screen");
            for (size_t j = 0; j < i; j++) {
                const auto& [otherName, otherView, other] = m_elements[j];
                if (!view->isDescendantOfView(otherView) && place.minX() < other.maxX()
                    && other.minX() < place.maxX() && place.minY() < other.maxY()
                    && other.minY() < place.maxY())
                    m_flaws.push_back(name + " overlaps " + otherName);
            }
        }
        return m_flaws;
    }

private:
    // Depth first, so that what lies in another element comes after it.
    void inspect(UIView& view)
    {
        for (const auto& child : view.subviews()) {
            auto* const label = as<UILabel>(child.get());
            auto* const button = as<UIButton>(child.get());
            const std::string name = label ? label->text() : button ? button->title() : "a view";
            if (!holds(view.bounds(), child->frame()))
                m_flaws.push_back(name + " leaves its parent");
            const CGRect place = child->convertRectToView(child->bounds(), &m_window);
            // What can be touched and holds nothing is the dimmed area around a sheet.
            const bool target = !child->gestureRecognizers().empty() && !child->subviews().empty();
            if (target)
                checkTarget(*child, place, name);
            if (target || label || as<UIImageView>(child))
                m_elements.emplace_back(name, child.get(), label ? wordsOf(*label, place) : place);
            inspect(*child);
        }
    }

    void checkTarget(UIView& view, const CGRect& place, const std::string& name)
    {
        constexpr double smallestTarget = 36;
        if (std::min(place.size.width, place.size.height) < smallestTarget)
            m_flaws.push_back(name + " is too small to touch");
        id hit = m_window.hitTest({ place.midX(), place.midY() }, nullptr);
        if (!hit || !as<UIView>(hit)->isDescendantOfView(&view))
            m_flaws.push_back(name + " is covered");
    }

    /// Where the words are; a flaw when they are cut or shrunk beyond reading.
    CGRect wordsOf(UILabel& label, const CGRect& place)
    {
        constexpr double smallestFactor = 0.7;
        const TextStyle style { .font = label.font(), .numberOfLines = label.numberOfLines() };
        CGSize needed = measureText(label.text(), style, style.numberOfLines == 1 ? 0 : place.size.width);
        if (label.adjustsFontSizeToFitWidth() && needed.width > place.size.width)
            needed.width = std::max(place.size.width, needed.width * smallestFactor);
        const CGRect words { { place.midX() - needed.width / 2, place.midY() - needed.height / 2 }, needed };
        if (!holds(place, words))
            m_flaws.push_back(label.text() + " is cut");
        return words;
    }

    UIView& m_window;
    std::vector<std::tuple<std::string, UIView*, CGRect>> m_elements;
    Flaws m_flaws;
};

/// A phone with such a screen and an ad on it whose button has come.
struct Scene {
    Scene(CGSize screen, const CGRect& adFrame, const NSDictionary& metadata)
        : world { { .adjust = [screen](Phone::Options& options) {
            const bool notched = screen.width == 375 || screen.width == 430;
            options.screen = { screen.width, screen.height, 2, notched ? 44.0 : 0, notched ? 34.0 : 0 };
        } } }
    {
        world.start();
        ad = test::adWithButton(world, adFrame, metadata);
    }
    TDButtonHandler& handler() const { return *test::buttonOn(*ad)->buttonHandler(); }
    Flaws flawsOf(UIView& view) const { return Inspector(world.phone.window()).flawsOf(view); }

    World world;
    std::shared_ptr<UIView> ad;
};

TEST(ReportScreensTest, TutorialAndSheetFitEveryScreen)
{
    for (const CGSize screen : { CGSize { 320, 568 }, { 375, 812 }, { 430, 932 }, { 844, 390 }, { 667, 375 },
             { 568, 320 }, { 768, 1024 } }) {
        SCOPED_TRACE(screen.width);
        Scene scene(screen, { {}, screen }, fullScreenMetadata());
        scene.world.phone.wait(3);
        const auto tutorial = test::find<LMInterstitialTutorialView>(*scene.ad);
        ASSERT_TRUE(tutorial);
        EXPECT_EQ(scene.flawsOf(*tutorial), Flaws {});
        const auto button = test::buttonOn(*scene.ad);
        id hit = scene.world.phone.window().hitTest({ screen.width - 17, button->center().y }, nullptr);
        EXPECT_TRUE(as<UIView>(hit)->isDescendantOfView(button.get())) << "the button lies above it";

        scene.handler().presentReportForIntersitialAdType();
        scene.world.phone.wait(0.5);
        auto* const sheet = as<TDSwipableReportViewController>(
            scene.world.phone.window().rootViewController()->presentedViewController());
        ASSERT_TRUE(sheet);
        EXPECT_EQ(scene.flawsOf(*sheet->view()), Flaws {});
        const auto body = as<UIView>(sheet->valueForKey("safeAreaRootView").object());
        const auto mask = as<CAShapeLayer>(body->layer().mask());
        ASSERT_TRUE(mask);
        EXPECT_EQ(mask->path(),
            UIBezierPath::bezierPathWithRoundedRect(
                body->bounds(), UIRectCornerBottomLeft | UIRectCornerBottomRight, { 30, 30 }));
        EXPECT_GE(screen.height - body->frame().maxY(), 44) << "room to tap it away";
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
        SCOPED_TRACE(testing::Message() << row.ad.size.width << " x " << row.ad.size.height << " at "
                                        << row.ad.minX() << " on " << row.screen.width);
        Scene scene(row.screen, row.ad, {});
        scene.handler().presentReportAdForBannersAndNativeAdType();
        scene.world.phone.wait(0.5);
        const auto overlay = test::find<LMReportAdView>(*scene.ad);
        ASSERT_TRUE(overlay);
        EXPECT_EQ(overlay->frame(), scene.ad->bounds());
        EXPECT_EQ(scene.flawsOf(*overlay), Flaws {});
        const auto reason = test::reasonOn(*overlay, "repetitive");
        EXPECT_DOUBLE_EQ(reason->layer().cornerRadius(), reason->frame().size.height / 2);
        EXPECT_EQ(reason->layer().borderWidth(), 1);
    }
}

} // namespace
} // namespace lumora
