#include "platform/uikit/UILabel.h"

namespace lumora {

const ClassDescription& UILabel::classDescription()
{
    static const auto& description = *new ClassDescription(
        ClassDescription::of<UILabel, UIView>("UILabel")
            .method<&UILabel::intrinsicContentSize>(sel::intrinsicContentSize)
            .method<&UILabel::sizeThatFits>(sel::sizeThatFits)
            .method<&UILabel::drawRect>(sel::drawRect)
            .variable(
                "text", [](Object& object) { return Value { static_cast<UILabel&>(object).text() }; },
                [](Object& object, const Value& value) {
                    static_cast<UILabel&>(object).setText(value.stringOrEmpty());
                }));
    return description;
}
static const RegisteredClass registeredUILabel { &UILabel::classDescription };

void UILabel::setText(std::string text)
{
    if (m_text == text)
        return;
    m_text = std::move(text);
    invalidateIntrinsicContentSize();
}

void UILabel::setFont(UIFont font)
{
    m_style.font = std::move(font);
    invalidateIntrinsicContentSize();
}

void UILabel::setNumberOfLines(int lines)
{
    m_style.numberOfLines = std::max(0, lines);
    invalidateIntrinsicContentSize();
}

CGSize UILabel::intrinsicContentSize()
{
    return m_text.empty() ? CGSize {} : measureText(m_text, m_style, 0);
}

CGSize UILabel::sizeThatFits(CGSize size)
{
    return m_text.empty() ? CGSize {} : measureText(m_text, m_style, std::max(0.0, size.width));
}

void UILabel::drawRect(CGContext& context)
{
    if (!m_text.empty())
        context.drawText(m_text, m_style, bounds());
}

} // namespace lumora
