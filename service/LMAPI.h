#pragma once

#include "platform/foundation/NSError.h"
#include "platform/foundation/NSURLSession.h"

#include <functional>

namespace lumora {

/// The client of the collector service; with `StoredDataAnswer.h` the one place that knows its wire form.
/// Stateless but for its key and its test bundle. Any thread. Callbacks may be absent; they come at most
/// once, on the HTTP session's queue, never on the main thread. Nothing is retried here. A body that cannot
/// be written as JSON is sent empty.
///
/// Screenshots, source hashes, complaints and events ask the configuration's gate first: when that is closed
/// nothing is sent and nobody is called.
///
/// A body is written as JSON, and encrypted, on the thread that calls; on the main one, once the gate had to
/// fetch. What is large is best sent from a background queue.
class LMAPI {
public:
    using Delivered = std::function<void(bool)>;
    using Completion = std::function<void(bool delivered, const NSDictionary&)>;
    using Failure = std::function<void(const NSDictionary&)>;
    using Summary = std::function<void(const NSDictionary& missing, const NSDictionary&)>;
    using StoredDataFailure = std::function<void(const std::optional<NSError>&, const NSDictionary&)>;
    using TimeAnswer = std::function<void(const NSHTTPURLResponse&)>;
    using TimeFailure = std::function<void(const NSError&)>;

    /// Replaces the collector's key; an absent one is ignored.
    static void setNewAuthKey(const std::optional<std::string>& key);
    /// Replaces the bundle for tests; an absent one is ignored. Kept: nothing reads it.
    static void setBundleForTest(const std::optional<std::string>& bundle);
    /// A request with a time-out of 15 s that ignores local caches. "Authorization" is the key as it is,
    /// without "Bearer"; the field is left out while there is no key.
    static NSMutableURLRequest createURLRequestWithURL(const std::string& url, const std::string& andMethod);
    /// What came of an exchange in one dictionary: "dictionaryFromData" (the body as JSON, else an empty
    /// dictionary), "urlResponse" and "error" (an object, else an empty text).
    static NSDictionary prepareResponseInfoWith(const std::optional<NSData>& body,
        const std::optional<NSHTTPURLResponse>& response, const std::optional<NSError>& error);
    /// That many characters, independent and equally likely: decimal digits, or letters and digits.
    static std::string randomStringWithLength(int64_t length, bool numbersOnly);

    /// Uploads screenshots or source hashes. `completion` hears of status 200, `failure` of transport errors;
    /// nobody of any other status.
    static void sendScreenshot(const Value& screenshots, Completion completion, Failure failure);
    static void sendSourceHash(const Value& sources, Completion completion, Failure failure);
    /// Uploads a user's complaint, encrypted with a key of its own; its fields win over the device's. An
    /// absent one is not sent. `completion` hears of every outcome, true for status 200.
    static void sendComplaintInfo(const std::optional<NSDictionary>& complaint, Delivered completion);
    /// Uploads an event, on demand encrypted with the collector's fixed key. An absent one is not sent.
    /// `completion` hears of status 200 only.
    static void sendEventInfo(
        const std::optional<NSDictionary>& event, bool withEncrypting, Delivered completion);
    /// Uploads a batch of ad records, whatever the gate says; answers the started task, or null for an empty
    /// batch, which is not sent.
    ///
    /// `successCompleteDeleteAll`: status 200, all of it may be deleted. `successComplete`: status 207, with
    /// the missing items. `successSimple`: a transport error of code 404, which has no body, so with two
    /// empty lists. `failure`: any other status, without an error, or any other transport error. The last
    /// dictionary of each is empty, here and above: kept.
    static std::shared_ptr<NSURLSessionDataTask> sendStoredData(const NSArray& ads, Summary successSimple,
        Summary successComplete, StoredDataFailure failure, Completion successCompleteDeleteAll);
    /// Asks a public web server for an answer that carries the time in its header. Nothing is set by it here.
    static void updateTimeFromServerWithSuccess(TimeAnswer success, TimeFailure failure);
    /// Uploads the log file as text. The file is removed once the request is built, so a failed send loses
    /// its lines. No file, or one that cannot be read: nothing is sent. Reads a file that may be large.
    static void sendLog();
};

} // namespace lumora
