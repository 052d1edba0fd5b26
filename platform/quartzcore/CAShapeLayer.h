#pragma once

#include "platform/quartzcore/CALayer.h"

namespace lumora {

/// A layer that fills a path, in points of the layer itself. Black unless a colour is set.
class CAShapeLayer final : public CALayer {
public:
    static const ClassDescription& classDescription();

    const UIBezierPath& path() const { return m_path; }
    void setPath(UIBezierPath path) { m_path = std::move(path); }
    UIBezierPath presentationPath() const;
    const UIColor& fillColor() const { return m_fillColor; }
    void setFillColor(const UIColor& color) { m_fillColor = color; }

private:
    UIBezierPath m_path;
    UIColor m_fillColor { UIColor::blackColor() };
};

} // namespace lumora
