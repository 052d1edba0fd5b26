#pragma once

#include "platform/uikit/UIImage.h"
#include "platform/uikit/UIView.h"

namespace lumora {

/// A picture, placed by the content mode; its natural size is the picture's. Main thread only.
class UIImageView : public UIView {
public:
    static const ClassDescription& classDescription();

    UIImageView() { setUserInteractionEnabled(false); }
    const UIImage& image() const { return m_image; }
    void setImage(UIImage image);
    /// A colour for every pixel, of which only the opacity is then the picture's.
    const std::optional<UIColor>& tintColor() const { return m_tintColor; }
    void setTintColor(std::optional<UIColor> color);

    CGSize intrinsicContentSize();
    void drawRect(CGContext& context);

private:
    UIImage m_image;
    std::optional<UIColor> m_tintColor;
    UIImage m_tinted;
};

} // namespace lumora
