#pragma once
/// The desktop's application id of a web app on Linux: the name under which the session
/// bus, the window's program class and the launcher entry know the app.

#include <string>
#include <string_view>

namespace halyward {

/// The bundle identifier itself when it is already a valid application id (dot-separated
/// elements of ASCII letters, digits, "_" and "-", none empty or starting with a digit, at
/// least two, 255 bytes at most). Otherwise a valid id derived deterministically: every
/// other byte becomes "_" and two hexadecimal digits, an element that starts with a digit
/// gets a leading "_", empty elements are dropped, and an id longer than 255 bytes keeps
/// its first 230 bytes followed by "_" and a 16-digit hash of the whole identifier.
std::string applicationID(std::string_view bundleIdentifier);

/// True for a valid application id as described above.
bool isValidApplicationID(std::string_view id);

}  // namespace halyward
