#pragma once

#include "devservice/ServiceMessages.h"
#include "platform/process/Lock.h"

#include <boost/json/fwd.hpp>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lumora {

/// Makes answers go wrong. The request is judged and kept as ever, only its answer changes; headers stay.
struct Fault {
    std::string path {}; ///< one of the services' own, "*" allowed as there; empty means every one of them
    std::optional<uint32_t> times = 1; ///< nothing means until cleared
    std::optional<int> status {};
    std::optional<std::string> body {}; ///< sent instead of the real one
    double delaySeconds = 0;
    Ending ending = Ending::Normal;

    static std::string garbage(); ///< a body that is neither JSON nor UTF-8

    /// The keys are "path", "times" (null: until cleared), "status", "delay", "body", "garbage" and "ending".
    /// Throws std::invalid_argument for any other key or a value of the wrong type.
    static Fault fromJSON(const boost::json::value&);
    boost::json::object toJSON() const;

    /// Throws std::invalid_argument when it cannot be acted out.
    void validate() const;
    bool concerns(std::string_view askedPath) const { return path.empty() || pathMatches(path, askedPath); }
    void apply(ServiceAnswer&) const;
};

/// The faults that the services have yet to act out, of all of them together. Any thread.
class FaultPlan {
public:
    /// All or, when one cannot be acted out, none: throws std::invalid_argument.
    void add(std::vector<Fault>);
    void clear();
    /// The oldest that concerns the path, which is used up by one.
    std::optional<Fault> take(std::string_view path);
    boost::json::array toJSON() const;

private:
    mutable Lock m_lock;
    std::deque<Fault> m_faults LUMORA_GUARDED_BY(m_lock);
};

} // namespace lumora
