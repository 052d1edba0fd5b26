#pragma once

#include "devservice/LocalServices.h"
#include "lumora/Lumora.h"
#include "platform/dispatch/VirtualExecutor.h"
#include "platform/uikit/UIView.h"
#include "service/TDAPI.h"
#include "simulator/Finding.h"
#include "simulator/Phone.h"
#include "simulator/SoleObject.h"
#include "simulator/networks/GoogleStandIn.h"
#include "simulator/networks/MoPubStandIn.h"

#include <memory>
#include <string>
#include <vector>

namespace lumora::test {

inline constexpr const char* validKey = "a-key-of-exactly-thirty-chars!";

/// Both services and a phone with both networks' SDKs, under the virtual clock.
class World {
public:
    struct Options {
        std::string record { R"({"active": true, "ttlConfig": 3600, "buttonTap": "single"})" };
        std::function<void(Phone::Options&)> adjust;
    };
    World()
        : World(Options {})
    {
    }
    explicit World(const Options& options);

    /// The entry call, and time for the configuration to arrive.
    void start();
    /// Restarts the application: another process, the same home folder.
    void restart();
    void setServiceAway(bool away);

    /// A banner on screen, loaded, its button attached and slid out.
    std::shared_ptr<UIView> showMoPub(const MoPubStandIn::Creative& creative
        = { .html = "<h1>Ad</h1>", .dspCreativeId = "dsp-1", .creativeId = "mp-1" });
    std::shared_ptr<UIView> showAdMob(
        const GoogleStandIn::Creative& creative = { .html = "<h1>Ad</h1>", .debugText = "crid:12345" });

    /// The body of the last report, an object; empty when none arrived.
    NSDictionary lastReport() const;
    NSDictionary lastImpression() const;

private:
    static Phone::Options phoneOptions(World& world, const Options& options);
    std::shared_ptr<UIView> onScreen(const std::shared_ptr<UIView>& banner);

    std::weak_ptr<DirectTransport> m_transport;
    bool m_away { false };

public:
    // The phone comes last and goes first: it talks to all of the others.
    LocalServices services;
    ConfigurationService& service { services.configuration() };
    Phone phone;
};

/// The same, started.
struct StartedWorld : World {
    explicit StartedWorld(const Options& options = {})
        : World(options)
    {
        start();
    }
};

/// The pending timers whose name ends like that, in seconds from now.
std::vector<double> timersNamed(const Phone& phone, std::string_view ending);

using lumora::buttonOn;
using lumora::find;
using lumora::reasonOn;

} // namespace lumora::test
