#include "devservice/LocalServices.h"
#include "devservice/LoopbackServer.h"

#include <charconv>
#include <csignal>
#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>

namespace {

constexpr std::string_view usage = R"(devservice [--port N] [--key KEY] [--database FILE] [--record FILE]
           [--collector-key KEY]

Plays the configuration service and the collector on 127.0.0.1 until it is interrupted.
  --port N             the port; any free one without it
  --key KEY            the bearer key that the configuration service lets in; "demo-key" without it
  --database FILE      where arrivals are kept; in memory without it
  --record FILE        the configuration record, a JSON object
  --collector-key KEY  the key that the collector asks for, without "Bearer"; none without it
Prints the port on a line of its own, then the services' base addresses and the page to look at.
To change it while it runs:
  curl 127.0.0.1:PORT/control -d '{"record": {"active": true, "ttlConfig": 30}, "cacheControl": "max-age=60",
    "key": "other", "collectorKey": "", "clearFaults": true,
    "faults": [{"path": "/api/v1/ad", "times": 2, "status": 500, "delay": 1.5}, {"path": "/ads/ios/*", "status": 207,
      "body": "{\"data\": [{\"status\": 404, \"phash\": \"ff00\"}]}"}]}'
A fault may have: path ("*" for any bundle identifier, "**" for any kind of event), times (null: until cleared),
status, delay (seconds), body, garbage (true), ending ("closeWithoutAnswer", "closeMidBody").
)";

struct Options {
    uint16_t port = 0;
    std::string key = "demo-key";
    std::string database = ":memory:";
    std::string recordFile;
    std::string collectorKey;
};

uint16_t portIn(std::string_view text)
{
    uint16_t port = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    if (error != std::errc() || end != text.data() + text.size())
        throw std::invalid_argument("--port takes a number from 0 to 65535");
    return port;
}

Options optionsIn(int count, char** arguments)
{
    Options options;
    for (int i = 1; i < count; i += 2) {
        const std::string_view name = arguments[i];
        if (i + 1 == count)
            throw std::invalid_argument("nothing follows " + std::string(name));
        const char* value = arguments[i + 1];
        if (name == "--port")
            options.port = portIn(value);
        else if (name == "--key")
            options.key = value;
        else if (name == "--database")
            options.database = value;
        else if (name == "--record")
            options.recordFile = value;
        else if (name == "--collector-key")
            options.collectorKey = value;
        else
            throw std::invalid_argument("unknown option " + std::string(name));
    }
    return options;
}

std::string contentsOf(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::string contents { std::istreambuf_iterator<char>(file), {} };
    if (!file)
        throw std::runtime_error("cannot read " + path);
    return contents;
}

void serve(const Options& options)
{
    // Blocked before the server's thread is made, so that only the wait below takes them.
    sigset_t endings;
    sigemptyset(&endings);
    sigaddset(&endings, SIGINT);
    sigaddset(&endings, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &endings, nullptr);

    lumora::LocalServices services(options.key, options.database);
    if (!options.recordFile.empty())
        services.configuration().setRecord(contentsOf(options.recordFile));
    services.collector().setAcceptedKey(options.collectorKey);
    lumora::LoopbackServer server(services, options.port);
    server.start();
    std::cout << server.port() << "\nconfiguration " << server.configurationURL() << "\ncollector     "
              << server.collectorURL() << "\npage          " << server.collectorURL() << "/" << std::endl;
    int ending = 0;
    sigwait(&endings, &ending);
}

} // namespace

int main(int count, char** arguments)
{
    if (count == 2 && std::string_view(arguments[1]) == "--help") {
        std::cout << usage;
        return 0;
    }
    try {
        serve(optionsIn(count, arguments));
    } catch (const std::invalid_argument& error) {
        std::cerr << "devservice: " << error.what() << "\n\n" << usage;
        return 2;
    } catch (const std::exception& error) {
        std::cerr << "devservice: " << error.what() << '\n';
        return 1;
    }
    return 0;
}
