#include "halyward/base/json.hpp"

#include "halyward/base/error.hpp"
#include "halyward/base/number_text.hpp"
#include "halyward/text/text.hpp"

#include <boost/json/basic_parser_impl.hpp>

#include <cmath>

namespace halyward {

namespace {

constexpr double kTwoTo63 = 9223372036854775808.0;

bool isWholeInt64(double value) {
    return std::isfinite(value) && std::trunc(value) == value && value > -kTwoTo63 - 1 &&
           std::fabs(value) < kTwoTo63;
}

// Builds a JSONValue straight from Boost.JSON's push parser. Numbers are converted from
// their own text by the core's number reader: Boost.JSON 1.81's fast double conversion can
// be one unit in the last place off, and a value we wrote must read back as the same double.
class ValueBuilder {
public:
    static constexpr std::size_t max_object_size = std::size_t(-1);
    static constexpr std::size_t max_array_size = std::size_t(-1);
    static constexpr std::size_t max_key_size = std::size_t(-1);
    static constexpr std::size_t max_string_size = std::size_t(-1);

    bool on_document_begin(boost::system::error_code&) { return true; }
    bool on_document_end(boost::system::error_code&) { return true; }
    bool on_object_begin(boost::system::error_code&) {
        stack_.push_back(Frame{false, {}, {}, {}});
        return true;
    }
    bool on_object_end(std::size_t, boost::system::error_code&) { return close(); }
    bool on_array_begin(boost::system::error_code&) {
        stack_.push_back(Frame{true, {}, {}, {}});
        return true;
    }
    bool on_array_end(std::size_t, boost::system::error_code&) { return close(); }
    bool on_key_part(boost::json::string_view s, std::size_t, boost::system::error_code&) {
        partial_.append(s.data(), s.size());
        return true;
    }
    bool on_key(boost::json::string_view s, std::size_t, boost::system::error_code&) {
        partial_.append(s.data(), s.size());
        stack_.back().key = std::move(partial_);
        partial_.clear();
        return true;
    }
    bool on_string_part(boost::json::string_view s, std::size_t, boost::system::error_code&) {
        partial_.append(s.data(), s.size());
        return true;
    }
    bool on_string(boost::json::string_view s, std::size_t, boost::system::error_code&) {
        partial_.append(s.data(), s.size());
        std::string value = std::move(partial_);
        partial_.clear();
        return add(JSONValue(std::move(value)));
    }
    bool on_number_part(boost::json::string_view s, boost::system::error_code&) {
        partial_.append(s.data(), s.size());
        return true;
    }
    bool on_int64(std::int64_t v, boost::json::string_view, boost::system::error_code&) {
        partial_.clear();
        return add(JSONValue(v));
    }
    bool on_uint64(std::uint64_t, boost::json::string_view s, boost::system::error_code& ec) {
        return on_double(0, s, ec);  // above INT64_MAX: a number all the same
    }
    bool on_double(double fallback, boost::json::string_view s, boost::system::error_code&) {
        partial_.append(s.data(), s.size());
        const double value = readDouble(partial_, DoubleNotation::shortest).value_or(fallback);
        partial_.clear();
        return add(JSONValue(value));
    }
    bool on_bool(bool v, boost::system::error_code&) { return add(JSONValue(v)); }
    bool on_null(boost::system::error_code&) { return add(JSONValue()); }
    bool on_comment_part(boost::json::string_view, boost::system::error_code&) { return true; }
    bool on_comment(boost::json::string_view, boost::system::error_code&) { return true; }

    JSONValue take() { return std::move(result_); }

private:
    struct Frame {
        bool isArray;
        std::string key;
        JSONArray elements;
        JSONObject members;
    };

    bool add(JSONValue value) {
        if (stack_.empty()) {
            result_ = std::move(value);
            return true;
        }
        Frame& top = stack_.back();
        if (top.isArray) {
            top.elements.push_back(std::move(value));
        } else {
            // A repeated key keeps its last value, as most JSON readers do.
            top.members.insert_or_assign(std::move(top.key), std::move(value));
        }
        return true;
    }

    bool close() {
        Frame frame = std::move(stack_.back());
        stack_.pop_back();
        if (frame.isArray) return add(JSONValue(std::move(frame.elements)));
        return add(JSONValue(std::move(frame.members)));
    }

    std::vector<Frame> stack_;
    std::string partial_;
    JSONValue result_;
};

}  // namespace

std::optional<JSONObject> JSONValue::objectValue() const {
    if (const auto* p = std::get_if<JSONObject>(&storage_)) return *p;
    return std::nullopt;
}

std::optional<JSONArray> JSONValue::arrayValue() const {
    if (const auto* p = std::get_if<JSONArray>(&storage_)) return *p;
    return std::nullopt;
}

std::optional<std::string> JSONValue::stringValue() const {
    if (const auto* p = std::get_if<std::string>(&storage_)) return *p;
    return std::nullopt;
}

std::optional<bool> JSONValue::boolValue() const {
    if (const auto* p = std::get_if<bool>(&storage_)) return *p;
    return std::nullopt;
}

std::optional<std::int64_t> JSONValue::intValue() const {
    if (const auto* p = std::get_if<std::int64_t>(&storage_)) return *p;
    if (const auto* d = std::get_if<double>(&storage_)) {
        if (isWholeInt64(*d)) return static_cast<std::int64_t>(*d);
    }
    return std::nullopt;
}

std::optional<double> JSONValue::doubleValue() const {
    if (const auto* p = std::get_if<double>(&storage_)) return *p;
    return std::nullopt;
}

void JSONValue::write(std::string& into) const {
    switch (kind()) {
        case Kind::boolean: into += std::get<bool>(storage_) ? "true" : "false"; break;
        case Kind::integer: appendInteger(into, std::get<std::int64_t>(storage_)); break;
        case Kind::number:
            appendDouble(into, std::get<double>(storage_), DoubleNotation::shortest);
            break;
        case Kind::string:
            detail::appendQuotedJSON(into, std::get<std::string>(storage_),
                                     detail::JSONQuoting::display);
            break;
        case Kind::array: {
            into.push_back('[');
            bool first = true;
            for (const auto& element : std::get<JSONArray>(storage_)) {
                if (!first) into.push_back(',');
                first = false;
                element.write(into);
            }
            into.push_back(']');
            break;
        }
        case Kind::object: {
            into.push_back('{');
            bool first = true;
            for (const auto& [key, value] : std::get<JSONObject>(storage_)) {
                if (!first) into.push_back(',');
                first = false;
                detail::appendQuotedJSON(into, key, detail::JSONQuoting::display);
                into.push_back(':');
                value.write(into);
            }
            into.push_back('}');
            break;
        }
        case Kind::null: into += "null"; break;
    }
}

std::string JSONValue::canonicalString() const {
    std::string out;
    write(out);
    return out;
}

std::vector<std::uint8_t> JSONValue::canonicalData() const {
    std::string text = canonicalString();
    return {text.begin(), text.end()};
}

JSONValue JSONValue::parse(std::string_view text) {
    boost::json::parse_options options;
    options.max_depth = 512;
    boost::json::basic_parser<ValueBuilder> parser(options);
    boost::system::error_code ec;
    std::size_t used = parser.write_some(false, text.data(), text.size(), ec);
    if (!ec && used != text.size()) ec = boost::json::error::extra_data;
    if (ec) throw HalywardError::failed("The JSON text could not be read: " + ec.message() + ".");
    return parser.handler().take();
}

void detail::appendQuotedJSON(std::string& out, std::string_view s, JSONQuoting quoting) {
    static constexpr char kHex[] = "0123456789abcdef";
    const bool wire = quoting == JSONQuoting::wire;
    out.push_back('"');
    std::size_t pos = 0;
    while (pos < s.size()) {
        unsigned char c = static_cast<unsigned char>(s[pos]);
        if (c >= 0x80) {
            text::Scalar scalar = text::decodeAt(s, pos);
            if (scalar.length == 1) {
                out += "\xEF\xBF\xBD";  // U+FFFD for a byte that is not UTF-8
            } else {
                out.append(s.substr(pos, scalar.length));
            }
            pos += scalar.length;
            continue;
        }
        switch (c) {
            case '"': out += "\\\""; break;
            case '\\': out += "\\\\"; break;
            case '\n': out += "\\n"; break;
            case '\r': out += "\\r"; break;
            case '\t': out += "\\t"; break;
            case '/': out += wire ? "\\/" : "/"; break;
            case '\b': out += wire ? "\\b" : "\\u0008"; break;
            case '\f': out += wire ? "\\f" : "\\u000c"; break;
            default:
                if (c < 0x20) {
                    out += "\\u00";
                    out.push_back(kHex[c >> 4]);
                    out.push_back(kHex[c & 0xF]);
                } else {
                    out.push_back(static_cast<char>(c));
                }
        }
        ++pos;
    }
    out.push_back('"');
}

std::string quoteJSON(std::string_view s) {
    std::string out;
    out.reserve(s.size() + 2);
    detail::appendQuotedJSON(out, s, detail::JSONQuoting::display);
    return out;
}

}  // namespace halyward
