#include "halyward/webapps/bundle_plan.hpp"

#include "halyward/base/error.hpp"
#include "halyward/base/json.hpp"
#include "halyward/text/text.hpp"
#include "halyward/web/address.hpp"
#include "halyward/webapps/address_text.hpp"
#include "halyward/webapps/idn2_library.hpp"
#include "halyward/webapps/sha256.hpp"

#include <uuid/uuid.h>

#if defined(__APPLE__)
#include <mach-o/dyld.h>
#endif

#include <cstdio>
#include <system_error>

namespace halyward {

namespace {

// Real addresses of web apps are short; the limit keeps a pasted blob out of Info.plist
// and the configuration file while leaving room for long sign-in query strings.
constexpr std::size_t kMaxURLBytes = 8192;
// Well below the 255-byte file-name limit of common file systems, leaving room for ".app".
constexpr std::size_t kMaxNameBytes = 200;

std::string xmlEscaped(std::string_view value) {
    std::string out;
    out.reserve(value.size());
    for (const char c : value) {
        switch (c) {
            case '&': out += "&amp;"; break;
            case '<': out += "&lt;"; break;
            case '>': out += "&gt;"; break;
            case '"': out += "&quot;"; break;
            default: out += c;
        }
    }
    return out;
}

bool hasLineBreakOrControl(std::string_view text) {
    for (std::size_t pos = 0; pos < text.size();) {
        const text::Scalar scalar = text::decodeAt(text, pos);
        if (scalar.value < 0x20 || scalar.value == 0x7F || text::isLineBreak(scalar.value)) {
            return true;
        }
        pos += scalar.length;
    }
    return false;
}

bool isASCII(std::string_view text) {
    for (const char c : text) {
        if (static_cast<unsigned char>(c) >= 0x80) return false;
    }
    return true;
}

// Text libidn2 answers with, given back to it when done.
std::string takeIDNText(const detail::IDN2Library& idn2, char* text) {
    std::string taken(text);
    idn2.free(text);
    return taken;
}

// The ASCII (punycode) form of an international host under the rules browsers follow
// (UTS #46, non-transitional), or none when it is not a valid international name (or the
// library that knows those rules is missing).
std::optional<std::string> asciiHost(const std::string& host) {
    const detail::IDN2Library* idn2 = detail::idn2Library();
    char* out = nullptr;
    if (!idn2 || idn2->toASCII(host.c_str(), &out, detail::idn2NonTransitional) != detail::idn2OK) {
        return std::nullopt;
    }
    return takeIDNText(*idn2, out);
}

}  // namespace

UUID UUID::random() {
    UUID id;
    uuid_generate_random(id.bytes.data());
    return id;
}

std::optional<UUID> UUID::parse(std::string_view text) {
    if (text.size() != 36) return std::nullopt;
    char buffer[37];
    text.copy(buffer, 36);
    buffer[36] = '\0';
    UUID id;
    if (uuid_parse(buffer, id.bytes.data()) != 0) return std::nullopt;
    return id;
}

std::string UUID::uuidString() const {
    char text[37];
    uuid_unparse_upper(bytes.data(), text);
    return text;
}

std::string validatedWebURL(std::string_view text) {
    const std::string_view trimmed = text::trim(text);
    if (trimmed.size() > kMaxURLBytes) {
        throw HalywardError::usage(text::quoted(detail::quotable(trimmed, 60)) +
                                   " is too long for an " + "app's address (" +
                                   std::to_string(trimmed.size()) + " bytes; at most " +
                                   std::to_string(kMaxURLBytes) + ").");
    }
    const auto refuse = [&] {
        return HalywardError::usage(text::quoted(detail::quotable(text, kMaxURLBytes)) +
                                    " needs to be an http or https address.");
    };
    if (detail::hasControlCharacter(trimmed)) throw refuse();
    auto url = parseAddress(trimmed);
    if (!url || !url->has_scheme()) throw refuse();
    const std::string scheme = text::lowercased(url->scheme());
    if ((scheme != "http" && scheme != "https") || !url->has_authority() ||
        url->encoded_host().empty()) {
        throw refuse();
    }
    // A host in another script is written in its ASCII form, as the address bar of a
    // browser does: percent-encoded, it would reach no server and no HTTP client would
    // take it. The name of the app shows it in its own script again (`displayHost`).
    if (url->host_type() == boost::urls::host_type::name) {
        const std::string host = url->host();
        if (!isASCII(host)) {
            const auto ascii = asciiHost(host);
            if (!ascii) throw refuse();
            url->set_encoded_host(*ascii);
        }
    }
    return std::string(url->buffer());
}

std::string displayHost(std::string_view host) {
    const std::string original(host);
    if (text::lowercased(original).find("xn--") == std::string::npos) return original;
    const detail::IDN2Library* idn2 = detail::idn2Library();
    char* out = nullptr;
    if (!idn2 || idn2->toUnicode(original.c_str(), &out, 0) != detail::idn2OK) return original;
    const std::string unicode = takeIDNText(*idn2, out);
    // The decoder alone accepts labels that no valid name encodes to; only a name that
    // encodes back to the same host is shown.
    const auto again = asciiHost(unicode);
    if (!again || *again != text::lowercased(original)) return original;
    return unicode;
}

std::string validatedAppName(std::string_view name) {
    const std::string_view trimmed = text::trim(name);
    const auto refuse = [&](std::string_view why) {
        return HalywardError::usage(text::quoted(detail::quotable(trimmed, 60)) +
                                    " cannot be an app name: " + std::string(why) + ".");
    };
    if (trimmed.empty()) throw HalywardError::usage("An app needs a name.");
    if (!text::isValidUTF8(trimmed)) throw refuse("it is not valid UTF-8 text");
    if (hasLineBreakOrControl(trimmed)) throw refuse("it holds a line break or control character");
    // Characters that draw nothing, or turn the text around, make one name look like
    // another ("G\u200Bmail"; a right-to-left override before "gnp.exe" that makes it read
    // "exe.png"), so they are refused rather than dropped: the user learns what was there.
    // Joiners are the exception where they do visible work: in an emoji sequence, or
    // between the letters of a script that needs them.
    char32_t before = 0;
    for (std::size_t pos = 0; pos < trimmed.size();) {
        const text::Scalar scalar = text::decodeAt(trimmed, pos);
        pos += scalar.length;
        if (text::isFormatCharacter(scalar.value)) {
            const char32_t after =
                pos < trimmed.size() ? text::decodeAt(trimmed, pos).value : char32_t{0};
            if (!text::isShapingJoiner(before, scalar.value, after)) {
                throw refuse("it holds the invisible formatting character " +
                             text::codePoint(scalar.value));
            }
        }
        before = scalar.value;
    }
    if (trimmed.find('/') != std::string_view::npos)
        throw refuse("it holds a " + text::quoted("/"));
    if (trimmed.front() == '.') throw refuse("it starts with " + text::quoted("."));
    // One spelling per name: decomposed and precomposed accents name the same app and, on
    // a file system that normalises names, the same bundle folder.
    std::string composed = text::nfc(trimmed);
    if (composed.size() > kMaxNameBytes) {
        throw refuse("it is longer than " + std::to_string(kMaxNameBytes) + " bytes");
    }
    return composed;
}

std::string slugify(std::string_view name) {
    const std::string lower = text::lowercased(name);
    std::string slug;
    bool skipped = false;
    for (std::size_t pos = 0; pos < lower.size();) {
        const text::Scalar scalar = text::decodeAt(lower, pos);
        // Invalid bytes decode as U+FFFD, which is neither a letter nor a number.
        if (text::isLetterOrNumber(scalar.value)) {
            if (skipped && !slug.empty()) slug += '-';
            slug.append(lower, pos, scalar.length);
            skipped = false;
        } else {
            skipped = true;
        }
        pos += scalar.length;
    }
    return slug.empty() ? "app" : slug;
}

std::string bundleIdentifier(std::string_view slug) {
    return "app.halyward.web." + std::string(slug);
}

std::filesystem::path webHostExecutable(const std::filesystem::path& bundlePath) {
    return bundlePath / "Contents" / "MacOS" / "HalywardWebHost";
}

WebAppBundlePlan::WebAppBundlePlan(std::string name, std::string slug, std::string url,
                                   std::string bundleIdentifier, UUID dataStoreIdentifier,
                                   const std::filesystem::path& folder)
    : name(std::move(name)),
      slug(std::move(slug)),
      url(std::move(url)),
      bundleIdentifier(std::move(bundleIdentifier)),
      dataStoreIdentifier(dataStoreIdentifier) {
    validatedAppName(this->name);
    bundlePath = folder / (this->name + ".app");
}

std::string WebAppBundlePlan::infoPlist() const {
    const std::pair<std::string_view, std::string_view> strings[] = {
        {"CFBundleDevelopmentRegion", "en"},
        {"CFBundleExecutable", executableName()},
        {"CFBundleIconFile", "AppIcon"},
        {"CFBundleIdentifier", bundleIdentifier},
        {"CFBundleInfoDictionaryVersion", "6.0"},
        {"CFBundleName", name},
        {"CFBundleDisplayName", name},
        {"CFBundlePackageType", "APPL"},
        {"CFBundleShortVersionString", HalywardVersion::current},
        {"CFBundleVersion", "1"},
        {"LSMinimumSystemVersion", "14.0"},
    };
    std::string out =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
        "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
        "<plist version=\"1.0\">\n"
        "<dict>\n";
    const auto entry = [&](std::string_view key, std::string_view valueLine) {
        out += "  <key>";
        out += key;
        out += "</key>\n  ";
        out += valueLine;
        out += '\n';
    };
    const auto string = [](std::string_view value) {
        return "<string>" + xmlEscaped(value) + "</string>";
    };
    for (const auto& [key, value] : strings) entry(key, string(value));
    entry("NSHighResolutionCapable", "<true/>");
    entry("NSPrincipalClass", string("NSApplication"));
    entry("HWSlug", string(slug));
    entry("HWURL", string(url));
    entry("HWDataStoreUUID", "<string>" + dataStoreIdentifier.uuidString() + "</string>");
    out += "</dict>\n</plist>";
    return out;
}

std::string WebAppBundlePlan::stubJSON() const {
    return JSONValue(JSONObject{{"slug", slug},
                                {"name", name},
                                {"bundleIdentifier", bundleIdentifier},
                                {"dataStore", dataStoreIdentifier.uuidString()}})
        .canonicalString();
}

std::string hostDigest(std::string_view bytes) {
    detail::Sha256 sha256;
    sha256.update(bytes.data(), bytes.size());
    if (auto hex = sha256.hexDigest()) return *hex;
    throw HalywardError::failed(
        "Halyward can't compute a SHA-256 digest (is libcrypto installed?).");
}

HostRefresh hostRefresh(const std::optional<std::string>& embeddedDigest,
                        std::string_view currentDigest, bool running) {
    if (embeddedDigest && *embeddedDigest == currentDigest) return HostRefresh::current;
    return running ? HostRefresh::waitUntilQuit : HostRefresh::refresh;
}

std::vector<std::string> codesignArguments(std::string_view bundlePath,
                                           std::string_view identifier) {
    return {
        "/usr/bin/codesign",    "--force", "--sign", "-", "--identifier", std::string(identifier),
        std::string(bundlePath)};
}

std::optional<std::filesystem::path> locateWebHost(
    const std::filesystem::path& halywardExecutable) {
    const std::filesystem::path folder = halywardExecutable.parent_path();
    for (const std::filesystem::path& candidate :
         {folder / "HalywardWebHost", folder / ".." / "libexec" / "halyward" / "HalywardWebHost"}) {
        std::error_code error;
        if (std::filesystem::is_regular_file(candidate, error)) return candidate.lexically_normal();
    }
    return std::nullopt;
}

std::filesystem::path websiteDataFolder(std::string_view home) {
    return std::filesystem::path(std::string(home)) / ".local" / "share" / "halyward" /
           "website-data";
}

std::filesystem::path websiteDataFolder(std::string_view home, const UUID& store) {
    return websiteDataFolder(home) / store.uuidString();
}

std::optional<std::filesystem::path> runningExecutable() {
#if defined(__APPLE__)
    std::uint32_t size = 0;
    _NSGetExecutablePath(nullptr, &size);
    std::string buffer(size, '\0');
    if (_NSGetExecutablePath(buffer.data(), &size) != 0) return std::nullopt;
    buffer.resize(std::char_traits<char>::length(buffer.c_str()));
    std::error_code error;
    auto resolved = std::filesystem::canonical(buffer, error);
    if (error) return std::filesystem::path(buffer);
    return resolved;
#else
    std::error_code error;
    auto resolved = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error) return std::nullopt;
    return resolved;
#endif
}

}  // namespace halyward
