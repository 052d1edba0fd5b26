#include "tests/devservice/Requests.h"

namespace lumora {
namespace {

using namespace test;

constexpr const char* complaintPath = "/complaints/ios/com.example.daily/";
constexpr const char* eventPath = "/event/ios/com.example.daily/redirect";
constexpr const char* batchPath = "/ads/ios/com.example.daily";
constexpr const char* screenshotPath = "/ads/ios/com.example.daily/i";
constexpr const char* sourcePath = "/ads/ios/com.example.daily/h";

// Made with "openssl enc -aes-256-cbc -base64 -A"; a complaint's key with "openssl md5".
constexpr const char* salt = "Lw3kZ8qPv0TnYb5RjXc7Hd2MfGs9AeUi";
constexpr const char* vector = "4071938256104937";
const std::string complaint
    = "fnLqVnochSzI3SDXGJbG74HPapXvyaENg1kc5mQH0jwhNwB8MAAVK1dKxmXN4saVMdf8YvqV6Kr5XaYdQ6ijrg==";
constexpr const char* event = "nq9W/XqI/Bqrw5TJPz+BLjUtYy47rRA9w04kqw0Rv18=";

ServiceRequest sealed(std::string body, ServiceHeaders headers = { { "lm-s", salt }, { "lm-iv", vector } })
{
    return { "POST", complaintPath, std::move(headers), std::move(body) };
}

TEST(CollectorService, DecryptsComplaintsAndKeepsWhatItCannotDecrypt)
{
    const struct {
        const char* name;
        ServiceRequest request;
        int status;
        std::string decrypted;
    } rows[] {
        { "complaint", sealed(complaint), 200, R"({"uuid":"0C4B","html":"<script>alert(1)</script>"})" },
        { "an array", sealed("PMYaYFvkSVaDHrujPxcMlA=="), 400, "[1]" },
        { "text", sealed("xun+J8EvPd7wrhbCKlMhZA=="), 400, "" },
        { "another salt", sealed(complaint, { { "lm-s", "salt" }, { "lm-iv", vector } }), 400, "" },
        { "short vector", sealed(complaint, { { "lm-s", salt }, { "lm-iv", "4071" } }), 400, "" },
        { "no headers", sealed(complaint, {}), 400, "" },
        { "cut off", sealed(complaint.substr(0, 44)), 400, "" },
        { "no Base64", sealed("{]"), 400, "" },
        { "line break", sealed(complaint + "\n"), 400, "" },
        { "padding inside", sealed("PMYaYFvkSVaDHrujPxcMlA==" + complaint), 400, "" },
        { "dashes", sealed(complaint + "---"), 400, "" },
        { "plain", sealed("{}"), 400, "" },
        { "padding", sealed("===="), 400, "" },
        { "empty", sealed(""), 400, "" },
    };
    LocalServices services("key");
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(services.handle(row.request).status, row.status);
        const Arrival kept = services.collector().complaints().back();
        EXPECT_EQ(kept.body, row.request.body);
        EXPECT_EQ(kept.decrypted, row.decrypted);
    }
}

TEST(CollectorService, TakesEventsPlainOrEncryptedAndLogsAsText)
{
    LocalServices services("key");
    EXPECT_EQ(services.handle(post(eventPath, "{}")).status, 200);
    EXPECT_EQ(services.handle(post(eventPath, event)).status, 200);
    EXPECT_EQ(services.handle(post(eventPath, "LBw50kDg8VzyBuz8kqmQdQ==")).body,
        R"({"error":"the body does not decrypt to JSON"})");
    EXPECT_EQ(services.handle(post("/logs", "{}")).status, 200);
    for (const char* odd : { "/event/ios/com.example.daily/", "/event/ios/com.example.daily/a/b?c" })
        EXPECT_EQ(services.handle(post(odd, "{}")).status, 200) << odd;
    EXPECT_EQ(services.handle(post("/event/ios/com.example.daily", "{}")).status, 404);
    const auto events = services.collector().events();
    EXPECT_EQ(bodies(events),
        (Bodies {
            "{}", "not JSON: " + std::string(event), "not JSON: LBw50kDg8VzyBuz8kqmQdQ==", "{}", "{}" }));
    EXPECT_EQ(events.at(1).decrypted, R"({"event":{"type":"redirect"}})");
    EXPECT_EQ(bodies(services.collector().logs()), Bodies { "not JSON: {}" });
}

TEST(CollectorService, AsksForWhatABatchNamesAndNobodyBrought)
{
    LocalServices services("key");
    for (const char* body : { R"({"screenshots":"a"})", R"({"screenshots":{"phash":"b","image":"iVBO"}})",
             R"({"screenshots":["c",{"phash":"d"},{"phash":5},6]})", R"({"screenshots":null})", "{}" })
        EXPECT_EQ(services.handle(post(screenshotPath, body)).status, 200) << body;
    services.handle(post(sourcePath, R"({"sources":[{"sourceHash":"e"}]})"));
    const struct {
        const char* ads;
        int status;
        const char* answer;
    } rows[] {
        { "[]", 200, "{}" },
        { R"([{},{"phash":"","sourceHash":7},{"phash":"a"},{"phash":"b"},{"phash":"c"},{"phash":"d"}])", 200,
            "{}" },
        { R"([{"phash":"a","sourceHash":"e"}])", 200, "{}" },
        { R"([{"phash":"a","sourceHash":"a"},{"phash":"x"},{"phash":"x"},{"sourceHash":"e"}])", 207,
            R"({"data":[{"status":200,"phash":"a"},{"status":404,"phash":"x"},)"
            R"({"status":"404","sourceHash":"a"},{"status":"200","sourceHash":"e"}]})" },
        { R"([{},{"phash":"e"}])", 404, R"({"data":[{"status":404,"phash":"e"}]})" },
        { "{}", 400, R"({"error":"a batch has an array of \"ads\""})" },
        { "[1]", 400, R"({"error":"\"ads\" must be objects"})" },
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.ads);
        const ServiceAnswer answer
            = services.handle(post(batchPath, R"({"ads":)" + std::string(row.ads) + "}"));
        EXPECT_EQ(answer.status, row.status);
        EXPECT_EQ(answer.body, row.answer);
    }
}

TEST(CollectorService, AsksForAKeyOnlyOnceOneIsSet)
{
    LocalServices services("key");
    EXPECT_EQ(services.handle({ "POST", "/logs" }).status, 200);
    services.handle({ "POST", "/control", {}, R"({"collectorKey":"Key"})" });
    for (const char* refused : { "", "key", "Bearer Key", "Key, Key" })
        EXPECT_EQ(services.handle({ "POST", "/logs", { { "Authorization", refused } } }).status, 401)
            << refused;
    EXPECT_EQ(services.handle({ "POST", screenshotPath, {}, R"({"screenshots":"a"})" }).status, 401);
    const ServiceHeaders key { { "Authorization", "Key" } };
    EXPECT_EQ(services.handle({ "POST", batchPath, key, R"({"ads":[{"phash":"a"}]})" }).status, 404);
    EXPECT_EQ(services.collector().logs().size(), 5U);
}

TEST(CollectorService, ActsOutFaultsForOneBundleOrAny)
{
    LocalServices services("key");
    services.addFault({ .path = "/ads/ios/com.example.other/i", .status = 500 });
    services.addFault({ .path = "/ads/ios/*/i", .status = 503 });
    services.addFault({ .path = "/event/ios/*/**", .status = 502 });
    EXPECT_EQ(services.handle(post(eventPath, "{}")).status, 502);
    EXPECT_EQ(services.handle(post(sourcePath, "{}")).status, 200);
    EXPECT_EQ(services.handle(post(screenshotPath, R"({"screenshots":"a"})")).status, 503);
    EXPECT_EQ(services.handle(post("/ads/ios/com.example.other/i", "{}")).status, 500);
    EXPECT_EQ(services.handle(post(batchPath, R"({"ads":[{"phash":"a"}]})")).status, 200);
    EXPECT_THROW(services.addFault({ .path = "/ads/ios/" }), std::invalid_argument);
}

TEST(CollectorService, ShowsWhatIsInsideAndLetsNothingAct)
{
    LocalServices services("key");
    services.handle(sealed(complaint));
    services.handle(sealed("PMYaYFvkSVaDHrujPxcMlA=="));
    services.handle(post("/event/ios/<b>x/'", "</pre><i>"));
    services.handle(post("/logs", "<script>alert(2)"));
    const std::string list = services.handle(get("/complaints")).body;
    for (const char* listed : { R"("isJSON":false,"headers":{"lm-iv":"4071938256104937",)",
             R"("lm-s":"Lw3kZ8qPv0TnYb5RjXc7Hd2MfGs9AeUi"},"body":"fnLq)", R"("decrypted":{"uuid":"0C4B",)" })
        EXPECT_NE(list.find(listed), std::string::npos) << listed;
    const std::string page = services.handle(get("/")).body;
    for (const char* shown : { "<dd>0C4B</dd>", "<pre>[1]</pre>", "&#60;script&#62;alert(1)",
             "/event/ios/&#60;b&#62;x/&#39;", "<pre>&#60;script&#62;alert(2)" })
        EXPECT_NE(page.find(shown), std::string::npos) << shown;
    for (const char* active : { "<script", "<b>x", "<i>" })
        EXPECT_EQ(page.find(active), std::string::npos) << active;
}

} // namespace
} // namespace lumora
