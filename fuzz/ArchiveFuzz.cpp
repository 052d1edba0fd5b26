// A stored archive may be damaged in any way: it reads as something or as nothing, and never ends the
// process. What it reads as is archived again, and comes out of that the same for ever, also when an array in
// it grows or shrinks without being read.
//
// Bytes rarely damage a property list in an interesting way, so an input that begins with "{" is the text
// form of one, which is packed first: JSON, with references as {"CF$UID": number}.

#include "fuzz/Fuzzing.h"
#include "platform/foundation/ArchivedArray.h"
#include "platform/foundation/NSJSONSerialization.h"
#include "platform/foundation/NSKeyedArchiver.h"
#include "platform/foundation/NSPropertyList.h"
#include "service/TDEventModel.h"

namespace lumora {
namespace {

using fuzz::expect;

NSData archiveIn(std::string_view input)
{
    if (!input.starts_with('{'))
        return NSData::fromText(input);
    const auto parsed = JSONObjectWithData(input);
    return parsed ? dataWithPropertyList(*parsed).value_or(NSData {}) : NSData {};
}

NSData archiveOf(NSArray elements) { return archivedDataWithRootObject(std::move(elements)); }

void changeWithoutReading(const NSData& archive, NSArray elements)
{
    const auto array = ArchivedArray::of(archive);
    const NSData more = archiveOf({ "x", NSDictionary { { "k", 1 } } });
    if (!array)
        return expect(false, "an archive of an array is one");
    const NSData longer = array->appending(*ArchivedArray::of(more));
    elements.insert(elements.end(), { "x", NSDictionary { { "k", 1 } } });
    expect(archivedDataWithRootObject(unarchiveObjectWithData(longer)) == archiveOf(elements), "it grows");
    const NSData shorter = ArchivedArray::of(longer)->removing({ 0, elements.size() - 1 });
    elements.erase(elements.begin());
    elements.pop_back();
    expect(archivedDataWithRootObject(unarchiveObjectWithData(shorter)) == archiveOf(elements), "it shrinks");
}

} // namespace
} // namespace lumora

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace lumora;
    fuzz::phone();
    const NSData input = archiveIn(fuzz::textOf(data, size));
    if (const auto array = ArchivedArray::of(input))
        unarchiveObjectWithData(array->appending(*array));
    const Value read = unarchiveObjectWithData(input);
    if (const auto event = as<TDEventModel>(read.object()))
        static_cast<void>(event->getEventAsMutableDictionary());
    const NSData archived = archivedDataWithRootObject(read);
    if (read.isNothing() || archived.bytes.empty())
        return 0;
    const Value again = unarchiveObjectWithData(archived);
    expect(!again.isNothing(), "what was archived can be read");
    const NSData rearchived = archivedDataWithRootObject(again);
    if (again.array())
        changeWithoutReading(rearchived, *again.array());
    expect(
        rearchived == archivedDataWithRootObject(unarchiveObjectWithData(rearchived)), "and stays as it is");
    return 0;
}
