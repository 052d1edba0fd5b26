#include "processing/LMAVPlayersManager.h"

#include "interception/Extraction.h"
#include "interception/Swizzling.h"
#include "platform/process/ProcessLocal.h"
#include "platform/quartzcore/CALayer.h"
#include "platform/uikit/UIButton.h"
#include "processing/ProcessorsManager.h"
#include "service/TDEventModel.h"
#include "support/Guarded.h"
#include "support/UIViewControllerExtensions.h"

#include <algorithm>

namespace lumora {

namespace {

ProcessLocal<LMAVPlayersManager> s_sharedInstance;

constexpr const char* playerController = "AVPlayerViewController";
// Seconds: until a controller that appears has its player in place, and between two looks for its button.
constexpr double timeToSettle = 1.0;
constexpr double timeBetweenAttempts = 3.0;
constexpr int attemptsAfterTheFirst = 3;

Slot<void(id, SEL, bool)> lumora_avplayer_enterfullscreen1IMP;
void lumora_avplayer_enterfullscreen1(id self, SEL _cmd, bool animated)
{
    guardedHook(self, [&] {
        dispatch_get_main_queue().asyncAfter(timeToSettle, [weakSelf = weakly(as<UIViewController>(self))] {
            const auto controller = weakSelf.lock();
            if (controller)
                LMAVPlayersManager::sharedInstance().controllerAppeared(*controller);
        });
    });
    lumora_avplayer_enterfullscreen1IMP(self, _cmd, animated);
}

/// The player that a system player's controller shows; null when it keeps it elsewhere.
std::shared_ptr<AVPlayer> playerIn(const UIViewController& controller)
{
    const auto view = as<UIView>(getValueFromObject(&controller, "_playerLayerView").object());
    if (!view)
        return nullptr;
    const auto video = as<CALayer>(getValueFromObject(&view->layer(), "videoSublayer").object());
    if (!video || video->sublayers().empty())
        return nullptr;
    return as<AVPlayer>(getValueFromObject(video->sublayers().front().get(), "player").object());
}

bool names(std::string_view markup, const std::optional<NSURLValue>& url)
{
    return url && markup.find(url->absoluteString) != std::string_view::npos;
}

std::string textOf(const std::optional<NSURLValue>& url)
{
    return url ? url->absoluteString : std::string {};
}

} // namespace

const ClassDescription& LMAVPlayersManager::classDescription()
{
    using Self = LMAVPlayersManager;
    static const auto& description
        = *new ClassDescription(ClassDescription::of<Self, NSObject>("LMAVPlayersManager")
                                    .classMethod<&Self::swizzleMethods>(sel::swizzleMethods)
                                    .method<&Self::init>(sel::init));
    return description;
}
static const RegisteredClass registered { &LMAVPlayersManager::classDescription };

LMAVPlayersManager& LMAVPlayersManager::sharedInstance() { return s_sharedInstance.get(); }

id LMAVPlayersManager::init()
{
    m_framePages = make<FramePages>();
    m_lmAVPlayerObserverQueue = dispatch_queue_create("com.lumora.serial.queue");
    return this;
}

void LMAVPlayersManager::swizzleMethods()
{
    installHooks({ { "UIViewController", "viewDidAppear:", &lumora_avplayer_enterfullscreen1,
        &lumora_avplayer_enterfullscreen1IMP } });
}

// Players

void LMAVPlayersManager::controllerAppeared(UIViewController& controller)
{
    if (object_getClassName(&controller) != playerController)
        return;
    const auto player = playerIn(controller);
    if (!player)
        return;
    auto observed = findObservedAVPlayerWithAVPlayer(player.get());
    if (!observed) {
        AVPlayerItem* const item = player->currentItem();
        AVURLAsset* const asset = item ? item->asset() : nullptr;
        observed = LMObservedPlayer::with(
            player.get(), item, asset ? std::optional { asset->URL() } : std::nullopt);
        addObservedPlayer(observed);
    }
    observed->setWeakVC(&controller);
    checkAllProcessors();
}

void LMAVPlayersManager::addObservedPlayer(const std::shared_ptr<LMObservedPlayer>& observed)
{
    if (observed)
        m_avPlayers.push_back(observed);
}

void LMAVPlayersManager::removeObservedPlayer(const std::shared_ptr<LMObservedPlayer>& observed)
{
    std::erase(m_avPlayers, observed);
}

std::shared_ptr<LMObservedPlayer> LMAVPlayersManager::findObservedAVPlayerWithAVPlayer(
    const AVPlayer* player) const
{
    const auto found = std::find_if(m_avPlayers.begin(), m_avPlayers.end(),
        [&](const auto& observed) { return player && observed->player().get() == player; });
    return found == m_avPlayers.end() ? nullptr : *found;
}

bool LMAVPlayersManager::isObserved(const std::shared_ptr<LMObservedPlayer>& observed) const
{
    return std::find(m_avPlayers.begin(), m_avPlayers.end(), observed) != m_avPlayers.end();
}

// Ads

void LMAVPlayersManager::checkAllProcessors()
{
    const auto processors = ProcessorsManager::sharedInstance().getAllProcessors();
    for (auto processor = processors.rbegin(); processor != processors.rend(); ++processor)
        guarded([&] { checkProcessorForPlayingVideo(*processor); });
}

void LMAVPlayersManager::checkProcessorForPlayingVideo(const std::shared_ptr<LMAdViewProcessor>& processor)
{
    // Without a player no markup is read: the next player has all processors checked.
    if (!processor || m_avPlayers.empty())
        return;
    // Whether the markup could be read does not matter: kept, what could not is an empty one.
    processor->getNewHTMLWithPurpose(
        HTMLPurpose::Inspection, [self = retain(this), processor](bool, const std::string& html) {
            // Nothing that could name a video.
            if (html.empty() && !FramePages::pageWithFrames(*processor))
                return;
            // Pages may be large and players many: the main thread does not wait for the search.
            auto search = [self, processor = processor, html, players = self->m_avPlayers]() mutable {
                std::vector<bool> isNamed;
                for (const auto& observed : players)
                    isNamed.push_back(names(html, observed->videoURL()));
                // Handed over whole, so that nothing ends on this queue.
                dispatch_get_main_queue().async(
                    [self = std::move(self), processor = std::move(processor), players = std::move(players),
                        isNamed] { self->stopPlayingVideo(processor, players, isNamed); });
            };
            self->m_lmAVPlayerObserverQueue->async(std::move(search));
        });
}

void LMAVPlayersManager::stopPlayingVideo(const std::shared_ptr<LMAdViewProcessor>& processor,
    const Players& players, const std::vector<bool>& isNamed)
{
    const bool looksIntoFrames = FramePages::pageWithFrames(*processor) != nullptr;
    for (size_t i = 0; i < players.size(); i++) {
        const auto& observed = players[i];
        // Another ad's check may have stopped it meanwhile.
        if (!isObserved(observed))
            continue;
        if (isNamed[i])
            return disableFullscreenVideoWithProcessor(*processor, observed);
        if (!looksIntoFrames)
            continue;
        m_framePages->processorIframesContainsURL(processor, textOf(observed->videoURL()),
            [self = retain(this), processor, observed](bool isFound) {
                if (isFound && self->isObserved(observed))
                    self->disableFullscreenVideoWithProcessor(*processor, observed);
            });
    }
}

// The end of a video

void LMAVPlayersManager::disableFullscreenVideoWithProcessor(
    LMAdViewProcessor& processor, const std::shared_ptr<LMObservedPlayer>& observedPlayer)
{
    const auto ad = processor.adObject();
    const auto event = make<TDEventModel>();
    event->setType("autoplay");
    event->setVideo(textOf(observedPlayer->videoURL()));
    guarded([&] { ProcessorsManager::sharedInstance().eventFired(event, ad); });
    if (const auto view = as<UIView>(ad))
        view->setAlpha(0);
    std::shared_ptr<Object> controller = observedPlayer->weakVC();
    if (!controller)
        controller = getValueFromObject(currentViewController(), "delegate").object();
    if (!isKindOfClassNamed(controller.get(), playerController))
        return;
    disableAVPlayerVC(controller, observedPlayer->player(), observedPlayer->playerItem(), 0);
    removeObservedPlayer(observedPlayer);
}

void LMAVPlayersManager::disableAVPlayerVC(const std::shared_ptr<Object>& controller,
    const std::shared_ptr<AVPlayer>& player, const std::shared_ptr<AVPlayerItem>& playerItem,
    int attemptCount)
{
    static const KeyPaths doneButton { "_playbackControlsViewController._doneButton",
        "_playbackControlsController._playbackControlsView._doneButton" };
    if (const auto button = getValueFromObject(controller.get(), doneButton).object()) {
        guarded([&] { send(button, sel::sendActionsForControlEvents, UIControlEventTouchUpInside); });
        guarded([&] {
            send(player, sel::pause);
            send(player, sel::replaceCurrentItemWithPlayerItem, nullptr);
        });
        return;
    }
    if (attemptCount >= attemptsAfterTheFirst)
        return;
    dispatch_get_main_queue().asyncAfter(timeBetweenAttempts,
        [self = retain(this), weakController = std::weak_ptr(controller), weakPlayer = std::weak_ptr(player),
            weakItem = std::weak_ptr(playerItem), attemptCount] {
            self->disableAVPlayerVC(
                weakController.lock(), weakPlayer.lock(), weakItem.lock(), attemptCount + 1);
        });
}

} // namespace lumora
