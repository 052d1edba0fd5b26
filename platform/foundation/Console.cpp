#include "platform/foundation/Console.h"

#include "platform/process/Process.h"

namespace lumora {

void NSLog(std::string_view line) { Process::current().log(line); }

} // namespace lumora
