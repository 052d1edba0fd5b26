#pragma once

#include "platform/coregraphics/CGGeometry.h"
#include "platform/uikit/LayoutSolver.h"

#include <optional>
#include <vector>

namespace lumora {

class NSLayoutConstraint;
class UIView;

/// The layout of one superview's subviews: its equations, and what fills the freedom they leave. In order:
/// the constraints by priority, the natural size of the content, the size that a subview's own content asks
/// of it, the frame as it is. What lies outside of the subviews is taken as it stands. Main thread only.
class LayoutPass {
public:
    /// Sends layoutSubviews to every view that needs it, from the top downwards.
    static void run(UIView& top);
    /// Sets the frames of the subviews that constraints place. Answers whether a constraint names a view
    /// under a subview, whose own layout may then call for another round.
    static bool applyConstraints(UIView& superview);

private:
    /// The size of the superview itself is known, or is to be found out from what is inside; then its width
    /// may be given.
    enum class Purpose { Place, Measure };
    using OptionalSize = std::pair<std::optional<double>, std::optional<double>>;
    struct Box {
        LayoutExpression x, y, width, height;
    };

    LayoutPass(UIView& superview, Purpose purpose, int depth);
    bool hasEquations() const { return !m_equations.empty(); }
    void solve(std::optional<double> width);
    void setFrames();
    static OptionalSize measure(UIView& view, std::optional<double> width, int depth);

    void gather();
    bool isForThisSide(const NSLayoutConstraint& constraint, const UIView& child) const;
    void consider(const std::shared_ptr<NSLayoutConstraint>& constraint);
    void addEquation(NSLayoutConstraint& constraint);
    std::optional<size_t> indexOf(const UIView& view) const;
    std::optional<Box> boxOf(UIView& view);
    std::optional<LayoutExpression> expressionOf(NSLayoutConstraint& constraint, bool first);
    void fillWidths();
    void fillHeights();
    std::optional<double> valueOf(size_t child, size_t part)
    {
        return m_solver.value(child * partsOfChild + part);
    }

    static constexpr size_t partsOfChild = 4;
    UIView& m_superview;
    Purpose m_purpose;
    int m_depth;
    // The subviews that constraints place, and their unknowns: x, y, width and height of each; then the
    // superview's size.
    std::vector<std::shared_ptr<UIView>> m_children;
    std::map<const UIView*, size_t> m_indices;
    std::vector<std::shared_ptr<NSLayoutConstraint>> m_equations;
    LayoutSolver m_solver { 0 };
    bool m_reachesDeeper { false };
};

} // namespace lumora
