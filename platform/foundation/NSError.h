#pragma once

#include "platform/objc/Object.h"

#include <cstdint>
#include <string>

namespace lumora {

struct NSError {
    std::string domain;
    int64_t code { 0 };
    std::string localizedDescription;
};

/// An error as an object, for what takes or keeps objects. Any thread.
class NSErrorObject final : public NSObject {
public:
    static const ClassDescription& classDescription();
    static std::shared_ptr<NSErrorObject> of(NSError error);

    const NSError& error() const { return m_error; }
    /// Domain, code and text in the platform's words.
    std::string description() const override;

private:
    NSError m_error;
};

inline constexpr const char* NSURLErrorDomain = "NSURLErrorDomain";

/// How an HTTP exchange can fail.
enum NSURLErrorCode : int {
    NSURLErrorUnknown = -1,
    NSURLErrorCancelled = -999,
    NSURLErrorBadURL = -1000,
    NSURLErrorTimedOut = -1001,
    NSURLErrorUnsupportedURL = -1002,
    NSURLErrorCannotFindHost = -1003,
    NSURLErrorCannotConnectToHost = -1004,
    NSURLErrorNetworkConnectionLost = -1005,
    NSURLErrorHTTPTooManyRedirects = -1007,
    NSURLErrorBadServerResponse = -1011,
    NSURLErrorDataLengthExceedsMaximum = -1103,
    NSURLErrorSecureConnectionFailed = -1200,
    NSURLErrorServerCertificateUntrusted = -1202,
};

} // namespace lumora
