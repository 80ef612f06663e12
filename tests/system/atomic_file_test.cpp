#include "halyward/system/atomic_file.hpp"

#include "halyward/base/error.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <sys/stat.h>

using namespace halyward;
namespace fs = std::filesystem;

namespace {

class atomic_file : public ::testing::Test {
protected:
    void SetUp() override {
        std::string pattern = (fs::temp_directory_path() / "halyward-atomic-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        root = pattern;
    }
    void TearDown() override { fs::remove_all(root); }

    static std::string contents(const fs::path& path) {
        std::ifstream in(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    }
    static unsigned permissions(const fs::path& path) {
        struct stat status {};
        stat(path.c_str(), &status);
        return status.st_mode & 07777;
    }
    static int temporaryFiles(const fs::path& folder) {
        int count = 0;
        for (const auto& entry : fs::directory_iterator(folder)) {
            const std::string name = entry.path().filename().string();
            if (name.rfind(".halyward-", 0) == 0) ++count;
        }
        return count;
    }

    fs::path root;
};

}  // namespace

TEST_F(atomic_file, creates_folders_replaces_exact_bytes_and_sets_the_mode_exactly) {
    const fs::path path = root / "a" / "b" / "stamp.json";
    // 0666 is wider than any usual umask allows, so it proves the mode is set, not masked.
    AtomicFile::write(std::string_view("a much longer first version"), path.string(), 0666);
    EXPECT_EQ(permissions(path), 0666u);
    AtomicFile::write(std::vector<std::uint8_t>{0x00, 0xFF, '\n', 0x00}, path.string(), 0600);
    EXPECT_EQ(contents(path), std::string("\0\xFF\n\0", 4));
    EXPECT_EQ(permissions(path), 0600u);
    EXPECT_EQ(temporaryFiles(path.parent_path()), 0);
}

TEST_F(atomic_file, failed_writes_throw_and_leave_what_was_there) {
    // Every case fails for root as well: no permission bit is involved.
    fs::create_directories(root / "folder" / "inside");
    std::ofstream(root / "plain") << "old";
    struct Case { fs::path path; fs::path survivor; std::string survivorText; };
    const Case cases[] = {
        {root / "folder", root / "folder" / "inside", ""},  // a folder where the file goes
        {root / "plain" / "child.toml", root / "plain", "old"},  // a file where a folder goes
        {root / "plain" / "deeper" / "x", root / "plain", "old"},
        {root / "trailing" / "", root / "plain", "old"},  // no file name at all
    };
    for (const Case& c : cases) {
        try {
            AtomicFile::write(std::string_view("new"), c.path.string(), 0644);
            ADD_FAILURE() << "no error for " << c.path;
        } catch (const HalywardError& error) {
            EXPECT_EQ(error.code, "failed");
            EXPECT_NE(error.message.find("“" + c.path.string() + "”"), std::string::npos)
                << error.message;
        }
        EXPECT_TRUE(fs::exists(c.survivor)) << c.path;
        if (!c.survivorText.empty()) {
            EXPECT_EQ(contents(c.survivor), c.survivorText);
        }
    }
    EXPECT_EQ(temporaryFiles(root), 0);
    EXPECT_EQ(temporaryFiles(root / "folder"), 0);
    EXPECT_FALSE(fs::exists(root / "trailing"));
    EXPECT_THROW(AtomicFile::write(std::string_view("x"), std::string_view("a\0b", 3), 0644),
                 HalywardError);
    EXPECT_THROW(AtomicFile::write(std::string_view("x"), "", 0644), HalywardError);
}
