#pragma once

// Where the two services live; set by the build (LUMORA_CONFIGURATION_SERVICE, LUMORA_COLLECTOR_SERVICE).
#ifndef LUMORA_CONFIGURATION_SERVICE
#define LUMORA_CONFIGURATION_SERVICE "https://api.lumora.example/api/v1/"
#endif
#ifndef LUMORA_COLLECTOR_SERVICE
#define LUMORA_COLLECTOR_SERVICE "https://collector.lumora.example"
#endif
