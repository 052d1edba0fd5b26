// The collector answers a batch of ads. Whatever it says, two lists of texts come of it: the hashes that it
// names as missing, in its order, and nothing else. The first byte of an input says whether there is a body
// and whether the batch could be encoded.

#include "fuzz/Fuzzing.h"
#include "platform/foundation/NSJSONSerialization.h"
#include "platform/foundation/NSString.h"
#include "service/StoredDataAnswer.h"

namespace lumora {
namespace {

using fuzz::expect;

bool isMissing(const Value& status)
{
    if (status.isString()) {
        const auto number = numberFromText(*status.string());
        return number && number->doubleValue() == 404;
    }
    return status.isNumber() && status.doubleValue() == 404;
}

/// The list under a name that the answer must give, found by going through it once for that list.
NSArray expected(const Value& answer, const char* name)
{
    const bool wantsImages = std::string_view { name } == "images";
    NSArray list;
    const NSDictionary none;
    const NSArray* data = answer.isDictionary() ? (*answer.dictionary())["data"].array() : nullptr;
    for (const Value& element : data ? *data : NSArray {}) {
        const NSDictionary& ad = element.isDictionary() ? *element.dictionary() : none;
        const bool isImage = ad["phash"].isString();
        const Value& hash = ad[isImage ? "phash" : "sourceHash"];
        if (isMissing(ad["status"]) && isImage == wantsImages && hash.isString())
            list.push_back(hash);
    }
    return list;
}

} // namespace
} // namespace lumora

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace lumora;
    Phone& phone = fuzz::phone();
    if (size == 0)
        return 0;
    const bool hasBody = data[0] & 1;
    const bool wasEncoded = data[0] & 2;
    const std::string_view body = fuzz::textOf(data + 1, size - 1);
    const NSDictionary missing = missingItems(hasBody ? std::optional(body) : std::nullopt, wasEncoded);

    const Value answer = hasBody && wasEncoded ? JSONObjectWithData(body).value_or(Value {}) : Value {};
    expect(missing.size() == 2, "two lists and nothing else");
    for (const char* name : { "images", "htmls" })
        expect(missing[name] == Value { expected(answer, name) }, name);
    expect(phone.console().lines().empty(), "and nothing had to be caught");
    return 0;
}
