#include "tests/devservice/Requests.h"
#include "tests/platform/TestProcess.h"

#include <sqlite3.h>

namespace lumora {
namespace {

using namespace test;

void execute(const std::string& file, const char* sql)
{
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open(file.c_str(), &database), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(database, sql, nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(database);
}

TEST(LocalServices, TellsAWrongPathFromAWrongMethod)
{
    LocalServices services("key");
    EXPECT_EQ(services.handle(get("/api/v1/adverts")).status, 404);
    const ServiceAnswer answer = services.handle({ "DELETE", "/control" });
    EXPECT_EQ(answer.status, 405);
    EXPECT_EQ(header(answer, "allow"), "GET, POST");
}

TEST(LocalServices, ActsOutFaultsInOrderUntilTheyAreUsedUp)
{
    LocalServices services("key");
    services.addFault({ .path = adPath, .times = 2, .status = 503 });
    services.addFault({ .body = Fault::garbage(), .delaySeconds = 2.5 });
    services.addFault({ .path = adPath, .ending = Ending::CloseWithoutAnswer });

    EXPECT_EQ(services.handle(post(adPath, "[{}]")).status, 503);
    const ServiceAnswer fetched = services.handle(get(configurationPath));
    EXPECT_EQ(fetched.body, Fault::garbage());
    EXPECT_EQ(fetched.delaySeconds, 2.5);
    EXPECT_EQ(header(fetched, "cache-control"), "max-age=300");
    EXPECT_EQ(services.handle(post(adPath, "[{}]")).status, 503);
    EXPECT_EQ(services.handle(post(adPath, "[{}]")).ending, Ending::CloseWithoutAnswer);
    EXPECT_EQ(services.handle(post(adPath, "[{}]")).status, 200);
    EXPECT_EQ(services.configuration().reports().at(2).status, 0);
    services.addFault({ .times = std::nullopt, .status = 503 });
    EXPECT_EQ(services.handle(get("/reports")).status, 200) << "the lists are spared";
    services.clearFaults();
    EXPECT_EQ(services.handle(get(configurationPath)).status, 200);
}

TEST(LocalServices, IsSetThroughControlAllOrNothing)
{
    LocalServices services("old");
    const ServiceAnswer answer = services.handle({ "POST", "/control", {},
        R"({"key":"key","record":{"active":false},"cacheControl":"no-cache",
            "faults":[{"times":null,"delay":1,"ending":"closeMidBody"}]})" });
    EXPECT_EQ(answer.body,
        R"({"key":"key","record":{"active":false},"cacheControl":"no-cache","collectorKey":"",)"
        R"("faults":[{"path":"","delay":1E0,"times":null,"ending":"closeMidBody"}]})");

    for (const char* refused :
        { "", "[]", R"({"key":5})", R"({"record":[]})", R"({"cacheControl":"a\r\nb: c"})", R"({"unknown":1})",
            R"({"faults":{}})", R"({"clearFaults":1})" })
        EXPECT_EQ(services.handle({ "POST", "/control", {}, refused }).status, 400) << refused;
    for (const char* fault :
        { "1", R"({"path":"/reports"})", R"({"times":0})", R"({"times":-1})", R"({"status":99})",
            R"({"status":500.5})", R"({"delay":-1})", R"({"delay":1e9})", R"({"ending":"never"})",
            R"({"ending":"closeMidBody","status":304})", R"({"garbage":"yes"})", R"({"colour":1})" }) {
        const std::string body
            = R"({"key":"changed","clearFaults":true,"faults":[)" + std::string(fault) + "]}";
        EXPECT_EQ(services.handle({ "POST", "/control", {}, body }).status, 400) << fault;
    }
    EXPECT_EQ(services.handle(get("/control")).body, answer.body);
}

TEST(LocalServices, ListsWhatArrivedAsJSON)
{
    LocalServices services("key");
    services.handle(post(adPath, R"([{"type":"redirect"}])"));
    services.handle(post(adPath, "[\xFF\""));
    EXPECT_EQ(services.handle(get("/reports?x")).body,
        R"([{"number":1,"receivedAt":1.0005E3,"target":"/api/v1/ad","authorization":"Bearer key","status":200,)"
        R"("isJSON":true,"body":[{"type":"redirect"}]},)"
        "\n"
        R"({"number":2,"receivedAt":1.0005E3,"target":"/api/v1/ad","authorization":"Bearer key","status":400,)"
        R"("isJSON":false,"body":"[ÿ\""}])"
        "\n");
}

TEST(LocalServices, PageShowsScreenshotsAndLetsNothingAct)
{
    LocalServices services("key");
    services.handle(post(adPath, R"([{"screenshot":"/9j/AAAA","html":"<script>alert(1)</script>"}])"));
    services.handle(post(adPath, R"x([{"screenshot":"\" onerror=\"alert(2)","<b>":"\u0000"}])x"));
    services.handle(post(adPath, "[</pre><script>alert(3)"));
    const std::string page = services.handle(get("/")).body;
    EXPECT_NE(page.find("src=\"data:image/jpeg;base64,/9j/AAAA\""), std::string::npos);
    EXPECT_NE(page.find("&#60;script&#62;alert(1)"), std::string::npos);
    for (const char* active : { "<script", "\" onerror", "<b>\"", "[</pre>" })
        EXPECT_EQ(page.find(active), std::string::npos) << active;
}

TEST(LocalServices, PageReadsOnlyTheStartOfWhatIsTooMuch)
{
    LocalServices services("key");
    services.handle(post(adPath, R"([{"type":"earlier"}])"));
    std::string body = R"([{"html":"x)";
    while (body.size() <= 16U << 20)
        body += "é";
    services.handle(post(adPath, body));
    const std::string page = services.handle(get("/")).body;
    EXPECT_NE(page.find("xé"), std::string::npos);
    EXPECT_NE(
        page.find("é… <span class=\"note\">(" + std::to_string(body.size()) + " bytes)"), std::string::npos);
    EXPECT_NE(page.find("<dd>earlier</dd>"), std::string::npos);
}

TEST(LocalServices, GoesOnWithAFileThatKnewNoCollector)
{
    const TemporaryFolder folder;
    const std::string file = folder.path / "old.db";
    execute(file,
        "CREATE TABLE arrivals(number INTEGER PRIMARY KEY AUTOINCREMENT, kind INTEGER NOT NULL,"
        " receivedAt REAL NOT NULL, target TEXT NOT NULL, authorization TEXT NOT NULL, body BLOB NOT NULL,"
        " isJSON INTEGER NOT NULL, status INTEGER NOT NULL);"
        "INSERT INTO arrivals VALUES(7, 3, 1000.5, '/api/v1/ad', '', '[{}]', 1, 200)");
    LocalServices("key", file).handle(post("/ads/ios/app/i", R"({"screenshots":"a"})"));
    LocalServices again("key", file);
    EXPECT_EQ(bodies(again.configuration().reports()), Bodies { "[{}]" });
    EXPECT_EQ(again.configuration().reports().at(0).receivedAt, 1000.5);
    EXPECT_EQ(again.collector().screenshots().at(0).number, 8);
    EXPECT_EQ(again.handle(post("/ads/ios/app", R"({"ads":[{"phash":"a"}]})")).status, 200);
}

TEST(LocalServices, AnswersThatItsStoreFailsAndKeepsNoHalf)
{
    const TemporaryFolder folder;
    const std::string file = folder.path / "broken.db";
    LocalServices services("key", file);
    execute(file, "DROP TABLE hashes");
    EXPECT_EQ(services.handle(post("/ads/ios/app/i", R"({"screenshots":"a"})")).status, 500);
    EXPECT_EQ(services.collector().screenshots().size(), 0U);
    execute(file, "DROP TABLE arrivals");
    const ServiceAnswer answer = services.handle(post(adPath, "[{}]"));
    EXPECT_EQ(answer.status, 500);
    EXPECT_EQ(answer.body, R"({"error":"arrival store: no such table: arrivals"})");
    EXPECT_EQ(services.handle(get("/")).status, 500);
    EXPECT_THROW((void)services.configuration().reports(), StoreError);
    EXPECT_THROW(LocalServices("key", folder.path / "missing/arrivals.db"), StoreError);
}

} // namespace
} // namespace lumora
