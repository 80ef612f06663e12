#pragma once
/// The parts of the update check that do not depend on a user interface: the feed's
/// address and the request sent to it, the decoding of its answer and the spacing of
/// checks in time. Nothing here touches the network; the caller sends the request.

#include <chrono>
#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace halyward {

namespace ServiceEndpoints {
/// The update feed's address, fixed when the program is built (the compile definition
/// HALYWARD_UPDATE_FEED_URL). Absent in a build without one: then no check takes place.
std::optional<std::string_view> updateFeedURL();
}  // namespace ServiceEndpoints

/// What the feed reports: the newest version (never empty) and, when given, where to
/// download it and what changed.
struct UpdateFeed {
    std::string version;
    std::optional<std::string> downloadURL;
    std::optional<std::string> notes;

    bool operator==(const UpdateFeed&) const = default;
};

/// Thrown when the feed's answer is JSON but not an object with a usable "version".
class UpdateFeedError : public std::exception {
public:
    enum class Kind { unreadable };

    static UpdateFeedError unreadable() { return UpdateFeedError(Kind::unreadable); }

    Kind kind() const { return kind_; }
    const char* what() const noexcept override;

    bool operator==(const UpdateFeedError& other) const { return kind_ == other.kind_; }

private:
    explicit UpdateFeedError(Kind kind) : kind_(kind) {}
    Kind kind_;
};

/// An HTTP request for the feed, ready for any HTTP client. The cache policy is the
/// client's default.
struct UpdateRequest {
    std::string url;
    std::string method = "GET";
    /// Seconds before the request is given up.
    double timeoutSeconds = 60;
    /// Header names and values, in order.
    std::vector<std::pair<std::string, std::string>> headers;

    bool operator==(const UpdateRequest&) const = default;
};

namespace UpdateWire {

/// The feed address with its query replaced by the single item "version" = `version`
/// (percent-encoded), or absent when `feed` is not a URL reference.
std::optional<std::string> url(std::string_view feed, std::string_view version);

/// Reads the feed's answer. Throws HalywardError::failed when the bytes are not JSON and
/// UpdateFeedError::unreadable() when they are not an object with a non-empty string
/// "version". The download address is "downloadURL", else "url", when a string.
UpdateFeed decode(std::string_view data);

/// True when there was no attempt yet, or when at least `interval` seconds have passed
/// from `lastAttempt` to `now`.
bool shouldCheck(std::optional<std::chrono::system_clock::time_point> lastAttempt,
                 std::chrono::system_clock::time_point now, double interval);

}  // namespace UpdateWire

namespace UpdateHTTP {

/// A GET of `UpdateWire::url(feed, version)` with a 60-second time-out and the header
/// "User-Agent: Halyward"; absent when there is no URL.
std::optional<UpdateRequest> request(std::string_view feed, std::string_view version);

}  // namespace UpdateHTTP

}  // namespace halyward
