#pragma once
// A throw-away folder and whole-file reads and writes for the suites that touch the disk.

#include <stdlib.h>  // mkdtemp on Linux
#include <unistd.h>  // mkdtemp on macOS

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

// A fresh folder directly under /tmp, so that socket paths inside it stay well under the
// 104-byte limit; removed with everything in it when the test ends.
struct ScratchFolder {
    std::filesystem::path path;
    ScratchFolder() {
        std::string pattern = "/tmp/halyward-test-XXXXXX";
        if (::mkdtemp(pattern.data()) == nullptr) std::abort();
        path = pattern;
    }
    ~ScratchFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    std::string operator/(std::string_view name) const { return (path / name).string(); }
};

inline std::string readFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// Writes `bytes` as they are, creating the folders above first.
inline void writeFile(const std::filesystem::path& path, std::string_view bytes) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary)
        .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}
