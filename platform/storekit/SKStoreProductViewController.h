#pragma once

#include "platform/foundation/Value.h"
#include "platform/uikit/UIViewController.h"

namespace lumora {

/// The parameter that names the product.
inline constexpr const char* SKStoreProductParameterITunesItemIdentifier = "id";

inline constexpr const char* SKErrorDomain = "SKErrorDomain";
inline constexpr int SKErrorStoreProductNotAvailable = 5;

/// Whether the product was found, and an error where it was not.
using SKStoreProductCompletion = std::function<void(bool loaded, id error)>;

namespace sel {
inline constinit const TypedSelector<void(NSDictionary, SKStoreProductCompletion)> loadProductWithParameters {
    "loadProductWithParameters:completionBlock:"
};
} // namespace sel

/// The sheet on which the store shows a product inside the application. Main thread only.
class SKStoreProductViewController final : public UIViewController {
public:
    static const ClassDescription& classDescription();

    /// The completion, which may be absent, runs on the main queue. Parameters without an identifier give an
    /// error; this platform has no store, so every other product is found.
    void loadProductWithParameters(
        const NSDictionary& parameters, const SKStoreProductCompletion& completion);
    void viewWillAppear(bool animated) { UIViewController::viewWillAppear(animated); }
};

} // namespace lumora
