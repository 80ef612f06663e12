#include "halyward/webapps/bundle_info.hpp"

#include <gtest/gtest.h>
#include <plist/plist.h>
#include <sys/stat.h>

#include <unistd.h>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

namespace fs = std::filesystem;
using halyward::parseBundleInfo;
using halyward::readBundleInfo;

namespace {

constexpr const char* kXML = R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
<dict>
  <key>CFBundleName</key><string>Mail Café</string>
  <key>HWURL</key><string>https://mail.example.com/</string>
  <key>HWSlug</key><integer>7</integer>
  <key>LSUIElement</key><true/>
</dict>
</plist>
)";

std::string binaryFrom(const char* xml) {
    plist_t root = nullptr;
    plist_from_xml(xml, static_cast<uint32_t>(std::strlen(xml)), &root);
    char* bytes = nullptr;
    uint32_t length = 0;
    plist_to_bin(root, &bytes, &length);
    std::string out(bytes, length);
    std::free(bytes);
    plist_free(root);
    return out;
}

struct ScratchBundle {
    fs::path root =
        fs::temp_directory_path() / ("halyward-bundle-info-" + std::to_string(::getpid()));
    fs::path plist = root / "Contents" / "Info.plist";
    ScratchBundle() { fs::create_directories(plist.parent_path()); }
    ~ScratchBundle() { fs::remove_all(root); }
};

}  // namespace

TEST(bundle_info_test, reads_only_text_entries_from_xml_and_binary) {
    for (const std::string& bytes : {std::string(kXML), binaryFrom(kXML)}) {
        const auto info = parseBundleInfo(bytes);
        ASSERT_TRUE(info);
        EXPECT_EQ(info->string("CFBundleName"), "Mail Café");
        EXPECT_EQ(info->string("HWURL"), "https://mail.example.com/");
        EXPECT_EQ(info->string("HWSlug"), std::nullopt) << "an integer is not text";
        EXPECT_EQ(info->string("LSUIElement"), std::nullopt);
        EXPECT_EQ(info->strings.size(), 2u);
    }
}

TEST(bundle_info_test, refuses_what_is_not_a_dictionary_plist) {
    for (const std::string& bytes :
         {std::string(), std::string("\x00\x01garbage\xff", 11), std::string("bplist00"),
          std::string("<plist><array><string>x</string></array></plist>"),
          std::string(2 << 20, '<')}) {
        EXPECT_FALSE(parseBundleInfo(bytes)) << bytes.substr(0, 20);
    }
}

TEST(bundle_info_test, reads_a_bundle_and_refuses_non_regular_files) {
    ScratchBundle bundle;
    EXPECT_FALSE(readBundleInfo(bundle.root)) << "missing";
    ASSERT_EQ(::mkfifo(bundle.plist.c_str(), 0600), 0);
    EXPECT_FALSE(readBundleInfo(bundle.root)) << "a FIFO must not block the reader";
    fs::remove(bundle.plist);
    fs::create_directory(bundle.plist);
    EXPECT_FALSE(readBundleInfo(bundle.root)) << "a folder";
    fs::remove(bundle.plist);
    std::ofstream(bundle.plist, std::ios::binary) << binaryFrom(kXML);
    const auto info = readBundleInfo(bundle.root);
    ASSERT_TRUE(info);
    EXPECT_EQ(info->string("HWURL"), "https://mail.example.com/");
}
