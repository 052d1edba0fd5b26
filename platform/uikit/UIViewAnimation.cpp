#include "platform/dispatch/Executor.h"
#include "platform/process/Process.h"
#include "platform/process/ProcessLocal.h"
#include "platform/uikit/UIView.h"

#include <cmath>

namespace lumora {

namespace {

/// One call of animateWithDuration: the animations it started, and what is owed at its end.
class AnimationBlock : public std::enable_shared_from_this<AnimationBlock> {
public:
    AnimationBlock(double duration, std::function<void(bool)> completion)
        : m_duration(duration)
        , m_completion(std::move(completion))
    {
    }

    void animate(
        CALayer& layer, const char* keyPath, const CAAnimationValue& from, const CAAnimationValue& to)
    {
        if (m_duration == 0)
            return layer.removeAnimationForKey(keyPath);
        auto animation = CABasicAnimation::animationWithKeyPath(keyPath);
        animation->setFromValue(from);
        animation->setToValue(to);
        animation->setDuration(m_duration);
        animation->setTimingFunction(CAMediaTimingFunction::EaseInEaseOut);
        animation->setInterruptionHandler([block = shared_from_this()] { block->wasInterrupted(); });
        ++m_running;
        m_replacing = true;
        layer.addAnimation(std::move(animation), keyPath);
        m_replacing = false;
    }

    void complete()
    {
        if (auto completion = std::exchange(m_completion, nullptr))
            completion(m_finished);
    }

private:
    void wasInterrupted()
    {
        --m_running;
        // A second change of one property in one block only goes further.
        if (m_replacing)
            return;
        m_finished = false;
        if (m_running == 0)
            Process::current().mainQueue().async([block = shared_from_this()] { block->complete(); });
    }

    double m_duration;
    std::function<void(bool)> m_completion;
    bool m_finished { true };
    int m_running { 0 };
    bool m_replacing { false };
};

/// The blocks being run, the innermost last.
struct RunningBlocks {
    std::vector<std::shared_ptr<AnimationBlock>> blocks;
};
const ProcessLocal<RunningBlocks> runningBlocks;

} // namespace

void UIView::animateWithDuration(
    double seconds, const std::function<void()>& animations, std::function<void(bool)> completion)
{
    const double duration = std::isfinite(seconds) ? std::max(0.0, seconds) : 0;
    auto block = std::make_shared<AnimationBlock>(duration, std::move(completion));
    struct Running {
        explicit Running(const std::shared_ptr<AnimationBlock>& block)
        {
            runningBlocks.get().blocks.push_back(block);
        }
        ~Running() { runningBlocks.get().blocks.pop_back(); }
    };
    auto complete
        = [&] { Process::current().mainQueue().asyncAfter(duration, [block] { block->complete(); }); };
    try {
        Running running(block);
        if (animations)
            animations();
    } catch (...) {
        complete();
        throw;
    }
    complete();
}

void UIView::animateChange(const char* keyPath, const CAAnimationValue& from, const CAAnimationValue& to)
{
    const auto& blocks = runningBlocks.get().blocks;
    if (!blocks.empty())
        blocks.back()->animate(layer(), keyPath, from, to);
}

} // namespace lumora
