#pragma once

#include "devservice/ServiceMessages.h"

#include <boost/json/fwd.hpp>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace lumora {

/// Makes answers go wrong. The request is judged and kept as ever, only its answer changes; headers stay.
struct Fault {
    std::string path {}; ///< one of the service's own; empty means every one of them
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
    bool concerns(std::string_view askedPath) const { return path.empty() || path == askedPath; }
    void apply(ServiceAnswer&) const;
};

} // namespace lumora
