#pragma once

#include "platform/objc/ClassDescription.h"

#include <array>

namespace lumora {

/// The classes of one process, and beside them the stored-previous slots of its hooks. Described classes are
/// made when first touched; run-time classes are added by ClassBuilder. Any thread.
class ClassRegistry {
public:
    explicit ClassRegistry(Process& process);
    ~ClassRegistry();
    ClassRegistry(const ClassRegistry&) = delete;
    ClassRegistry& operator=(const ClassRegistry&) = delete;

    Process& process() const { return m_process; }
    /// The class of a name: one already made, or a described one; null when nobody knows it.
    Class classNamed(std::string_view name);
    /// The class object of a description, made if this is the first touch.
    Class classFor(const ClassDescription& description);
    /// How many class objects this process has made, metaclasses left out.
    size_t count() const;

    /// The cell of a hook's slot. Stays where it is for the life of the process; reading it takes no lock.
    std::atomic<IMP::Function>& slotCell(size_t index);

private:
    friend class ClassObject;
    friend class ClassBuilder;
    friend bool class_addMethod(Class, SEL, const IMP&);
    friend IMP class_replaceMethod(Class, SEL, const IMP&, const TypeEncoding*);
    friend std::vector<Method> class_copyMethodList(Class);
    friend bool class_conformsToProtocol(Class, std::string_view);

    struct StringHash {
        using is_transparent = void;
        size_t operator()(std::string_view text) const { return std::hash<std::string_view> {}(text); }
    };
    static constexpr size_t slotsPerChunk = 64;
    static constexpr size_t slotChunks = 32;
    using SlotChunk = std::array<std::atomic<IMP::Function>, slotsPerChunk>;

    Class classForLocked(const ClassDescription& description) LUMORA_REQUIRES(m_lock);
    Class makePairLocked(const std::string& name, Class superclass) LUMORA_REQUIRES(m_lock);

    Process& m_process;
    mutable Lock m_lock;
    std::unordered_map<std::string, std::shared_ptr<ClassObject>, StringHash, std::equal_to<>>
        m_classes LUMORA_GUARDED_BY(m_lock);
    std::vector<std::shared_ptr<ClassObject>> m_metaclasses LUMORA_GUARDED_BY(m_lock);
    std::unordered_map<const ClassDescription*, Class> m_described LUMORA_GUARDED_BY(m_lock);
    std::array<std::atomic<SlotChunk*>, slotChunks> m_slotChunks {};
};

/// Makes a class at run time: how a host, or a stand-in for a network's SDK, defines its own.
///
///     ClassBuilder("GADBannerView", classOf<UIView>()).method("adViewDidReceiveAd:"_sel, &received).build();
///
/// It belongs to its superclass's process. A name that is taken, or no superclass, raises
/// NSInvalidArgumentException.
class ClassBuilder {
public:
    ClassBuilder(const std::string& name, Class superclass);

    ClassBuilder& method(SEL selector, const IMP& implementation);
    ClassBuilder& classMethod(SEL selector, const IMP& implementation);
    ClassBuilder& protocol(std::string name);
    Class build() const { return m_class; }

private:
    Class m_class;
};

/// The class object of a C++ class in the current process.
Class classOf(const ClassDescription& description);
template <typename T> Class classOf() { return classOf(T::classDescription()); }

/// Allocates a T with its class in the current process, or with a run-time subclass of it. A C++ class
/// without a description of its own takes its base's class. Uninitialised: send `init...` next.
template <typename T> std::shared_ptr<T> alloc()
{
    // Two allocations: weak tables outlive objects, and must not keep their memory.
    std::shared_ptr<T> object(new T);
    object_setClass(*object, classOf<T>());
    return object;
}
template <typename T> std::shared_ptr<T> alloc(Class cls) { return as<T>(class_createInstance(cls)); }

} // namespace lumora
