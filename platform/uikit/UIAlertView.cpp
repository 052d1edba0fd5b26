#include "platform/uikit/UIAlertView.h"

#include "platform/uikit/UIApplication.h"
#include "platform/uikit/UIButton.h"
#include "platform/uikit/UIWindow.h"

namespace lumora {

namespace {

// Points.
constexpr double width = 270;
constexpr double margin = 16;
constexpr double buttonHeight = 44;
constexpr double cornerRadius = 13;

inline constinit const TypedSelector<void()> dismissSelector { "dismiss" };

ClassDescription::Getter getter(const std::optional<std::string>& (UIAlertView::*text)() const)
{
    return [text](Object& object) {
        const auto& value = (static_cast<UIAlertView&>(object).*text)();
        return value ? Value { *value } : Value {};
    };
}

/// Adds a text below what is there and answers where it ends.
double addText(UIAlertView& alert, const std::optional<std::string>& text, double top)
{
    if (!text || text->empty())
        return top;
    auto label = make<UILabel>();
    label->setText(*text);
    label->setTextAlignment(NSTextAlignment::Center);
    label->setNumberOfLines(0);
    const double height = send(label, sel::sizeThatFits, CGSize { width - 2 * margin, 0 }).height;
    label->setFrame({ { margin, top }, { width - 2 * margin, height } });
    alert.addSubview(label);
    return top + height + margin;
}

} // namespace

const ClassDescription& UIAlertView::classDescription()
{
    static const auto& description
        = *new ClassDescription(ClassDescription::of<UIAlertView, UIView>("UIAlertView")
                                    .method<&UIAlertView::show>(sel::show)
                                    .method<&UIAlertView::dismiss>(dismissSelector)
                                    .variable("title", getter(&UIAlertView::title))
                                    .variable("message", getter(&UIAlertView::message)));
    return description;
}
static const RegisteredClass registeredUIAlertView { &UIAlertView::classDescription };

std::shared_ptr<UIAlertView> UIAlertView::alertWithTitle(
    std::optional<std::string> title, std::optional<std::string> message)
{
    auto alert = make<UIAlertView>();
    alert->m_title = std::move(title);
    alert->m_message = std::move(message);
    return alert;
}

void UIAlertView::show()
{
    const auto host = UIApplication::sharedApplication().keyWindow();
    if (!host || isVisible())
        return;
    for (const auto& view : subviews())
        view->removeFromSuperview();
    setBackgroundColor(UIColor::whiteColor());
    layer().setCornerRadius(cornerRadius);
    const double bottom = addText(*this, m_message, addText(*this, m_title, margin));
    auto button = make<UIButton>();
    button->setTitle("OK");
    button->setFrame({ { 0, bottom }, { width, buttonHeight } });
    button->addTarget(weakly<Object>(this), dismissSelector);
    addSubview(button);
    setFrame({ {}, { width, bottom + buttonHeight } });
    host->addSubview(retain(this));
    setCenter({ host->bounds().midX(), host->bounds().midY() });
}

} // namespace lumora
