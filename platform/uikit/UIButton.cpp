#include "platform/uikit/UIButton.h"

#include "platform/uikit/UITapGestureRecognizer.h"

namespace lumora {

namespace {
/// Sends a button's actions in the button's name.
class UIButtonActionRecognizer final : public UITapGestureRecognizer {
public:
    static const ClassDescription& classDescription()
    {
        static const auto& description
            = *new ClassDescription(ClassDescription::of<UIButtonActionRecognizer, UITapGestureRecognizer>(
                "UIButtonActionRecognizer"));
        return description;
    }
    using UIGestureRecognizer::sendActions;

protected:
    Object* sender() override { return view(); }
};
} // namespace

const ClassDescription& UIButton::classDescription()
{
    static const auto& description = *new ClassDescription(
        ClassDescription::of<UIButton, UIView>("UIButton")
            .method<&UIButton::layoutSubviews>(sel::layoutSubviews)
            .method<&UIButton::intrinsicContentSize>(sel::intrinsicContentSize)
            .method<&UIButton::drawRect>(sel::drawRect)
            .method<&UIButton::touchesBegan>(sel::touchesBegan)
            .method<&UIButton::touchesEnded>(sel::touchesEnded)
            .method<&UIButton::touchesCancelled>(sel::touchesCancelled)
            .method<&UIButton::sendActionsForControlEvents>(sel::sendActionsForControlEvents)
            .method<&UIButton::recognizesTogether>(sel::gestureRecognizerShouldRecognizeSimultaneouslyWith)
            .variable<&UIButton::m_highlighted>("highlighted")
            .variable<&UIButton::m_selected>("selected"));
    return description;
}
static const RegisteredClass registeredUIButton { &UIButton::classDescription };

UILabel& UIButton::titleLabel()
{
    if (!m_titleLabel) {
        m_titleLabel = make<UILabel>();
        m_titleLabel->setTextAlignment(NSTextAlignment::Center);
        addSubview(m_titleLabel);
    }
    return *m_titleLabel;
}

void UIButton::addTarget(std::weak_ptr<Object> target, SEL action)
{
    auto recognizer = m_actionRecognizer.lock();
    if (!recognizer) {
        recognizer = make<UIButtonActionRecognizer>();
        recognizer->setDelegate(weakly(this));
        addGestureRecognizer(recognizer);
        m_actionRecognizer = recognizer;
    }
    recognizer->addTarget(std::move(target), action);
}

void UIButton::sendActionsForControlEvents(uint64_t events)
{
    const auto recognizer = std::static_pointer_cast<UIButtonActionRecognizer>(m_actionRecognizer.lock());
    if (recognizer && (events & UIControlEventTouchUpInside) != 0)
        recognizer->sendActions();
}

bool UIButton::recognizesTogether(Object* recognizer, Object* other)
{
    const auto* const one = as<UIGestureRecognizer>(recognizer);
    const auto* const another = as<UIGestureRecognizer>(other);
    return one && another && one->view() == this && another->view() == this;
}

void UIButton::layoutSubviews()
{
    UIView::layoutSubviews();
    if (m_titleLabel)
        m_titleLabel->setFrame(bounds().insetBy(titleInset, 0));
}

CGSize UIButton::intrinsicContentSize()
{
    const CGSize title = titleLabel().intrinsicContentSize();
    return { title.width + 2 * titleInset, title.height };
}

void UIButton::drawRect(CGContext& context)
{
    constexpr double veil = 0.3;
    if (m_highlighted) {
        context.fillPath(UIBezierPath::bezierPathWithRoundedRect(bounds(), layer().cornerRadius()),
            UIColor::whiteColor().withAlpha(veil));
    }
}

void UIButton::touchesBegan(const Value&, Object*) { setHighlighted(true); }
void UIButton::touchesEnded(const Value&, Object*) { setHighlighted(false); }
void UIButton::touchesCancelled(const Value&, Object*) { setHighlighted(false); }

} // namespace lumora
