#include "halyward/system/atomic_file.hpp"

#include "halyward/base/error.hpp"
#include "support/scratch_folder.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

using namespace halyward;
namespace fs = std::filesystem;

namespace {

unsigned mode(const fs::path& path) {
    return static_cast<unsigned>(fs::status(path).permissions());
}

int temporaryFiles(const fs::path& folder) {
    int count = 0;
    for (const auto& entry : fs::directory_iterator(folder))
        count += entry.path().filename().string().rfind(".halyward-", 0) == 0;
    return count;
}

}  // namespace

TEST(atomic_file, creates_folders_replaces_exact_bytes_and_sets_the_mode_exactly) {
    ScratchFolder root;
    const fs::path path = root.path / "a" / "b" / "stamp.json";
    // 0666 is wider than any usual umask allows, so it proves the mode is set, not masked.
    AtomicFile::write(std::string_view("a much longer first version"), path.string(), 0666);
    EXPECT_EQ(mode(path), 0666u);
    AtomicFile::write(std::vector<std::uint8_t>{0x00, 0xFF, '\n', 0x00}, path.string(), 0600);
    EXPECT_EQ(readFile(path), std::string("\0\xFF\n\0", 4));
    EXPECT_EQ(mode(path), 0600u);
    EXPECT_EQ(temporaryFiles(path.parent_path()), 0);
}

TEST(atomic_file, failed_writes_throw_and_leave_what_was_there) {
    // Every case fails for root as well: no permission bit is involved.
    ScratchFolder root;
    writeFile(root.path / "folder" / "inside", "");
    writeFile(root.path / "plain", "old");
    const std::string targets[] = {
        root / "folder",            // a folder where the file goes
        root / "plain/child.toml",  // a file where a folder goes
        root / "plain/deeper/x",
        root / "trailing/",  // no file name at all
    };
    for (const std::string& target : targets) {
        try {
            AtomicFile::write(std::string_view("new"), target, 0644);
            ADD_FAILURE() << "no error for " << target;
        } catch (const HalywardError& error) {
            EXPECT_EQ(error.code, "failed");
            EXPECT_NE(error.message.find("“" + target + "”"), std::string::npos) << error.message;
        }
    }
    EXPECT_TRUE(fs::exists(root.path / "folder" / "inside"));
    EXPECT_EQ(readFile(root.path / "plain"), "old");
    EXPECT_EQ(temporaryFiles(root.path) + temporaryFiles(root.path / "folder"), 0);
    EXPECT_FALSE(fs::exists(root.path / "trailing"));
    EXPECT_THROW(AtomicFile::write(std::string_view("x"), std::string_view("a\0b", 3), 0644),
                 HalywardError);
    EXPECT_THROW(AtomicFile::write(std::string_view("x"), "", 0644), HalywardError);
}
