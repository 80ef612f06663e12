#pragma once
/// Turning argument lists into POSIX shell command lines and launcher scripts, and typed
/// command lines back into arguments. Pure text functions: none fails or touches the
/// system.

#include <string>
#include <string_view>
#include <vector>

namespace halyward::ShellQuote {

/// One argument in single quotes, each "'" written as '"'"'; the empty text gives ''.
std::string single(std::string_view text);

/// Every argument quoted with `single`, joined with one space; empty for an empty list.
std::string command(const std::vector<std::string>& argv);

/// A two-line /bin/sh script that enters `directory` (stopping with status 1 when it
/// cannot) and replaces itself with the command; no line feed after the second line.
std::string launchScript(std::string_view directory, const std::vector<std::string>& argv);

/// A typed command line broken into non-empty arguments with shell-like quoting: single
/// quotes keep everything, double quotes honour backslash escapes, a backslash outside
/// quotes escapes the next character, and white space separates arguments. Lenient: an
/// unterminated quote runs to the end, a trailing lone backslash is dropped.
std::vector<std::string> split(std::string_view text);

}  // namespace halyward::ShellQuote
