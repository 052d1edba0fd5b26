#include "hashing/OSImageHashing.h"

#include "platform/process/ProcessLocal.h"

#include <algorithm>

namespace lumora {

namespace {

ProcessLocal<OSImageHashing> s_sharedInstance;

OSAbstractHash* providerOf(OSImageHashingProviderId id)
{
    return OSImageHashingProviderFromImageHashingProviderId(id);
}

} // namespace

OSImageHashing& OSImageHashing::sharedInstance() { return s_sharedInstance.get(); }

OSHashType OSImageHashing::hashImage(const UIImage& image, ProviderId withProviderId) const
{
    const OSAbstractHash* provider = providerOf(withProviderId);
    return provider ? provider->hashImage(image) : 0;
}

OSHashType OSImageHashing::hashImageData(const NSData& imageData, ProviderId withProviderId) const
{
    const OSAbstractHash* provider = providerOf(withProviderId);
    return provider ? provider->hashImageData(imageData) : 0;
}

OSHashDistanceType OSImageHashing::hashDistance(
    OSHashType from, OSHashType to, ProviderId withProviderId) const
{
    const OSAbstractHash* provider = providerOf(withProviderId);
    return provider ? provider->hashDistance(from, to) : 0;
}

OSHashDistanceType OSImageHashing::hashDistanceSimilarityThreshold(ProviderId withProviderId) const
{
    const OSAbstractHash* provider = providerOf(withProviderId);
    return provider ? provider->hashDistanceSimilarityThreshold() : 0;
}

bool OSImageHashing::compareImageData(const NSData& left, const NSData& to, ProviderId withProviderId) const
{
    return compareImageData(left, to, hashDistanceSimilarityThreshold(withProviderId), withProviderId);
}

bool OSImageHashing::compareImageData(const NSData& left, const NSData& to, Quality withQuality) const
{
    return compareImageData(left, to, OSImageHashingProviderIdForHashingQuality(withQuality));
}

bool OSImageHashing::compareImageData(const NSData& left, const NSData& to,
    OSHashDistanceType withDistanceThreshold, ProviderId withProviderId) const
{
    const auto providers = NSArrayForProvidersFromOSImageHashingProviderId(withProviderId);
    return std::all_of(providers.begin(), providers.end(), [&](const OSAbstractHash* provider) {
        return provider->compareImageData(left, to, withDistanceThreshold);
    });
}

NSComparisonResult OSImageHashing::imageSimilarityComparatorForImageForBaseImageData(const NSData& base,
    const NSData& forLeftHandImageData, const NSData& forRightHandImageData, ProviderId withProviderId) const
{
    const OSAbstractHash* provider = providerOf(withProviderId);
    return provider ? provider->imageSimilarityComparatorForImageForBaseImageData(
               base, forLeftHandImageData, forRightHandImageData)
                    : NSComparisonResult::OrderedSame;
}

NSArray OSImageHashing::sortedArrayUsingImageSimilartyComparator(const NSData& base, const NSArray& forArray,
    ProviderId withProviderId, const ImageConverter& usingImageConverter) const
{
    const OSAbstractHash* provider = providerOf(withProviderId);
    if (!provider)
        return forArray;
    struct Hashed {
        Value element;
        OSHashType hash;
    };
    std::vector<Hashed> elements;
    for (const Value& element : forArray) {
        const NSData* own = element.data();
        const NSData data = usingImageConverter ? usingImageConverter(element) : own ? *own : NSData {};
        elements.push_back({ element, provider->hashImageData(data) });
    }
    // The comparator puts each of two unhashed ones behind the other. "Is ascending" is an order all the
    // same.
    const OSHashType baseHash = provider->hashImageData(base);
    std::stable_sort(elements.begin(), elements.end(), [&](const Hashed& left, const Hashed& right) {
        return provider->compareByDistance(baseHash, left.hash, right.hash)
            == NSComparisonResult::OrderedAscending;
    });
    NSArray sorted;
    for (Hashed& hashed : elements)
        sorted.push_back(std::move(hashed.element));
    return sorted;
}

NSArray OSImageHashing::sortedArrayUsingImageSimilartyComparator(const NSData& base, const NSArray& forArray,
    Quality withQuality, const ImageConverter& usingImageConverter) const
{
    return sortedArrayUsingImageSimilartyComparator(
        base, forArray, OSImageHashingProviderIdForHashingQuality(withQuality), usingImageConverter);
}

NSDictionary OSImageHashing::similarImagesWithHashingQuality(Quality, const ImageStreamHandler&) const
{
    return {};
}
NSDictionary OSImageHashing::similarImagesWithHashingQuality(Quality, const NSArray&) const { return {}; }
NSDictionary OSImageHashing::similarImagesWithProvider(ProviderId, const ImageStreamHandler&) const
{
    return {};
}
NSDictionary OSImageHashing::similarImagesWithProvider(ProviderId, const NSArray&) const { return {}; }
NSDictionary OSImageHashing::dictionaryFromSimilarImagesResult(const NSArray&) const { return {}; }

} // namespace lumora
