#pragma once
// Starting a program that lives on its own: the app never waits for it and it never
// becomes the app's zombie (the app's main loop is not GLib's, so GLib's child reaping
// never runs).

#include <string>
#include <vector>

namespace halyward::x11 {

/// Starts `argv` (argv[0] an absolute path) in a session of its own; false with `error`
/// set when it cannot be started.
bool spawnDetached(const std::vector<std::string>& argv, std::string& error);

}  // namespace halyward::x11
