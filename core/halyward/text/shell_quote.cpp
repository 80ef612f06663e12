#include "halyward/text/shell_quote.hpp"

#include "halyward/text/text.hpp"

namespace halyward::ShellQuote {

namespace {

bool isQuoteOrBackslash(char32_t scalar) {
    return scalar == '\'' || scalar == '"' || scalar == '\\';
}

// The byte offset just past the character that starts at `pos`. Characters are grapheme
// clusters, with one exception: quotes and backslashes are syntax and always stand alone,
// as they do for a real shell. Otherwise a combining mark after a quote ("'\u0301") or a
// prepended mark before one would glue the quote to its neighbour, and a quoted argument
// that starts with a combining mark would not split back into itself. For the same reason
// a cluster is cut before white space that is not its first scalar.
std::size_t characterEnd(std::string_view text, std::size_t pos) {
    const text::Scalar first = text::decodeAt(text, pos);
    if (isQuoteOrBackslash(first.value)) return pos + first.length;
    const std::size_t clusterEnd = text::nextGrapheme(text, pos);
    const bool startsWithSpace = text::isWhitespace(first.value);
    for (std::size_t at = pos + first.length; at < clusterEnd;) {
        const text::Scalar scalar = text::decodeAt(text, at);
        if (isQuoteOrBackslash(scalar.value) ||
            (!startsWithSpace && text::isWhitespace(scalar.value))) {
            return at;
        }
        at += scalar.length;
    }
    return clusterEnd;
}

}  // namespace

std::string single(std::string_view text) {
    std::string quoted;
    quoted.reserve(text.size() + 2);
    quoted.push_back('\'');
    for (char c : text) {
        if (c == '\'') {
            quoted.append("'\"'\"'");
        } else {
            quoted.push_back(c);
        }
    }
    quoted.push_back('\'');
    return quoted;
}

std::string command(const std::vector<std::string>& argv) {
    std::string line;
    for (const std::string& argument : argv) {
        if (!line.empty()) line.push_back(' ');
        line.append(single(argument));
    }
    return line;
}

std::string launchScript(std::string_view directory, const std::vector<std::string>& argv) {
    // "cd --" keeps a folder whose name starts with "-" from being read as an option, and
    // exec leaves no shell process waiting behind the command.
    std::string script = "#!/bin/sh\ncd -- ";
    script.append(single(directory));
    script.append(" || exit 1\nexec ");
    script.append(command(argv));
    return script;
}

std::vector<std::string> split(std::string_view text) {
    std::vector<std::string> arguments;
    std::string current;
    char openQuote = 0;
    bool escaped = false;
    for (std::size_t pos = 0; pos < text.size();) {
        const std::size_t end = characterEnd(text, pos);
        const std::string_view character = text.substr(pos, end - pos);
        pos = end;
        const char ascii = character.size() == 1 ? character[0] : '\0';

        if (escaped) {
            current.append(character);
            escaped = false;
        } else if (openQuote == 0) {
            if (ascii == '\\') {
                escaped = true;
            } else if (ascii == '\'' || ascii == '"') {
                openQuote = ascii;
            } else if (text::isWhitespaceCharacter(character)) {
                if (!current.empty()) arguments.push_back(std::move(current));
                current.clear();
            } else {
                current.append(character);
            }
        } else if (ascii == '\\' && openQuote == '"') {
            escaped = true;
        } else if (ascii == openQuote) {
            openQuote = 0;
        } else {
            current.append(character);
        }
    }
    if (!current.empty()) arguments.push_back(std::move(current));
    return arguments;
}

}  // namespace halyward::ShellQuote
