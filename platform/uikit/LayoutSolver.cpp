#include "platform/uikit/LayoutSolver.h"

#include <cmath>

namespace lumora {

// Factors below the first are rounding noise; distances below the second are no contradiction.
static constexpr double smallestFactor = 1e-9;
static constexpr double tolerance = 1e-3;

LayoutExpression& LayoutExpression::add(const LayoutExpression& other, double factor)
{
    constant += other.constant * factor;
    for (const auto& [unknown, coefficient] : other.terms)
        terms.emplace_back(unknown, coefficient * factor);
    return *this;
}

LayoutExpression LayoutSolver::reduced(const LayoutExpression& expression) const
{
    LayoutExpression result { {}, expression.constant };
    std::map<size_t, double> free;
    // By row: a row speaks of unknowns that got their rows later, so in this order each is replaced once.
    std::map<size_t, double> solved;
    auto take = [&](size_t unknown, double factor) {
        if (m_rowOf[unknown] == noRow)
            free[unknown] += factor;
        else
            solved[m_rowOf[unknown]] += factor;
    };
    for (const auto& [unknown, factor] : expression.terms)
        take(unknown, factor);
    while (!solved.empty()) {
        const auto [row, factor] = *solved.begin();
        solved.erase(solved.begin());
        result.constant += m_rows[row].constant * factor;
        for (const auto& [unknown, coefficient] : m_rows[row].terms)
            take(unknown, coefficient * factor);
    }
    for (const auto& [unknown, factor] : free) {
        if (std::abs(factor) > smallestFactor)
            result.terms.emplace_back(unknown, factor);
    }
    return result;
}

LayoutSolver::Outcome LayoutSolver::add(const LayoutExpression& zero)
{
    const LayoutExpression equation = reduced(zero);
    double size = std::abs(equation.constant);
    for (const auto& term : equation.terms)
        size += std::abs(term.second);
    if (!std::isfinite(size))
        return Outcome::Contradiction;
    if (equation.terms.empty())
        return std::abs(equation.constant) < tolerance ? Outcome::Known : Outcome::Contradiction;
    // Of equal ones the last: later views tend to hang on earlier ones, and rows stay short.
    auto pivot = equation.terms.front();
    for (const auto& term : equation.terms) {
        if (std::abs(term.second) >= std::abs(pivot.second))
            pivot = term;
    }
    LayoutExpression row { {}, -equation.constant / pivot.second };
    for (const auto& [unknown, factor] : equation.terms) {
        if (unknown != pivot.first)
            row.terms.emplace_back(unknown, -factor / pivot.second);
    }
    m_rowOf[pivot.first] = m_rows.size();
    m_rows.push_back(std::move(row));
    return Outcome::Taken;
}

std::optional<double> LayoutSolver::value(size_t unknown)
{
    if (m_rowOf[unknown] == noRow)
        return std::nullopt;
    LayoutExpression& row = m_rows[m_rowOf[unknown]];
    if (!row.terms.empty()) {
        LayoutExpression known = reduced(row);
        if (!known.terms.empty())
            return std::nullopt;
        row = std::move(known);
    }
    return row.constant;
}

void LayoutSolver::suggest(size_t unknown, double value)
{
    if (!this->value(unknown))
        add(LayoutExpression::unknown(unknown).add({ {}, -value }));
}

} // namespace lumora
