#include "report/InterfaceFiles.h"

#include "platform/foundation/NSBundle.h"
#include "platform/foundation/NSFileManager.h"
#include "platform/uikit/UINib.h"
#include "report/LMFontsLoader.h"

namespace lumora {

std::shared_ptr<Object> loadInterface(std::string_view name, Object* owner)
{
    LMFontsLoader::load();
    auto objects = loadNibNamed(NSBundle::bundleForLibrary(), std::string { name }, owner);
    return objects.empty() ? nullptr : std::move(objects.front());
}

UIImage libraryImage(std::string_view name)
{
    constexpr double sharpestScale = 2;
    const auto path = NSBundle::bundleForLibrary().pathForResource(std::string { name } + "@2x", "png");
    const auto data = path ? contentsOfFile(*path) : std::nullopt;
    return data ? UIImage::imageWithData(*data, sharpestScale).value_or(UIImage {}) : UIImage {};
}

} // namespace lumora
