#include "halyward/webapps/application_id.hpp"

#include <gtest/gtest.h>

#include <string>

using halyward::applicationID;
using halyward::isValidApplicationID;

TEST(application_id_test, maps_every_bundle_identifier_to_a_valid_id) {
    const struct {
        std::string bundleIdentifier;
        std::string expected;
    } cases[] = {
        {"app.halyward.web.mail", "app.halyward.web.mail"},
        {"app.halyward.web.my-notes", "app.halyward.web.my-notes"},
        {"app.halyward.web.café", "app.halyward.web.caf_c3_a9"},
        {"app.halyward.web.1password", "app.halyward.web._1password"},
        {"app.halyward.web.", "app.halyward.web"},
        {"app..halyward", "app.halyward"},
        {"single", "app.halyward.web.single"},
        {"", "app.halyward.web._"},
        {"a.b c", "a.b_20c"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(applicationID(c.bundleIdentifier), c.expected) << c.bundleIdentifier;
        EXPECT_TRUE(isValidApplicationID(applicationID(c.bundleIdentifier)));
    }
}

TEST(application_id_test, long_identifiers_stay_valid_and_distinct) {
    const std::string a = "app.halyward.web." + std::string(10000, 'x');
    const std::string b = "app.halyward.web." + std::string(9999, 'x') + "y";
    EXPECT_TRUE(isValidApplicationID(applicationID(a)));
    EXPECT_LE(applicationID(a).size(), 255u);
    EXPECT_NE(applicationID(a), applicationID(b));
}

TEST(application_id_test, validity_follows_the_desktop_rules) {
    for (const char* valid : {"a.b", "org.example.App_1", "app.halyward.web.x-y"}) {
        EXPECT_TRUE(isValidApplicationID(valid)) << valid;
    }
    for (const char* invalid : {"", "a", "a..b", ".a.b", "a.b.", "a.1b", "a.b/c", "a.é"}) {
        EXPECT_FALSE(isValidApplicationID(invalid)) << invalid;
    }
}
