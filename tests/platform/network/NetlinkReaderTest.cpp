#include "platform/linux/NetlinkReader.h"

#include <cerrno>
#include <cstring>
#include <gtest/gtest.h>
#include <linux/rtnetlink.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace lumora {
namespace {

std::string message(uint32_t sequence, uint16_t type, std::string payload, uint16_t flags = 0)
{
    const nlmsghdr header { static_cast<uint32_t>(sizeof(nlmsghdr) + payload.size()), type, flags, sequence,
        0 };
    payload.resize(NLMSG_ALIGN(payload.size()));
    return std::string { reinterpret_cast<const char*>(&header), sizeof header } + payload;
}
std::string number(int value) { return { reinterpret_cast<const char*>(&value), sizeof value }; }
std::string done(uint32_t sequence, int error = 0)
{
    return message(sequence, NLMSG_DONE, number(-error), NLM_F_MULTI);
}
std::string torn(uint32_t sequence) { return message(sequence, NLMSG_DONE, number(0), NLM_F_DUMP_INTR); }
std::string error(uint32_t sequence, int error) { return message(sequence, NLMSG_ERROR, number(-error)); }

/// A link that is up, eth0.
std::string link(uint32_t sequence)
{
    std::string payload(sizeof(ifinfomsg), '\0');
    ifinfomsg header {};
    header.ifi_type = 1;
    header.ifi_index = 1;
    header.ifi_flags = 0x10041;
    std::memcpy(payload.data(), &header, sizeof header);
    return message(sequence, RTM_NEWLINK, payload);
}

TEST(NetlinkReader, KnowsARefusalFromAMishap)
{
    enum { Whole, Mishap, Refusal };
    const struct {
        const char* name;
        std::vector<std::string> answers;
        int result;
    } rows[] = {
        { "whole", { link(1), done(1), done(2), done(3) }, Whole },
        { "all in one", { link(1) + done(1), done(2), done(3) }, Whole },
        { "torn once", { done(1), torn(2), link(3), done(3), done(4), done(5) }, Whole },
        { "torn always", { torn(1), torn(2), torn(3), torn(4), torn(5) }, Mishap },
        { "busy once", { error(1, EBUSY), link(2), done(2), done(3), done(4) }, Whole },
        { "no memory at the end", { link(1), done(1, ENOMEM), link(2), done(2), done(3), done(4) }, Whole },
        { "no IPv6", { link(1), done(1), done(2), error(3, EAFNOSUPPORT) }, Whole },
        { "no IPv6 told at the end", { link(1), done(1), done(2), done(3, EOPNOTSUPP) }, Whole },
        { "IPv6 denied", { link(1), done(1), done(2), error(3, EACCES) }, Refusal },
        { "no IPv4", { link(1), done(1), error(2, EAFNOSUPPORT) }, Refusal },
        { "denied", { error(1, EPERM) }, Refusal },
        { "denied at the end", { link(1), done(1, EACCES) }, Refusal },
        { "an error without a number", { message(1, NLMSG_ERROR, "") }, Refusal },
        { "answers to others", { torn(9), error(8, EPERM), link(1), done(1), done(2), done(3) }, Whole },
        { "too short to be true",
            { "x", message(1, RTM_NEWLINK, "x"), link(1), done(1), message(2, RTM_NEWROUTE, "xyz"), done(2),
                done(3) },
            Whole },
        { "silence", {}, Refusal },
        { "silence in the middle", { link(1), done(1) }, Refusal },
    };
    for (const auto& row : rows) {
        std::array<int, 2> ends {};
        ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends.data()), 0);
        for (const std::string& answer : row.answers)
            send(ends[1], answer.data(), answer.size(), 0);
        NetlinkReader reader(ends[0]);
        const auto start = std::chrono::steady_clock::now();
        const auto flags = reader.read();
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2)) << row.name;
        EXPECT_EQ(flags.has_value(), row.result == Whole) << row.name;
        EXPECT_EQ(flags.value_or(NetworkFlags {}).linkLocal != 0, row.result == Whole) << row.name;
        EXPECT_EQ(reader.isRefused(), row.result == Refusal) << row.name;
        close(ends[1]);
    }
}

} // namespace
} // namespace lumora
