#include "halyward/update/update_feed.hpp"

#include "halyward/base/json.hpp"

#include <boost/url/encode.hpp>
#include <boost/url/parse.hpp>
#include <boost/url/rfc/unreserved_chars.hpp>
#include <boost/url/url.hpp>

#include <cstdint>
#include <limits>

namespace halyward {

std::optional<std::string_view> ServiceEndpoints::updateFeedURL() {
#ifdef HALYWARD_UPDATE_FEED_URL
    return std::string_view(HALYWARD_UPDATE_FEED_URL);
#else
    return std::nullopt;
#endif
}

const char* UpdateFeedError::what() const noexcept {
    return "The update feed's answer has no usable version.";
}

std::optional<std::string> UpdateWire::url(std::string_view feed, std::string_view version) {
    auto parsed = boost::urls::parse_uri_reference(feed);
    if (!parsed) return std::nullopt;
    boost::urls::url components(*parsed);
    // Only unreserved characters stay as they are, so "&", "=", "+" or "#" inside the
    // version can never split or end the single query item.
    std::string query = "version=" + boost::urls::encode(version, boost::urls::unreserved_chars);
    components.set_encoded_query(query);
    return std::string(components.buffer());
}

UpdateFeed UpdateWire::decode(std::string_view data) {
    std::optional<JSONObject> object = JSONValue::parse(data).objectValue();
    if (!object) throw UpdateFeedError::unreadable();
    auto stringMember = [&](const char* key) -> std::optional<std::string> {
        auto found = object->find(key);
        if (found == object->end()) return std::nullopt;
        return found->second.stringValue();
    };
    UpdateFeed feed;
    std::optional<std::string> version = stringMember("version");
    if (!version || version->empty()) throw UpdateFeedError::unreadable();
    feed.version = std::move(*version);
    feed.downloadURL = stringMember("downloadURL");
    if (!feed.downloadURL) feed.downloadURL = stringMember("url");
    feed.notes = stringMember("notes");
    return feed;
}

bool UpdateWire::shouldCheck(std::optional<std::chrono::system_clock::time_point> lastAttempt,
                             std::chrono::system_clock::time_point now, double interval) {
    if (!lastAttempt) return true;
    using Rep = std::chrono::system_clock::duration::rep;
    Rep elapsed = 0;
    // Far-apart instants would overflow the clock's integer ticks; such a gap is longer
    // than any interval when it runs forwards and never long enough when it runs back.
    if (__builtin_sub_overflow(now.time_since_epoch().count(),
                               lastAttempt->time_since_epoch().count(), &elapsed)) {
        return now > *lastAttempt;
    }
    auto seconds = std::chrono::duration<double>(std::chrono::system_clock::duration(elapsed));
    return seconds.count() >= interval;
}

std::optional<UpdateRequest> UpdateHTTP::request(std::string_view feed, std::string_view version) {
    std::optional<std::string> address = UpdateWire::url(feed, version);
    if (!address) return std::nullopt;
    UpdateRequest request;
    request.url = std::move(*address);
    request.method = "GET";
    request.timeoutSeconds = 60;
    request.headers = {{"User-Agent", "Halyward"}};
    return request;
}

}  // namespace halyward
