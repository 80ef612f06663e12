#include "halyward/app/new_app_form.hpp"
#include "app_fixture.hpp"
#include "halyward/commands/command_parser.hpp"
#include "halyward/text/text.hpp"

using namespace halyward;
using namespace halyward::fakes;

TEST(new_app_form, offers_the_clipboard_only_when_it_holds_one_web_address) {
    struct Case {
        const char* clipboard;
        const char* offered;
    };
    for (const Case& c :
         {Case{"https://mail.example/inbox", "https://mail.example/inbox"},
          Case{"  HTTP://Example.com\n", "HTTP://Example.com"}, Case{"ftp://example.com", ""},
          Case{"mail.example", ""}, Case{"https://", ""}, Case{"https://a.example and more", ""},
          Case{"https://a.example\nhttps://b.example", ""}, Case{"", ""}}) {
        EXPECT_EQ(clipboardAddress(c.clipboard), c.offered) << c.clipboard;
    }
}

TEST(new_app_form, runs_app_add_with_the_fields_filled_in_as_the_command_line_reads_them) {
    struct Case {
        NewAppForm form;
        std::vector<std::string> arguments;
    };
    const Case cases[] = {
        {{" https://mail.example ", "", "", ""}, {"app", "add", "https://mail.example"}},
        {{"https://mail.example", " My Mail ", "ctrl+opt+m", "left-half"},
         {"app", "add", "https://mail.example", "--name", "My Mail", "--hotkey", "ctrl+opt+m",
          "--tile", "left-half"}},
        // A name that looks like a flag stays the name.
        {{"https://x.example", "--yes", "", ""},
         {"app", "add", "https://x.example", "--name", "--yes"}},
    };
    for (const Case& c : cases) {
        const std::vector<std::string> arguments = newAppArguments(c.form);
        EXPECT_EQ(arguments, c.arguments);
        const Invocation invocation = CommandParser::parse(arguments);
        const Command::AppAdd* add = invocation.command.asAppAdd();
        ASSERT_NE(add, nullptr);
        EXPECT_EQ(add->url, c.arguments[2]);
        EXPECT_EQ(add->name.value_or(""), std::string(text::trim(c.form.name)));
    }
    EXPECT_EQ(newAppTileChoices().front(), "");
    EXPECT_EQ(newAppTileChoices().size(), 15u);
}

TEST_F(AppTest, the_new_app_chord_opens_the_form) {
    system.displayList = {display(0, 0, 1000, 800)};
    start();
    press("ctrl+opt+n");
    EXPECT_EQ(newAppForms, 1);
}
