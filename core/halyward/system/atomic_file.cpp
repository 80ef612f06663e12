#include "halyward/system/atomic_file.hpp"

#include "halyward/base/error.hpp"
#include "halyward/system/unique_fd.hpp"
#include "halyward/text/text.hpp"

#include <cerrno>
#include <filesystem>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <uuid/uuid.h>

namespace halyward::AtomicFile {

namespace {

namespace fs = std::filesystem;

[[noreturn]] void fail(const std::string& path, int error) {
    throw HalywardError::failed("Halyward can't write " + text::quoted(path) + ": " +
                                systemReason(error) + ".");
}

std::string temporaryName() {
    uuid_t uuid;
    uuid_generate_random(uuid);
    char text[37];
    uuid_unparse_upper(uuid, text);
    return std::string(".halyward-") + text + ".tmp";
}

/// Closes the descriptor and removes the temporary file unless the write went through.
class Temporary {
public:
    explicit Temporary(std::string path) : path_(std::move(path)) {}
    Temporary(const Temporary&) = delete;
    Temporary& operator=(const Temporary&) = delete;
    ~Temporary() {
        closeFile();
        if (!committed_) ::unlink(path_.c_str());
    }

    const std::string& path() const { return path_; }
    int fd() const { return fd_.get(); }
    void open(int fd) { fd_.reset(fd); }
    int closeFile() { return fd_.close(); }
    void commit() { committed_ = true; }

private:
    std::string path_;
    UniqueFd fd_;
    bool committed_ = false;
};

void writeAll(int fd, const std::uint8_t* bytes, std::size_t size, const std::string& path) {
    while (size > 0) {
        const ssize_t written = ::write(fd, bytes, size);
        if (written < 0) {
            if (errno == EINTR) continue;
            fail(path, errno);
        }
        bytes += written;
        size -= static_cast<std::size_t>(written);
    }
}

/// Flushes the folder so that the rename itself survives a power loss. File systems that
/// cannot flush a folder (EINVAL) have nothing to lose here.
void syncFolder(const std::string& folder, const std::string& path) {
    const UniqueFd fd(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!fd.valid()) return;
    int result;
    do {
        result = ::fsync(fd.get());
    } while (result != 0 && errno == EINTR);
    const int error = errno;
    if (result != 0 && error != EINVAL && error != EROFS) fail(path, error);
}

void writeBytes(const std::uint8_t* bytes, std::size_t size, std::string_view pathText,
                std::uint16_t mode) {
    const std::string pathString(pathText);
    if (pathString.empty() || pathString.find('\0') != std::string::npos) {
        throw HalywardError::failed("Halyward can't write " + text::quoted(pathString) +
                                    ": it is not a valid file path.");
    }
    const fs::path path(pathString);
    if (!path.has_filename()) {
        throw HalywardError::failed("Halyward can't write " + text::quoted(pathString) +
                                    ": it names a folder, not a file.");
    }
    fs::path folder = path.parent_path();
    if (folder.empty()) folder = ".";

    std::error_code error;
    fs::create_directories(folder, error);
    if (error) fail(pathString, error.value());

    Temporary temporary((folder / temporaryName()).string());
    const int fd = ::open(temporary.path().c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (fd < 0) {
        // Nothing was created, so there is nothing to remove.
        temporary.commit();
        fail(pathString, errno);
    }
    temporary.open(fd);
    writeAll(fd, bytes, size, pathString);
    if (::fchmod(fd, static_cast<mode_t>(mode & 07777)) != 0) fail(pathString, errno);
    int synced;
    do {
        synced = ::fsync(fd);
    } while (synced != 0 && errno == EINTR);
    if (synced != 0) fail(pathString, errno);
    if (temporary.closeFile() != 0) fail(pathString, errno);

    // rename(2) replaces the target in one step, so a reader sees the old file or the new
    // one. It refuses to put a file in place of a folder, which keeps that case harmless.
    if (::rename(temporary.path().c_str(), pathString.c_str()) != 0) fail(pathString, errno);
    temporary.commit();
    syncFolder(folder.string(), pathString);
}

}  // namespace

void write(const std::vector<std::uint8_t>& data, std::string_view path, std::uint16_t mode) {
    writeBytes(data.data(), data.size(), path, mode);
}

void write(std::string_view text, std::string_view path, std::uint16_t mode) {
    writeBytes(reinterpret_cast<const std::uint8_t*>(text.data()), text.size(), path, mode);
}

}  // namespace halyward::AtomicFile
