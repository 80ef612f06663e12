#include "halyward/config/config_file.hpp"

#include "halyward/base/error.hpp"
#include "halyward/system/atomic_file.hpp"
#include "support/scratch_folder.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <random>
#include <set>
#include <thread>

#include <sys/wait.h>
#include <unistd.h>
#include <csignal>

using namespace halyward;
namespace fs = std::filesystem;

namespace {

struct config_disk : ::testing::Test {
    ScratchFolder root;
    fs::path path = root.path / ".config" / "halyward" / "config.toml";
    static void addApp(ConfigFile& file, const std::string& slug) {
        file.upsertApp({slug, {"https://" + slug + ".example", slug, "id." + slug}});
    }
};

}  // namespace

TEST_F(config_disk, update_creates_the_file_from_the_template_and_keeps_its_mode) {
    EXPECT_EQ(ConfigFile::load(path), ConfigFile::makeDefault());
    EXPECT_FALSE(fs::exists(path));  // reading never creates

    ConfigFile::update(path, [](ConfigFile& file) { addApp(file, "notes"); });
    EXPECT_EQ(ConfigFile::load(path).decode().apps.size(), 1u);
    EXPECT_EQ(fs::status(path).permissions(), static_cast<fs::perms>(0644));
    EXPECT_TRUE(fs::exists(path.string() + ".lock"));

    fs::permissions(path, static_cast<fs::perms>(0600));
    ConfigFile::update(path, [](ConfigFile& file) { addApp(file, "mail"); });
    EXPECT_EQ(fs::status(path).permissions(), static_cast<fs::perms>(0600));
    EXPECT_EQ(ConfigFile::load(path).decode().apps.size(), 2u);
}

TEST_F(config_disk, failures_leave_the_bytes_as_they_were) {
    const std::string broken = "# mine\r\n[general\r\nx = 1\r\n";
    writeFile(path, broken);
    try {
        ConfigFile::update(path, [](ConfigFile& file) { addApp(file, "x"); });
        ADD_FAILURE() << "a broken file was edited";
    } catch (const HalywardError& error) {
        EXPECT_EQ(error, HalywardError::config("Config line 2: A table header is missing ]."));
    }
    EXPECT_EQ(readFile(path), broken);

    writeFile(path, "a = 1\n");
    EXPECT_THROW(
        ConfigFile::update(path,
                           [](ConfigFile& file) {
                               addApp(file, "x");
                               throw HalywardError::conflict("An app named “x” already exists.");
                           }),
        HalywardError);
    EXPECT_EQ(readFile(path), "a = 1\n");
}

TEST_F(config_disk, a_writer_killed_at_any_moment_leaves_a_complete_version) {
    // Versions of very different lengths, so a torn write would show as a mix of two.
    std::vector<std::string> versions;
    ConfigFile file = ConfigFile::makeDefault();
    for (int i = 0; i < 6; ++i) {
        for (int a = 0; a < i * 40; ++a)
            addApp(file, "v" + std::to_string(i) + "-" + std::to_string(a));
        versions.push_back(file.text());
        file = ConfigFile::makeDefault();
    }
    const std::set<std::string> complete(versions.begin(), versions.end());
    AtomicFile::write(std::string_view(versions[0]), path.string(), 0644);

    std::mt19937 random(20240611);
    std::uniform_int_distribution<int> pause(0, 3000);
    for (int round = 0; round < 200; ++round) {
        // The child says when its first write is done, so that the kill lands inside its
        // loop of writes and not, on a slow machine, before it has begun.
        int started[2];
        ASSERT_EQ(pipe(started), 0);
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            close(started[0]);
            for (std::size_t i = round;; ++i) {
                AtomicFile::write(std::string_view(versions[i % versions.size()]), path.string(),
                                  0644);
                if (started[1] >= 0) {
                    (void)!::write(started[1], "x", 1);
                    close(started[1]);
                    started[1] = -1;
                }
            }
        }
        close(started[1]);
        char byte = 0;
        ASSERT_EQ(read(started[0], &byte, 1), 1);
        close(started[0]);
        std::this_thread::sleep_for(std::chrono::microseconds(pause(random)));
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        const std::string text = readFile(path);
        ASSERT_TRUE(complete.count(text)) << "round " << round << ": " << text.size() << " bytes";
        ASSERT_NO_THROW(ConfigFile{text});
    }
    // Left-over temporary files show that kills did land in the middle of writes.
    int interrupted = 0;
    for (const auto& entry : fs::directory_iterator(path.parent_path())) {
        interrupted += entry.path().filename().string().rfind(".halyward-", 0) == 0;
    }
    EXPECT_GT(interrupted, 0);
}

TEST_F(config_disk, edits_through_a_link_reach_its_file_even_when_it_is_missing) {
    struct Case {
        std::string name;
        fs::path linkText;  // what the link says, absolute or relative to its folder
        fs::path file;      // where the configuration must end up
        bool exists;        // the linked file is there before the edit
    };
    const fs::path dotfiles = root.path / "dotfiles";
    const Case cases[] = {
        {"absolute", dotfiles / "a.toml", dotfiles / "a.toml", true},
        {"relative", "../../dotfiles/b.toml", dotfiles / "b.toml", true},
        {"dangling", dotfiles / "new/c.toml", dotfiles / "new/c.toml", false},
        {"dangling relative", "../../dotfiles/d.toml", dotfiles / "d.toml", false},
        {"chain", "hop.toml", dotfiles / "e.toml", false},
    };
    for (const Case& c : cases) {
        fs::remove_all(path.parent_path());
        fs::create_directories(path.parent_path());
        if (c.exists) writeFile(c.file, "# mine\n");
        fs::create_symlink(c.linkText, path);
        if (c.name == "chain")
            fs::create_symlink(dotfiles / "e.toml", path.parent_path() / "hop.toml");

        ConfigFile::update(path, [](ConfigFile& file) { addApp(file, "notes"); });
        EXPECT_TRUE(fs::is_symlink(path)) << c.name;
        EXPECT_EQ(fs::read_symlink(path), c.linkText) << c.name;
        ASSERT_TRUE(fs::is_regular_file(fs::symlink_status(c.file))) << c.name;
        EXPECT_EQ(ConfigFile::load(c.file).decode().apps.size(), 1u) << c.name;
        if (c.exists) {
            EXPECT_EQ(readFile(c.file).rfind("# mine\n", 0), 0u) << c.name;
        }
    }

    // A circle of links has no file to edit, and nothing is made anywhere.
    fs::remove_all(path.parent_path());
    fs::create_directories(path.parent_path());
    fs::create_symlink("config.toml", path);
    try {
        ConfigFile::update(path, [](ConfigFile& file) { addApp(file, "x"); });
        ADD_FAILURE() << "a circle of links was edited";
    } catch (const HalywardError& error) {
        EXPECT_EQ(error.code, "config");
        EXPECT_NE(error.message.find("circle"), std::string::npos) << error.message;
    }
    EXPECT_TRUE(fs::is_symlink(path));
}

TEST_F(config_disk, a_read_only_file_is_refused_and_left_as_it_is) {
    // The tests may run as the superuser, whom the system lets write anything; the refusal
    // must come from the permission bits, not from a failed write.
    const std::string text = "# mine\nversion = 1\n";
    const fs::path real = root.path / "dotfiles" / "config.toml";
    for (const fs::path& file : {path, real}) {
        fs::remove_all(path.parent_path());
        writeFile(file, text);
        fs::permissions(file, static_cast<fs::perms>(0444));
        if (file != path) {
            fs::create_directories(path.parent_path());
            fs::create_symlink(file, path);
        }
        const auto before = fs::last_write_time(file);
        try {
            ConfigFile::update(path, [](ConfigFile& edited) { addApp(edited, "x"); });
            ADD_FAILURE() << "a read-only file was edited";
        } catch (const HalywardError& error) {
            EXPECT_EQ(error, HalywardError::config(
                                 "The configuration file “" + file.string() +
                                 "” is read-only, so Halyward left it as it is. Make it writable "
                                 "(for example with chmod u+w) to change it."));
        }
        EXPECT_EQ(readFile(file), text);
        EXPECT_EQ(fs::status(file).permissions(), static_cast<fs::perms>(0444));
        EXPECT_EQ(fs::last_write_time(file), before);
        EXPECT_EQ(ConfigFile::load(path).text(), text);  // reading it is fine
    }
}
