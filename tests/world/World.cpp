#include "tests/world/World.h"

#include "platform/dispatch/VirtualExecutor.h"

namespace lumora::test {

Phone::Options World::phoneOptions(World& world, const Options& options)
{
    Phone::Options phone;
    phone.makeTransport = [&world] {
        auto transport = std::make_shared<DirectTransport>(world.services,
            TDAPI::getURLWithType(TDAPI::EndpointType::Configuration), LUMORA_COLLECTOR_SERVICE);
        transport->setServiceAway(world.m_away);
        world.m_transport = transport;
        return transport;
    };
    phone.onBoot = [] {
        MoPubStandIn::install();
        GoogleStandIn::install();
    };
    if (options.adjust)
        options.adjust(phone);
    return phone;
}

World::World(const Options& options)
    : services(validKey)
    , phone(phoneOptions(*this, options))
{
    service.setRecord(options.record);
}

void World::start()
{
    Lumora::initiateTrackerWithKey(validKey);
    phone.wait(2 * DirectTransport::latency);
}

void World::restart()
{
    phone.kill();
    phone.boot();
}

void World::setServiceAway(bool away)
{
    m_away = away;
    if (const auto transport = m_transport.lock())
        transport->setServiceAway(away);
}

std::shared_ptr<UIView> World::onScreen(const std::shared_ptr<UIView>& banner)
{
    banner->setFrame({ { 20, 200 }, banner->bounds().size });
    phone.content().addSubview(banner);
    return banner;
}

std::shared_ptr<UIView> World::showMoPub(const MoPubStandIn::Creative& creative)
{
    auto banner = onScreen(MoPubStandIn::makeBanner(creative.size));
    MoPubStandIn::load(*banner, creative);
    phone.wait(1.1);
    return banner;
}

std::shared_ptr<UIView> World::showAdMob(const GoogleStandIn::Creative& creative)
{
    auto banner = onScreen(GoogleStandIn::makeBanner(creative.size));
    GoogleStandIn::load(*banner, creative);
    phone.wait(1.1);
    return banner;
}

NSDictionary World::lastReport() const
{
    const auto reports = service.reports();
    return reports.empty() ? NSDictionary {} : soleObjectIn(reports.back().body);
}

NSDictionary World::lastImpression() const
{
    const auto impressions = service.impressions();
    return impressions.empty() ? NSDictionary {} : soleObjectIn(impressions.back().body);
}

std::vector<double> timersNamed(const Phone& phone, std::string_view ending)
{
    std::vector<double> due;
    for (const auto& timer : phone.process().executor().pendingTimers()) {
        if (timer->name().ends_with(ending))
            due.push_back(timer->dueTime() - phone.process().now());
    }
    return due;
}

} // namespace lumora::test
