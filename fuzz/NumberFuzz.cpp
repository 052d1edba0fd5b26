// A number out of any text is a finite number or none, and what is plainly a number, or plainly none, is read
// as such. The first run of digits in a text is what it says.

#include "core/TDConfig.h"
#include "fuzz/Fuzzing.h"
#include "platform/foundation/NSString.h"
#include "service/TDAPI.h"

#include <cmath>
#include <regex>

namespace lumora {
namespace {

using fuzz::expect;
constexpr const char* asciiDigits = "0123456789";

bool isASCII(const std::string& text)
{
    return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<signed char>(c) >= 0; });
}

void expectNumber(const std::string& text)
{
    const std::optional<Value> number = numberFromText(text);
    expect(number == numberFromText(" \t" + text + "\n"), "spaces around a number are nothing");
    // The engine of this expression goes deeper with each character.
    static const auto& plain = *new std::regex(R"([ ]*-?[0-9]{1,15}(\.[0-9]{1,15})?[ ]*)");
    if (text.size() < 100 && std::regex_match(text, plain))
        expect(number && number->doubleValue() == std::strtod(text.c_str(), nullptr), "a plain number");
    if (isASCII(text) && text.find_first_of(asciiDigits) == std::string::npos)
        expect(!number, "no number without digits");
    if (!number)
        return;
    expect(number->isInteger() || (number->isDouble() && std::isfinite(number->doubleValue())), "finite");
    if (number->isInteger())
        expect(numberFromText(number->description()) == number, "an integer reads back from its digits");
}

void expectDigits(const std::string& text)
{
    const std::optional<std::string> digits = TDAPI::getIntNumbersFromString(text);
    if (!isASCII(text))
        return expect(!digits || !digits->empty(), "a run is never empty");
    const size_t begin = text.find_first_of(asciiDigits);
    if (begin == std::string::npos)
        return expect(!digits, "no digits, no run");
    const size_t end = std::min(text.find_first_not_of(asciiDigits, begin), text.size());
    expect(digits == text.substr(begin, end - begin), "the first run, whole");
}

} // namespace
} // namespace lumora

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace lumora;
    fuzz::phone();
    const std::string text { fuzz::textOf(data, size) };
    expectNumber(text);
    expectDigits(text);
    const NSDictionary entries { { "ttlConfig", text } };
    const auto seconds = static_cast<double>(numberFromText(text).value_or(300).integerValue());
    expect(TDConfig::initWithDictionary(&entries)->ttlConfig()
            == Value { fuzz::phone().process().now() + seconds },
        "a text's time to live");
    return 0;
}
