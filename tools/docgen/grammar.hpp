#pragma once
// The command grammar as the documentation and the shell completions see it: every
// command path with its positional words and the options it uses. It is read from the
// help text's usage lines and from the parser itself, so that the man page and the
// completions follow the command line when either changes.

#include <string>
#include <vector>

namespace halyward::docgen {

/// What a Tab offers for a value.
enum class ValueKind {
    none,       // free text: nothing to offer
    tile,       // the tile names
    file,       // any file
    folder,     // folders only
    webApp,     // the names and slugs of the configured web apps
    appHotkey,  // the chords held by web apps and [hotkeys]
    layout,     // the saved layout names
};

struct Option {
    /// Without the dashes.
    std::string name;
    /// The placeholder shown for the value, such as "<tile>"; empty for a bare flag.
    std::string placeholder;
    ValueKind kind = ValueKind::none;
};

struct CommandForm {
    /// The command words, such as {"app", "add"}.
    std::vector<std::string> words;
    /// The positional placeholders after the words, such as {"<url>"}.
    std::vector<std::string> positionals;
    std::vector<ValueKind> positionalKinds;
    /// The options the usage line shows, required ones first as written.
    std::vector<Option> shownOptions;
    /// Every option the parser lets this command use, shown or not.
    std::vector<Option> options;
    /// The usage line as the help text prints it, without "halyward ".
    std::string usage;
    /// False for commands the help text leaves out on purpose.
    bool inHelp = true;
    /// Whether the command removes something and so needs --yes.
    bool needsYes = false;
};

struct GlobalOption {
    Option option;
    std::string description;
};

struct Grammar {
    std::vector<CommandForm> commands;
    /// --json, --yes, --config, --timeout with their help-text descriptions.
    std::vector<GlobalOption> globals;
    /// The help text after the global flags: tiles and hotkey notes.
    std::string notes;
    /// The text of `halyward help app` after its usage lines.
    std::string appNotes;
    /// The help text's first line after "halyward — ".
    std::string tagline;
    std::vector<std::string> tiles;
};

/// The grammar of this build. Throws std::runtime_error when the help text and the parser
/// disagree (a usage line the parser refuses), so a build never ships documents that lie.
Grammar readGrammar();

/// The first words of every command, in help-text order, each once.
std::vector<std::string> topWords(const Grammar& grammar);

}  // namespace halyward::docgen
