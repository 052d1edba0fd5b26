#pragma once

// Where the two services live, and the web server that is asked for the time; set by the build
// (LUMORA_CONFIGURATION_SERVICE, LUMORA_COLLECTOR_SERVICE, LUMORA_TIME_SERVER).
#ifndef LUMORA_CONFIGURATION_SERVICE
#define LUMORA_CONFIGURATION_SERVICE "https://api.lumora.example/api/v1/"
#endif
#ifndef LUMORA_COLLECTOR_SERVICE
#define LUMORA_COLLECTOR_SERVICE "https://collector.lumora.example"
#endif
#ifndef LUMORA_TIME_SERVER
#define LUMORA_TIME_SERVER "https://www.example.com/"
#endif
