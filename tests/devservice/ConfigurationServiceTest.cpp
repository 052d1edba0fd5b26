#include "devservice/ConfigurationService.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <thread>

namespace lumora {
namespace {

constexpr const char* configuration = "/api/v1/sdk/config?platform_version=13.3&sdk_version=2.1.0";
constexpr const char* impression = "/api/v1/sdk/impression";
constexpr const char* ad = "/api/v1/ad";

ServiceRequest get(std::string target)
{
    return { "GET", std::move(target), { { "authorization", "Bearer key" } } };
}

ServiceRequest post(std::string target, std::string body)
{
    return { "POST", std::move(target), { { "AUTHORIZATION", "Bearer key" } }, std::move(body), 1000.5 };
}

std::string header(const ServiceAnswer& answer, std::string_view name)
{
    const auto found = answer.headers.find(name);
    return found == answer.headers.end() ? "none" : found->second;
}

std::vector<std::string> bodies(const std::vector<Arrival>& arrivals)
{
    std::vector<std::string> bodies(arrivals.size());
    std::transform(arrivals.begin(), arrivals.end(), bodies.begin(),
        [](const Arrival& arrival) { return (arrival.isJSON ? "" : "not JSON: ") + arrival.body; });
    return bodies;
}

using Bodies = std::vector<std::string>;

/// A folder of its own for a database and what SQLite puts beside it.
struct TemporaryFolder {
    TemporaryFolder() { EXPECT_NE(mkdtemp(path.data()), nullptr); }
    ~TemporaryFolder() { std::filesystem::remove_all(path); }
    std::string file(const char* name) const { return path + "/" + name; }
    std::string path = testing::TempDir() + "/arrivalsXXXXXX";
};

TEST(ConfigurationService, HandsOutTheRecordAndItsCacheControl)
{
    ConfigurationService service("key");
    service.setRecord(R"({"active":true,"ttlConfig":30})");
    service.setCacheControl("max-age=600, public");
    const ServiceAnswer answer = service.handle(get(configuration));
    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.body, R"({"active":true,"ttlConfig":30})");
    EXPECT_EQ(header(answer, "cache-control"), "max-age=600, public");

    service.setCacheControl("");
    EXPECT_EQ(header(service.handle(get(configuration)), "cache-control"), "none");
    EXPECT_EQ(service.configurationFetches().at(1).target, configuration);
}

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
    ConfigurationService service("key");
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(service.handle({ "POST", impression, row.headers, "{}" }).status, row.status);
        EXPECT_EQ(service.impressions().back().status, row.status);
    }
    service.setAcceptedKey("");
    EXPECT_EQ(service.handle({ "POST", impression, { { "Authorization", "Bearer " } }, "{}" }).status, 401);
}

TEST(ConfigurationService, SortsBodiesByTheirShape)
{
    struct {
        const char* name;
        const char* target;
        std::string body;
        int status;
    } const rows[] {
        { "impression", impression, R"({"sdk":"user_defined"})", 200 },
        { "impression in an array", impression, "[{}]", 400 },
        { "ad record", ad, R"({"ts":"1.5"})", 200 },
        { "report", ad, R"( [{"type":"redirect"}])", 200 },
        { "two reports", ad, "[{},{}]", 400 },
        { "array of a number", ad, "[1]", 400 },
        { "half a report", ad, "[{", 400 },
        { "empty", ad, "", 400 },
        { "zero byte", ad, std::string("{}\0", 3), 400 },
        { "too deep", ad, std::string(5000, '['), 400 },
    };
    ConfigurationService service("key");
    for (const auto& row : rows)
        EXPECT_EQ(service.handle(post(row.target, row.body)).status, row.status) << row.name;
    EXPECT_EQ(bodies(service.impressions()), (Bodies { rows[0].body, rows[1].body }));
    EXPECT_EQ(
        bodies(service.adRecords()), (Bodies { rows[2].body, "not JSON: ", "not JSON: " + rows[8].body }));
    EXPECT_EQ(bodies(service.reports()),
        (Bodies { rows[3].body, "[{},{}]", "[1]", "not JSON: [{", "not JSON: " + rows[9].body }));
}

TEST(ConfigurationService, TellsAWrongPathFromAWrongMethod)
{
    ConfigurationService service("key");
    EXPECT_EQ(service.handle(get("/api/v1/adverts")).status, 404);
    const ServiceAnswer answer = service.handle({ "DELETE", "/control" });
    EXPECT_EQ(answer.status, 405);
    EXPECT_EQ(header(answer, "allow"), "GET, POST");
}

TEST(ConfigurationService, ActsOutFaultsInOrderUntilTheyAreUsedUp)
{
    ConfigurationService service("key");
    service.addFault({ .path = ad, .times = 2, .status = 503 });
    service.addFault({ .body = Fault::garbage(), .delaySeconds = 2.5 });
    service.addFault({ .path = ad, .ending = Ending::CloseWithoutAnswer });

    EXPECT_EQ(service.handle(post(ad, "[{}]")).status, 503);
    const ServiceAnswer fetched = service.handle(get(configuration));
    EXPECT_EQ(fetched.body, Fault::garbage());
    EXPECT_EQ(fetched.delaySeconds, 2.5);
    EXPECT_EQ(header(fetched, "cache-control"), "max-age=300");
    EXPECT_EQ(service.handle(post(ad, "[{}]")).status, 503);
    EXPECT_EQ(service.handle(post(ad, "[{}]")).ending, Ending::CloseWithoutAnswer);
    EXPECT_EQ(service.handle(post(ad, "[{}]")).status, 200);
    EXPECT_EQ(service.reports().at(2).status, 0);
}

TEST(ConfigurationService, FaultWithoutACountStaysUntilClearedAndSparesTheLists)
{
    ConfigurationService service("key");
    service.addFault({ .times = std::nullopt, .status = 304 });
    for (int i = 0; i < 3; ++i) {
        const ServiceAnswer answer = service.handle(get(configuration));
        EXPECT_EQ(answer.status, 304);
        EXPECT_EQ(answer.body, "");
    }
    EXPECT_EQ(service.handle(get("/reports")).status, 200);
    service.clearFaults();
    EXPECT_EQ(service.handle(get(configuration)).status, 200);
}

TEST(ConfigurationService, IsSetThroughControlAllOrNothing)
{
    ConfigurationService service("old");
    const ServiceAnswer answer = service.handle({ "POST", "/control", {},
        R"({"key":"key","record":{"active":false},"cacheControl":"no-cache",
            "faults":[{"times":null,"delay":1,"ending":"closeMidBody"}]})" });
    EXPECT_EQ(answer.body,
        R"({"key":"key","record":{"active":false},"cacheControl":"no-cache",)"
        R"("faults":[{"path":"","delay":1E0,"times":null,"ending":"closeMidBody"}]})");

    for (const char* refused :
        { "", "[]", R"({"key":5})", R"({"record":[]})", R"({"cacheControl":"a\r\nb: c"})", R"({"unknown":1})",
            R"({"faults":{}})", R"({"clearFaults":1})" })
        EXPECT_EQ(service.handle({ "POST", "/control", {}, refused }).status, 400) << refused;
    for (const char* fault :
        { "1", R"({"path":"/reports"})", R"({"times":0})", R"({"times":-1})", R"({"status":99})",
            R"({"status":500.5})", R"({"delay":-1})", R"({"delay":1e9})", R"({"ending":"never"})",
            R"({"ending":"closeMidBody","status":304})", R"({"garbage":"yes"})", R"({"colour":1})" }) {
        const std::string body
            = R"({"key":"changed","clearFaults":true,"faults":[)" + std::string(fault) + "]}";
        EXPECT_EQ(service.handle({ "POST", "/control", {}, body }).status, 400) << fault;
    }
    EXPECT_EQ(service.handle(get("/control")).body, answer.body);
}

TEST(ConfigurationService, ListsWhatArrivedAsJSON)
{
    ConfigurationService service("key");
    service.handle(post(ad, R"([{"type":"redirect"}])"));
    service.handle(post(ad, "[\xFF\""));
    EXPECT_EQ(service.handle(get("/reports?x")).body,
        R"([{"number":1,"receivedAt":1.0005E3,"target":"/api/v1/ad","authorization":"Bearer key","status":200,)"
        R"("isJSON":true,"body":[{"type":"redirect"}]},)"
        "\n"
        R"({"number":2,"receivedAt":1.0005E3,"target":"/api/v1/ad","authorization":"Bearer key","status":400,)"
        R"("isJSON":false,"body":"[ÿ\""}])"
        "\n");
}

TEST(ConfigurationService, PageShowsScreenshotsAndLetsNothingAct)
{
    ConfigurationService service("key");
    service.handle(post(ad, R"([{"screenshot":"/9j/AAAA","html":"<script>alert(1)</script>"}])"));
    service.handle(post(ad, R"x([{"screenshot":"\" onerror=\"alert(2)","<b>":"\u0000"}])x"));
    service.handle(post(ad, "[</pre><script>alert(3)"));
    const std::string page = service.handle(get("/")).body;
    EXPECT_NE(page.find("src=\"data:image/jpeg;base64,/9j/AAAA\""), std::string::npos);
    EXPECT_NE(page.find("&#60;script&#62;alert(1)"), std::string::npos);
    for (const char* active : { "<script", "\" onerror", "<b>\"", "[</pre>" })
        EXPECT_EQ(page.find(active), std::string::npos) << active;
}

TEST(ConfigurationService, KeepsArrivalsInAFileAndReportsADatabaseItCannotOpen)
{
    const TemporaryFolder folder;
    const std::string file = folder.file("arrivals.db");
    ConfigurationService("key", file).handle(post(ad, "[{}]"));
    ConfigurationService again("key", file);
    EXPECT_EQ(bodies(again.reports()), Bodies { "[{}]" });
    EXPECT_EQ(again.reports().at(0).receivedAt, 1000.5);
    EXPECT_THROW(ConfigurationService("key", folder.file("missing/arrivals.db")), StoreError);
}

TEST(ConfigurationService, AnswersThatItsStoreFails)
{
    const TemporaryFolder folder;
    const std::string file = folder.file("broken.db");
    ConfigurationService service("key", file);
    sqlite3* other = nullptr;
    ASSERT_EQ(sqlite3_open(file.c_str(), &other), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(other, "DROP TABLE arrivals", nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(other);

    const ServiceAnswer answer = service.handle(post(ad, "[{}]"));
    EXPECT_EQ(answer.status, 500);
    EXPECT_EQ(answer.body, R"({"error":"arrival store: no such table: arrivals"})");
    EXPECT_EQ(service.handle(get("/")).status, 500);
    EXPECT_THROW((void)service.reports(), StoreError);
}

TEST(ConfigurationService, ManyThreadsLoseNothing)
{
    ConfigurationService service("key");
    service.addFault({ .times = 10, .status = 500 });
    std::array<std::thread, 4> threads;
    for (std::thread& thread : threads) {
        thread = std::thread([&service] {
            for (int i = 0; i < 25; ++i)
                service.handle(post(ad, "[{}]"));
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    const auto reports = service.reports();
    EXPECT_EQ(reports.size(), 100U);
    EXPECT_EQ(std::count_if(reports.begin(), reports.end(), [](auto& r) { return r.status == 500; }), 10);
}

} // namespace
} // namespace lumora
