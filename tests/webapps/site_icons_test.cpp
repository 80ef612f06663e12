#include "halyward/webapps/site_icons.hpp"

#include <gtest/gtest.h>

using namespace halyward;
using Candidates = std::vector<IconCandidate>;

TEST(site_icons, reads_icon_links_in_every_form_and_appends_the_manifest) {
    const std::string html = R"(<html><head>
<LINK REL="Shortcut Icon" HREF="/favicon.ico">
<link rel='apple-touch-icon' href='touch.png' sizes='180x180'>
<link href=/i/192.png sizes="16x16 192X192 any" rel=icon>
<link rel="icon" href="data:image/png;base64,AAAA">
<link rel="icon">
<link rel="stylesheet" href="/icon.css">
<link rel="mask-icon" href=" /m.svg
">
<link rel="manifest" href="/app.webmanifest">
<link rel="manifest" href="/second.webmanifest">
</head></html>)";
    EXPECT_EQ(iconCandidates(html, "https://example.com/a/b/page.html?x=1"),
              (Candidates{{"https://example.com/favicon.ico", std::nullopt, "Shortcut Icon"},
                          {"https://example.com/a/b/touch.png", 180, "apple-touch-icon"},
                          {"https://example.com/i/192.png", 192, "icon"},
                          {"https://example.com/m.svg", std::nullopt, "mask-icon"},
                          {"https://example.com/app.webmanifest", std::nullopt, "manifest"}}));
    EXPECT_EQ(manifestHref(html), "/app.webmanifest");

    const Candidates manifestOnly =
        iconCandidates(R"(<link rel="manifest" href="m.json">)", "https://example.com/app/");
    EXPECT_EQ(manifestOnly,
              (Candidates{{"https://example.com/app/m.json", std::nullopt, "manifest"}}));
    EXPECT_EQ(bestIconURL(manifestOnly), std::nullopt);
    EXPECT_TRUE(iconCandidates(R"(<link rel="icon" href="/x.png")", "https://example.com/").empty())
        << "an unclosed tag is no tag";
}

TEST(site_icons, reads_attributes_quoted_or_bare_in_any_case) {
    const std::tuple<const char*, const char*, std::optional<std::string>> cases[] = {
        {"href", R"(<link HREF="a b">)", "a b"}, {"href", "<link href = 'x\"y'>", "x\"y"},
        {"href", "<link href=bare>", "bare"},    {"href", "<link href=>", std::nullopt},
        {"href", R"(<link href="">)", ""},       {"sizes", "<link rel=icon>", std::nullopt},
        {"data-x", "<link DATA-X=1>", "1"},      {"a.b", "<link axb=1 a.b=2>", "2"},
    };
    for (const auto& [name, tag, value] : cases) EXPECT_EQ(attribute(name, tag), value) << tag;
}

TEST(site_icons, resolves_hrefs_against_the_page_and_refuses_inline_images) {
    const std::tuple<const char*, const char*, std::optional<std::string>> cases[] = {
        {"/icon.png", "https://example.com/deep/path/page", "https://example.com/icon.png"},
        {"../up.png", "https://example.com/a/b/c", "https://example.com/a/up.png"},
        {"//cdn.example.net/i.png", "https://example.com/", "https://cdn.example.net/i.png"},
        {"my icon é.png", "https://example.com/", "https://example.com/my%20icon%20%C3%A9.png"},
        {"DATA:image/png,xx", "https://example.com/", std::nullopt},
        {"x.png", "data:text/html,page", std::nullopt},
        {"/x.png", "not a base", std::nullopt},
        {"http://[::1", "https://example.com/", std::nullopt},
    };
    for (const auto& [href, base, absolute] : cases)
        EXPECT_EQ(resolve(href, base), absolute) << href;
}

TEST(site_icons, sizes_give_the_largest_width) {
    const std::pair<const char*, std::optional<std::int64_t>> cases[] = {
        {"16x16", 16},
        {"16x16 32X32", 32},
        {"any", std::nullopt},
        {"", std::nullopt},
        {"64x64 any 48x48", 64},
        {"x16 16x 16", std::nullopt},
        {"99999999999999999999x1", std::nullopt},
        {" \t128x128\n", 128},
    };
    for (const auto& [sizes, size] : cases) EXPECT_EQ(iconSize(sizes), size) << sizes;
}

TEST(site_icons, ranks_touch_icons_and_pngs_first_and_keeps_page_order_on_ties) {
    EXPECT_EQ(rank({"https://e.com/favicon.ico", std::nullopt, "icon"}), 32);
    EXPECT_EQ(rank({"https://e.com/t.PNG", std::nullopt, "apple-touch-icon-precomposed"}), 102);
    EXPECT_EQ(rank({"https://e.com/i.png", 192, "icon"}), 212);
    EXPECT_EQ(rank({"https://e.com/i.svg", std::nullopt, "icon"}), 22);
    EXPECT_GT(rank({"https://e.com/i.png", INT64_MAX, "apple-touch-icon"}), 0) << "no overflow";

    const Candidates page = {{"https://e.com/m", std::nullopt, "manifest"},
                             {"https://e.com/a.ico", 52, "icon"},
                             {"https://e.com/b.png", 32, "icon"},
                             {"https://e.com/c.png", 192, "manifest-icon"},
                             {"https://e.com/b.png", 32, "icon"}};
    EXPECT_EQ(bestIconURL(page), "https://e.com/c.png");
    EXPECT_EQ(bestIconURL({page[1], page[2]}), "https://e.com/a.ico")
        << "equal rank: the first wins";
    EXPECT_EQ(rankedIcons(page), (Candidates{page[3], page[1], page[2]}));
}

TEST(site_icons, manifest_icons_resolve_against_the_manifest) {
    const std::string manifest = R"({"name":"X","icons":[{"src":"icons/a.png","sizes":"512x512"},
        {"src":"data:image/png,1"},{"src":7},"text",{"src":"/b.svg","sizes":48},{"sizes":"1x1"}]})";
    EXPECT_EQ(manifestIconCandidates(manifest, "https://e.com/app/manifest.json"),
              (Candidates{{"https://e.com/app/icons/a.png", 512, "manifest-icon"},
                          {"https://e.com/b.svg", std::nullopt, "manifest-icon"}}));
    for (const char* nothing : {"", "[]", "{\"icons\":{}}", "{\"icons\":[1,2]}", "{not json",
                                "[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[["}) {
        EXPECT_TRUE(manifestIconCandidates(nothing, "https://e.com/m.json").empty()) << nothing;
    }
    EXPECT_EQ(manifestName(R"({"name":"  Mail  ","short_name":"M"})"), "Mail");
    EXPECT_EQ(manifestName(R"({"name":" ","short_name":"M"})"), "M");
    EXPECT_EQ(manifestName(R"({"name":7})"), std::nullopt);
}

TEST(site_icons, page_title_is_decoded_and_its_blanks_joined) {
    const std::pair<const char*, std::optional<std::string>> cases[] = {
        {"<title>  Caf&#233; &amp; Co &#8211;\n\t&#x1F600; &lt;Mail&gt; </title>",
         "Café & Co – 😀 <Mail>"},
        {"<TITLE lang=en>A&nbsp;&nbsp;B &unknown; &#0; & x;</TITLE>",
         "A B &unknown; \xEF\xBF\xBD & x;"},
        {"<head><title></title>", std::nullopt},
        {"<title>   </title>", std::nullopt},
        {"<title>never closed", std::nullopt},
        {"no title", std::nullopt},
        {"<title>first</title><title>second</title>", "first"},
    };
    for (const auto& [html, title] : cases) EXPECT_EQ(pageTitle(html), title) << html;
}

TEST(site_icons, pages_in_legacy_encodings_still_give_their_icons_and_title) {
    // Latin-1 bytes (never valid UTF-8 here) inside and around the tags.
    const std::string html =
        "<title>Caf\xE9 \xFF</title><link rel=\"icon\" title=\"Caf\xE9\" href=\"/i.png\">";
    EXPECT_EQ(iconCandidates(html, "https://e.com/"),
              (Candidates{{"https://e.com/i.png", std::nullopt, "icon"}}));
    EXPECT_EQ(pageTitle(html), "Caf\xE9 \xFF");
}
