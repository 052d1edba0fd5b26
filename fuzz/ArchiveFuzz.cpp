// A stored archive may be damaged in any way: it reads as something or as nothing, and never ends the
// process.

#include "core/TDConfig.h"
#include "platform/foundation/NSKeyedArchiver.h"
#include "service/TDEventModel.h"
#include "simulator/Phone.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace lumora;
    static auto& phone = *new Phone { {} };
    static_cast<void>(phone);
    const Value value = unarchiveObjectWithData(NSData { { data, data + size } });
    if (const auto event = as<TDEventModel>(value.object()))
        static_cast<void>(event->getEventAsMutableDictionary());
    return 0;
}
