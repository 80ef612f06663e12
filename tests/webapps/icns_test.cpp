#include "halyward/webapps/icns.hpp"
#include "halyward/text/shell_quote.hpp"

#include "support/scratch_folder.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>

using namespace halyward;
using Bytes = std::vector<std::uint8_t>;

namespace {

// The header fields of a container: magic, total length, then type and length of each element.
std::vector<std::string> layout(const Bytes& icns) {
    const auto u32 = [&](std::size_t at) {
        return std::to_string(std::uint32_t{icns[at]} << 24 | std::uint32_t{icns[at + 1]} << 16 |
                              std::uint32_t{icns[at + 2]} << 8 | icns[at + 3]);
    };
    std::vector<std::string> fields{std::string(icns.begin(), icns.begin() + 4), u32(4)};
    for (std::size_t at = 8; at + 8 <= icns.size();
         at += std::max<std::size_t>(8, std::stoul(fields.back()))) {
        fields.push_back(std::string(icns.begin() + static_cast<long>(at),
                                     icns.begin() + static_cast<long>(at) + 4));
        fields.push_back(u32(at + 4));
    }
    return fields;
}

std::string runShell(const std::vector<std::string>& argv) {
    std::string output;
    if (FILE* pipe = popen((ShellQuote::command(argv) + " 2>&1").c_str(), "r")) {
        char buffer[4096];
        for (std::size_t n; (n = fread(buffer, 1, sizeof buffer, pipe)) > 0;)
            output.append(buffer, n);
        pclose(pipe);
    }
    return output;
}

}  // namespace

TEST(icns_writer, frames_pngs_unchanged_and_picks_the_slot_by_byte_count) {
    using Fields = std::vector<std::string>;
    for (const auto& [size, type] :
         {std::pair<std::size_t, const char*>{1000, "ic07"}, {80000, "ic07"}, {80001, "ic08"}}) {
        Bytes png(size, 0xAB);
        png[0] = 0x89;
        const Bytes icns = ICNSWriter::wrappingPNG(png);
        EXPECT_EQ(layout(icns),
                  (Fields{"icns", std::to_string(16 + size), type, std::to_string(8 + size)}));
        EXPECT_TRUE(std::equal(png.begin(), png.end(), icns.begin() + 16));
    }
    const Bytes a(10, 1), b(3, 2);
    EXPECT_EQ(layout(ICNSWriter::file({{"ic07", a},
                                       {"ic8", b},
                                       {"ic08x", b},
                                       {"", b},
                                       {"\xC3\xA9\xC3\xA9", b},
                                       {"ic08", b}})),
              (Fields{"icns", "48", "ic07", "18", "\xC3\xA9\xC3\xA9", "11", "ic08", "11"}));
    EXPECT_EQ(ICNSWriter::file({{"ic7", a}}), (Bytes{'i', 'c', 'n', 's', 0, 0, 0, 8}));
    EXPECT_EQ(ICNSWriter::file({}), (Bytes{'i', 'c', 'n', 's', 0, 0, 0, 8}));
}

TEST(icns_writer, png_test_looks_at_the_first_four_signature_bytes_only) {
    EXPECT_TRUE(isPNG({0x89, 'P', 'N', 'G', 0, 0, 0, 0}));
    for (const Bytes& no : {Bytes{0x89, 'P', 'N'}, Bytes{}, Bytes{0x89, 'p', 'n', 'g'}})
        EXPECT_FALSE(isPNG(no));
}

// A real icon reader must accept what we write and find the very image inside. This
// icns2png lists "ic07" but only decodes "ic08", and it re-encodes what it extracts, so
// the decoded pixels are compared.
TEST(icns_cross_check, icns2png_reads_both_slots_and_extracts_the_same_pixels) {
    const ScratchFolder dir;
    const std::string tool = std::string(HALYWARD_TEST_DATA) + "/webapps/png_tool.py";
    const auto png = [&](const char* side, const char* name) {
        runShell({HALYWARD_PYTHON3, tool, "make", side, side, dir / name});
        const std::string bytes = readFile(dir / name);
        return Bytes(bytes.begin(), bytes.end());
    };
    const auto write = [&](const char* name, const Bytes& data) {
        writeFile(dir / name, std::string(data.begin(), data.end()));
        return dir / name;
    };
    const Bytes small = png("128", "small.png"), large = png("256", "large.png");
    ASSERT_TRUE(isPNG(small) && small.size() <= 80000 && isPNG(large) && large.size() > 80000);

    const std::string listing =
        runShell({"icns2png", "-l",
                  write("both.icns", ICNSWriter::file({{"ic07", small}, {"ic08", large}}))});
    EXPECT_NE(listing.find("'ic07' 0x0 0-bit (" + std::to_string(small.size()) + " bytes)"),
              std::string::npos)
        << listing;
    EXPECT_NE(listing.find("compressed to " + std::to_string(large.size()) + ")"),
              std::string::npos)
        << listing;
    EXPECT_NE(listing.find("2 elements total"), std::string::npos) << listing;

    std::filesystem::create_directories(dir.path / "out");
    const std::string log = runShell(
        {"icns2png", "-x", "-o", dir / "out", write("large.icns", ICNSWriter::wrappingPNG(large))});
    const std::string extracted = dir / "out/large_256x256x32.png";
    ASSERT_TRUE(std::filesystem::exists(extracted)) << log;
    const std::string want = runShell({HALYWARD_PYTHON3, tool, "pixels", dir / "large.png"});
    EXPECT_EQ(want.substr(0, 8), "256x256 ");
    EXPECT_EQ(runShell({HALYWARD_PYTHON3, tool, "pixels", extracted}), want);
}
