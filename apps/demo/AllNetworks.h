#pragma once

#include "apps/demo/Story.h"
#include "devservice/ConfigurationService.h"
#include "simulator/Phone.h"

namespace lumora {

/// Shows one ad of every format of every network, one after the other, reports each, and lists in the story
/// what the service was told: the network, its version, the format, the creative, the placement and what else
/// its metadata class knows. Every ad has to get its button, and its report to say what its SDK knows.
void reportEveryNetwork(Phone& phone, const ConfigurationService& service, Story& story);

} // namespace lumora
