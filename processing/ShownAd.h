#pragma once

#include "interception/AdViewSearch.h"
#include "interception/Swizzling.h"

#include <array>
#include <initializer_list>
#include <memory>
#include <vector>

namespace lumora {

class Process;

/// One call of a network's method by which it shows an ad, from the moment it begins; hands the ad over once
/// the replaced method has returned. Holds nothing of the network's, which may let go of all of it. On any
/// thread; nothing leaves it.
class ShownAd {
public:
    /// What takes part in a call: its receiver, the objects among its arguments, and what it answers.
    enum class Part { Receiver, First, Second, Answer };

    /// An object that may be the ad object, told by a part of the call.
    struct Candidate {
        Part part;
        /// From the part to the object; the part itself if there is none.
        const char* keyPath { nullptr };
        /// Whether the ad object is looked for inside of it.
        bool isSearched { false };
        /// What it has to be of; anything if unset.
        const char* kind { nullptr };
    };

    /// What is special about a moment.
    struct Circumstances {
        /// Where the receiver is looked for besides in itself.
        AdMoment moment { AdMoment::Loaded };
        /// Whether an ad comes on screen by this call, from the receiver and the first argument; always if
        /// unset.
        bool (*isShown)(id self, id argument) { nullptr };
        Hook::Kind kind { Hook::Kind::Method };
    };

    /// One hooked method. One that answers no has shown nothing.
    struct Moment {
        /// The class whose `swizzleMethods` installs the hook.
        const char* swizzler;
        const char* className;
        const char* selector;
        /// The first that a processor understands is handed over; else the first that is there.
        std::vector<Candidate> candidates;
        Circumstances circumstances;
    };

    /// The moment must outlive every call.
    ShownAd(const Moment& moment, id self, std::initializer_list<id> arguments) noexcept;
    /// Hands the ad over on the main queue's next turn, when the network has put its view where it belongs.
    void handOver(const std::shared_ptr<Object>& answer = nullptr) noexcept;

private:
    void keep(Part part, const std::weak_ptr<Object>& object) { m_parts[static_cast<size_t>(part)] = object; }
    std::shared_ptr<Object> find(const Candidate& candidate) const;
    void logAd() const;

    static constexpr size_t parts = 4;
    const Moment& m_moment;
    Process* m_process { nullptr };
    AdViewSearch m_search;
    std::array<std::weak_ptr<Object>, parts> m_parts;
};

} // namespace lumora
