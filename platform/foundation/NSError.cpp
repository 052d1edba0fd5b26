#include "platform/foundation/NSError.h"

#include "platform/foundation/NSString.h"
#include "platform/objc/Message.h"

namespace lumora {

const ClassDescription& NSErrorObject::classDescription()
{
    static const auto& description
        = *new ClassDescription(ClassDescription::of<NSErrorObject, NSObject>("NSError"));
    return description;
}
static const RegisteredClass registered { &NSErrorObject::classDescription };

std::shared_ptr<NSErrorObject> NSErrorObject::of(NSError error)
{
    auto object = make<NSErrorObject>();
    object->m_error = std::move(error);
    return object;
}

std::string NSErrorObject::description() const
{
    return stringWithFormat(
        "Error Domain=%@ Code=%ld \"%@\"", { m_error.domain, m_error.code, m_error.localizedDescription });
}

} // namespace lumora
