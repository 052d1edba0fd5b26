#include "platform/objc/Object.h"

#include "platform/objc/Message.h"

#include <array>
#include <cstdio>

namespace lumora {

/// Run-time variables and associated objects of one object.
struct SideTable {
    Lock lock;
    std::map<std::string, Value, std::less<>> variables LUMORA_GUARDED_BY(lock);
    std::map<const void*, Value> associated LUMORA_GUARDED_BY(lock);
};

SideTable* existingSideTable(const Object& object)
{
    return object.m_sideTable.load(std::memory_order_acquire);
}

SideTable& sideTable(Object& object)
{
    if (SideTable* table = existingSideTable(object))
        return *table;
    auto fresh = std::make_unique<SideTable>();
    SideTable* expected = nullptr;
    if (object.m_sideTable.compare_exchange_strong(expected, fresh.get(), std::memory_order_acq_rel))
        return *fresh.release();
    return *expected;
}

Object::~Object() { delete m_sideTable.load(std::memory_order_acquire); }

std::shared_ptr<Object> NSObject::newInstance(Class self)
{
    auto object = class_createInstance(self);
    send(object, sel::init);
    return object;
}

const ClassDescription& NSObject::classDescription()
{
    static const auto& description
        = *new ClassDescription(ClassDescription::of<NSObject, void>("NSObject")
                                    .method<&NSObject::init>(sel::init)
                                    .classMethod<&NSObject::newInstance>(sel::newInstance));
    return description;
}
static const RegisteredClass registeredNSObject { &NSObject::classDescription };

const ClassDescription& NSProxy::classDescription()
{
    static const auto& description = *new ClassDescription(ClassDescription::of<NSProxy, void>("NSProxy"));
    return description;
}
static const RegisteredClass registeredNSProxy { &NSProxy::classDescription };

void object_setInstanceVariable(Object& object, std::string_view name, Value value)
{
    SideTable& table = sideTable(object);
    Locker hold(table.lock);
    // What was there is swapped out, so that its destructor runs after the lock.
    std::swap(table.variables[std::string { name }], value);
}

static std::optional<Value> runTimeVariable(const Object& object, std::string_view name)
{
    SideTable* table = existingSideTable(object);
    if (!table)
        return std::nullopt;
    Locker hold(table->lock);
    auto variable = table->variables.find(name);
    return variable == table->variables.end() ? std::nullopt : std::optional(variable->second);
}

Value object_getInstanceVariable(const Object& object, std::string_view name)
{
    return runTimeVariable(object, name).value_or(Value {});
}

std::vector<std::shared_ptr<Object>> object_copyOwnedObjects(const Object& object)
{
    std::vector<std::shared_ptr<Object>> owned;
    if (SideTable* table = existingSideTable(object)) {
        Locker hold(table->lock);
        for (const auto& [name, value] : table->variables) {
            if (auto object = value.isWeak() ? nullptr : value.object())
                owned.push_back(std::move(object));
        }
    }
    return owned;
}

void objc_setAssociatedObject(Object& object, const void* key, Value value)
{
    SideTable& table = sideTable(object);
    Locker hold(table.lock);
    std::swap(table.associated[key], value);
}

Value objc_getAssociatedObject(const Object& object, const void* key)
{
    SideTable* table = existingSideTable(object);
    if (!table)
        return {};
    Locker hold(table->lock);
    auto entry = table->associated.find(key);
    return entry == table->associated.end() ? Value {} : entry->second;
}

const std::string& object_getClassName(const Object* object)
{
    static const std::string nil = "nil";
    return object && object->isa() ? object->isa()->name() : nil;
}

std::string Object::description() const
{
    std::array<char, 24> identity {};
    std::snprintf(identity.data(), identity.size(), "%p", static_cast<const void*>(this));
    return "<" + object_getClassName(this) + ": " + identity.data() + ">";
}

void Object::forwardInvocation(NSInvocation& invocation)
{
    throw NSException(NSInvalidArgumentException,
        "[" + object_getClassName(this) + " " + sel_getName(invocation.selector())
            + "]: unrecognized selector sent to instance");
}

namespace {

// The results an accessor method can have, boxed. Anything else is no accessor.
std::optional<Value> callAccessor(id receiver, Method method)
{
    const std::string& types = method->types->text;
    IMP::Function function = method->function.load(std::memory_order_acquire);
    auto is = [&](const TypeEncoding& encoding) { return types == encoding.text; };
    auto call = [&]<typename R>(R*) { return callImplementation<R>(function, receiver, method->name); };

    if (is(methodEncoding<id>())) {
        id object = call(static_cast<id*>(nullptr));
        return Value { retain(object) };
    }
    if (is(methodEncoding<std::shared_ptr<Object>>()))
        return Value { call(static_cast<std::shared_ptr<Object>*>(nullptr)) };
    if (is(methodEncoding<std::string>()))
        return Value { call(static_cast<std::string*>(nullptr)) };
    if (is(methodEncoding<Value>()))
        return call(static_cast<Value*>(nullptr));
    if (is(methodEncoding<bool>()))
        return Value { call(static_cast<bool*>(nullptr)) };
    if (is(methodEncoding<int64_t>()))
        return Value { call(static_cast<int64_t*>(nullptr)) };
    if (is(methodEncoding<int>()))
        return Value { call(static_cast<int*>(nullptr)) };
    if (is(methodEncoding<float>()))
        return Value { call(static_cast<float*>(nullptr)) };
    if (is(methodEncoding<double>()))
        return Value { call(static_cast<double*>(nullptr)) };
    return std::nullopt;
}

const ClassDescription::Variable* describedVariable(const Object& object, std::string_view name)
{
    for (const ClassDescription* at = nearestDescription(object.isa()); at; at = at->superDescription()) {
        if (auto variable = at->variables().find(name); variable != at->variables().end())
            return &variable->second;
    }
    return nullptr;
}

std::optional<Value> variableNamed(Object& object, std::string_view name)
{
    if (std::optional<Value> value = runTimeVariable(object, name))
        return value;
    if (const auto* variable = describedVariable(object, name))
        return variable->get(object);
    return std::nullopt;
}

[[noreturn]] void raiseUndefinedKey(const Object& object, std::string_view key)
{
    throw NSException(NSUndefinedKeyException,
        "[" + object.description()
            + " valueForUndefinedKey:]: this class is not key value coding-compliant for the key "
            + std::string { key });
}

} // namespace

Value Object::valueForKey(std::string_view key)
{
    // An object that was not made by `alloc` has no class, and so no accessors.
    if (Method accessor = isa() ? isa()->methodFor(sel_registerName(key)) : nullptr) {
        if (std::optional<Value> value = callAccessor(this, accessor))
            return *value;
    }
    const std::string name { key };
    if (std::optional<Value> value = variableNamed(*this, "_" + name))
        return *value;
    if (std::optional<Value> value = variableNamed(*this, name))
        return *value;
    if (isa() && isa()->methodFor(sel::valueForUndefinedKey))
        return send(this, sel::valueForUndefinedKey, name);
    raiseUndefinedKey(*this, key);
}

void Object::setValueForKey(const Value& value, std::string_view key)
{
    for (const std::string& name : { "_" + std::string { key }, std::string { key } }) {
        if (const auto* variable = describedVariable(*this, name); variable && variable->set)
            return variable->set(*this, value);
        if (runTimeVariable(*this, name))
            return object_setInstanceVariable(*this, name, value);
    }
    raiseUndefinedKey(*this, key);
}

Value Object::valueForKeyPath(std::string_view path)
{
    const size_t dot = path.find('.');
    Value first = valueForKey(path.substr(0, dot));
    return dot == std::string_view::npos ? first : lumora::valueForKeyPath(first, path.substr(dot + 1));
}

Value valueForKeyPath(const Value& root, std::string_view path)
{
    if (root.isNothing())
        return {};
    if (std::shared_ptr<Object> object = root.object())
        return object->valueForKeyPath(path);
    if (const NSArray* elements = root.array()) {
        NSArray mapped;
        for (const Value& element : *elements) {
            const Value value = valueForKeyPath(element, path);
            mapped.push_back(value.isNothing() ? Value { NSNull {} } : value);
        }
        return mapped;
    }
    const size_t dot = path.find('.');
    if (const NSDictionary* dictionary = root.dictionary()) {
        const Value& value = (*dictionary)[path.substr(0, dot)];
        return dot == std::string_view::npos ? value : valueForKeyPath(value, path.substr(dot + 1));
    }
    throw NSException(NSUndefinedKeyException, root.description() + " has no key " + std::string { path });
}

} // namespace lumora
