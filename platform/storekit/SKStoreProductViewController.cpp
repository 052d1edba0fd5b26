#include "platform/storekit/SKStoreProductViewController.h"

#include "platform/dispatch/Executor.h"
#include "platform/foundation/NSError.h"

namespace lumora {

const ClassDescription& SKStoreProductViewController::classDescription()
{
    using Self = SKStoreProductViewController;
    static const auto& description
        = *new ClassDescription(ClassDescription::of<Self, UIViewController>("SKStoreProductViewController")
                                    .method<&Self::loadProductWithParameters>(sel::loadProductWithParameters)
                                    .method<&Self::viewWillAppear>(sel::viewWillAppear));
    return description;
}
static const RegisteredClass registered { &SKStoreProductViewController::classDescription };

void SKStoreProductViewController::loadProductWithParameters(
    const NSDictionary& parameters, const SKStoreProductCompletion& completion)
{
    if (!completion)
        return;
    std::shared_ptr<NSErrorObject> error;
    if (parameters[SKStoreProductParameterITunesItemIdentifier].isNothing())
        error
            = NSErrorObject::of({ SKErrorDomain, SKErrorStoreProductNotAvailable, "No product was named." });
    dispatch_get_main_queue().async([completion, error] { completion(!error, error.get()); });
}

} // namespace lumora
