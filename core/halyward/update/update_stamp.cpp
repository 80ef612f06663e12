#include "halyward/update/update_stamp.hpp"

#include "halyward/base/error.hpp"
#include "halyward/base/json.hpp"
#include "halyward/system/atomic_file.hpp"
#include "halyward/system/regular_file.hpp"

#include <cstdint>
#include <cstdio>

namespace halyward {

namespace {

namespace chrono = std::chrono;

// A stamp is a few hundred bytes; anything far larger is not one of ours and is not worth
// reading into memory.
constexpr std::size_t kMaxStampBytes = 64 * 1024;

bool readDigits(std::string_view text, std::size_t& pos, std::size_t count, int& value) {
    if (pos + count > text.size()) return false;
    value = 0;
    for (std::size_t i = 0; i < count; ++i) {
        char c = text[pos + i];
        if (c < '0' || c > '9') return false;
        value = value * 10 + (c - '0');
    }
    pos += count;
    return true;
}

bool expect(std::string_view text, std::size_t& pos, char c) {
    if (pos >= text.size() || text[pos] != c) return false;
    ++pos;
    return true;
}

void appendMember(std::string& out, const char* key, const std::string& value, bool last) {
    out += "  ";
    out += quoteJSON(key);
    out += " : ";
    out += quoteJSON(value);
    out += last ? "\n" : ",\n";
}

// A member that may be absent: absent or null gives nullopt; a value of another kind
// makes the whole stamp unreadable.
bool optionalString(const JSONObject& object, const char* key, std::optional<std::string>& into) {
    auto found = object.find(key);
    if (found == object.end() || found->second.isNull()) return true;
    into = found->second.stringValue();
    return into.has_value();
}

}  // namespace

std::string UpdateDisk::formatDate(chrono::system_clock::time_point date) {
    auto seconds = chrono::floor<chrono::seconds>(date);
    auto days = chrono::floor<chrono::days>(seconds);
    chrono::year_month_day ymd(days);
    chrono::hh_mm_ss time(seconds - days);
    char buffer[96];
    std::snprintf(buffer, sizeof buffer, "%04d-%02u-%02uT%02d:%02d:%02dZ",
                  static_cast<int>(ymd.year()), static_cast<unsigned>(ymd.month()),
                  static_cast<unsigned>(ymd.day()), static_cast<int>(time.hours().count()),
                  static_cast<int>(time.minutes().count()),
                  static_cast<int>(time.seconds().count()));
    return buffer;
}

std::optional<chrono::system_clock::time_point> UpdateDisk::parseDate(std::string_view text) {
    std::size_t pos = 0;
    int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
    if (!readDigits(text, pos, 4, year) || !expect(text, pos, '-') ||
        !readDigits(text, pos, 2, month) || !expect(text, pos, '-') ||
        !readDigits(text, pos, 2, day) || !(expect(text, pos, 'T') || expect(text, pos, 't')) ||
        !readDigits(text, pos, 2, hour) || !expect(text, pos, ':') ||
        !readDigits(text, pos, 2, minute) || !expect(text, pos, ':') ||
        !readDigits(text, pos, 2, second)) {
        return std::nullopt;
    }
    chrono::year_month_day ymd{chrono::year(year), chrono::month(static_cast<unsigned>(month)),
                               chrono::day(static_cast<unsigned>(day))};
    // A leap second (:60) is read as the first second of the next minute.
    if (!ymd.ok() || hour > 23 || minute > 59 || second > 60) return std::nullopt;

    std::int64_t nanoseconds = 0;
    if (pos < text.size() && text[pos] == '.') {
        ++pos;
        std::size_t digits = 0;
        while (pos < text.size() && text[pos] >= '0' && text[pos] <= '9') {
            // Digits past the ninth are below the clock's resolution.
            if (digits < 9) nanoseconds = nanoseconds * 10 + (text[pos] - '0');
            ++digits;
            ++pos;
        }
        if (digits == 0) return std::nullopt;
        for (std::size_t i = digits; i < 9; ++i) nanoseconds *= 10;
    }

    std::int64_t offsetSeconds = 0;
    if (pos < text.size() && (text[pos] == 'Z' || text[pos] == 'z')) {
        ++pos;
    } else if (pos < text.size() && (text[pos] == '+' || text[pos] == '-')) {
        int sign = text[pos] == '-' ? -1 : 1;
        ++pos;
        int offsetHours = 0, offsetMinutes = 0;
        if (!readDigits(text, pos, 2, offsetHours)) return std::nullopt;
        expect(text, pos, ':');
        if (!readDigits(text, pos, 2, offsetMinutes)) return std::nullopt;
        if (offsetHours > 23 || offsetMinutes > 59) return std::nullopt;
        offsetSeconds = sign * (offsetHours * 3600 + offsetMinutes * 60);
    } else {
        return std::nullopt;
    }
    if (pos != text.size()) return std::nullopt;

    // Four-digit years keep every sum here far inside 64 bits; only the clock's own range
    // needs checking: a few centuries around 1970 where it counts nanoseconds (libstdc++),
    // far more where it counts microseconds (libc++).
    std::int64_t total =
        static_cast<std::int64_t>(chrono::sys_days(ymd).time_since_epoch().count()) * 86400 +
        hour * 3600 + minute * 60 + second - offsetSeconds;
    using Clock = chrono::system_clock;
    const std::int64_t limit =
        chrono::duration_cast<chrono::seconds>(Clock::duration::max()).count() - 1;
    if (total > limit || total < -limit) return std::nullopt;
    return Clock::time_point(
        chrono::duration_cast<Clock::duration>(chrono::seconds(total)) +
        chrono::duration_cast<Clock::duration>(chrono::nanoseconds(nanoseconds)));
}

std::optional<UpdateStamp> UpdateDisk::load(std::string_view path) {
    // A named pipe or device in the stamp's place is as good as no stamp: refused at
    // once, never waited on, and replaced by the next save.
    std::optional<RegularFile> file;
    try {
        file = readRegularFile(path, kMaxStampBytes + 1);
    } catch (const HalywardError&) {
        return std::nullopt;
    }
    if (!file || file->bytes.size() > kMaxStampBytes) return std::nullopt;
    const std::string& bytes = file->bytes;

    std::optional<JSONObject> object;
    try {
        object = JSONValue::parse(bytes).objectValue();
    } catch (const std::exception&) {
        return std::nullopt;
    }
    if (!object) return std::nullopt;

    auto at = object->find("lastAttemptAt");
    if (at == object->end()) return std::nullopt;
    std::optional<std::string> atText = at->second.stringValue();
    if (!atText) return std::nullopt;
    std::optional<chrono::system_clock::time_point> when = parseDate(*atText);
    if (!when) return std::nullopt;

    UpdateStamp stamp;
    stamp.lastAttemptAt = *when;
    if (!optionalString(*object, "latestVersion", stamp.latestVersion) ||
        !optionalString(*object, "downloadURL", stamp.downloadURL)) {
        return std::nullopt;
    }
    return stamp;
}

void UpdateDisk::save(const UpdateStamp& stamp, std::string_view path) {
    // Members in key order: downloadURL, lastAttemptAt, latestVersion.
    std::string out = "{\n";
    if (stamp.downloadURL) appendMember(out, "downloadURL", *stamp.downloadURL, false);
    appendMember(out, "lastAttemptAt", formatDate(stamp.lastAttemptAt), !stamp.latestVersion);
    if (stamp.latestVersion) appendMember(out, "latestVersion", *stamp.latestVersion, true);
    out += "}\n";
    AtomicFile::write(std::string_view(out), path, 0644);
}

}  // namespace halyward
