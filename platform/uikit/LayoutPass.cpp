#include "platform/uikit/LayoutPass.h"

#include "platform/uikit/NSLayoutConstraint.h"
#include "platform/uikit/UILayoutGuide.h"
#include "platform/uikit/UIViewController.h"

#include <algorithm>
#include <cmath>

namespace lumora {

// How deep views may take their size from what is inside them.
static constexpr int deepestMeasure = 4;
// How often a superview follows constraints to views under its subviews.
static constexpr int roundsForDeepConstraints = 2;

void LayoutPass::run(UIView& view)
{
    const auto held = retain(&view);
    const auto controller = view.m_viewController.lock();
    const bool needed = view.m_needsLayout;
    view.m_subtreeNeedsLayout = false;
    view.m_needsLayout = false;
    if (needed) {
        send(controller, sel::viewWillLayoutSubviews);
        send(&view, sel::layoutSubviews);
    }
    auto layOutBelow = [&] {
        bool any = false;
        for (const auto& child : view.subviews()) {
            if (child->superview() == &view && child->m_subtreeNeedsLayout) {
                any = true;
                run(*child);
            }
        }
        return any;
    };
    bool moved = layOutBelow() || needed;
    for (int round = 0; moved && view.m_constraintsReachDeeper && round < roundsForDeepConstraints; ++round) {
        applyConstraints(view);
        moved = layOutBelow();
    }
    if (needed)
        send(controller, sel::viewDidLayoutSubviews);
    view.stillNeedsLayout();
}

bool LayoutPass::applyConstraints(UIView& superview)
{
    LayoutPass pass(superview, Purpose::Place, 0);
    if (pass.m_children.empty())
        return false;
    pass.solve(std::nullopt);
    pass.setFrames();
    return pass.m_reachesDeeper;
}

LayoutPass::LayoutPass(UIView& superview, Purpose purpose, int depth)
    : m_superview(superview)
    , m_purpose(purpose)
    , m_depth(depth)
{
    for (const auto& child : superview.subviews()) {
        if (child->translatesAutoresizingMaskIntoConstraints())
            continue;
        m_indices.emplace(child.get(), m_children.size());
        m_children.push_back(child);
    }
    m_solver = LayoutSolver(m_children.size() * partsOfChild + 2);
    gather();
}

void LayoutPass::gather()
{
    std::erase_if(m_superview.m_constraints, [](const auto& constraint) {
        return !constraint->firstItem() || (constraint->m_hasSecond && !constraint->secondItem());
    });
    for (const auto& constraint : m_superview.m_constraints)
        consider(constraint);
    for (const auto& child : m_children) {
        for (const auto& constraint : child->m_constraints) {
            // The child's own size; what lies inside of it is the child's layout.
            const UIView* second = constraint->m_second.view();
            if (constraint->m_first.view() == child.get() && (!second || second == child.get()))
                consider(constraint);
        }
        std::erase_if(child->m_distantConstraints, [](const auto& weak) {
            const auto constraint = weak.lock();
            return !constraint || !constraint->isActive();
        });
        for (const auto& weak : child->m_distantConstraints) {
            if (const auto constraint = weak.lock(); isForThisSide(*constraint, *child))
                consider(constraint);
        }
    }
    std::stable_sort(m_equations.begin(), m_equations.end(), [this](const auto& one, const auto& other) {
        // What reaches out of the superview comes after what is inside.
        auto distant = [this](const auto& constraint) {
            return !constraint->m_holder.lock()->isDescendantOfView(&m_superview);
        };
        if (distant(one) != distant(other))
            return distant(other);
        return one->priority() > other->priority();
    });
}

// Of a constraint between branches one side moves: the one right under their common superview, or else the
// first.
bool LayoutPass::isForThisSide(const NSLayoutConstraint& constraint, const UIView& child) const
{
    const bool isFirst = constraint.m_first.view() == &child;
    const UIView* other = (isFirst ? constraint.m_second : constraint.m_first).view();
    if (!other || m_superview.isDescendantOfView(other))
        return true;
    const bool isHigher = other->superview() == constraint.m_holder.lock().get();
    return isHigher ? other->translatesAutoresizingMaskIntoConstraints() : isFirst;
}

void LayoutPass::consider(const std::shared_ptr<NSLayoutConstraint>& constraint)
{
    auto concernsChild = [&](const UIView* view) { return view && indexOf(*view); };
    if (concernsChild(constraint->m_first.view()) || concernsChild(constraint->m_second.view()))
        m_equations.push_back(constraint);
}

std::optional<size_t> LayoutPass::indexOf(const UIView& view) const
{
    auto index = m_indices.find(&view);
    return index == m_indices.end() ? std::nullopt : std::optional(index->second);
}

std::optional<LayoutPass::Box> LayoutPass::boxOf(UIView& view)
{
    auto known = [](const CGRect& rect) {
        return Box { { {}, rect.origin.x }, { {}, rect.origin.y }, { {}, rect.size.width },
            { {}, rect.size.height } };
    };
    auto unknown = [](size_t index) { return LayoutExpression::unknown(index); };
    if (&view == &m_superview) {
        Box box = known(view.bounds());
        if (m_purpose == Purpose::Measure) {
            box.width = unknown(m_children.size() * partsOfChild);
            box.height = unknown(m_children.size() * partsOfChild + 1);
        }
        return box;
    }
    if (auto index = indexOf(view)) {
        const size_t first = *index * partsOfChild;
        return Box { unknown(first), unknown(first + 1), unknown(first + 2), unknown(first + 3) };
    }
    if (&view.root() != &m_superview.root())
        return std::nullopt;
    UIView* child = &view;
    while (child && child->superview() != &m_superview)
        child = child->superview();
    if (!child || child == &view || !indexOf(*child))
        return known(m_superview.convertRectFromView(view.bounds(), &view));
    // Under a child: at its present place in the child, wherever that comes to be.
    m_reachesDeeper = true;
    Box box = known(child->convertRectFromView(view.bounds(), &view)
                        .offsetBy(-child->bounds().minX(), -child->bounds().minY()));
    const size_t first = *indexOf(*child) * partsOfChild;
    box.x.add(unknown(first));
    box.y.add(unknown(first + 1));
    return box;
}

std::optional<LayoutExpression> LayoutPass::expressionOf(NSLayoutConstraint& constraint, bool first)
{
    const NSLayoutConstraint::Side& side = first ? constraint.m_first : constraint.m_second;
    const auto view = retain(side.view());
    std::optional<Box> box = view ? boxOf(*view) : std::nullopt;
    if (!box)
        return std::nullopt;
    if (as<UILayoutGuide>(side.item.lock())) {
        const UIEdgeInsets insets = view->safeAreaInsets();
        box->x.constant += insets.left;
        box->y.constant += insets.top;
        box->width.constant -= insets.left + insets.right;
        box->height.constant -= insets.top + insets.bottom;
    }
    switch (side.attribute) {
    case NSLayoutAttribute::Left:
    case NSLayoutAttribute::Leading:
        return box->x;
    case NSLayoutAttribute::Right:
    case NSLayoutAttribute::Trailing:
        return box->x.add(box->width);
    case NSLayoutAttribute::CenterX:
        return box->x.add(box->width, 0.5);
    case NSLayoutAttribute::Top:
        return box->y;
    case NSLayoutAttribute::Bottom:
        return box->y.add(box->height);
    case NSLayoutAttribute::CenterY:
        return box->y.add(box->height, 0.5);
    case NSLayoutAttribute::Width:
        return box->width;
    case NSLayoutAttribute::Height:
        return box->height;
    case NSLayoutAttribute::NotAnAttribute:
        return LayoutExpression {};
    }
    return std::nullopt;
}

void LayoutPass::addEquation(NSLayoutConstraint& constraint)
{
    std::optional<LayoutExpression> equation = expressionOf(constraint, true);
    if (!equation)
        return;
    equation->constant -= constraint.constant();
    if (constraint.m_hasSecond) {
        const auto second = expressionOf(constraint, false);
        if (!second)
            return;
        equation->add(*second, -constraint.multiplier());
    }
    if (m_solver.add(*equation) == LayoutSolver::Outcome::Contradiction && m_purpose == Purpose::Place)
        constraint.reportOnce("contradicts other constraints and is left out");
}

void LayoutPass::solve(std::optional<double> width)
{
    if (width)
        m_solver.suggest(m_children.size() * partsOfChild, *width);
    for (const auto& constraint : m_equations)
        addEquation(*constraint);
    fillWidths();
    fillHeights();
}

void LayoutPass::fillWidths()
{
    for (size_t i = 0; i < m_children.size(); ++i) {
        if (valueOf(i, 2))
            continue;
        if (const CGSize natural = send(m_children[i], sel::intrinsicContentSize); natural.width >= 0)
            m_solver.suggest(i * partsOfChild + 2, natural.width);
    }
    for (size_t i = 0; i < m_children.size(); ++i) {
        if (valueOf(i, 2))
            continue;
        if (const auto wanted = measure(*m_children[i], std::nullopt, m_depth + 1).first)
            m_solver.suggest(i * partsOfChild + 2, *wanted);
    }
    if (m_purpose == Purpose::Measure)
        return;
    for (size_t i = 0; i < m_children.size(); ++i)
        m_solver.suggest(i * partsOfChild + 2, m_children[i]->frame().size.width);
    for (size_t i = 0; i < m_children.size(); ++i)
        m_solver.suggest(i * partsOfChild, m_children[i]->frame().origin.x);
}

void LayoutPass::fillHeights()
{
    for (size_t i = 0; i < m_children.size(); ++i) {
        if (valueOf(i, 3))
            continue;
        // The height of a text of several lines follows from its width.
        const CGSize natural = send(m_children[i], sel::intrinsicContentSize);
        if (natural.height >= 0) {
            const CGSize fitting
                = send(m_children[i], sel::sizeThatFits, CGSize { valueOf(i, 2).value_or(0), 0 });
            m_solver.suggest(i * partsOfChild + 3, fitting.height);
        }
    }
    for (size_t i = 0; i < m_children.size(); ++i) {
        if (valueOf(i, 3))
            continue;
        if (const auto wanted = measure(*m_children[i], valueOf(i, 2), m_depth + 1).second)
            m_solver.suggest(i * partsOfChild + 3, *wanted);
    }
    if (m_purpose == Purpose::Measure)
        return;
    for (size_t i = 0; i < m_children.size(); ++i)
        m_solver.suggest(i * partsOfChild + 3, m_children[i]->frame().size.height);
    for (size_t i = 0; i < m_children.size(); ++i)
        m_solver.suggest(i * partsOfChild + 1, m_children[i]->frame().origin.y);
}

LayoutPass::OptionalSize LayoutPass::measure(UIView& view, std::optional<double> width, int depth)
{
    if (depth > deepestMeasure || view.m_constraints.empty())
        return {};
    LayoutPass pass(view, Purpose::Measure, depth);
    if (!pass.hasEquations())
        return {};
    pass.solve(width);
    const size_t size = pass.m_children.size() * partsOfChild;
    return { pass.m_solver.value(size), pass.m_solver.value(size + 1) };
}

void LayoutPass::setFrames()
{
    for (size_t i = 0; i < m_children.size(); ++i) {
        const CGRect now = m_children[i]->frame();
        auto part = [&](size_t index, double otherwise) {
            // To a millionth of a point, so that rounding noise moves nothing; plus zero, so that no zero is
            // negative.
            constexpr double steps = 1e6;
            const std::optional<double> value = valueOf(i, index);
            return value ? std::round(*value * steps) / steps + 0.0 : otherwise;
        };
        m_children[i]->setFrame(CGRectMake(
            part(0, now.origin.x), part(1, now.origin.y), part(2, now.size.width), part(3, now.size.height)));
    }
}

} // namespace lumora
