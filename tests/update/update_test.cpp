#include "halyward/base/error.hpp"
#include "halyward/system/paths.hpp"
#include "halyward/update/update_feed.hpp"
#include "halyward/update/update_stamp.hpp"
#include "halyward/update/version_compare.hpp"
#include "support/fifo.hpp"
#include "support/scratch_folder.hpp"

#include <gtest/gtest.h>

using namespace halyward;
namespace fs = std::filesystem;
using Clock = std::chrono::system_clock;

static Clock::time_point at(std::int64_t unixSeconds) {
    return Clock::time_point(std::chrono::seconds(unixSeconds));
}

TEST(version_compare, reads_parts_leniently) {
    struct Case {
        std::string text;
        std::vector<std::int64_t> parts;
    };
    const Case cases[] = {
        {" V2.x.3 \n", {2, 0, 3}},
        {"v1.2.0", {1, 2, 0}},
        {"1.0.1-rc1", {1, 0, 1}},
        {"-1.2", {1, 2}},
        {"--3-4", {3}},
        {"1..2.", {1, 2}},
        {"+4.05", {4, 5}},
        {"vv1", {0}},
        {"99999999999999999999.1", {0, 1}},
        {"", {}},
        {"  ", {}},
        {"v", {}},
        {"---", {}},
        {"\xFF.1", {0, 1}},
    };
    for (const auto& c : cases) EXPECT_EQ(versionParts(c.text), c.parts) << c.text;
}

TEST(version_compare, newer_is_numeric_and_strict) {
    struct Case {
        const char* candidate;
        const char* baseline;
        bool newer;
    };
    const Case cases[] = {
        {"v1.2.0", "1.1.9", true},     {"1.2", "1.2.0", false},    {"1.2.0", "1.2", false},
        {"1.10", "1.9", true},         {"1.9", "1.10", false},     {"2.0.0-beta", "1.9.9", true},
        {"1.0.1-rc1", "1.0.1", false}, {"1.0.1.1", "1.0.1", true}, {"", "0.0", false},
        {"0.0.1", "", true},           {"1.0.1", "1.0.1", false},
    };
    for (const auto& c : cases)
        EXPECT_EQ(isVersion(c.candidate, c.baseline), c.newer)
            << c.candidate << " vs " << c.baseline;
}

TEST(update_wire, decodes_feed_answers) {
    struct Case {
        std::string data;
        UpdateFeed feed;
    };
    const Case cases[] = {
        {R"({"version":"1.1.0","url":"https://d/u"})", {"1.1.0", "https://d/u", std::nullopt}},
        {R"({"version":"1.1.0","url":"u","downloadURL":"d","notes":"N"})", {"1.1.0", "d", "N"}},
        {R"({"version":"2","downloadURL":5,"url":"u","notes":null,"x":[]})",
         {"2", "u", std::nullopt}},
        {" {\"version\":\"3\"}\n", {"3", std::nullopt, std::nullopt}},
    };
    for (const auto& c : cases) EXPECT_EQ(UpdateWire::decode(c.data), c.feed) << c.data;
    for (const char* data : {R"({"version":""})", R"({"version":1})", R"({"notes":"x"})", "[]", "1",
                             R"({"version":null})"}) {
        EXPECT_THROW(UpdateWire::decode(data), UpdateFeedError) << data;
    }
    EXPECT_THROW(UpdateWire::decode("{\"version\":"), HalywardError);
    EXPECT_THROW(UpdateWire::decode(""), HalywardError);
}

TEST(update_wire, url_carries_only_the_version_item) {
    struct Case {
        const char* feed;
        const char* version;
        std::optional<std::string> url;
    };
    const Case cases[] = {
        {"https://x.example/feed.json", "1.0.1", "https://x.example/feed.json?version=1.0.1"},
        {"https://x.example/feed?channel=beta&v=0#top", "1.0.1",
         "https://x.example/feed?version=1.0.1#top"},
        {"https://x.example/f", "1.0 &+=#é",
         "https://x.example/f?version=1.0%20%26%2B%3D%23%C3%A9"},
        {"https://x.example/a b", "1", std::nullopt},
        {"http://[broken", "1", std::nullopt},
    };
    for (const auto& c : cases) EXPECT_EQ(UpdateWire::url(c.feed, c.version), c.url) << c.feed;
    std::optional<UpdateRequest> request = UpdateHTTP::request("https://x.example/f", "1.0.1");
    ASSERT_TRUE(request);
    EXPECT_EQ(*request,
              (UpdateRequest{
                  "https://x.example/f?version=1.0.1", "GET", 60, {{"User-Agent", "Halyward"}}}));
    EXPECT_EQ(UpdateHTTP::request("http://[broken", "1"), std::nullopt);
}

TEST(update_wire, should_check_once_the_interval_has_passed) {
    struct Case {
        std::optional<Clock::time_point> last;
        Clock::time_point now;
        double interval;
        bool check;
    };
    const Case cases[] = {
        {std::nullopt, at(0), 86400, true},
        {at(1000), at(1000 + 86400), 86400, true},
        {at(1000), at(1000 + 86399), 86400, false},
        {at(1000) + std::chrono::milliseconds(1), at(1000 + 86400), 86400, false},
        {at(5000), at(1000), 60, false},  // the clock went back
        {Clock::time_point::min(), Clock::time_point::max(), 1e30, true},
        {Clock::time_point::max(), Clock::time_point::min(), -1e30, false},
    };
    for (const auto& c : cases)
        EXPECT_EQ(UpdateWire::shouldCheck(c.last, c.now, c.interval), c.check);
}

TEST(update_disk, dates_read_iso_8601_and_write_utc_seconds) {
    struct Case {
        const char* text;
        std::optional<std::int64_t> unixSeconds;
    };
    // The end of year 9999 is beyond a clock of nanoseconds (libstdc++'s), not beyond one of
    // microseconds (libc++'s, and so macOS's).
    constexpr std::int64_t endOf9999 = 253402300799;
    const bool clockHolds9999 =
        std::chrono::duration_cast<std::chrono::seconds>(Clock::duration::max()).count() >
        endOf9999;
    const Case cases[] = {
        {"2024-05-01T12:00:00Z", 1714564800},
        {"2024-05-01T14:30:00+02:30", 1714564800},
        {"2024-05-01T07:00:00-0500", 1714564800},
        {"1969-12-31T23:59:59z", -1},
        {"2024-02-29T00:00:00Z", 1709164800},
        {"2023-02-29T00:00:00Z", std::nullopt},
        {"2024-05-01T24:00:00Z", std::nullopt},
        {"2024-05-01 12:00:00Z", std::nullopt},
        {"2024-05-01T12:00:00", std::nullopt},
        {"2024-05-01T12:00:00.Z", std::nullopt},
        {"9999-12-31T23:59:59Z", clockHolds9999 ? std::optional(endOf9999) : std::nullopt},
        {"", std::nullopt},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(UpdateDisk::parseDate(c.text),
                  c.unixSeconds ? std::optional(at(*c.unixSeconds)) : std::nullopt)
            << c.text;
    }
    EXPECT_EQ(UpdateDisk::parseDate("2024-05-01T12:00:00.25Z"),
              at(1714564800) + std::chrono::milliseconds(250));
    EXPECT_EQ(UpdateDisk::formatDate(at(1714564800) + std::chrono::milliseconds(999)),
              "2024-05-01T12:00:00Z");
    EXPECT_EQ(UpdateDisk::formatDate(at(-1)), "1969-12-31T23:59:59Z");
}

TEST(update_disk, saves_and_loads_the_stamp_in_the_home_folder) {
    ScratchFolder home;
    const std::string path = HalywardPaths::updateStampFile(home.path.string());
    EXPECT_EQ(UpdateDisk::load(path), std::nullopt);  // no file yet, no folder either

    UpdateStamp full{at(1714564800), "1.2.0", "https://x.example/d/1.2.0.zip"};
    UpdateDisk::save(full, path);
    EXPECT_EQ(readFile(path),
              "{\n"
              "  \"downloadURL\" : \"https://x.example/d/1.2.0.zip\",\n"
              "  \"lastAttemptAt\" : \"2024-05-01T12:00:00Z\",\n"
              "  \"latestVersion\" : \"1.2.0\"\n"
              "}\n");
    EXPECT_EQ(UpdateDisk::load(path), full);
    EXPECT_EQ(fs::status(path).permissions(), static_cast<fs::perms>(0644));

    UpdateStamp bare{at(1714564800), std::nullopt, std::nullopt};
    UpdateDisk::save(bare, path);
    EXPECT_EQ(readFile(path), "{\n  \"lastAttemptAt\" : \"2024-05-01T12:00:00Z\"\n}\n");
    EXPECT_EQ(UpdateDisk::load(path), bare);
    for (const auto& entry : fs::directory_iterator(fs::path(path).parent_path())) {
        EXPECT_EQ(entry.path().filename(), "update-check.json");
    }
}

TEST(update_disk, broken_stamps_read_as_none) {
    ScratchFolder home;
    const std::string path = HalywardPaths::updateStampFile(home.path.string());
    const std::string broken[] = {
        "",
        "not json",
        R"({"latestVersion":"1.2.0"})",
        R"({"lastAttemptAt":1714564800})",
        R"({"lastAttemptAt":"yesterday"})",
        R"({"lastAttemptAt":"2024-05-01T12:00:00Z","latestVersion":2})",
        "{\"lastAttemptAt\":\"2024-05-01T12:00:00Z\"," + std::string(100000, ' ') + "}",
    };
    for (const auto& bytes : broken) {
        writeFile(path, bytes);
        EXPECT_EQ(UpdateDisk::load(path), std::nullopt) << bytes.substr(0, 80);
    }
    writeFile(path, R"({"lastAttemptAt":"2024-05-01T12:00:00Z","latestVersion":null,"extra":1})");
    EXPECT_EQ(UpdateDisk::load(path), (UpdateStamp{at(1714564800), std::nullopt, std::nullopt}));

    fs::remove(path);
    makeFifo(path);  // read as no stamp at once, not waited on
    std::optional<UpdateStamp> loaded = UpdateStamp{};
    EXPECT_TRUE(finishesWithoutAWriter(path, [&] { loaded = UpdateDisk::load(path); }));
    EXPECT_EQ(loaded, std::nullopt);

    fs::remove(path);
    fs::create_directory(path);  // a folder where the file should be
    EXPECT_EQ(UpdateDisk::load(path), std::nullopt);
    EXPECT_THROW(UpdateDisk::save(UpdateStamp{at(0), {}, {}}, path), std::exception);
}
