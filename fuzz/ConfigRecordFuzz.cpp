// Whatever the configuration service answers makes a record, and what it says survives an archive.

#include "core/TDConfig.h"
#include "platform/foundation/NSJSONSerialization.h"
#include "platform/foundation/NSKeyedArchiver.h"
#include "simulator/Phone.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace lumora;
    static auto& phone = *new Phone { {} };
    static_cast<void>(phone);
    const auto parsed = JSONObjectWithData({ reinterpret_cast<const char*>(data), size });
    const NSDictionary* dictionary = parsed ? parsed->dictionary() : nullptr;
    const auto config = TDConfig::initWithDictionary(dictionary);
    const auto read
        = as<TDConfig>(unarchiveObjectWithData(archivedDataWithRootObject(Value { config })).object());
    if (!read || !(read->buttonTap() == config->buttonTap()) || read->sdks() != config->sdks())
        std::abort();
    return 0;
}
