#include "halyward/system/atomic_file.hpp"

#include "halyward/base/error.hpp"
#include "support/scratch_folder.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

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

TEST(atomic_file, removes_stale_temporary_files_of_its_own_naming_on_the_next_write) {
    ScratchFolder root;
    const fs::path folder = root.path / "config";
    const std::string uuid = "1B4E28BA-2FA1-11D2-883F-0016D3CCA427";
    struct Case {
        std::string name;
        int ageSeconds;
        bool someoneElses;  // owned by another user
        bool removed;
    };
    const Case cases[] = {
        {".halyward-" + uuid + ".tmp", 120, false, true},
        {".halyward-" + uuid.substr(0, 35) + "8.tmp", 3600 * 24, false, true},
        // A young one may be a write in progress in another process.
        {".halyward-" + uuid.substr(0, 35) + "9.tmp", 5, false, false},
        {".halyward-" + uuid.substr(0, 35) + "A.tmp", 120, true, false},
        // Names that only look alike belong to someone else.
        {".halyward-1b4e28ba-2fa1-11d2-883f-0016d3cca427.tmp", 120, false, false},
        {".halyward-notes.tmp", 120, false, false},
        {"halyward-" + uuid + ".tmp", 120, false, false},
        {".halyward-" + uuid + ".tmp.keep", 120, false, false},
    };
    for (const Case& c : cases) {
        const fs::path path = folder / c.name;
        writeFile(path, "a full copy of an older version");
        const timespec times[2] = {{::time(nullptr) - c.ageSeconds, 0},
                                   {::time(nullptr) - c.ageSeconds, 0}};
        ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
        if (c.someoneElses && ::geteuid() == 0) {
            ASSERT_EQ(::chown(path.c_str(), 4242, 4242), 0);
        }
    }
    AtomicFile::write(std::string_view("version = 1\n"), (folder / "config.toml").string(), 0644);
    for (const Case& c : cases) {
        // Without the superuser's help no file can be given to someone else, and the case
        // then shows only that our own young file stays.
        const bool removed = c.removed || (c.someoneElses && ::geteuid() != 0);
        EXPECT_EQ(!fs::exists(folder / c.name), removed) << c.name;
    }
    EXPECT_EQ(readFile(folder / "config.toml"), "version = 1\n");
}
