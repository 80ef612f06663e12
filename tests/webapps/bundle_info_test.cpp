#include "halyward/webapps/bundle_info.hpp"

#include "support/scratch_folder.hpp"

#include <gtest/gtest.h>
#include <plist/plist.h>
#include <sys/stat.h>

#include <cstdlib>
#include <cstring>
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
    ScratchFolder bundle;
    const fs::path plist = bundle.path / "Contents" / "Info.plist";
    EXPECT_FALSE(readBundleInfo(bundle.path)) << "missing";
    fs::create_directories(plist.parent_path());
    ASSERT_EQ(::mkfifo(plist.c_str(), 0600), 0);
    EXPECT_FALSE(readBundleInfo(bundle.path)) << "a FIFO must not block the reader";
    fs::remove(plist);
    fs::create_directory(plist);
    EXPECT_FALSE(readBundleInfo(bundle.path)) << "a folder";
    fs::remove(plist);
    writeFile(plist, binaryFrom(kXML));
    const auto info = readBundleInfo(bundle.path);
    ASSERT_TRUE(info);
    EXPECT_EQ(info->string("HWURL"), "https://mail.example.com/");
}
