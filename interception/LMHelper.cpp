#include "interception/LMHelper.h"

#include "lumora/Swizzling.h"
#include "platform/foundation/Console.h"

namespace lumora {

namespace {

void logMethods(Class cls, const std::string& name)
{
    const std::vector<Method> methods = class_copyMethodList(cls);
    NSLog(std::to_string(methods.size()) + " methods of " + name);
    for (size_t index = 0; index < methods.size(); index++)
        NSLog("Method no #" + std::to_string(index) + ": " + sel_getName(methods[index]->name));
}

} // namespace

void LMHelper::getMethodsFromClass(const std::string& className)
{
    logMethods(NSClassFromString(className), className);
}

void LMHelper::getMethodsFromAbstractClass(const std::string& className)
{
    logMethods(object_getClass(NSClassFromString(className)), className);
}

void LMHelper::dumpClassMethods(Object* object) { DumpObjcMethods(object); }

const ClassDescription& LMHelper::classDescription()
{
    static const auto& description = *new ClassDescription(
        ClassDescription::of<LMHelper, NSObject>("LMHelper")
            .classMethod<&getMethodsFromClass>("getMethodsFromClass:"_sel)
            .classMethod<&getMethodsFromAbstractClass>("getMethodsFromAbstractClass:"_sel)
            .classMethod<&dumpClassMethods>("dumpClassMethods:"_sel));
    return description;
}
static const RegisteredClass registered { &LMHelper::classDescription };

} // namespace lumora
