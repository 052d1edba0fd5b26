#include "platform/objc/ClassRegistry.h"

#include "platform/objc/Message.h"
#include "platform/objc/Slot.h"
#include "platform/process/Process.h"

namespace lumora {

namespace {

using DescriptionFunction = const ClassDescription& (*)();

// What the program's static objects declared; complete before any process looks.
struct Declarations {
    std::vector<DescriptionFunction> classes;
    std::vector<std::function<std::vector<const ClassDescription*>()>> tables;
    std::vector<std::pair<DescriptionFunction, ClassDescription (*)()>> categories;
};
Declarations& declarations()
{
    static auto& all = *new Declarations;
    return all;
}

const std::unordered_map<std::string_view, const ClassDescription*>& describedClasses()
{
    static const auto& byName = *[] {
        auto* table = new std::unordered_map<std::string_view, const ClassDescription*>;
        for (DescriptionFunction describe : declarations().classes)
            table->emplace(describe().name(), &describe());
        for (const auto& describeAll : declarations().tables) {
            for (const ClassDescription* description : describeAll())
                table->emplace(description->name(), description);
        }
        return table;
    }();
    return byName;
}

const std::unordered_map<const ClassDescription*, std::vector<ClassDescription>>& categories()
{
    static const auto& byClass = *[] {
        auto* table = new std::unordered_map<const ClassDescription*, std::vector<ClassDescription>>;
        for (const auto& [extended, additions] : declarations().categories)
            (*table)[&extended()].push_back(additions());
        return table;
    }();
    return byClass;
}

} // namespace

RegisteredClass::RegisteredClass(DescriptionFunction description)
{
    declarations().classes.push_back(description);
}

RegisteredClasses::RegisteredClasses(std::function<std::vector<const ClassDescription*>()> descriptions)
{
    declarations().tables.push_back(std::move(descriptions));
}

RegisteredCategory::RegisteredCategory(DescriptionFunction extended, ClassDescription (*additions)())
{
    declarations().categories.emplace_back(extended, additions);
}

ClassDescription& ClassDescription::method(SEL selector, const IMP& implementation)
{
    m_methods.push_back({ selector, implementation });
    return *this;
}

ClassDescription& ClassDescription::classMethod(SEL selector, const IMP& implementation)
{
    m_classMethods.push_back({ selector, implementation });
    return *this;
}

ClassDescription& ClassDescription::protocol(std::string name)
{
    m_protocols.push_back(std::move(name));
    return *this;
}

ClassDescription& ClassDescription::variable(std::string name, Getter get, Setter set)
{
    m_variables.insert_or_assign(std::move(name), Variable { std::move(get), std::move(set) });
    return *this;
}

ClassRegistry::ClassRegistry(Process& process)
    : m_process(process)
{
}

ClassRegistry::~ClassRegistry()
{
    for (auto& chunk : m_slotChunks)
        delete chunk.load(std::memory_order_acquire);
}

Class ClassRegistry::classNamed(std::string_view name)
{
    Locker hold(m_lock);
    if (auto known = m_classes.find(name); known != m_classes.end())
        return known->second.get();
    auto described = describedClasses().find(name);
    return described == describedClasses().end() ? nullptr : classForLocked(*described->second);
}

Class ClassRegistry::classFor(const ClassDescription& description)
{
    Locker hold(m_lock);
    return classForLocked(description);
}

Class ClassRegistry::classForLocked(const ClassDescription& description)
{
    if (auto known = m_described.find(&description); known != m_described.end())
        return known->second;
    const ClassDescription* above = description.superDescription();
    Class cls = makePairLocked(description.name(), above ? classForLocked(*above) : nullptr);
    cls->m_description = &description;
    m_described.emplace(&description, cls);

    auto add = [&](const ClassDescription& from) {
        for (const auto& entry : from.methods())
            cls->m_methods.emplace_back(entry.selector, entry.implementation);
        for (const auto& entry : from.classMethods())
            cls->m_isa->m_methods.emplace_back(entry.selector, entry.implementation);
        cls->m_protocols.insert(cls->m_protocols.end(), from.protocols().begin(), from.protocols().end());
    };
    if (auto added = categories().find(&description); added != categories().end()) {
        for (const ClassDescription& additions : added->second)
            add(additions);
    }
    add(description);
    return cls;
}

Class ClassRegistry::makePairLocked(const std::string& name, Class superclass)
{
    if (m_classes.contains(name))
        throw NSException(NSInvalidArgumentException, "there is a class " + name + " already");
    // A metaclass inherits from the superclass's metaclass, and the root's from the root class itself, so
    // that a class answers the root's instance methods.
    std::shared_ptr<ClassObject> metaclass(
        new ClassObject(*this, name, superclass ? superclass->m_isa : nullptr, true));
    std::shared_ptr<ClassObject> cls(new ClassObject(*this, name, superclass, false));
    if (!superclass)
        metaclass->m_superclass = cls.get();
    cls->m_isa = metaclass.get();
    Class rootMetaclass = metaclass.get();
    while (rootMetaclass->m_superclass && rootMetaclass->m_superclass->m_isMetaClass)
        rootMetaclass = rootMetaclass->m_superclass;
    metaclass->m_isa = rootMetaclass;
    metaclass->m_superclass->m_subclasses.push_back(metaclass.get());
    if (superclass)
        superclass->m_subclasses.push_back(cls.get());
    m_metaclasses.push_back(std::move(metaclass));
    return m_classes.emplace(name, std::move(cls)).first->second.get();
}

size_t ClassRegistry::count() const
{
    Locker hold(m_lock);
    return m_classes.size();
}

std::atomic<IMP::Function>& ClassRegistry::slotCell(size_t index)
{
    std::atomic<SlotChunk*>& place = m_slotChunks.at(index / slotsPerChunk);
    SlotChunk* chunk = place.load(std::memory_order_acquire);
    if (!chunk) [[unlikely]] {
        auto fresh = std::make_unique<SlotChunk>();
        if (place.compare_exchange_strong(chunk, fresh.get(), std::memory_order_acq_rel))
            chunk = fresh.release();
    }
    return (*chunk)[index % slotsPerChunk];
}

SlotBase::SlotBase()
{
    static std::atomic<size_t> count { 0 };
    m_index = count.fetch_add(1);
}

ClassBuilder::ClassBuilder(const std::string& name, Class superclass)
    : m_class(nullptr)
{
    if (!superclass || superclass->isMetaClass() || describedClasses().contains(name))
        throw NSException(NSInvalidArgumentException,
            "a class " + name + " : " + NSStringFromClass(superclass) + " cannot be made");
    Locker hold(superclass->m_registry.m_lock);
    m_class = superclass->m_registry.makePairLocked(name, superclass);
}

ClassBuilder& ClassBuilder::method(SEL selector, const IMP& implementation)
{
    class_addMethod(m_class, selector, implementation);
    return *this;
}

ClassBuilder& ClassBuilder::classMethod(SEL selector, const IMP& implementation)
{
    class_addMethod(m_class->isa(), selector, implementation);
    return *this;
}

ClassBuilder& ClassBuilder::protocol(std::string name)
{
    Locker hold(m_class->m_registry.m_lock);
    m_class->m_protocols.push_back(std::move(name));
    return *this;
}

Class classOf(const ClassDescription& description)
{
    return Process::current().classes().classFor(description);
}

namespace detail {

void raiseTypeMismatch(
    const Object* receiver, SEL selector, const TypeEncoding& method, const TypeEncoding& call)
{
    throw NSException(NSInvalidArgumentException,
        "[" + object_getClassName(receiver) + " " + sel_getName(selector) + "] has type " + method.text
            + ", called as " + call.text);
}

} // namespace detail

std::vector<id> NSInvocation::objectArguments() const
{
    std::vector<id> objects;
    for (const std::any& argument : m_arguments) {
        if (const id* object = std::any_cast<id>(&argument))
            objects.push_back(*object);
    }
    return objects;
}

void NSInvocation::retainArguments()
{
    m_retained.push_back(retain(m_target));
    for (const id object : objectArguments())
        m_retained.push_back(retain(object));
}

} // namespace lumora
