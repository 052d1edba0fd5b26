#pragma once

#include "devservice/ArrivalStore.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace lumora {

struct PageSection {
    std::string_view title;
    std::string_view listPath;
    int64_t total = 0; ///< in the store, of which the newest are shown
    std::vector<Arrival> newest {};
};

/// One self-contained HTML page. Whatever came from outside is escaped; nothing of it can act.
std::string inspectionPage(const std::vector<PageSection>&);

} // namespace lumora
