#pragma once

#include "hashing/OSAbstractHash.h"
#include "hashing/OSImageHashingTypes.h"

#include <functional>

namespace lumora {

/// The front of the hash providers; the default one unless the caller names one. One per process, without
/// state; any thread. No provider at all answers 0, and finds any two pictures similar.
class OSImageHashing {
public:
    using ProviderId = OSImageHashingProviderId;
    using Quality = OSImageHashingQuality;
    /// Makes an encoded picture of an element.
    using ImageConverter = std::function<NSData(const Value&)>;
    /// Hands out pictures to search, until it answers nothing.
    using ImageStreamHandler = std::function<Value()>;
    static constexpr ProviderId defaultProvider = OSImageHashingProviderDefaultProviderId;

    static OSImageHashing& sharedInstance();

    OSHashType hashImage(const UIImage& image, ProviderId withProviderId = defaultProvider) const;
    OSHashType hashImageData(const NSData& imageData, ProviderId withProviderId = defaultProvider) const;
    OSHashDistanceType hashDistance(
        OSHashType from, OSHashType to, ProviderId withProviderId = defaultProvider) const;
    OSHashDistanceType hashDistanceSimilarityThreshold(ProviderId withProviderId = defaultProvider) const;

    /// Whether every provider of the set finds the two similar, with the threshold of the first.
    bool compareImageData(
        const NSData& left, const NSData& to, ProviderId withProviderId = defaultProvider) const;
    bool compareImageData(const NSData& left, const NSData& to, Quality withQuality) const;
    /// Whether every provider of the set finds the two nearer than the threshold.
    bool compareImageData(const NSData& left, const NSData& to, OSHashDistanceType withDistanceThreshold,
        ProviderId withProviderId = defaultProvider) const;

    NSComparisonResult imageSimilarityComparatorForImageForBaseImageData(const NSData& base,
        const NSData& forLeftHandImageData, const NSData& forRightHandImageData,
        ProviderId withProviderId = defaultProvider) const;
    /// The elements by their closeness to the base, equally close ones as they stood, those that cannot be
    /// hashed last. Without a converter an element is an encoded picture itself.
    NSArray sortedArrayUsingImageSimilartyComparator(const NSData& base, const NSArray& forArray,
        ProviderId withProviderId = defaultProvider,
        const ImageConverter& usingImageConverter = nullptr) const;
    NSArray sortedArrayUsingImageSimilartyComparator(const NSData& base, const NSArray& forArray,
        Quality withQuality, const ImageConverter& usingImageConverter = nullptr) const;

    // The searches find nothing and ask for no picture: kept, nothing in the system searches by hash.

    NSDictionary similarImagesWithHashingQuality(
        Quality quality, const ImageStreamHandler& forImageStreamHandler) const;
    NSDictionary similarImagesWithHashingQuality(Quality quality, const NSArray& forImages) const;
    NSDictionary similarImagesWithProvider(
        ProviderId provider, const ImageStreamHandler& forImageStreamHandler) const;
    NSDictionary similarImagesWithProvider(ProviderId provider, const NSArray& forImages) const;
    NSDictionary dictionaryFromSimilarImagesResult(const NSArray& result) const;
};

} // namespace lumora
