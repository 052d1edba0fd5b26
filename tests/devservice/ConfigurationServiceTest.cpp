#include "tests/devservice/Requests.h"

namespace lumora {
namespace {

using namespace test;

TEST(ConfigurationService, LetsInOnlyTheAcceptedKeyButKeepsWhatItRefused)
{
    struct {
        const char* name;
        ServiceHeaders headers;
        int status;
    } const rows[] {
        { "right", { { "Authorization", "Bearer key" } }, 200 },
        { "scheme in lower case", { { "Authorization", "bearer key" } }, 200 },
        { "missing", {}, 401 },
        { "key in another case", { { "Authorization", "Bearer KEY" } }, 401 },
        { "longer", { { "Authorization", "Bearer key2" } }, 401 },
        { "bare", { { "Authorization", "key" } }, 401 },
        { "twice", { { "Authorization", "Bearer key" }, { "Authorization", "Bearer key" } }, 401 },
    };
    LocalServices services("key");
    ConfigurationService& service = services.configuration();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(services.handle({ "POST", impressionPath, row.headers, "{}" }).status, row.status);
        EXPECT_EQ(service.impressions().back().status, row.status);
    }
    service.setAcceptedKey("");
    EXPECT_EQ(
        services.handle({ "POST", impressionPath, { { "Authorization", "Bearer " } }, "{}" }).status, 401);
}

TEST(ConfigurationService, SortsBodiesByTheirShape)
{
    struct {
        const char* name;
        const char* target;
        std::string body;
        int status;
    } const rows[] {
        { "impression", impressionPath, R"({"sdk":"user_defined"})", 200 },
        { "impression in an array", impressionPath, "[{}]", 400 },
        { "ad record", adPath, R"({"ts":"1.5"})", 200 },
        { "report", adPath, R"( [{"type":"redirect"}])", 200 },
        { "two reports", adPath, "[{},{}]", 400 },
        { "array of a number", adPath, "[1]", 400 },
        { "half a report", adPath, "[{", 400 },
        { "empty", adPath, "", 400 },
        { "zero byte", adPath, std::string("{}\0", 3), 400 },
        { "too deep", adPath, std::string(5000, '['), 400 },
    };
    LocalServices services("key");
    ConfigurationService& service = services.configuration();
    for (const auto& row : rows)
        EXPECT_EQ(services.handle(post(row.target, row.body)).status, row.status) << row.name;
    EXPECT_EQ(bodies(service.impressions()), (Bodies { rows[0].body, rows[1].body }));
    EXPECT_EQ(
        bodies(service.adRecords()), (Bodies { rows[2].body, "not JSON: ", "not JSON: " + rows[8].body }));
    EXPECT_EQ(bodies(service.reports()),
        (Bodies { rows[3].body, "[{},{}]", "[1]", "not JSON: [{", "not JSON: " + rows[9].body }));
}

} // namespace
} // namespace lumora
