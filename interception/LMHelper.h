#pragma once

#include "platform/objc/Object.h"

#include <string>

namespace lumora {

/// Debugging aids, sent to the class `LMHelper` from a debugger or a host: what methods a class of the
/// process has, its own ones in their order. Stateless; any thread. A class that is not there has none.
class LMHelper : public NSObject {
public:
    static const ClassDescription& classDescription();

    /// Writes the instance methods of a class to the system log.
    static void getMethodsFromClass(const std::string& className);
    /// The same for its class methods.
    static void getMethodsFromAbstractClass(const std::string& className);
    /// `DumpObjcMethods`.
    static void dumpClassMethods(Object* object);
};

} // namespace lumora
