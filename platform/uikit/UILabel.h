#pragma once

#include "platform/uikit/UIView.h"

namespace lumora {

/// A text. Its natural size is that of the text in its font. Main thread only.
class UILabel final : public UIView {
public:
    static const ClassDescription& classDescription();
    /// How far a font may shrink to fit the width.
    static constexpr double minimumScaleFactor = 0.5;

    UILabel() { setUserInteractionEnabled(false); }
    const std::string& text() const { return m_text; }
    void setText(std::string text);
    const UIFont& font() const { return m_style.font; }
    void setFont(UIFont font);
    const UIColor& textColor() const { return m_style.color; }
    void setTextColor(const UIColor& color) { m_style.color = color; }
    NSTextAlignment textAlignment() const { return m_style.alignment; }
    void setTextAlignment(NSTextAlignment alignment) { m_style.alignment = alignment; }
    int numberOfLines() const { return m_style.numberOfLines; }
    void setNumberOfLines(int lines);
    bool adjustsFontSizeToFitWidth() const { return m_style.minimumScaleFactor < 1; }
    void setAdjustsFontSizeToFitWidth(bool adjusts)
    {
        m_style.minimumScaleFactor = adjusts ? minimumScaleFactor : 1;
    }

    CGSize intrinsicContentSize();
    CGSize sizeThatFits(CGSize size);
    void drawRect(CGContext& context);

private:
    std::string m_text;
    TextStyle m_style;
};

} // namespace lumora
