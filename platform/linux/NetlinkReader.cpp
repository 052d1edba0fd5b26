#include "platform/linux/NetlinkReader.h"

#include "platform/linux/RouteProbe.h"
#include "platform/systemconfiguration/NetworkPath.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <libmnl/libmnl.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <map>
#include <net/if.h>
#include <net/if_arp.h>
#include <string_view>
#include <sys/time.h>
#include <tuple>
#include <unistd.h>

namespace lumora {

namespace {

// IFF_LOWER_UP, which <net/if.h> does not have: the carrier is there. Sooner known than IFF_RUNNING when it
// goes.
constexpr unsigned lowerUp = 1U << 16;
// The longest prefix of a route that counts as a way to the internet.
constexpr unsigned longestWide = 3;
constexpr std::chrono::milliseconds longestWait { 100 };

bool isCellular(std::string_view link)
{
    // The IPv4 of a modem that has IPv6 alone.
    if (link.starts_with("v4-"))
        link.remove_prefix(3);
    for (const std::string_view prefix : { "ww", "rmnet", "ccmni", "seth_", "ppp" }) {
        if (link.starts_with(prefix))
            return true;
    }
    return false;
}

/// Whether an error may be gone the next time.
bool isPassing(int error)
{
    switch (error) {
    case EAGAIN:
    case EBUSY:
    case EINTR:
    case EMFILE:
    case ENFILE:
    case ENOBUFS:
    case ENOMEM:
        return true;
    default:
        return false;
    }
}

/// The error at the beginning of what NLMSG_ERROR and NLMSG_DONE carry.
int errorIn(const nlmsghdr& message)
{
    int error = 0;
    if (mnl_nlmsg_get_payload_len(&message) >= sizeof error)
        std::memcpy(&error, mnl_nlmsg_get_payload(&message), sizeof error);
    return -error;
}

/// The attributes of a message by their type; null where it has none of that type.
template <size_t count> std::array<const nlattr*, count> attributesOf(const nlmsghdr& message, size_t header)
{
    std::array<const nlattr*, count> found {};
    auto note = [](const nlattr* attribute, void* data) {
        auto& table = *static_cast<std::array<const nlattr*, count>*>(data);
        if (const uint16_t type = mnl_attr_get_type(attribute); type < count)
            table.at(type) = attribute;
        return MNL_CB_OK;
    };
    mnl_attr_parse(&message, static_cast<unsigned>(header), note, &found);
    return found;
}

uint32_t numberOf(const nlattr* attribute, uint32_t otherwise)
{
    return attribute && mnl_attr_validate(attribute, MNL_TYPE_U32) == 0 ? mnl_attr_get_u32(attribute)
                                                                        : otherwise;
}

std::string_view textOf(const nlattr* attribute)
{
    if (!attribute)
        return {};
    const auto* text = static_cast<const char*>(mnl_attr_get_payload(attribute));
    return { text, strnlen(text, mnl_attr_get_payload_len(attribute)) };
}

/// "bridge", "veth"...; hardware has none.
std::string_view kindOf(const nlattr* linkInfo)
{
    std::string_view kind;
    auto note = [](const nlattr* attribute, void* data) {
        if (mnl_attr_get_type(attribute) == IFLA_INFO_KIND)
            *static_cast<std::string_view*>(data) = textOf(attribute);
        return MNL_CB_OK;
    };
    if (linkInfo)
        mnl_attr_parse_nested(linkInfo, note, &kind);
    return kind;
}

} // namespace

/// What has been read so far; links come before routes.
class NetlinkReader::Picture {
public:
    void add(const nlmsghdr& message)
    {
        if (message.nlmsg_type == RTM_NEWLINK && mnl_nlmsg_get_payload_len(&message) >= sizeof(ifinfomsg))
            addLink(message);
        if (message.nlmsg_type == RTM_NEWROUTE && mnl_nlmsg_get_payload_len(&message) >= sizeof(rtmsg))
            addRoute(message);
    }

    NetworkFlags flags() const
    {
        NetworkFlags flags;
        bool isCellular = true;
        for (const int family : { AF_INET, AF_INET6 }) {
            const std::optional<Way> way = wayOf(family);
            if (!way || (way->lead == Lead::Unknown && !findsRoute(family).value_or(false)))
                continue;
            flags.internet = kSCNetworkReachabilityFlagsReachable;
            isCellular &= way->lead == Lead::Cellular;
        }
        if (flags.internet && isCellular)
            flags.internet |= kSCNetworkReachabilityFlagsIsWWAN;
        if (m_hasLocalNetwork)
            flags.linkLocal = kSCNetworkReachabilityFlagsReachable | kSCNetworkReachabilityFlagsIsDirect;
        return flags;
    }

private:
    /// Where a route leads, the better first.
    enum class Lead { NotCellular, Cellular, Unknown, Nowhere };
    struct Way {
        unsigned prefix;
        uint32_t metric;
        Lead lead;

        bool isBetterThan(const Way& other) const
        {
            return std::tuple(other.prefix, metric, lead) < std::tuple(prefix, other.metric, other.lead);
        }
    };
    using Table = std::pair<int, uint32_t>;

    /// The way out of that family.
    std::optional<Way> wayOf(int family) const
    {
        std::optional<Way> best;
        for (const auto& [table, way] : m_winners) {
            if (table.first != family || way.lead == Lead::Nowhere)
                continue;
            if (table.second == RT_TABLE_MAIN)
                return way;
            if (!best || way.isBetterThan(*best))
                best = way;
        }
        return best;
    }

    void addLink(const nlmsghdr& message)
    {
        const auto* link = static_cast<const ifinfomsg*>(mnl_nlmsg_get_payload(&message));
        const auto attributes = attributesOf<IFLA_LINKINFO + 1>(message, sizeof *link);
        constexpr unsigned usable = IFF_UP | IFF_RUNNING | lowerUp;
        if ((link->ifi_flags & (usable | IFF_LOOPBACK)) != usable)
            return;
        const bool isModem = isCellular(textOf(attributes[IFLA_IFNAME]));
        m_links[static_cast<uint32_t>(link->ifi_index)] = isModem ? Lead::Cellular : Lead::NotCellular;
        const std::string_view kind = kindOf(attributes[IFLA_LINKINFO]);
        const bool isBridged = kind == "bridge" || (attributes[IFLA_MASTER] && !kind.empty());
        m_hasLocalNetwork |= !isModem && !isBridged && link->ifi_type == ARPHRD_ETHER
            && !(link->ifi_flags & IFF_POINTOPOINT);
    }

    void addRoute(const nlmsghdr& message)
    {
        const auto* route = static_cast<const rtmsg*>(mnl_nlmsg_get_payload(&message));
        const auto attributes = attributesOf<RTA_TABLE + 1>(message, sizeof *route);
        const bool throwsAway = route->rtm_type == RTN_UNREACHABLE || route->rtm_type == RTN_BLACKHOLE
            || route->rtm_type == RTN_PROHIBIT;
        if ((route->rtm_type != RTN_UNICAST && !throwsAway) || (route->rtm_flags & RTM_F_CLONED)
            || !isWide(*route, attributes[RTA_DST]))
            return;
        const Table table { route->rtm_family, numberOf(attributes[RTA_TABLE], route->rtm_table) };
        const unsigned prefix = route->rtm_dst_len;
        const uint32_t metric = numberOf(attributes[RTA_PRIORITY], 0);
        const nlattr* hops = attributes[RTA_MULTIPATH];
        if (throwsAway) {
            // Over a part of the addresses it leaves the others their way.
            if (prefix == 0)
                addWay(table, { prefix, metric, Lead::Nowhere });
            return;
        }
        if (!attributes[RTA_OIF] && !hops)
            addWay(table, { prefix, metric, Lead::Unknown });
        addHop(table, prefix, metric, numberOf(attributes[RTA_OIF], 0), route->rtm_flags);
        const auto* at = hops ? static_cast<const char*>(mnl_attr_get_payload(hops)) : nullptr;
        for (size_t left = hops ? mnl_attr_get_payload_len(hops) : 0; left >= sizeof(rtnexthop);) {
            const auto* hop = reinterpret_cast<const rtnexthop*>(at);
            addHop(table, prefix, metric, static_cast<uint32_t>(hop->rtnh_ifindex), hop->rtnh_flags);
            const size_t length = std::max<size_t>(RTNH_ALIGN(hop->rtnh_len), sizeof *hop);
            left -= std::min(length, left);
            at += length;
        }
    }

    /// A default route, half of all addresses, or 2000::/3.
    static bool isWide(const rtmsg& route, const nlattr* destination)
    {
        if (route.rtm_dst_len <= 1)
            return true;
        return route.rtm_family == AF_INET6 && route.rtm_dst_len == longestWide && destination
            && mnl_attr_get_payload_len(destination) > 0
            && *static_cast<const uint8_t*>(mnl_attr_get_payload(destination)) == 0x20;
    }

    void addHop(const Table& table, unsigned prefix, uint32_t metric, uint32_t link, unsigned flags)
    {
        const auto found = m_links.find(link);
        if (found != m_links.end() && !(flags & (RTNH_F_DEAD | RTNH_F_LINKDOWN)))
            addWay(table, { prefix, metric, found->second });
    }

    void addWay(const Table& table, const Way& way)
    {
        const auto [winner, isFirst] = m_winners.try_emplace(table, way);
        if (!isFirst && way.isBetterThan(winner->second))
            winner->second = way;
    }

    // The links that count, by their index.
    std::map<uint32_t, Lead> m_links;
    bool m_hasLocalNetwork { false };
    // The best way of each table.
    std::map<Table, Way> m_winners;
};

NetlinkReader::NetlinkReader()
    : NetlinkReader(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE))
{
}

NetlinkReader::NetlinkReader(int socket)
    : m_socket(socket)
{
    // The kernel answers at once. Should it ever not, nobody waits for ever.
    constexpr timeval longest { 0, std::chrono::microseconds(longestWait).count() };
    if (m_socket < 0 || setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &longest, sizeof longest) != 0) {
        m_isRefused = !isPassing(errno);
        if (m_socket >= 0)
            close(m_socket);
        m_socket = -1;
    }
}

NetlinkReader::~NetlinkReader()
{
    if (m_socket >= 0)
        close(m_socket);
}

std::optional<NetworkFlags> NetlinkReader::read()
{
    constexpr int attempts = 5;
    m_end = Clock::now() + longestWait;
    for (int i = 0; i < attempts && m_socket >= 0 && !m_isRefused && Clock::now() < m_end; i++) {
        Picture picture;
        int error = dump(RTM_GETLINK, AF_UNSPEC, picture);
        if (!error)
            error = dump(RTM_GETROUTE, AF_INET, picture);
        if (!error) {
            error = dump(RTM_GETROUTE, AF_INET6, picture);
            // A kernel without IPv6.
            if (error == EAFNOSUPPORT || error == EOPNOTSUPP)
                error = 0;
        }
        if (!error)
            return picture.flags();
        m_isRefused = !isPassing(error);
    }
    return std::nullopt;
}

int NetlinkReader::dump(uint16_t type, uint8_t family, Picture& picture)
{
    std::array<char, 256> buffer {};
    nlmsghdr* request = mnl_nlmsg_put_header(buffer.data());
    request->nlmsg_type = type;
    request->nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    request->nlmsg_seq = ++m_sequence;
    // Both kinds of request begin with the family.
    static_assert(offsetof(ifinfomsg, ifi_family) == 0 && offsetof(rtmsg, rtm_family) == 0);
    const size_t header = type == RTM_GETLINK ? sizeof(ifinfomsg) : sizeof(rtmsg);
    *static_cast<uint8_t*>(mnl_nlmsg_put_extra_header(request, header)) = family;
    // A socket without an address sends to the kernel.
    return send(m_socket, request, request->nlmsg_len, MSG_NOSIGNAL) < 0 ? errno : receive(picture);
}

int NetlinkReader::receive(Picture& picture)
{
    // As much as the kernel puts into one answer.
    std::array<char, 32768> buffer {};
    bool isTorn = false;
    while (Clock::now() < m_end) {
        const ssize_t received = recv(m_socket, buffer.data(), buffer.size(), MSG_TRUNC);
        if (received < 0 && errno == EINTR)
            continue;
        if (received < 0)
            return errno == EAGAIN ? ETIMEDOUT : errno;
        if (received == 0 || received > static_cast<ssize_t>(buffer.size()))
            return EBADMSG;
        int left = static_cast<int>(received);
        const auto* message = reinterpret_cast<const nlmsghdr*>(buffer.data());
        for (; mnl_nlmsg_ok(message, left); message = mnl_nlmsg_next(message, &left)) {
            // What is left of an earlier answer.
            if (message->nlmsg_seq != m_sequence)
                continue;
            isTorn |= (message->nlmsg_flags & NLM_F_DUMP_INTR) != 0;
            if (message->nlmsg_type == NLMSG_ERROR)
                return errorIn(*message) ? errorIn(*message) : EBADMSG;
            if (message->nlmsg_type == NLMSG_DONE)
                return errorIn(*message) || !isTorn ? errorIn(*message) : EINTR;
            picture.add(*message);
        }
    }
    return EAGAIN;
}

bool NetlinkReader::concerns(const nlmsghdr& notice)
{
    switch (notice.nlmsg_type) {
    case RTM_NEWLINK:
    case RTM_DELLINK:
        return true;
    case RTM_NEWROUTE:
    case RTM_DELROUTE:
        return mnl_nlmsg_get_payload_len(&notice) >= sizeof(rtmsg)
            && static_cast<const rtmsg*>(mnl_nlmsg_get_payload(&notice))->rtm_dst_len <= longestWide;
    default:
        return false;
    }
}

} // namespace lumora
