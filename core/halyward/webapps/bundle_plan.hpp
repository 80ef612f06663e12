#pragma once
/// Planning a web-app bundle: the checked address and name, the slug and bundle
/// identifier derived from them, and the texts of the bundle's property list and stub.

#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace halyward {

/// A 128-bit universally unique identifier, kept as its 16 bytes.
struct UUID {
    std::array<std::uint8_t, 16> bytes{};

    /// A fresh random (version 4) identifier.
    static UUID random();
    /// Reads the standard 36-character text form in either case; none for anything else.
    static std::optional<UUID> parse(std::string_view text);
    /// The standard text form in upper case, e.g. "1B4E28BA-2FA1-11D2-883F-0016D3CCA427".
    std::string uuidString() const;

    bool operator==(const UUID&) const = default;
};

/// The address `text` with surrounding white space removed, when it parses as a URL whose
/// scheme is http or https (any case) and which has a host. Blanks and non-ASCII letters
/// inside are percent-encoded as a browser's address bar does; the answer is otherwise
/// not normalised. Throws HalywardError::usage("“text” needs to be an http or https
/// address.") quoting the untrimmed argument, also for control characters inside it, and
/// a usage error about the length for an address longer than 8,192 bytes.
std::string validatedWebURL(std::string_view text);

/// An address's host as people read it: labels in punycode ("xn--caf-dma.localhost")
/// shown in their own script ("café.localhost"). The host unchanged when it has no such
/// label or one that does not decode to a valid international name.
std::string displayHost(std::string_view host);

/// The name with surrounding white space removed, when it can name a bundle folder inside
/// the apps folder: not empty, valid UTF-8, no "/", no control characters or line breaks,
/// not starting with "." (so never "." or ".."), at most 200 bytes. Throws
/// HalywardError::usage naming the problem otherwise. A name of punctuation only is fine.
std::string validatedAppName(std::string_view name);

/// The name lower-cased, keeping letters and numbers of every script and joining the runs
/// between them with single "-"; "app" when nothing is left.
std::string slugify(std::string_view name);

/// "app.halyward.web." followed by the slug.
std::string bundleIdentifier(std::string_view slug);

/// `bundlePath` joined with "Contents/MacOS/HalywardWebHost".
std::filesystem::path webHostExecutable(const std::filesystem::path& bundlePath);

/// Everything needed to write one web-app bundle.
struct WebAppBundlePlan {
    /// Checks `name` with `validatedAppName` (throwing its usage error) and puts the bundle
    /// at `folder` / (name + ".app"), so that it can never land outside `folder`.
    WebAppBundlePlan(std::string name, std::string slug, std::string url,
                     std::string bundleIdentifier, UUID dataStoreIdentifier,
                     const std::filesystem::path& folder);

    std::string name;
    std::string slug;
    std::string url;
    std::string bundleIdentifier;
    UUID dataStoreIdentifier;
    std::filesystem::path bundlePath;

    /// "HalywardWebHost", the bundle's executable.
    static constexpr std::string_view executableName() { return "HalywardWebHost"; }

    /// The bundle's Contents/Info.plist: the fixed XML template with every value escaped.
    std::string infoPlist() const;
    /// Contents/Resources/stub.json: slug, name, bundleIdentifier and dataStore (the UUID).
    std::string stubJSON() const;

    bool operator==(const WebAppBundlePlan&) const = default;
};

/// What to do about the host executable inside an existing bundle.
enum class HostRefresh {
    /// It is the same as the one that ships with the program.
    current,
    /// Replace it now.
    refresh,
    /// It is out of date but the app is running: replace it after the app quits.
    waitUntilQuit,
};

/// The SHA-256 digest of `bytes` as 64 lower-case hexadecimal digits.
std::string hostDigest(std::string_view bytes);

/// `current` when both digests are known and equal; otherwise `waitUntilQuit` while the app
/// runs and `refresh` when it does not.
HostRefresh hostRefresh(const std::optional<std::string>& embeddedDigest,
                        std::string_view currentDigest, bool running);

/// "/usr/bin/codesign" and its arguments for an ad-hoc signature of the bundle under the
/// given identifier.
std::vector<std::string> codesignArguments(std::string_view bundlePath,
                                           std::string_view identifier);

/// The host executable that ships beside the `halyward` executable at `halywardExecutable`:
/// "HalywardWebHost" in the same folder (the build tree), else
/// "../libexec/halyward/HalywardWebHost" (the installed layout); none when neither is a
/// regular file.
std::optional<std::filesystem::path> locateWebHost(const std::filesystem::path& halywardExecutable);

/// Linux: the folder that holds the website data of every web app,
/// home + "/.local/share/halyward/website-data".
std::filesystem::path websiteDataFolder(std::string_view home);
/// Linux: the website data of the app whose data store is `store`:
/// `websiteDataFolder(home)` / the UUID text. The host keeps sign-ins, cookies and
/// storage there; removing the app leaves it.
std::filesystem::path websiteDataFolder(std::string_view home, const UUID& store);

/// The path of the running executable; none when the system does not say.
std::optional<std::filesystem::path> runningExecutable();

}  // namespace halyward
