#include "platform/uikit/NSLayoutConstraint.h"

#include "platform/process/Process.h"
#include "platform/uikit/UILayoutGuide.h"
#include "platform/uikit/UIView.h"

#include <algorithm>

namespace lumora {

const ClassDescription& NSLayoutConstraint::classDescription()
{
    auto constraint
        = [](Object& object) -> NSLayoutConstraint& { return static_cast<NSLayoutConstraint&>(object); };
    static const auto& description = *new ClassDescription(
        ClassDescription::of<NSLayoutConstraint, NSObject>("NSLayoutConstraint")
            .method<&NSLayoutConstraint::firstItem>("firstItem"_sel)
            .method<&NSLayoutConstraint::secondItem>("secondItem"_sel)
            .variable(
                "constant", [=](Object& object) { return Value { constraint(object).constant() }; },
                [=](Object& object, const Value& value) {
                    constraint(object).setConstant(value.doubleValue());
                }));
    return description;
}
static const RegisteredClass registeredNSLayoutConstraint { &NSLayoutConstraint::classDescription };

const ClassDescription& UILayoutGuide::classDescription()
{
    static const auto& description
        = *new ClassDescription(ClassDescription::of<UILayoutGuide, NSObject>("UILayoutGuide"));
    return description;
}
static const RegisteredClass registeredUILayoutGuide { &UILayoutGuide::classDescription };

UIView* NSLayoutConstraint::Side::view() const
{
    const auto held = item.lock();
    if (const auto* guide = as<UILayoutGuide>(held.get()))
        return guide->owningView();
    return as<UIView>(held.get());
}

std::shared_ptr<NSLayoutConstraint> NSLayoutConstraint::constraintWithItem(Object* item1,
    NSLayoutAttribute attribute1, Object* item2, NSLayoutAttribute attribute2, double multiplier,
    double constant)
{
    auto constraint = make<NSLayoutConstraint>();
    constraint->m_first = { weakly(item1), attribute1 };
    constraint->m_second = { weakly(item2), attribute2 };
    constraint->m_hasSecond = item2 != nullptr;
    constraint->m_multiplier = multiplier;
    constraint->m_constant = constant;
    return constraint;
}

void NSLayoutConstraint::activateConstraints(
    const std::vector<std::shared_ptr<NSLayoutConstraint>>& constraints)
{
    for (const auto& constraint : constraints)
        constraint->setActive(true);
}

void NSLayoutConstraint::deactivateConstraints(
    const std::vector<std::shared_ptr<NSLayoutConstraint>>& constraints)
{
    for (const auto& constraint : constraints)
        constraint->setActive(false);
}

void NSLayoutConstraint::setActive(bool active)
{
    const auto self = retain(this);
    if (active == isActive())
        return;
    if (!active) {
        changed();
        std::erase(m_holder.lock()->m_constraints, self);
        m_holder.reset();
        return;
    }
    UIView* const first = m_first.view();
    UIView* const second = m_second.view();
    UIView* holder = first;
    while (holder && m_hasSecond && (!second || !second->isDescendantOfView(holder)))
        holder = holder->superview();
    if (!holder)
        return reportOnce("has no common superview of its views and stays inactive");
    m_holder = weakly(holder);
    holder->m_constraints.push_back(self);
    for (UIView* view : { first, second }) {
        if (!view || view == holder || view->superview() == holder)
            continue;
        auto& distant = view->m_distantConstraints;
        if (std::none_of(
                distant.begin(), distant.end(), [&](const auto& one) { return refersTo(one, this); }))
            distant.push_back(self);
    }
    changed();
}

void NSLayoutConstraint::setConstant(double constant)
{
    if (m_constant == constant)
        return;
    m_constant = constant;
    changed();
}

void NSLayoutConstraint::setPriority(double priority)
{
    m_priority = priority;
    changed();
}

bool NSLayoutConstraint::concerns(const UIView& subtree) const
{
    const UIView* first = m_first.view();
    const UIView* second = m_second.view();
    return (first && first->isDescendantOfView(&subtree)) || (second && second->isDescendantOfView(&subtree));
}

void NSLayoutConstraint::changed()
{
    m_reported = false;
    const auto holder = m_holder.lock();
    if (!holder)
        return;
    for (UIView* view : { holder.get(), m_first.view(), m_second.view() }) {
        if (view)
            send(view, sel::setNeedsLayout);
        // Its superview places it, and those that take their size from their content follow.
        if (view)
            view->invalidateIntrinsicContentSize();
        if (view && view->superview())
            send(view->superview(), sel::setNeedsLayout);
    }
}

void NSLayoutConstraint::reportOnce(const char* problem)
{
    if (std::exchange(m_reported, true))
        return;
    auto name = [](const Side& side) { return object_getClassName(side.view()); };
    std::string text = "NSLayoutConstraint between " + name(m_first);
    if (m_hasSecond)
        text += " and " + name(m_second);
    Process::current().log(text + " " + problem);
}

} // namespace lumora
