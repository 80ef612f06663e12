#include "halyward/webapps/bundle_info.hpp"

#include "halyward/system/unique_fd.hpp"

#include <plist/plist.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <memory>

namespace halyward {

namespace {

// Info.plist files of real bundles are a few kilobytes; a larger file is not one.
constexpr off_t kMaxInfoPlistBytes = 1 << 20;

struct PlistDeleter {
    void operator()(plist_t node) const { plist_free(node); }
};
using PlistPtr = std::unique_ptr<void, PlistDeleter>;

}  // namespace

std::optional<std::string> BundleInfo::string(std::string_view key) const {
    const auto found = strings.find(key);
    if (found == strings.end()) return std::nullopt;
    return found->second;
}

std::optional<BundleInfo> parseBundleInfo(std::string_view bytes) {
    if (bytes.empty() || bytes.size() > static_cast<std::size_t>(kMaxInfoPlistBytes)) {
        return std::nullopt;
    }
    plist_t raw = nullptr;
    plist_from_memory(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &raw);
    const PlistPtr root(raw);
    if (!root || plist_get_node_type(root.get()) != PLIST_DICT) return std::nullopt;

    BundleInfo info;
    plist_dict_iter iterator = nullptr;
    plist_dict_new_iter(root.get(), &iterator);
    for (;;) {
        char* key = nullptr;
        plist_t value = nullptr;
        plist_dict_next_item(root.get(), iterator, &key, &value);
        if (!key) break;
        if (value && plist_get_node_type(value) == PLIST_STRING) {
            char* text = nullptr;
            plist_get_string_val(value, &text);
            if (text) info.strings.emplace(key, text);
            std::free(text);  // allocated with malloc by libplist
        }
        std::free(key);
    }
    std::free(iterator);
    return info;
}

std::optional<BundleInfo> readInfoPlist(const std::filesystem::path& plistFile) {
    // O_NONBLOCK so that a FIFO planted at the path cannot stall the reader; the fstat
    // below then refuses anything that is not a regular file.
    const UniqueFd file(::open(plistFile.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    if (!file.valid()) return std::nullopt;
    struct stat status {};
    if (::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
        status.st_size > kMaxInfoPlistBytes) {
        return std::nullopt;
    }
    std::string bytes(static_cast<std::size_t>(status.st_size), '\0');
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t got = ::read(file.get(), bytes.data() + done, bytes.size() - done);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) break;
        done += static_cast<std::size_t>(got);
    }
    bytes.resize(done);
    return parseBundleInfo(bytes);
}

std::optional<BundleInfo> readBundleInfo(const std::filesystem::path& bundle) {
    return readInfoPlist(bundle / "Contents" / "Info.plist");
}

}  // namespace halyward
