#include "platform/uikit/UIViewDrawing.h"

#include "platform/quartzcore/CAShapeLayer.h"

#include <algorithm>

namespace lumora {

namespace {

/// A walk over layers that draws each and what is under it.
class LayerPainter {
public:
    LayerPainter(CGContext& context, bool presentation)
        : m_context(context)
        , m_presentation(presentation)
    {
    }

    void draw(CALayer& layer, CGPoint origin, CGSize size)
    {
        const double opacity
            = std::clamp(m_presentation ? layer.presentationOpacity() : layer.opacity(), 0.0, 1.0);
        if (layer.isHidden() || opacity == 0)
            return;
        m_context.saveGState();
        m_context.translateBy(origin.x, origin.y);
        if (layer.mask())
            clipToMask(*layer.mask());
        if (opacity < 1)
            m_context.beginTransparencyLayer(opacity);
        const UIBezierPath outline
            = UIBezierPath::bezierPathWithRoundedRect({ {}, size }, layer.cornerRadius());
        m_context.saveGState();
        if (layer.masksToBounds())
            m_context.clipToPath(outline);
        drawContent(layer, outline, size);
        for (const auto& sublayer : layer.sublayersInDrawingOrder()) {
            const CGRect frame = frameOf(*sublayer);
            const CGPoint scrolled = layer.bounds().origin;
            draw(*sublayer, { frame.minX() - scrolled.x, frame.minY() - scrolled.y }, frame.size);
        }
        m_context.restoreGState();
        if (layer.borderWidth() > 0) {
            const double inset = layer.borderWidth() / 2;
            const CGRect edge = CGRect { {}, size }.insetBy(inset, inset);
            m_context.strokePath(
                UIBezierPath::bezierPathWithRoundedRect(edge, std::max(0.0, layer.cornerRadius() - inset)),
                layer.borderColor(), layer.borderWidth());
        }
        if (opacity < 1)
            m_context.endTransparencyLayer();
        m_context.restoreGState();
    }

    CGRect frameOf(const CALayer& layer) const
    {
        return m_presentation ? layer.presentationFrame() : layer.frame();
    }

private:
    UIBezierPath pathOf(const CAShapeLayer& layer) const
    {
        return m_presentation ? layer.presentationPath() : layer.path();
    }

    void clipToMask(CALayer& mask)
    {
        const auto* const shape = as<CAShapeLayer>(&mask);
        const CGRect frame = frameOf(mask);
        m_context.translateBy(frame.minX(), frame.minY());
        m_context.clipToPath(shape ? pathOf(*shape) : UIBezierPath::bezierPathWithRect({ {}, frame.size }));
        m_context.translateBy(-frame.minX(), -frame.minY());
    }

    void drawContent(CALayer& layer, const UIBezierPath& outline, CGSize size)
    {
        const auto background
            = m_presentation ? layer.presentationBackgroundColor() : layer.backgroundColor();
        if (background && background->alpha > 0)
            m_context.fillPath(outline, *background);
        layer.drawInContext(m_context, size);
        if (const auto* const shape = as<CAShapeLayer>(&layer))
            m_context.fillPath(pathOf(*shape), shape->fillColor());
        const auto view = retain(layer.view());
        if (!view)
            return;
        m_context.saveGState();
        m_context.translateBy(-layer.bounds().minX(), -layer.bounds().minY());
        send(view, sel::drawRect, m_context);
        m_context.restoreGState();
    }

    CGContext& m_context;
    bool m_presentation;
};

UIImage picture(CALayer& layer, std::unique_ptr<CGBitmapContext> context, bool presentation)
{
    if (!context)
        return {};
    LayerPainter painter(*context, presentation);
    painter.draw(layer, {}, painter.frameOf(layer).size);
    return context->makeImage();
}

} // namespace

void drawViewHierarchy(UIView& root, CGContext& context)
{
    LayerPainter painter(context, true);
    painter.draw(root.layer(), {}, painter.frameOf(root.layer()).size);
}

UIImage takeImageOfView(UIView& view, CGSize size, double scale)
{
    view.layoutIfNeeded();
    return picture(view.layer(), makeBitmapContext(size, scale), true);
}

UIImage renderLayer(CALayer& layer, CGSize size, double scale, bool opaque)
{
    return picture(layer, makeBitmapContext(size, scale, opaque), false);
}

} // namespace lumora
