#pragma once
/// The library's JSON value and its compact, deterministic writer. Every JSON text the
/// library prints goes through `JSONValue::write` so that the same result always prints
/// the same bytes: no blanks, object members sorted by key.

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace halyward {

class JSONValue;
using JSONArray = std::vector<JSONValue>;
/// Object members; std::map keeps keys in byte order, which for UTF-8 is code-point order.
using JSONObject = std::map<std::string, JSONValue>;

class JSONValue {
public:
    enum class Kind { boolean, integer, number, string, array, object, null };

    /// null
    JSONValue() = default;
    JSONValue(std::nullptr_t) {}
    JSONValue(bool value) : storage_(value) {}
    JSONValue(int value) : storage_(static_cast<std::int64_t>(value)) {}
    JSONValue(std::int64_t value) : storage_(value) {}
    JSONValue(double value) : storage_(value) {}
    JSONValue(const char* value) : storage_(std::string(value)) {}
    JSONValue(std::string value) : storage_(std::move(value)) {}
    JSONValue(std::string_view value) : storage_(std::string(value)) {}
    JSONValue(JSONArray value) : storage_(std::move(value)) {}
    JSONValue(JSONObject value) : storage_(std::move(value)) {}

    static JSONValue boolean(bool value) { return JSONValue(value); }
    static JSONValue integer(std::int64_t value) { return JSONValue(value); }
    static JSONValue number(double value) { return JSONValue(value); }
    static JSONValue string(std::string value) { return JSONValue(std::move(value)); }
    static JSONValue array(JSONArray value) { return JSONValue(std::move(value)); }
    static JSONValue object(JSONObject value) { return JSONValue(std::move(value)); }
    static JSONValue null() { return JSONValue(); }

    Kind kind() const { return static_cast<Kind>(storage_.index()); }
    bool isNull() const { return kind() == Kind::null; }

    /// The members, for an object only.
    std::optional<JSONObject> objectValue() const;
    /// The elements, for an array only.
    std::optional<JSONArray> arrayValue() const;
    std::optional<std::string> stringValue() const;
    std::optional<bool> boolValue() const;
    /// For an int; also for a finite double without fraction inside the 64-bit range.
    std::optional<std::int64_t> intValue() const;
    /// For a double only.
    std::optional<double> doubleValue() const;

    /// Appends the compact JSON text of this value.
    void write(std::string& into) const;
    std::string canonicalString() const;
    std::vector<std::uint8_t> canonicalData() const;

    /// Reads standard JSON text (through Boost.JSON) into a value. Integers that fit in 64
    /// signed bits stay ints; every other number is a double. Throws
    /// HalywardError::failed when the text is not JSON.
    static JSONValue parse(std::string_view text);

    /// Same case and equal contents; an int never equals a double.
    bool operator==(const JSONValue& other) const { return storage_ == other.storage_; }

private:
    std::variant<bool, std::int64_t, double, std::string, JSONArray, JSONObject, std::monostate>
        storage_{std::monostate{}};
};

/// The string as a JSON string literal, quotes included. Invalid UTF-8 bytes are written
/// as U+FFFD so the result is always valid JSON.
std::string quoteJSON(std::string_view text);

namespace detail {
/// `display` is quoteJSON's form, the one users read. `wire` adds the escapes that the
/// platforms' standard JSON encoders write ("\/", "\b", "\f"), so either end of the
/// control protocol may be built on such an encoder.
enum class JSONQuoting { display, wire };
void appendQuotedJSON(std::string& out, std::string_view text, JSONQuoting quoting);
}  // namespace detail

}  // namespace halyward
