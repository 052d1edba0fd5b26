#include "interception/Network.h"

#include "platform/foundation/Console.h"

#include <unordered_map>

namespace lumora {

namespace {

// By the name of the class. Filled while the descriptions are made, before any process has one of the
// classes.
std::unordered_map<std::string_view, const MetadataClass*>& rows()
{
    static auto& all = *new std::unordered_map<std::string_view, const MetadataClass*>;
    return all;
}
std::unordered_map<std::string_view, const Network*>& networks()
{
    static auto& all = *new std::unordered_map<std::string_view, const Network*>;
    return all;
}

/// The forms of a reader.
constexpr size_t plainForm = 1;
constexpr size_t supportForm = 2;

template <size_t> bool isSet(const char* text) { return text; }
template <size_t, typename T> bool isSet(const std::optional<T>& value) { return value.has_value(); }
template <size_t Form, typename... T> bool isSet(const std::variant<T...>& value)
{
    return value.index() == Form;
}
template <size_t, typename R> bool isSet(R (*function)(id)) { return function; }

/// What answers an operation of a class: its own row, or that of the nearest class above which has the field,
/// and in that form: a row that reads in the other form leaves its base's operation as it is.
template <auto Field, size_t Form = 0> const auto& answering(Class self)
{
    for (Class cls = self; cls; cls = cls->superclass()) {
        const auto row = rows().find(cls->name());
        if (row != rows().end() && isSet<Form>(row->second->*Field))
            return row->second->*Field;
    }
    throw NSException(NSInvalidArgumentException, NSStringFromClass(self) + " has no such answer");
}

std::string sdkName(Class self) { return answering<&MetadataClass::sdkName>(self); }
std::string version(Class self) { return answering<&MetadataClass::version>(self)->read(); }
std::string adType(Class self) { return answering<&MetadataClass::adType>(self); }
int64_t adFormatId(Class self) { return *answering<&MetadataClass::adFormatId>(self); }
std::shared_ptr<Object> screenshotView(Class self, id adView)
{
    return answering<&MetadataClass::screenshotView>(self)(adView);
}
template <auto Field> auto fromAdView(Class self, id adView)
{
    return std::get<plainForm>(answering<Field, plainForm>(self))(adView);
}
template <auto Field> auto fromAdViewAndObject(Class self, id adView, id supportObject)
{
    return std::get<supportForm>(answering<Field, supportForm>(self))(adView, supportObject);
}

/// Adds the operation of the form that a row gives a reader for.
template <auto Field, typename Plain, typename Both>
void addReader(ClassDescription& description, const MetadataClass& row, const Plain& plain, const Both& both)
{
    if (isSet<plainForm>(row.*Field))
        description.classMethod<&fromAdView<Field>>(plain);
    else if (isSet<supportForm>(row.*Field))
        description.classMethod<&fromAdViewAndObject<Field>>(both);
}

ClassDescription describe(const MetadataClass& row, const ClassDescription& base)
{
    ClassDescription description = ClassDescription::named(row.name, base);
    if (row.sdkName)
        description.classMethod<&sdkName>(sel::getSDKName);
    if (row.version)
        description.classMethod<&version>(sel::getVersion);
    if (row.adType)
        description.classMethod<&adType>(sel::adType);
    addReader<&MetadataClass::creativeId>(
        description, row, sel::getCreativeIDWithObject, sel::getCreativeIDWithObject_withSupportObject);
    addReader<&MetadataClass::placementId>(
        description, row, sel::getPlacementIDWithObject, sel::getPlacementIDWithObject_withSupportObject);
    addReader<&MetadataClass::otherInfo>(
        description, row, sel::getOtherInfoForView, sel::getOtherInfoForView_andForSupportObject);
    if (row.screenshotView)
        description.classMethod<&screenshotView>(sel::getOtherViewForScreenshotWithView);
    if (row.adFormatId)
        description.classMethod<&adFormatId>(sel::getAdFormatId);
    description.protocol(TDMetadataClassProtocol);
    for (const char* protocol : row.protocols)
        description.protocol(protocol);
    for (const auto& [selector, implementation] : row.operations)
        description.classMethod(selector, implementation);
    return description;
}

void swizzleMethods(Class self)
{
    const auto network = networks().find(self->name());
    if (network != networks().end())
        installHooks(network->second->hooks);
}

std::vector<const ClassDescription*> describe(const Network& network)
{
    std::vector<const ClassDescription*> descriptions;
    std::unordered_map<std::string_view, const ClassDescription*> byName;
    for (const MetadataClass& row : network.metadataClasses) {
        const auto base = byName.find(row.base ? row.base : "");
        if (row.base && base == byName.end())
            NSLog(std::string { "[Lumora] no row " } + row.base + " before " + row.name);
        descriptions.push_back(new ClassDescription(
            describe(row, base == byName.end() ? NSObject::classDescription() : *base->second)));
        byName.emplace(row.name, descriptions.back());
        rows().emplace(row.name, &row);
    }
    if (network.swizzler) {
        auto* swizzler
            = new ClassDescription(ClassDescription::named(network.swizzler, NSObject::classDescription())
                                       .classMethod<&swizzleMethods>(sel::swizzleMethods));
        for (const auto& [selector, implementation] : network.operations)
            swizzler->classMethod(selector, implementation);
        descriptions.push_back(swizzler);
        networks().emplace(network.swizzler, &network);
    }
    return descriptions;
}

} // namespace

RegisteredNetwork::RegisteredNetwork(const Network& (*network)())
{
    const RegisteredClasses registered { [network] { return describe(network()); } };
}

} // namespace lumora
