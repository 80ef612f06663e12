#include "halyward/webapps/bundle_plan.hpp"
#include "halyward/base/error.hpp"

#include "support/scratch_folder.hpp"

#include <gtest/gtest.h>
#include <plist/plist.h>
#include <boost/json/parse.hpp>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <tuple>

using namespace halyward;
namespace fs = std::filesystem;

namespace {

const UUID kStore = *UUID::parse("1b4e28ba-2fa1-11d2-883f-0016d3cca427");

WebAppBundlePlan plan(const std::string& name, const fs::path& folder = "/Apps") {
    return WebAppBundlePlan(name, slugify(name), "https://mail.example.com/?a=1&b=<2>",
                            bundleIdentifier(slugify(name)), kStore, folder);
}

// Every entry of a property list as "type:value", read by libplist.
std::map<std::string, std::string> plistEntries(const std::string& xml) {
    plist_t root = nullptr;
    plist_from_xml(xml.data(), static_cast<std::uint32_t>(xml.size()), &root);
    std::map<std::string, std::string> entries;
    if (!root) return entries;
    plist_dict_iter it = nullptr;
    plist_dict_new_iter(root, &it);
    for (;;) {
        char* key = nullptr;
        plist_t value = nullptr;
        plist_dict_next_item(root, it, &key, &value);
        if (!key) break;
        if (plist_get_node_type(value) == PLIST_STRING) {
            char* text = nullptr;
            plist_get_string_val(value, &text);
            entries[key] = std::string("string:") + text;
            std::free(text);
        } else if (plist_get_node_type(value) == PLIST_BOOLEAN) {
            std::uint8_t flag = 0;
            plist_get_bool_val(value, &flag);
            entries[key] = flag ? "bool:true" : "bool:false";
        }
        std::free(key);
    }
    std::free(it);
    plist_free(root);
    return entries;
}

std::string messageOf(const std::function<void()>& body) {
    try {
        body();
    } catch (const HalywardError& error) {
        EXPECT_EQ(error.code, "usage");
        return error.message;
    }
    return "(no error)";
}

}  // namespace

TEST(web_url, accepts_http_and_https_with_a_host_and_quotes_the_untrimmed_input_otherwise) {
    EXPECT_EQ(validatedWebURL("  https://mail.example.com/inbox \n"),
              "https://mail.example.com/inbox");
    EXPECT_EQ(validatedWebURL("HTTP://Example.com"), "HTTP://Example.com");
    EXPECT_EQ(validatedWebURL("https://example.com/a b/é"), "https://example.com/a%20b/%C3%A9");
    EXPECT_EQ(validatedWebURL("http://[::1]:8080/"), "http://[::1]:8080/");
    // A host in another script is kept in its ASCII (punycode) form, which every HTTP
    // client and the web view accept; typed percent-encoded, it is read the same way.
    EXPECT_EQ(validatedWebURL("http://café.localhost/é"), "http://xn--caf-dma.localhost/%C3%A9");
    EXPECT_EQ(validatedWebURL("https://user@Bücher.example:8443/"),
              "https://user@xn--bcher-kva.example:8443/");
    EXPECT_EQ(validatedWebURL("http://caf%C3%A9.localhost/"), "http://xn--caf-dma.localhost/");
    EXPECT_EQ(validatedWebURL("http://xn--caf-dma.localhost/"), "http://xn--caf-dma.localhost/");
    EXPECT_EQ(displayHost("xn--caf-dma.localhost"), "café.localhost");
    EXPECT_EQ(displayHost("Example.COM"), "Example.COM");
    EXPECT_EQ(displayHost("xn--broken-.example"), "xn--broken-.example")
        << "kept when it does not decode";
    for (const std::string bad :
         {" ftp://example.com/ ", "mail.example.com", "https:///path", "https:example.com",
          "file:///etc/passwd", "javascript:alert(1)", "", "https://exa\nmple.com",
          "https://example.com/\x01", "http://:80/",
          "http://a\xE2\x80\xAE"
          "b.example/"}) {
        const std::string message = messageOf([&] { validatedWebURL(bad); });
        EXPECT_TRUE(message.ends_with("” needs to be an http or https address.")) << message;
        if (bad.find_first_of("\n\x01") == std::string::npos) {
            EXPECT_EQ(message, "“" + bad + "” needs to be an http or https address.");
        }
    }
    const std::string huge = "https://example.com/" + std::string(1 << 20, 'a');
    const std::string message = messageOf([&] { validatedWebURL(huge); });
    EXPECT_LT(message.size(), 200u);
    EXPECT_NE(message.find("too long"), std::string::npos) << message;
}

TEST(app_name, keeps_names_that_make_one_folder_inside_the_apps_folder) {
    EXPECT_EQ(validatedAppName("  Mail & Co  "), "Mail & Co");
    EXPECT_EQ(validatedAppName("!!!"), "!!!");
    EXPECT_EQ(validatedAppName("Ünïcode 日本"), "Ünïcode 日本");
    // One name, one spelling: decomposed accents are composed (NFC), so "Café" typed
    // either way names one app and one bundle folder.
    EXPECT_EQ(validatedAppName("Cafe\xCC\x81"), "Caf\xC3\xA9");
    EXPECT_EQ(validatedAppName("\xEF\xAC\x81le"), "\xEF\xAC\x81le") << "compatibility forms stay";
    // Joiners that shape what is drawn stay: an emoji sequence (technologist: man, ZWJ,
    // laptop) and the non-joiner of a Persian word.
    for (const std::string shaped :
         {"Dev \xF0\x9F\x91\xA8\xE2\x80\x8D\xF0\x9F\x92\xBB",
          "\xD9\x85\xDB\x8C\xE2\x80\x8C\xD8\xAE\xD9\x88\xD8\xA7\xD9\x87\xD9\x85"}) {
        EXPECT_EQ(validatedAppName(shaped), shaped);
    }
    const std::pair<std::string, const char*> refused[] = {
        {"a/b", "holds a “/”"},
        {"..", "starts with “.”"},
        {".hidden", "starts with “.”"},
        {std::string("a\0b", 3), "line break or control"},
        {"a\nb", "line break or control"},
        {"a\xE2\x80\xA8"
         "b",
         "line break or control"},
        {"\xFF\xFE", "not valid UTF-8"},
        {std::string(10000, 'x'), "longer than 200 bytes"},
        {" \t ", "needs a name"},
        {"G\xE2\x80\x8Bmail", "invisible formatting character U+200B"},
        {"\xE2\x80\xAEgnp.exe", "invisible formatting character U+202E"},
        {"Mail\xEF\xBB\xBF", "invisible formatting character U+FEFF"},
        {"G\xE2\x80\x8Dmail", "invisible formatting character U+200D"},
        {"\xE2\x80\x8C\xD9\x85", "invisible formatting character U+200C"},
    };
    for (const auto& [name, why] : refused) {
        const std::string message = messageOf([&] { validatedAppName(name); });
        EXPECT_NE(message.find(why), std::string::npos) << message;
        EXPECT_LT(message.size(), 200u);
        EXPECT_EQ(message.find('\0'), std::string::npos);
        EXPECT_THROW(plan(name), HalywardError);
    }
}

TEST(slug, keeps_letters_and_numbers_of_every_script_joined_by_single_dashes) {
    const std::pair<const char*, const char*> cases[] = {
        {"My  Mail!", "my-mail"},
        {"--Ünïcode--", "ünïcode"},
        {"!!!", "app"},
        {"A1 b2", "a1-b2"},
        {"", "app"},
        {"日本 語", "日本-語"},
        {"x\xFFy", "x-y"},
        {"Ⅻ٣", "ⅻ٣"},
    };
    for (const auto& [name, slug] : cases) EXPECT_EQ(slugify(name), slug) << name;
    EXPECT_EQ(bundleIdentifier("my-mail"), "app.halyward.web.my-mail");
}

TEST(bundle_plan, puts_the_bundle_directly_inside_the_folder) {
    const WebAppBundlePlan mail = plan("Mail", "/Users/ann/Applications/Halyward Apps");
    EXPECT_EQ(mail.bundlePath, "/Users/ann/Applications/Halyward Apps/Mail.app");
    EXPECT_EQ(webHostExecutable(mail.bundlePath),
              "/Users/ann/Applications/Halyward Apps/Mail.app/Contents/MacOS/HalywardWebHost");
}

TEST(bundle_plan, writes_the_info_plist_template_byte_for_byte) {
    const std::string expected = R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
<dict>
  <key>CFBundleDevelopmentRegion</key>
  <string>en</string>
  <key>CFBundleExecutable</key>
  <string>HalywardWebHost</string>
  <key>CFBundleIconFile</key>
  <string>AppIcon</string>
  <key>CFBundleIdentifier</key>
  <string>app.halyward.web.mail-co</string>
  <key>CFBundleInfoDictionaryVersion</key>
  <string>6.0</string>
  <key>CFBundleName</key>
  <string>Mail &amp; &quot;Co&quot;</string>
  <key>CFBundleDisplayName</key>
  <string>Mail &amp; &quot;Co&quot;</string>
  <key>CFBundlePackageType</key>
  <string>APPL</string>
  <key>CFBundleShortVersionString</key>
  <string>1.0.1</string>
  <key>CFBundleVersion</key>
  <string>1</string>
  <key>LSMinimumSystemVersion</key>
  <string>14.0</string>
  <key>NSHighResolutionCapable</key>
  <true/>
  <key>NSPrincipalClass</key>
  <string>NSApplication</string>
  <key>HWSlug</key>
  <string>mail-co</string>
  <key>HWURL</key>
  <string>https://mail.example.com/?a=1&amp;b=&lt;2&gt;</string>
  <key>HWDataStoreUUID</key>
  <string>1B4E28BA-2FA1-11D2-883F-0016D3CCA427</string>
</dict>
</plist>)";
    EXPECT_EQ(plan("Mail & \"Co\"").infoPlist(), expected);
}

TEST(bundle_plan, info_plist_and_stub_read_back_through_libplist_and_boost_json) {
    const WebAppBundlePlan odd = plan("Ünï <&> \"'\" 日本");
    const std::map<std::string, std::string> expected = {
        {"CFBundleDevelopmentRegion", "string:en"},
        {"CFBundleExecutable", "string:HalywardWebHost"},
        {"CFBundleIconFile", "string:AppIcon"},
        {"CFBundleIdentifier", "string:" + odd.bundleIdentifier},
        {"CFBundleInfoDictionaryVersion", "string:6.0"},
        {"CFBundleName", "string:" + odd.name},
        {"CFBundleDisplayName", "string:" + odd.name},
        {"CFBundlePackageType", "string:APPL"},
        {"CFBundleShortVersionString", "string:1.0.1"},
        {"CFBundleVersion", "string:1"},
        {"LSMinimumSystemVersion", "string:14.0"},
        {"NSHighResolutionCapable", "bool:true"},
        {"NSPrincipalClass", "string:NSApplication"},
        {"HWSlug", "string:" + odd.slug},
        {"HWURL", "string:" + odd.url},
        {"HWDataStoreUUID", "string:1B4E28BA-2FA1-11D2-883F-0016D3CCA427"},
    };
    EXPECT_EQ(plistEntries(odd.infoPlist()), expected);

    const boost::json::value stub = boost::json::parse(odd.stubJSON());
    EXPECT_EQ(stub, (boost::json::value{{"slug", odd.slug},
                                        {"name", odd.name},
                                        {"bundleIdentifier", odd.bundleIdentifier},
                                        {"dataStore", "1B4E28BA-2FA1-11D2-883F-0016D3CCA427"}}));
}

TEST(uuid, round_trips_its_text_form_and_refuses_other_text) {
    const UUID fresh = UUID::random();
    EXPECT_NE(fresh, UUID::random());
    EXPECT_EQ(UUID::parse(fresh.uuidString()), fresh);
    EXPECT_EQ((fresh.bytes[6] >> 4), 4) << "version 4";
    for (const char* bad :
         {"", "1b4e28ba-2fa1-11d2-883f-0016d3cca42", "1b4e28ba-2fa1-11d2-883f-0016d3cca42z",
          "1b4e28ba 2fa1 11d2 883f 0016d3cca427"}) {
        EXPECT_EQ(UUID::parse(bad), std::nullopt) << bad;
    }
}

TEST(host_refresh, replaces_an_out_of_date_host_now_or_after_the_app_quits) {
    EXPECT_EQ(hostDigest("abc"),
              "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(hostDigest(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    const std::string a = hostDigest("a"), b = hostDigest("b");
    const std::tuple<std::optional<std::string>, bool, HostRefresh> cases[] = {
        {a, false, HostRefresh::current},
        {a, true, HostRefresh::current},
        {b, false, HostRefresh::refresh},
        {b, true, HostRefresh::waitUntilQuit},
        {std::nullopt, false, HostRefresh::refresh},
        {std::nullopt, true, HostRefresh::waitUntilQuit},
    };
    for (const auto& [embedded, running, expected] : cases)
        EXPECT_EQ(hostRefresh(embedded, a, running), expected);
    EXPECT_EQ(codesignArguments("/A/Mail.app", "app.halyward.web.mail"),
              (std::vector<std::string>{"/usr/bin/codesign", "--force", "--sign", "-",
                                        "--identifier", "app.halyward.web.mail", "/A/Mail.app"}));
}

TEST(host_location, finds_the_host_beside_the_cli_or_in_libexec) {
    ScratchFolder scratch;
    const fs::path bin = scratch.path / "prefix" / "bin" / "halyward";
    writeFile(bin, "cli");
    EXPECT_EQ(locateWebHost(bin), std::nullopt);
    writeFile(scratch.path / "prefix" / "libexec" / "halyward" / "HalywardWebHost", "host");
    EXPECT_EQ(locateWebHost(bin),
              scratch.path / "prefix" / "libexec" / "halyward" / "HalywardWebHost");
    writeFile(scratch.path / "prefix" / "bin" / "HalywardWebHost", "host");
    EXPECT_EQ(locateWebHost(bin), scratch.path / "prefix" / "bin" / "HalywardWebHost");
    fs::create_directories(scratch.path / "dir" / "HalywardWebHost");
    EXPECT_EQ(locateWebHost(scratch.path / "dir" / "halyward"), std::nullopt)
        << "a folder is not a host";
    EXPECT_EQ(runningExecutable()->filename(), "halyward_webapps_tests");
}
