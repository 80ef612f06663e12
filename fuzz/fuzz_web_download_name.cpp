// Download names must be creatable as one file in the downloads folder whatever the page
// suggests, and numbered copies must stay in that folder.
#include "halyward/web/downloads.hpp"

#include <cstdint>
#include <cstdlib>
#include <string_view>

using namespace halyward;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::string safe = safeDownloadName(input);
    if (safe.empty() || safe == "." || safe == "..") abort();
    if (safe.find_first_of(std::string_view("/:\0\n\r\v\f", 8)) != std::string::npos) abort();
    for (std::string_view lineBreak : {"\xC2\x85", "\xE2\x80\xA8", "\xE2\x80\xA9"}) {
        if (safe.find(lineBreak) != std::string::npos) abort();
    }
    if (safeDownloadName(safe) != safe) abort();  // already safe names are kept as they are

    const std::filesystem::path folder = "/downloads";
    const unsigned taken = size > 0 ? data[0] % 8 : 0;
    unsigned asked = 0;
    const auto path =
        downloadDestination(folder, input, [&](const std::filesystem::path& candidate) {
            if (candidate.parent_path() != folder) abort();
            return asked++ < taken;
        });
    if (path.parent_path() != folder) abort();
    if (taken == 0 && path.filename() != safe) abort();
    return 0;
}
