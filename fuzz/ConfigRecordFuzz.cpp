// Whatever the configuration service answers makes a record: what it says where it says something usable, the
// default everywhere else. What JSON was read can be written and reads the same, and a record survives an
// archive.

#include "core/TDConfig.h"
#include "fuzz/Fuzzing.h"
#include "platform/foundation/NSJSONSerialization.h"
#include "platform/foundation/NSKeyedArchiver.h"
#include "platform/foundation/NSString.h"

namespace lumora {
namespace {

using fuzz::expect;

void expectRoundTrip(const Value& read)
{
    for (const auto form : { NSJSONWritingOptions::Compact, NSJSONWritingOptions::PrettyPrinted }) {
        const auto written = dataWithJSONObject(read, form);
        expect(written.has_value(), "what was read can be written");
        const auto again = JSONObjectWithData(*written);
        expect(again && *again == read, "and reads the same");
    }
}

/// What a record must hold for a key, by the rules of the service.
Value expected(const NSDictionary& object, std::string_view key, int byDefault)
{
    const Value& given = object[key];
    if (given.isNumber())
        return given;
    if (!given.isString())
        return byDefault;
    if (key == "buttonTap")
        return given == Value { "single" } ? 1 : 2;
    return numberFromText(*given.string()).value_or(byDefault);
}

void expectRecord(const TDConfig& config, const NSDictionary& object)
{
    const struct {
        const Value& value;
        const char* key;
        int byDefault;
    } numbers[] = {
        { config.active(), "active", 0 },
        { config.reportHTML(), "reportHTML", 0 },
        { config.inspectHTML(), "inspectHTML", 0 },
        { config.eventHTML(), "eventHTML", 0 },
        { config.buttonTap(), "buttonTap", 2 },
        { config.retryAfter(), "retryAfter", 300 },
        { config.retryLimit(), "retryLimit", 5 },
        { config.hideButton(), "hideButton", 0 },
        { config.sendingHTML(), "sendingHTML", -1 },
    };
    for (const auto& number : numbers)
        expect(number.value == expected(object, number.key, number.byDefault), number.key);
    const auto seconds = static_cast<double>(expected(object, "ttlConfig", 300).integerValue());
    expect(config.ttlConfig() == Value { fuzz::phone().process().now() + seconds }, "ttlConfig");
    expect(config.isFresh() == (fuzz::phone().process().now() + seconds > fuzz::phone().process().now()),
        "freshness");
    expect(config.sdks().has_value() == object["sdks"].isArray(), "a list of SDKs where there is one");
    size_t texts = 0;
    for (const Value& element : config.sdks() ? *object["sdks"].array() : NSArray {}) {
        if (element.isString())
            expect((*config.sdks()).at(texts++) == *element.string(), "its texts, in order");
    }
    expect(!config.sdks() || texts == config.sdks()->size(), "and nothing else");
}

void expectArchive(const std::shared_ptr<TDConfig>& config)
{
    const auto read
        = as<TDConfig>(unarchiveObjectWithData(archivedDataWithRootObject(Value { config })).object());
    expect(read != nullptr, "a record survives an archive");
    for (const auto property : { &TDConfig::active, &TDConfig::ttlConfig, &TDConfig::reportHTML,
             &TDConfig::inspectHTML, &TDConfig::eventHTML, &TDConfig::buttonTap, &TDConfig::retryAfter,
             &TDConfig::retryLimit, &TDConfig::hideButton, &TDConfig::sendingHTML })
        expect(((*read).*property)() == ((*config).*property)(), "with its numbers");
    expect(read->sdks().has_value() == config->sdks().has_value(), "with its list of SDKs");
    expect(!read->sdks() || read->sdks()->size() == config->sdks()->size(), "as long as it was");
}

} // namespace
} // namespace lumora

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace lumora;
    fuzz::phone();
    const auto parsed = JSONObjectWithData(fuzz::textOf(data, size));
    if (parsed)
        expectRoundTrip(*parsed);
    const NSDictionary* object = parsed ? parsed->dictionary() : nullptr;
    const auto config = TDConfig::initWithDictionary(object);
    expectRecord(*config, object ? *object : NSDictionary {});
    expectArchive(config);
    return 0;
}
