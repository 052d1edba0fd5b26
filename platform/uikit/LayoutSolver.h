#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <vector>

namespace lumora {

/// A sum of unknowns with factors, and a constant.
struct LayoutExpression {
    std::vector<std::pair<size_t, double>> terms;
    double constant { 0 };

    static LayoutExpression unknown(size_t index) { return { { { index, 1 } }, 0 }; }
    LayoutExpression& add(const LayoutExpression& other, double factor = 1);
};

/// Linear equations that are taken in one after the other: each one either fixes something that was free, or
/// follows from the earlier ones, or contradicts them and is refused. Unknowns are numbered from 0. A plain
/// value.
class LayoutSolver {
public:
    enum class Outcome { Taken, Known, Contradiction };

    explicit LayoutSolver(size_t unknowns)
        : m_rowOf(unknowns, noRow)
    {
    }
    /// Takes in that an expression is zero.
    Outcome add(const LayoutExpression& zero);
    /// What an unknown has come out as; nothing while it is free.
    std::optional<double> value(size_t unknown);
    /// Gives an unknown a value if it is still free.
    void suggest(size_t unknown, double value);

private:
    static constexpr size_t noRow = static_cast<size_t>(-1);
    /// The same expression in free unknowns only.
    LayoutExpression reduced(const LayoutExpression& expression) const;

    // Each row says what one unknown is, in unknowns that were free when the row was made.
    std::vector<LayoutExpression> m_rows;
    std::vector<size_t> m_rowOf;
};

} // namespace lumora
