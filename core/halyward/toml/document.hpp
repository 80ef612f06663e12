#pragma once
/// The comment-preserving TOML document of config.toml: values, nodes (one per statement
/// or per run of blank and comment lines), read-side queries and in-place edits.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace halyward {

/// A table path such as {"apps", "notes"}; the root table is the empty path.
using TOMLPath = std::vector<std::string>;

class TOMLValue;
using TOMLArray = std::vector<TOMLValue>;
/// An inline table: entries in written order; a repeated key is kept twice.
using TOMLTable = std::vector<std::pair<std::string, TOMLValue>>;

/// One TOML value: string, bool, int, double, array or inline table.
class TOMLValue {
public:
    enum class Kind { string, boolean, integer, number, array, table };

    static TOMLValue string(std::string value) { return TOMLValue(Storage(std::move(value))); }
    static TOMLValue boolean(bool value) { return TOMLValue(Storage(value)); }
    static TOMLValue integer(std::int64_t value) { return TOMLValue(Storage(value)); }
    static TOMLValue number(double value) { return TOMLValue(Storage(value)); }
    static TOMLValue array(TOMLArray value) { return TOMLValue(Storage(std::move(value))); }
    static TOMLValue table(TOMLTable value) { return TOMLValue(Storage(std::move(value))); }

    Kind kind() const { return static_cast<Kind>(storage_.index()); }

    /// The payload of the matching case, or null for any other case.
    const std::string* stringValue() const { return std::get_if<std::string>(&storage_); }
    const bool* boolValue() const { return std::get_if<bool>(&storage_); }
    const double* doubleValue() const { return std::get_if<double>(&storage_); }
    const TOMLArray* arrayValue() const { return std::get_if<TOMLArray>(&storage_); }
    const TOMLTable* tableValue() const { return std::get_if<TOMLTable>(&storage_); }

    /// An int's payload; a whole double converted to an integer; otherwise empty. A whole
    /// double outside the signed 64-bit range (and NaN or infinity) is also empty: a value
    /// typed into the file must never bring the program down.
    std::optional<std::int64_t> intValue() const;

    bool operator==(const TOMLValue& other) const { return storage_ == other.storage_; }

private:
    using Storage = std::variant<std::string, bool, std::int64_t, double, TOMLArray, TOMLTable>;
    explicit TOMLValue(Storage storage) : storage_(std::move(storage)) {}
    Storage storage_;
};

/// Exact text of one or more consecutive blank and whole-line comment lines.
struct TOMLRaw {
    std::string text;
    bool operator==(const TOMLRaw&) const = default;
};

/// A table header line `[a.b]` with its same-line comment (from `#`, trimmed) or "".
struct TOMLHeader {
    TOMLPath path;
    std::string trailing;
    bool operator==(const TOMLHeader&) const = default;
};

/// One assignment: the full path of the table that holds it, the last key part, the
/// value, and the same-line comment or "".
struct TOMLKey {
    TOMLPath table;
    std::string key;
    TOMLValue value;
    std::string trailing;
    bool operator==(const TOMLKey&) const = default;
};

/// One statement of the file, or a run of lines that carry none.
class TOMLNode {
public:
    enum class Kind { raw, header, key };

    static TOMLNode raw(std::string text) { return TOMLNode(TOMLRaw{std::move(text)}); }
    static TOMLNode header(TOMLPath path, std::string trailing) {
        return TOMLNode(TOMLHeader{std::move(path), std::move(trailing)});
    }
    static TOMLNode key(TOMLPath table, std::string key, TOMLValue value, std::string trailing) {
        return TOMLNode(
            TOMLKey{std::move(table), std::move(key), std::move(value), std::move(trailing)});
    }

    Kind kind() const { return static_cast<Kind>(storage_.index()); }
    const TOMLRaw* asRaw() const { return std::get_if<TOMLRaw>(&storage_); }
    const TOMLHeader* asHeader() const { return std::get_if<TOMLHeader>(&storage_); }
    const TOMLKey* asKey() const { return std::get_if<TOMLKey>(&storage_); }
    TOMLKey* asKey() { return std::get_if<TOMLKey>(&storage_); }

    bool operator==(const TOMLNode& other) const { return storage_ == other.storage_; }

private:
    explicit TOMLNode(TOMLRaw v) : storage_(std::move(v)) {}
    explicit TOMLNode(TOMLHeader v) : storage_(std::move(v)) {}
    explicit TOMLNode(TOMLKey v) : storage_(std::move(v)) {}
    std::variant<TOMLRaw, TOMLHeader, TOMLKey> storage_;
};

/// The ordered node list of a file. There is no index beside it: every query walks it.
struct TOMLDocument {
    std::vector<TOMLNode> nodes;

    /// Key/value pairs of the `key` nodes whose table equals `path` exactly, in order.
    std::vector<std::pair<std::string, TOMLValue>> pairs(const TOMLPath& path) const;
    /// Paths of the headers one level below `parent`, in order, once per occurrence.
    std::vector<TOMLPath> headers(const TOMLPath& parent) const;
    /// True when some `key` node of `table` is named `key`.
    bool hasKey(const TOMLPath& table, std::string_view key) const;

    /// Sets `key` in `table`. An existing key keeps its line, place and comment and only
    /// takes the new value (a key written twice in one table gets it on every line, so the
    /// later line, which is the one read, changes too). A new key goes after the table's
    /// last statement, above the blank lines that lead to the next table; a table without
    /// a header is first created at the end of the document.
    void set(const TOMLPath& table, std::string_view key, TOMLValue value);
    /// Sets several keys of one table in a single walk over the document, with the result
    /// a `set` per entry, in order, would give: existing keys change in place (the first
    /// line of a repeated key takes the key's last value), the others are inserted
    /// together, in order, where the first new key would go. Tables of many keys (tile
    /// hotkeys, layouts) would otherwise cost one walk per key.
    void setKeys(const TOMLPath& table, std::vector<std::pair<std::string, TOMLValue>> entries);
    /// Removes every `key` node of `table` named `key`, with its comment; nothing else.
    void remove(const TOMLPath& table, std::string_view key);
    /// Removes, in one walk, every `key` node of `table` whose key `keep` rejects.
    void removeKeysExcept(const TOMLPath& table,
                          const std::function<bool(const std::string& key)>& keep);
    /// Removes the header equal to `path` and every node up to the next header (its keys
    /// and the blank and comment lines below it), for each occurrence of the header. With
    /// no such header, removes the keys assigned into `path` with dotted keys. Tables
    /// nested below `path` have their own headers and stay.
    void removeTable(const TOMLPath& path);
    /// Removes every table one level below `parent` that has a header, as `removeTable`
    /// of each path `headers(parent)` lists would, but in one walk.
    void removeChildTables(const TOMLPath& parent);

    /// Appends `[path]` at the end of the document, after a blank line, unless a header
    /// with this path exists (the root always exists).
    void ensureTable(const TOMLPath& path);

    bool operator==(const TOMLDocument&) const = default;

private:
    // Where a new key of `path` goes: after the table's last statement or comment, before
    // the blank lines that follow it. The node count when the table has no header.
    std::size_t insertionIndex(const TOMLPath& path) const;
    // Steps back from `before` over raw nodes of blank lines only, never below `floor`.
    std::size_t skipBlank(std::size_t before, std::size_t floor) const;
};

namespace TOMLParser {
/// Parses configuration text (CR LF and lone CR are read as LF) in time linear in its
/// size. Throws HalywardError::config("Config line N: …") at the first error; arrays and
/// inline tables nested deeper than `maxNesting` levels are such an error.
TOMLDocument parse(std::string_view text);
inline constexpr int maxNesting = 256;
}  // namespace TOMLParser

/// The document as text: raw nodes unchanged, each statement on a line of its own in
/// normalised form (`key = value # comment`), LF line ends.
std::string renderTOML(const TOMLDocument& document);
/// A key bare when it is made of letters, numbers, "_" and "-" only; otherwise quoted.
std::string renderTOMLKey(std::string_view key);
/// A value as written after `=`: strings holding LF as multi-line strings, whole doubles
/// as integers, other doubles in the shortest plain decimal form that reads back exactly.
std::string renderTOMLValue(const TOMLValue& value);
/// A quoted basic string; backslash, quote, LF, tab and CR are escaped.
std::string renderTOMLString(std::string_view text);

}  // namespace halyward
