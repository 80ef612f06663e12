#include "halyward/commands/doctor_status.hpp"

#include <gtest/gtest.h>

using namespace halyward;

TEST(doctor_status, the_app_line_says_whether_it_runs_and_which_chords_it_lacks) {
    const auto failure = [](const char* chord, const char* reason) {
        return JSONValue(JSONObject{{"chord", chord}, {"reason", reason}});
    };
    struct Case {
        std::optional<JSONValue> ping;
        const char* line;
    };
    const Case cases[] = {
        {std::nullopt, "Halyward is not running."},
        // An app from before grab failures were reported answers with its version alone.
        {JSONValue(JSONObject{{"version", "1.0.1"}}),
         "Halyward is running and holds all its chords."},
        {JSONValue(JSONObject{{"grabFailures", JSONArray{}}}),
         "Halyward is running and holds all its chords."},
        {JSONValue(JSONObject{
             {"grabFailures", JSONArray{failure("ctrl+opt+f", "held by another program")}}}),
         "Halyward is running; one chord could not be taken: ctrl+opt+f (held by another "
         "program). Every other chord works."},
        {JSONValue(JSONObject{{"grabFailures", JSONArray{failure("ctrl+opt+f", "held"),
                                                         failure("ctrl+opt+a", "no key")}}}),
         "Halyward is running; 2 chords could not be taken: ctrl+opt+f (held), ctrl+opt+a (no "
         "key). Every other chord works."},
    };
    for (const Case& c : cases) EXPECT_EQ(doctorAppLine(c.ping), c.line);
}
