#include "halyward/config/config_file.hpp"

#include "support/toml_peer.hpp"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

using namespace halyward;

// Edits applied in turn must leave text that an independent TOML reader reads to exactly
// our document's values, awkward characters included. Hotkey and rule edits write only
// plain keys, strings and inline tables, which the TOML suite's generated documents cover.
TEST(config_peer, every_edit_reads_back_through_tomllib) {
    const std::string awkward = "quote \" slash \\ tab \t caf\xC3\xA9 \xF0\x9F\x9A\x80 \"\"\" end";
    struct Step {
        const char* name;
        std::function<void(ConfigFile&)> edit;
    };
    const Step steps[] = {
        {"default", [](ConfigFile&) {}},
        {"general",
         [&](ConfigFile& f) {
             GeneralConfig general = f.decode().general;
             general.tileGap = 12.25;
             general.leaderKey = awkward;
             general.agentCommand = {"agent", awkward, ""};
             general.tileHotkeys.erase("fill");
             general.tileHotkeys["my action"] = "ctrl+opt+\\";
             f.setGeneral(general);
         }},
        {"apps",
         [&](ConfigFile& f) {
             f.upsertApp({"notes",
                          {"https://notes.example/?q=\"x\"", awkward, "app.halyward.web.notes",
                           "ctrl+opt+n", "left-half", "body {\n  color: red;\n}\n\"\"\"\n",
                           "alert('\\n')\n\"", "/tmp/i.png", true}});
             f.upsertApp({"my site.com", {"https://x", "X", "id.x"}});
             f.upsertApp({"gone", {"https://gone", "Gone", "id.gone"}});
             f.removeApp("gone");
         }},
        {"layouts",
         [](ConfigFile& f) {
             f.upsertLayout({"work", {{"com.apple.Mail", "left-half"}, {"notes", "right-half"}}});
             f.upsertLayout({"work", {{"notes", "fill"}}});
             f.upsertLayout({"empty", {}});
         }},
        {"agents",
         [&](ConfigFile& f) {
             f.setAgents({{"halyward", awkward}, {"/Users/ann/skills"}});
         }},
    };

    ConfigFile file = ConfigFile::makeDefault();
    std::vector<std::string> texts, ours;
    for (const Step& step : steps) {
        step.edit(file);
        texts.push_back(file.text());
        ours.push_back(taggedJSON(file.document, TaggedView::asRendered));
    }
    const auto theirs = tomllibTaggedJSONBatch(texts);
    for (std::size_t i = 0; i < texts.size(); ++i)
        EXPECT_EQ(theirs[i], ours[i]) << steps[i].name << ":\n" << texts[i];
}
