#pragma once
/// The new-app form's decisions: what it offers from the clipboard and the command line it
/// runs, which is exactly `halyward app add` with the user's fields.

#include <string>
#include <string_view>
#include <vector>

namespace halyward {

/// What the user typed into the form.
struct NewAppForm {
    std::string address;
    std::string name;
    /// A chord, or empty for none.
    std::string hotkey;
    /// A tile name, or empty for none.
    std::string tile;
    bool operator==(const NewAppForm&) const = default;
};

/// The arguments of `halyward app add` for the form: the address, then --name, --hotkey
/// and --tile for the fields that are not blank, each trimmed.
std::vector<std::string> newAppArguments(const NewAppForm& form);

/// The clipboard's text as the form's first address when it is one web address (http or
/// https, one line, no blanks inside); empty otherwise.
std::string clipboardAddress(std::string_view clipboard);

/// The tile choices in the form's order: "" (no tile) and then every tile name.
std::vector<std::string> newAppTileChoices();

}  // namespace halyward
