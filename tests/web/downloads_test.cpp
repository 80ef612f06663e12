#include "halyward/web/downloads.hpp"

#include <gtest/gtest.h>

#include <set>

using namespace halyward;

TEST(safe_download_name, replaces_separators_and_line_breaks_only) {
    struct Case {
        std::string name, want;
    };
    const Case cases[] = {
        {"   ", "download"},
        {"\n\t\xE2\x80\xA8", "download"},
        {"a/b:c.txt", "a-b-c.txt"},
        {" . ", "download"},
        {"..", "download"},
        {"...", "..."},
        {"two\r\nlines\x0B\xC2\x85x", "two-lines--x"},
        {"caf\x65\xCC\x81 *?<>|\xFF.txt", "caf\x65\xCC\x81 *?<>|\xFF.txt"},
        {std::string("nul\0.exe", 8), "nul-.exe"},
        {"x\xD8\x80/y", "x-y"},  // a prepended mark pulls the "/" into its cluster
    };
    for (const auto& c : cases) EXPECT_EQ(safeDownloadName(c.name), c.want) << c.name;
}

TEST(download_destination, numbers_copies_before_the_extension) {
    struct Case {
        std::set<std::string> existing;
        std::string suggested, want;
    };
    const Case cases[] = {
        {{}, "report.pdf", "report.pdf"},
        {{"report.pdf", "report-2.pdf"}, "report.pdf", "report-3.pdf"},
        {{"README"}, "README", "README-2"},
        {{"archive.tar.gz"}, "archive.tar.gz", "archive.tar-2.gz"},
        {{".profile"}, ".profile", ".profile-2"},
        {{"a-b.txt"}, "a/b.txt", "a-b-2.txt"},
    };
    for (const auto& c : cases) {
        const auto exists = [&](const std::filesystem::path& p) {
            return p.parent_path() == "/home/u/Downloads" &&
                   c.existing.count(p.filename().string()) > 0;
        };
        EXPECT_EQ(downloadDestination("/home/u/Downloads", c.suggested, exists),
                  std::filesystem::path("/home/u/Downloads") / c.want)
            << c.suggested;
    }
    const auto taken =
        downloadDestination("/d", "x.bin", [](const std::filesystem::path&) { return true; });
    EXPECT_EQ(taken.parent_path(), "/d");  // a predicate that calls every name taken still ends
    EXPECT_EQ(taken.extension(), ".bin");
}
