// Pictures of the report button in every state and form and of every report screen, on screens and ads of
// many sizes: gallery FOLDER writes button-states.png, screens.png and screen-sizes.png there.

#include "devservice/LocalServices.h"
#include "lumora/LMReportButtonHelper.h"
#include "lumora/Lumora.h"
#include "platform/uikit/UILabel.h"
#include "report/LMInterstitialTutorialView.h"
#include "service/LMFirstTimeLaunchDetector.h"
#include "service/TDAPI.h"
#include "simulator/Finding.h"
#include "simulator/FullScreenAd.h"
#include "simulator/Phone.h"

#include <cstdio>
#include <fstream>

namespace lumora {
namespace {

constexpr const char* hostKey = "gallery-key-of-thirty-letters!";
constexpr UIColor ink { 0.09, 0.13, 0.2, 1 };
constexpr UIColor paper { 0.93, 0.94, 0.96, 1 };

UIImage cut(const UIImage& whole, const CGRect& part)
{
    const auto context = makeBitmapContext(part.size, whole.scale());
    context->fillPath(UIBezierPath::bezierPathWithRect({ {}, part.size }), paper);
    context->drawImage(whole, { { -part.minX(), -part.minY() }, whole.size() });
    return context->makeImage();
}

/// A phone with an ad on its screen and the service in reach.
class Stage {
public:
    Stage(CGSize screen, bool firstLaunch)
        : m_services(hostKey)
        , m_phone(optionsFor(screen, m_services))
    {
        m_services.configuration().setRecord(R"({"active": true, "ttlConfig": 3600, "buttonTap": "single"})");
        Lumora::initiateTrackerWithKey(hostKey);
        wait(0.1);
        m_phone.content().setBackgroundColor(UIColor { 0.8, 0.83, 0.88, 1 });
        if (!firstLaunch)
            static_cast<void>(LMFirstTimeLaunchDetector::sharedInstance().isFirstLaunch());
    }

    /// Puts an ad there whose button comes at this moment.
    std::shared_ptr<TDReportButtonView> show(const CGRect& frame, bool fullScreen)
    {
        m_ad = make<UIView>();
        m_ad->setFrame(frame);
        m_ad->setBackgroundColor(UIColor { 0.98, 0.8, 0.45, 1 });
        auto words = make<UILabel>();
        words->setText("An advertisement");
        words->setFont({ "Roboto-Bold", 16 });
        words->setTextAlignment(NSTextAlignment::Center);
        words->setTextColor({ 0.5, 0.3, 0, 1 });
        const double lower = frame.size.height > 400 ? frame.size.height / 4 : 0;
        words->setFrame(CGRectMake(0, lower,
            std::min(frame.size.width, m_phone.content().bounds().size.width), frame.size.height - lower));
        m_ad->addSubview(words);
        m_phone.content().addSubview(m_ad);
        LMReportButtonHelper::addReportButtonToView(
            m_ad.get(), nullptr, fullScreen ? fullScreenMetadata() : NSDictionary {});
        wait(1);
        return buttonOn(*m_ad);
    }

    void wait(double seconds) { m_phone.wait(seconds); }
    void tap(UIView& view) { m_phone.tap(view); }
    UIView& window() { return m_phone.window(); }
    UIImage screen(const CGRect& part) { return cut(m_phone.screen(), part); }

private:
    static Phone::Options optionsFor(CGSize screen, LocalServices& services)
    {
        Phone::Options options;
        const bool notched = screen.height > 2 * screen.width;
        options.screen = { screen.width, screen.height, 2, notched ? 44.0 : 0, notched ? 34.0 : 0 };
        options.makeTransport = [&services] {
            return std::make_shared<DirectTransport>(services,
                TDAPI::getURLWithType(TDAPI::EndpointType::Configuration), LUMORA_COLLECTOR_SERVICE);
        };
        return options;
    }

    LocalServices m_services;
    // The ad goes before its phone.
    Phone m_phone;
    std::shared_ptr<UIView> m_ad;
};

/// Pictures with a line under each, row by row.
class Board {
public:
    Board(double width, double factor)
        : m_width(width)
        , m_factor(factor)
        , m_context(makeBitmapContext({ width, tallest }, 1))
    {
    }

    void heading(const std::string& words)
    {
        endRow();
        const TextStyle style { .font = { "Roboto-Bold", 15 }, .color = ink };
        m_context->drawText(words, style, { { m_x, m_y }, { m_width, 22 } });
        m_y += 30;
    }

    void add(const std::string& caption, const UIImage& picture)
    {
        const TextStyle style { .font = { "Roboto-Regular", 12 }, .color = ink };
        const CGSize size { picture.size().width * m_factor, picture.size().height * m_factor };
        const double needed = std::max(size.width, measureText(caption, style, 0).width);
        if (m_x > gap && m_x + needed > m_width - gap)
            endRow();
        m_context->drawImage(picture, { { m_x, m_y }, size });
        m_context->drawText(caption, style, { { m_x, m_y + size.height + 3 }, { needed, 18 } });
        m_x += needed + gap;
        m_rowHeight = std::max(m_rowHeight, size.height + 2.2 * gap);
    }

    void write(const std::filesystem::path& file)
    {
        endRow();
        const NSData png
            = UIImagePNGRepresentation(cut(m_context->makeImage(), CGRectMake(0, 0, m_width, m_y)));
        std::ofstream stream(file, std::ios::binary);
        stream.write(
            reinterpret_cast<const char*>(png.bytes.data()), static_cast<std::streamsize>(png.bytes.size()));
        if (!stream.flush())
            throw std::runtime_error("cannot write " + file.string());
    }

private:
    static constexpr double tallest = 4000;
    static constexpr double gap = 16;

    void endRow()
    {
        m_y += std::exchange(m_rowHeight, 0);
        m_x = gap;
    }

    double m_width;
    double m_factor;
    std::unique_ptr<CGBitmapContext> m_context;
    double m_x { gap };
    double m_y { gap };
    double m_rowHeight { 0 };
};

void buttonStates(const std::filesystem::path& file)
{
    Board board(900, 1);
    for (const bool fullScreen : { true, false }) {
        Stage stage({ 375, 812 }, false);
        const auto button
            = stage.show(fullScreen ? CGRectMake(0, 0, 375, 812) : CGRectMake(0, 300, 375, 50), fullScreen);
        const CGRect part = fullScreen ? CGRectMake(175, 120, 200, 76) : CGRectMake(175, 287, 200, 76);
        auto shoot = [&](const std::string& words, double after = 0) {
            stage.wait(after);
            board.add(
                std::to_string(static_cast<int>(button->buttonState())) + "  " + words, stage.screen(part));
        };
        const double half = button->timeForAnimation() / 2;
        board.heading(fullScreen ? "Full form (1): interstitials" : "Short form (2): banners and native ads");
        if (fullScreen) {
            shoot("slides in as an icon", half);
            shoot("icon", 1);
            button->animateFromIconToFull();
            shoot("opens", half);
            shoot("full", 1);
            stage.wait(2 + half);
            button->animateFromFullToIcon();
            shoot("closes", half);
            button->animateFromIconToFull();
            stage.wait(1);
        } else {
            shoot("slides in", half);
            shoot("full: the whole short button", 1);
        }
        button->animateFromFullToHidden();
        shoot("slides out", half);
        shoot("hidden", 1);
        button->adWasReported();
        if (!fullScreen)
            board.heading("Reported form (3): a short button that grew");
        shoot("the confirmation slides in", button->timeForAnimation() / 2);
        shoot("reported, for three seconds", 1);
    }
    board.write(file);
}

constexpr CGSize upright { 375, 812 };

/// What a tap on the open button shows; with a reason, a moment after that was chosen.
UIImage report(Stage& stage, TDReportButtonView& button, const char* reason, const CGRect& part)
{
    stage.wait(1);
    stage.tap(button);
    stage.wait(1);
    if (reason)
        stage.tap(*reasonOn(stage.window(), reason));
    stage.wait(0.5);
    return stage.screen(part);
}

/// The sheet over an interstitial that fills the screen.
UIImage sheet(CGSize screen, const char* reason = nullptr)
{
    Stage stage(screen, false);
    const auto button = stage.show({ {}, screen }, true);
    stage.wait(0.3);
    button->animateFromIconToFull();
    return report(stage, *button, reason, { {}, screen });
}

/// The overlay in an ad of that size.
UIImage overlay(CGSize screen, CGSize ad, const char* reason = nullptr)
{
    constexpr double margin = 12;
    Stage stage(screen, false);
    const double left = std::max(0.0, (screen.width - ad.width) / 2);
    const auto button = stage.show({ { left, 60 }, ad }, false);
    const double seenFrom = std::max(0.0, left - margin);
    const double seenTo = std::min(screen.width, left + ad.width + margin);
    return report(
        stage, *button, reason, CGRectMake(seenFrom, 60 - margin, seenTo - seenFrom, ad.height + 2 * margin));
}

/// The tutorial over an interstitial, so many seconds after it began to come.
UIImage tutorial(CGSize screen, double seconds)
{
    Stage stage(screen, true);
    stage.show({ {}, screen }, true);
    stage.wait(2 + seconds);
    return stage.screen({ {}, screen });
}

void screens(const std::filesystem::path& file)
{
    Board board(840, 0.5);
    board.heading("The button and the sheet, over interstitials");
    {
        Stage stage(upright, false);
        const auto button = stage.show({ {}, upright }, true);
        stage.wait(1);
        board.add("the icon", stage.screen({ {}, upright }));
        button->animateFromIconToFull();
        stage.wait(1);
        board.add("opened by a tap", stage.screen({ {}, upright }));
    }
    board.add("the sheet", sheet(upright));
    board.add("a reason lights up for a second", sheet(upright, "fraud"));
    board.heading("The tutorial, at the first launch: 2 s after the button");
    for (const auto& [words, seconds] :
        { std::pair { "comes in 0.7 s", 0.35 }, { "pulse: grown", 0.7 + 0.35 },
            { "pulse: blows out", 0.7 + 0.6 }, { "pulse: at rest", 0.7 + 1.2 } })
        board.add(words, tutorial(upright, seconds));
    board.heading("The overlay, in banners and native ads");
    for (const char* reason : { static_cast<const char*>(nullptr), "repetitive" }) {
        for (const CGSize size : { CGSize { 320, 50 }, CGSize { 300, 250 } })
            board.add(reason ? "a reason lights up" : "opened", overlay(upright, size, reason));
    }
    board.write(file);
}

void screenSizes(const std::filesystem::path& file)
{
    constexpr CGSize sizes[] { { 320, 568 }, { 375, 667 }, { 430, 932 }, { 768, 1024 }, { 844, 390 },
        { 667, 375 }, { 568, 320 } };
    Board board(1000, 0.4);
    auto name = [](CGSize size) {
        return std::to_string(static_cast<int>(size.width)) + " x "
            + std::to_string(static_cast<int>(size.height));
    };
    board.heading("The sheet");
    for (const CGSize size : sizes)
        board.add(name(size), sheet(size));
    board.heading("The tutorial");
    for (const CGSize size : sizes)
        board.add(name(size), tutorial(size, 0.7 + 0.5));
    board.heading("The overlay, by the ad's size");
    for (const CGSize ad : { CGSize { 320, 50 }, { 320, 100 }, { 300, 250 }, { 320, 480 }, { 160, 600 } })
        board.add(name(ad), overlay({ 320, 700 }, ad));
    for (const CGSize ad : { CGSize { 728, 90 }, { 468, 60 }, { 500, 250 } }) {
        board.add(name(ad), overlay({ 768, 1024 }, ad));
        board.add(name(ad) + " on 375", overlay(upright, ad));
    }
    board.write(file);
}

} // namespace
} // namespace lumora

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: gallery FOLDER\n");
        return 2;
    }
    try {
        const std::filesystem::path folder = argv[1];
        std::filesystem::create_directories(folder);
        lumora::buttonStates(folder / "button-states.png");
        lumora::screens(folder / "screens.png");
        lumora::screenSizes(folder / "screen-sizes.png");
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "gallery: %s\n", exception.what());
        return 1;
    }
}
