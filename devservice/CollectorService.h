#pragma once

#include "devservice/Service.h"
#include "platform/process/Lock.h"

#include <string>
#include <string_view>
#include <vector>

namespace lumora {

/// The collector service's stand-in. Takes what is sent for any bundle identifier: uploads of screenshots and
/// of source hashes, batches of stored ad data, complaints, events, and logs, which are any text. Complaints
/// must be encrypted, events may be; what was found inside is kept beside what came in. Any thread.
///
/// An upload brings hashes, once and for all: under "screenshots" or "sources" a text, an object with a
/// "phash" or "sourceHash", or an array of these. A batch is answered 200 when each hash that its "ads" name
/// has been brought, 207 when some have, and 404 when none has; then {"data": [...]} has an element for each:
/// its "status", 200 or 404, and the hash under the name it came with. Clients read it beside a 207 only.
class CollectorService final : public Service {
public:
    explicit CollectorService(ArrivalStore& store)
        : Service(store)
    {
    }

    ServiceAnswer answer(const ServiceRequest&, Arrival&) override;
    Change change(std::string_view setting, const boost::json::value&) override;
    void describeSettings(boost::json::object&) const override;

    /// What "Authorization" must be, to the letter; empty, as it is at first, lets everybody in.
    void setAcceptedKey(std::string);

    // Oldest first. These throw StoreError.
    std::vector<Arrival> screenshots() const { return store().oldestFirst(ArrivalKind::Screenshots); }
    std::vector<Arrival> sourceHashes() const { return store().oldestFirst(ArrivalKind::SourceHashes); }
    std::vector<Arrival> batches() const { return store().oldestFirst(ArrivalKind::Batch); }
    std::vector<Arrival> complaints() const { return store().oldestFirst(ArrivalKind::Complaint); }
    std::vector<Arrival> events() const { return store().oldestFirst(ArrivalKind::Event); }
    std::vector<Arrival> logs() const { return store().oldestFirst(ArrivalKind::Log); }

private:
    std::string acceptedKey() const;
    ServiceAnswer answerBatch(const boost::json::object&) const;

    mutable Lock m_lock;
    std::string m_acceptedKey LUMORA_GUARDED_BY(m_lock);
};

} // namespace lumora
