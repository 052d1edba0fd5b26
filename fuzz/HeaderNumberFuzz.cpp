// The digits of any header make a time to live or none, and a number out of any text is a number.

#include "core/TDConfig.h"
#include "platform/foundation/NSString.h"
#include "service/TDAPI.h"
#include "simulator/Phone.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace lumora;
    static auto& phone = *new Phone { {} };
    static_cast<void>(phone);
    const std::string text { reinterpret_cast<const char*>(data), size };
    NSDictionary entries;
    if (const auto digits = TDAPI::getIntNumbersFromString(text))
        entries.set("ttlConfig", *digits);
    static_cast<void>(TDConfig::initWithDictionary(&entries)->isFresh());
    if (const auto number = numberFromText(text); number && !number->isNumber())
        std::abort();
    return 0;
}
