#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "halyward/base/error.hpp"
#include "halyward/base/number_text.hpp"
#include "halyward/text/text.hpp"
#include "halyward/toml/characters.hpp"
#include "halyward/toml/document.hpp"

namespace halyward {

namespace {

constexpr std::size_t npos = std::string_view::npos;

bool isASCIIDigit(unsigned char byte) { return byte >= '0' && byte <= '9'; }

bool isASCIIKeyByte(unsigned char byte) {
    return byte == '_' || byte == '-' || (byte < 0x80 && !detail::isASCIIPunctuation(byte));
}

// Bytes that end the plain run of a basic string; everything else is copied as it stands.
constexpr std::array<bool, 256> basicStops = [] {
    std::array<bool, 256> table{};
    table['"'] = table['\\'] = table['\n'] = true;
    return table;
}();
constexpr std::array<bool, 256> multilineStops = [] {
    std::array<bool, 256> table{};
    table['"'] = table['\\'] = true;
    return table;
}();

// One pass over LF-only text. The line number is not tracked while reading: every line
// break the grammar passes over is consumed (and counts), so the line of a failure is one
// more than the line breaks before the failing position, counted once when it happens.
class Parser {
public:
    // With `places`, also notes every place the document keeps less than the text says.
    explicit Parser(std::string_view text, std::vector<TOMLLossyPlace>* places = nullptr)
        : text_(text), places_(places) {}

    TOMLDocument run() {
        TOMLDocument document;
        nodes_ = &document.nodes;
        for (;;) {
            const std::size_t lineStart = pos_;
            skipBlanks();
            if (atEnd()) {
                addPending(lineStart, pos_);
                flush();
                break;
            }
            const char current = text_[pos_];
            if (current == '\n') {
                ++pos_;
                addPending(lineStart, pos_);
                continue;
            }
            if (current == '#') {
                const std::size_t lineEnd = text_.find('\n', pos_);
                pos_ = lineEnd == npos ? text_.size() : lineEnd + 1;
                addPending(lineStart, pos_);
                continue;
            }
            flush();
            if (current == '[') {
                header();
            } else {
                assignment();
            }
        }
        return document;
    }

private:
    [[noreturn]] void fail(std::string_view message) const {
        const auto breaks =
            std::count(text_.begin(), text_.begin() + static_cast<std::ptrdiff_t>(pos_), '\n');
        std::string line = "Config line " + std::to_string(breaks + 1) + ": ";
        line += message;
        throw HalywardError::config(std::move(line));
    }

    // The line of `position`. Places are noted in the order of the text, so counting on
    // from the last place keeps noting them linear in the size of the text.
    std::int64_t lineOf(std::size_t position) {
        const auto at = [this](std::size_t index) {
            return text_.begin() + static_cast<std::ptrdiff_t>(index);
        };
        if (position >= countedTo_) {
            countedLines_ += std::count(at(countedTo_), at(position), '\n');
        } else {
            countedLines_ -= std::count(at(position), at(countedTo_), '\n');
        }
        countedTo_ = position;
        return countedLines_ + 1;
    }

    void note(TOMLLossyPlace place, std::size_t position) {
        place.line = lineOf(position);
        places_->push_back(std::move(place));
    }

    bool atEnd() const { return pos_ >= text_.size(); }
    // Only for ASCII punctuation, which always forms a character of its own.
    bool at(char punctuation) const { return pos_ < text_.size() && text_[pos_] == punctuation; }
    unsigned char byteAt(std::size_t index) const {
        return static_cast<unsigned char>(text_[index]);
    }

    void skipBlanks() {
        while (pos_ < text_.size() && (text_[pos_] == ' ' || text_[pos_] == '\t')) ++pos_;
    }

    // Blanks, line breaks and comments between the parts of an array or inline table.
    void skipTrivia() {
        while (pos_ < text_.size()) {
            const char current = text_[pos_];
            if (current == ' ' || current == '\t' || current == '\n') {
                ++pos_;
            } else if (current == '#') {
                const std::size_t lineEnd = text_.find('\n', pos_);
                const std::size_t end = lineEnd == npos ? text_.size() : lineEnd;
                if (places_) {
                    TOMLLossyPlace place;
                    place.kind = TOMLLossyPlace::Kind::comment;
                    place.written = text::trimBlanks(text_.substr(pos_, end - pos_));
                    place.statementKey = statementKey_;
                    place.statementLine = statementLine_;
                    note(std::move(place), pos_);
                }
                pos_ = end;
            } else {
                break;
            }
        }
    }

    // Blank and comment lines arrive as adjacent stretches of the text, so the pending run
    // is kept as one range and copied once when it is flushed.
    void addPending(std::size_t begin, std::size_t end) {
        if (pendingBegin_ == npos) pendingBegin_ = begin;
        pendingEnd_ = end;
    }

    void flush() {
        if (pendingBegin_ != npos && pendingEnd_ > pendingBegin_) {
            nodes_->push_back(TOMLNode::raw(
                std::string(text_.substr(pendingBegin_, pendingEnd_ - pendingBegin_))));
        }
        pendingBegin_ = npos;
    }

    void header() {
        ++pos_;
        if (at('[')) fail("Halyward's config does not use array tables.");
        TOMLPath path = keyPath();
        if (!at(']')) fail("A table header is missing ].");
        ++pos_;
        std::string trailing = trailingComment();
        table_ = path;
        nodes_->push_back(TOMLNode::header(std::move(path), std::move(trailing)));
    }

    void assignment() {
        const std::size_t start = pos_;
        // Counted before the key, whose escapes are noted as it is read.
        const std::int64_t startLine = places_ ? lineOf(start) : 0;
        // Nearly every key is a single part, so the dotted parts only get a list of their
        // own when there are any.
        std::string name = key();
        TOMLPath dotted;
        for (;;) {
            skipBlanks();
            if (!at('.')) break;
            ++pos_;
            skipBlanks();
            dotted.push_back(std::move(name));
            name = key();
        }
        if (!at('=')) {
            std::string message = "Expected = after ";
            for (const auto& part : dotted) {
                message += part;
                message += '.';
            }
            message += name;
            message += '.';
            fail(message);
        }
        if (places_) {
            // The renderer writes a key node as its last part alone, under whatever table
            // header comes before it.
            if (!dotted.empty()) {
                TOMLLossyPlace place;
                place.kind = TOMLLossyPlace::Kind::dottedKey;
                place.written = text::trimBlanks(text_.substr(start, pos_ - start));
                place.table = table_;
                place.table.insert(place.table.end(), dotted.begin(), dotted.end());
                place.key = name;
                place.line = startLine;
                places_->push_back(std::move(place));
            }
            statementKey_ = name;
            statementLine_ = startLine;
        }
        ++pos_;
        skipBlanks();
        TOMLValue value = readValue(0);
        std::string trailing = trailingComment();
        TOMLPath table;
        table.reserve(table_.size() + dotted.size());
        table.insert(table.end(), table_.begin(), table_.end());
        for (auto& part : dotted) table.push_back(std::move(part));
        nodes_->push_back(TOMLNode::key(std::move(table), std::move(name), std::move(value),
                                        std::move(trailing)));
    }

    // After a header or value: an optional comment, then the line break. Anything else on
    // the line is left for the next statement.
    std::string trailingComment() {
        skipBlanks();
        std::string comment;
        if (at('#')) {
            std::size_t lineEnd = text_.find('\n', pos_);
            if (lineEnd == npos) lineEnd = text_.size();
            comment = text::trimBlanks(text_.substr(pos_, lineEnd - pos_));
            pos_ = lineEnd;
        }
        if (at('\n')) ++pos_;
        return comment;
    }

    TOMLPath keyPath() {
        TOMLPath parts;
        parts.push_back(key());
        for (;;) {
            skipBlanks();
            if (!at('.')) break;
            ++pos_;
            skipBlanks();
            parts.push_back(key());
        }
        return parts;
    }

    std::string key() {
        if (at('"')) return basicString();
        const std::size_t start = pos_;
        while (pos_ < text_.size()) {
            const unsigned char byte = byteAt(pos_);
            const bool nextIsASCII = pos_ + 1 >= text_.size() || byteAt(pos_ + 1) < 0x80;
            if (byte < 0x80 && nextIsASCII) {
                if (!isASCIIKeyByte(byte)) break;
                ++pos_;
                continue;
            }
            if (!detail::isKeyCharacter(text_, pos_)) break;
            pos_ = detail::characterEnd(text_, pos_);
        }
        if (pos_ == start) fail("Expected a key.");
        return std::string(text_.substr(start, pos_ - start));
    }

    // True when the current character is exactly the ASCII letter `letter` (no combining
    // mark attached to it).
    bool atLetter(char letter) const {
        return at(letter) && detail::characterEnd(text_, pos_) == pos_ + 1;
    }

    bool continuesWithWord(std::string_view word) const {
        return text_.substr(pos_, word.size()) == word &&
               detail::characterEnd(text_, pos_ + word.size() - 1) == pos_ + word.size();
    }

    TOMLValue readValue(int depth) {
        if (atEnd()) fail("Expected a value.");
        const unsigned char byte = byteAt(pos_);
        if (byte == '"') {
            if (text_.compare(pos_, 3, R"(""")") == 0) return TOMLValue::string(multilineString());
            return TOMLValue::string(basicString());
        }
        if (byte == '[') return array(depth + 1);
        if (byte == '{') return inlineTable(depth + 1);
        if (atLetter('t') || atLetter('f')) {
            if (continuesWithWord("true")) {
                pos_ += 4;
                return TOMLValue::boolean(true);
            }
            if (continuesWithWord("false")) {
                pos_ += 5;
                return TOMLValue::boolean(false);
            }
            fail("Expected true or false.");
        }
        if (byte == '-' || atNumeric()) return number();
        fail("Unsupported value.");
    }

    bool atNumeric() const {
        if (atEnd()) return false;
        const unsigned char byte = byteAt(pos_);
        if (byte < 0x80 && (pos_ + 1 >= text_.size() || byteAt(pos_ + 1) < 0x80))
            return isASCIIDigit(byte);
        return detail::isNumericCharacter(text_, pos_);
    }

    void skipNumericRun() {
        while (atNumeric()) {
            if (isASCIIDigit(byteAt(pos_)) &&
                (pos_ + 1 >= text_.size() || byteAt(pos_ + 1) < 0x80)) {
                ++pos_;
            } else {
                pos_ = detail::characterEnd(text_, pos_);
            }
        }
    }

    TOMLValue number() {
        const std::size_t start = pos_;
        if (at('-')) ++pos_;
        skipNumericRun();
        bool fraction = false;
        if (at('.')) {
            fraction = true;
            ++pos_;
            skipNumericRun();
        }
        const std::string_view written = text_.substr(start, pos_ - start);
        const char* first = written.data();
        const char* last = first + written.size();
        if (fraction) {
            // Too small to represent reads as zero, the nearest double. Too large is an
            // error, because infinity could never be written back.
            const auto value = readDouble(written, DoubleNotation::plain);
            if (value && std::isfinite(*value)) return TOMLValue::number(*value);
        } else {
            std::int64_t value = 0;
            const auto result = std::from_chars(first, last, value);
            if (result.ptr == last && result.ec == std::errc()) return TOMLValue::integer(value);
        }
        std::string message = "\u201C";
        message += written;
        message += "\u201D is not a number.";
        fail(message);
    }

    // The letter of an escape is read on its own even when a combining mark follows it:
    // "\t" and then U+0301 is a tab and a mark, as every other TOML reader sees it, and as
    // the renderer needs it to be when a value holds a tab followed by a mark.
    void escape(std::string& into) {
        const std::size_t backslash = pos_;
        ++pos_;
        if (atEnd()) fail("A string ends in a backslash.");
        const std::size_t end = byteAt(pos_) < 0x80 ? pos_ + 1 : detail::characterEnd(text_, pos_);
        if (places_) noteEscape(backslash, end);
        if (end == pos_ + 1) {
            switch (text_[pos_]) {
                case 'n': into += '\n'; break;
                case 't': into += '\t'; break;
                case 'r': into += '\r'; break;
                default: into += text_[pos_]; break;
            }
        } else {
            into.append(text_.substr(pos_, end - pos_));
        }
        pos_ = end;
    }

    // Notes an escape this reader does not give its TOML meaning: everything but \n, \t,
    // \r, \\ and \". `end` is where the character after the backslash ends.
    void noteEscape(std::size_t backslash, std::size_t end) {
        const char letter = end == backslash + 2 ? text_[backslash + 1] : '\0';
        if (letter == 'n' || letter == 't' || letter == 'r' || letter == '\\' || letter == '"')
            return;
        TOMLLossyPlace place;
        std::size_t blanksEnd = backslash + 1;
        while (blanksEnd < text_.size() && (text_[blanksEnd] == ' ' || text_[blanksEnd] == '\t'))
            ++blanksEnd;
        if (blanksEnd < text_.size() && text_[blanksEnd] == '\n') {
            place.kind = TOMLLossyPlace::Kind::lineContinuation;
            place.written = "\\";
            return note(std::move(place), backslash);
        }
        place.kind = TOMLLossyPlace::Kind::escape;
        // \uXXXX and \UXXXXXXXX name a character, as \xXX does in newer TOML; the rest
        // stand for control characters or for nothing.
        const std::size_t digits = letter == 'u' ? 4 : letter == 'U' ? 8 : letter == 'x' ? 2 : 0;
        std::size_t stop = end;
        char32_t value = 0;
        while (stop < end + digits && stop < text_.size() &&
               std::isxdigit(static_cast<unsigned char>(text_[stop]))) {
            const char digit = text_[stop];
            value = value * 16 + static_cast<char32_t>(digit <= '9'   ? digit - '0'
                                                       : digit <= 'F' ? digit - 'A' + 10
                                                                      : digit - 'a' + 10);
            ++stop;
        }
        place.written = text_.substr(backslash, stop - backslash);
        const bool named = digits > 0 && stop == end + digits;
        const bool writable = value >= 0x20 && value != 0x7F && !(value >= 0x80 && value <= 0x9F) &&
                              !(value >= 0xD800 && value <= 0xDFFF) && value <= 0x10FFFF;
        if (named && writable) text::appendUTF8(place.meaning, value);
        note(std::move(place), backslash);
    }

    // Quotes, backslashes and line breaks are ASCII punctuation and so always characters
    // of their own: the plain run between them can be copied byte by byte.
    std::string basicString() {
        ++pos_;
        std::string value;
        for (;;) {
            std::size_t stop = pos_;
            while (stop < text_.size() && !basicStops[byteAt(stop)]) ++stop;
            value.append(text_.substr(pos_, stop - pos_));
            pos_ = stop;
            if (atEnd() || text_[pos_] == '\n') fail("A string is missing its closing quote.");
            if (text_[pos_] == '"') {
                ++pos_;
                return value;
            }
            escape(value);
        }
    }

    std::string multilineString() {
        pos_ += 3;
        if (at('\n')) ++pos_;
        std::string value;
        for (;;) {
            std::size_t stop = pos_;
            while (stop < text_.size() && !multilineStops[byteAt(stop)]) ++stop;
            value.append(text_.substr(pos_, stop - pos_));
            pos_ = stop;
            if (atEnd()) fail("A multiline string is missing its closing quotes.");
            if (text_[pos_] == '"') {
                if (text_.compare(pos_, 3, R"(""")") == 0) {
                    pos_ += 3;
                    return value;
                }
                value += '"';
                ++pos_;
            } else {
                escape(value);
            }
        }
    }

    void checkNesting(int depth) const {
        if (depth > TOMLParser::maxNesting) {
            fail("Arrays and inline tables are nested more than " +
                 std::to_string(TOMLParser::maxNesting) + " levels deep.");
        }
    }

    TOMLValue array(int depth) {
        checkNesting(depth);
        ++pos_;
        skipTrivia();
        TOMLArray elements;
        for (;;) {
            if (at(']')) break;
            elements.push_back(readValue(depth));
            skipTrivia();
            if (at(',')) {
                ++pos_;
                skipTrivia();
                continue;
            }
            if (at(']')) break;
            fail("An array is missing ] .");
        }
        ++pos_;
        return TOMLValue::array(std::move(elements));
    }

    TOMLValue inlineTable(int depth) {
        checkNesting(depth);
        ++pos_;
        skipTrivia();
        TOMLTable entries;
        for (;;) {
            if (at('}')) break;
            std::string name = key();
            skipBlanks();
            if (!at('=')) fail("Expected = in an inline table.");
            ++pos_;
            skipBlanks();
            TOMLValue value = readValue(depth);
            entries.emplace_back(std::move(name), std::move(value));
            skipTrivia();
            if (at(',')) {
                ++pos_;
                skipTrivia();
                continue;
            }
            if (at('}')) break;
            fail("An inline table is missing } .");
        }
        ++pos_;
        return TOMLValue::table(std::move(entries));
    }

    std::string_view text_;
    std::size_t pos_ = 0;
    TOMLPath table_;
    std::vector<TOMLNode>* nodes_ = nullptr;
    std::vector<TOMLLossyPlace>* places_ = nullptr;
    std::size_t countedTo_ = 0;
    std::int64_t countedLines_ = 0;
    std::string statementKey_;
    std::int64_t statementLine_ = 0;
    std::size_t pendingBegin_ = npos;
    std::size_t pendingEnd_ = 0;
};

// Line breaks are read as LF alone; CR LF and a lone CR become LF first.
std::string normalisedLineBreaks(std::string_view text) {
    std::string normalised;
    normalised.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\r') {
            normalised += text[i];
            continue;
        }
        normalised += '\n';
        if (i + 1 < text.size() && text[i + 1] == '\n') ++i;
    }
    return normalised;
}

}  // namespace

TOMLDocument TOMLParser::parse(std::string_view text) {
    if (text.find('\r') == npos) return Parser(text).run();
    return Parser(normalisedLineBreaks(text)).run();
}

std::vector<TOMLLossyPlace> TOMLParser::lossyPlaces(std::string_view text) {
    std::vector<TOMLLossyPlace> places;
    if (text.find('\r') == npos) {
        Parser(text, &places).run();
    } else {
        Parser(normalisedLineBreaks(text), &places).run();
    }
    // A dotted key is only known to be one after its parts, whose escapes come first.
    std::stable_sort(
        places.begin(), places.end(),
        [](const TOMLLossyPlace& a, const TOMLLossyPlace& b) { return a.line < b.line; });
    return places;
}

}  // namespace halyward
