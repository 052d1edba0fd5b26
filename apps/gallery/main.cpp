// Pictures of the report button in every state and form and of every report screen, on screens and ads of
// many sizes: gallery FOLDER writes button-states.png, screens.png and screen-sizes.png there.

#include "devservice/ConfigurationService.h"
#include "interception/TDMetadataClassProtocol.h"
#include "lumora/LMReportButtonHelper.h"
#include "lumora/Lumora.h"
#include "platform/uikit/UILabel.h"
#include "report/LMInterstitialTutorialView.h"
#include "service/LMFirstTimeLaunchDetector.h"
#include "service/TDAPI.h"
#include "simulator/Finding.h"
#include "simulator/Phone.h"

#include <cstdio>
#include <fstream>

namespace lumora {
namespace {

constexpr const char* hostKey = "gallery-key-of-thirty-letters!";
constexpr UIColor ink { 0.09, 0.13, 0.2, 1 };
constexpr UIColor paper { 0.93, 0.94, 0.96, 1 };

/// The pictures' own network: full-screen ads.
class FullScreenAd final : public NSObject {
public:
    static const ClassDescription& classDescription()
    {
        static const ClassDescription description
            = ClassDescription::of<FullScreenAd, NSObject>("GalleryFullScreenAd")
                  .classMethod<&name>(sel::getSDKName)
                  .classMethod<&name>(sel::getVersion)
                  .classMethod<&type>(sel::adType);
        return description;
    }
    static std::string name() { return "Gallery"; }
    static std::string type() { return "interstitial"; }
};

/// A phone with an ad on its screen and the service in reach.
class Stage {
public:
    Stage(CGSize screen, bool firstLaunch)
        : m_service(hostKey)
        , m_phone(optionsFor(screen, m_service))
    {
        m_service.setRecord(R"({"active": true, "ttlConfig": 3600, "buttonTap": "single"})");
        Lumora::initiateTrackerWithKey(hostKey);
        wait(0.1);
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
        words->setFrame(
            { {}, { std::min(frame.size.width, m_phone.content().bounds().size.width), frame.size.height } });
        m_ad->addSubview(words);
        m_phone.content().addSubview(m_ad);
        LMReportButtonHelper::addReportButtonToView(m_ad.get(), nullptr,
            fullScreen ? NSDictionary { { "metaclass", retain(classOf<FullScreenAd>()) } } : NSDictionary {});
        wait(1);
        return buttonOn(*m_ad);
    }

    void wait(double seconds) { m_phone.wait(seconds); }
    void tap(UIView& view) { m_phone.tap(view); }
    UIView& ad() { return *m_ad; }
    UIView& window() { return m_phone.window(); }
    UIImage screen() { return m_phone.screen(); }
    /// The same, cut to a rectangle.
    UIImage screen(const CGRect& part)
    {
        const UIImage whole = screen();
        const auto context = makeBitmapContext(part.size, whole.scale());
        context->drawImage(whole, { { -part.minX(), -part.minY() }, whole.size() });
        return context->makeImage();
    }

private:
    static Phone::Options optionsFor(CGSize screen, ConfigurationService& service)
    {
        Phone::Options options;
        const bool notched
            = std::max(screen.width, screen.height) >= 780 && std::min(screen.width, screen.height) < 500;
        const bool upright = screen.height > screen.width;
        options.screen = { screen.width, screen.height, 2,
            notched ? (upright ? 44.0 : 0) : (upright ? 20.0 : 0), notched ? (upright ? 34.0 : 21.0) : 0 };
        options.makeTransport = [&service] {
            return std::make_shared<DirectTransport>(
                service, TDAPI::getURLWithType(TDAPI::EndpointType::Configuration));
        };
        return options;
    }

    ConfigurationService m_service;
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
    {
    }

    void heading(const std::string& text) { m_items.push_back({ text, {} }); }
    void add(const std::string& caption, UIImage picture)
    {
        m_items.push_back({ caption, std::move(picture) });
    }

    void write(const std::filesystem::path& file)
    {
        const double height = draw(nullptr);
        const auto context = makeBitmapContext({ m_width, height }, 1);
        context->fillPath(UIBezierPath::bezierPathWithRect({ {}, { m_width, height } }), paper);
        draw(context.get());
        const NSData png = UIImagePNGRepresentation(context->makeImage());
        std::ofstream stream(file, std::ios::binary);
        stream.write(
            reinterpret_cast<const char*>(png.bytes.data()), static_cast<std::streamsize>(png.bytes.size()));
        if (!stream.flush())
            throw std::runtime_error("cannot write " + file.string());
    }

private:
    struct Item {
        std::string caption;
        UIImage picture;
    };
    static constexpr double gap = 16;
    static constexpr double captionHeight = 18;

    /// The height it takes; draws when there is something to draw into.
    double draw(CGContext* context)
    {
        double x = gap, y = gap, rowHeight = 0;
        auto endRow = [&] {
            y += rowHeight;
            x = gap;
            rowHeight = 0;
        };
        for (const Item& item : m_items) {
            if (item.picture.isNull()) {
                endRow();
                text(context, item.caption, "Roboto-Bold", 15, { { x, y }, { m_width - 2 * gap, 22 } });
                y += 22 + gap / 2;
                continue;
            }
            const CGSize size { item.picture.size().width * m_factor, item.picture.size().height * m_factor };
            const double needed = std::max(
                size.width, measureText(item.caption, { .font = { "Roboto-Regular", 12 } }, 0).width);
            if (x > gap && x + needed > m_width - gap)
                endRow();
            if (context)
                context->drawImage(item.picture, { { x, y }, size });
            text(context, item.caption, "Roboto-Regular", 12,
                { { x, y + size.height + 3 }, { needed, captionHeight } });
            x += needed + gap;
            rowHeight = std::max(rowHeight, size.height + captionHeight + gap);
        }
        endRow();
        return y;
    }

    static void text(
        CGContext* context, const std::string& text, const char* font, double size, const CGRect& rect)
    {
        if (context)
            context->drawText(text, { .font = { font, size }, .color = ink }, rect);
    }

    double m_width;
    double m_factor;
    std::vector<Item> m_items;
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

/// The sheet over an interstitial that fills the screen; with a reason, a moment after that was chosen.
UIImage sheet(CGSize screen, const char* reason = nullptr)
{
    Stage stage(screen, false);
    const auto button = stage.show({ {}, screen }, true);
    stage.wait(0.3);
    button->animateFromIconToFull();
    stage.wait(1);
    stage.tap(*button);
    stage.wait(1);
    if (reason)
        stage.tap(*reasonOn(stage.window(), reason));
    stage.wait(0.5);
    return stage.screen();
}

/// The tutorial over an interstitial, so many seconds after it began to come.
UIImage tutorial(CGSize screen, double seconds)
{
    Stage stage(screen, true);
    stage.show({ {}, screen }, true);
    stage.wait(2 + seconds);
    return stage.screen();
}

/// The overlay in an ad, the same with a reason chosen.
UIImage overlay(CGSize screen, const CGRect& frame, const char* reason = nullptr)
{
    Stage stage(screen, false);
    const auto button = stage.show(frame, false);
    stage.wait(0.1);
    stage.tap(*button);
    stage.wait(1);
    if (reason)
        stage.tap(*reasonOn(stage.ad(), reason));
    stage.wait(0.5);
    constexpr double margin = 12;
    const CGRect around = frame.insetBy(-margin, -margin);
    return stage.screen(around);
}

CGRect adOn(CGSize screen, double width, double height)
{
    return CGRectMake(std::max(0.0, (screen.width - width) / 2), 60, width, height);
}

void screens(const std::filesystem::path& file)
{
    Board board(840, 0.5);
    board.heading("The sheet, over interstitials");
    board.add("opened", sheet(upright));
    board.add("a reason lights up for a second", sheet(upright, "fraud"));
    board.heading("The tutorial, at the first launch: 2 s after the button");
    for (const auto& [words, seconds] :
        { std::pair { "comes in 0.7 s", 0.35 }, { "pulse: grown", 0.7 + 0.35 },
            { "pulse: blows out", 0.7 + 0.6 }, { "pulse: at rest", 0.7 + 1.2 } })
        board.add(words, tutorial(upright, seconds));
    board.heading("The overlay, in banners and native ads");
    for (const char* reason : { static_cast<const char*>(nullptr), "repetitive" }) {
        for (const CGSize size : { CGSize { 320, 50 }, CGSize { 300, 250 } })
            board.add(reason ? "a reason lights up" : "opened",
                overlay(upright, adOn(upright, size.width, size.height), reason));
    }
    board.write(file);
}

void screenSizes(const std::filesystem::path& file)
{
    constexpr CGSize sizes[] { { 320, 568 }, { 375, 667 }, { 430, 932 }, { 844, 390 }, { 667, 375 },
        { 568, 320 }, { 768, 1024 } };
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
        board.add(name(ad), overlay({ 320, 700 }, adOn({ 320, 700 }, ad.width, ad.height)));
    for (const CGSize ad : { CGSize { 728, 90 }, { 468, 60 }, { 500, 250 } }) {
        board.add(name(ad), overlay({ 768, 1024 }, adOn({ 768, 1024 }, ad.width, ad.height)));
        board.add(name(ad) + " on 375", overlay(upright, adOn(upright, ad.width, ad.height)));
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
