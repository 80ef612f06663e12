#include "halyward/system/regular_file.hpp"

#include "halyward/base/error.hpp"
#include "support/fifo.hpp"
#include "support/scratch_folder.hpp"

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/un.h>

using namespace halyward;
namespace fs = std::filesystem;

TEST(regular_file, reads_regular_files_and_refuses_everything_else_at_once) {
    ScratchFolder root;
    writeFile(root.path / "plain", "0123456789");
    fs::create_directories(root.path / "folder");
    makeFifo(root.path / "pipe");
    fs::create_symlink(root.path / "pipe", root.path / "link-to-pipe");
    fs::create_symlink(root.path / "plain", root.path / "link-to-plain");
    const int listener = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string socketPath = root / "socket";
    socketPath.copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(::bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);

    struct Case {
        std::string path;
        std::optional<std::string> bytes;  // none: refused, with `reason` in the message
        std::string reason;
    };
    const Case cases[] = {
        {root / "plain", "01234", ""},
        {root / "link-to-plain", "01234", ""},
        {root / "folder", std::nullopt, "it is a folder, not a file"},
        {root / "pipe", std::nullopt, "it is a named pipe, not a regular file"},
        {root / "link-to-pipe", std::nullopt, "it is a named pipe, not a regular file"},
        {socketPath, std::nullopt, "it is a socket, not a regular file"},
        // An endless device would never end a read without the limit; it is refused first.
        {"/dev/zero", std::nullopt, "it is a device, not a regular file"},
        {root / "plain/below", std::nullopt, "Not a directory"},
    };
    for (const Case& c : cases) {
        std::optional<RegularFile> read;
        std::string message;
        const bool finished = finishesWithoutAWriter(root.path / "pipe", [&] {
            try {
                read = readRegularFile(c.path, 5);
            } catch (const HalywardError& error) {
                EXPECT_EQ(error.code, "failed");
                message = error.message;
            }
        });
        ASSERT_TRUE(finished) << c.path << " was waited on";
        if (c.bytes) {
            ASSERT_TRUE(read) << c.path << ": " << message;
            EXPECT_EQ(read->bytes, *c.bytes);
        } else {
            EXPECT_FALSE(read) << c.path;
            EXPECT_EQ(message.rfind("Halyward can't read “" + c.path + "”: ", 0), 0u) << message;
            EXPECT_NE(message.find(c.reason), std::string::npos) << message;
        }
    }
    ::close(listener);
    EXPECT_FALSE(readRegularFile(root / "missing", 5));
}

TEST(regular_file, write_permission_is_read_from_the_bits_even_for_the_superuser) {
    struct Case {
        std::uint32_t permissions;
        bool owner;  // the file belongs to the current user
        bool writable;
        bool writableForRoot;  // only "no write bit at all" is read-only for the superuser
    };
    const Case cases[] = {
        {0644, true, true, true},   {0444, true, false, false}, {0464, true, false, true},
        {0600, false, false, true}, {0646, false, true, true},  {0440, false, false, false},
    };
    const bool root = ::geteuid() == 0;
    for (const Case& c : cases) {
        RegularFile file;
        file.permissions = c.permissions;
        file.owner = c.owner ? ::geteuid() : ::geteuid() + 4242;
        file.group = static_cast<gid_t>(-2);  // a group nobody is in
        EXPECT_EQ(writableByCurrentUser(file), root ? c.writableForRoot : c.writable)
            << std::oct << c.permissions << " owner " << c.owner;
    }
}
