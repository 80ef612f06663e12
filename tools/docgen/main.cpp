// halyward-docgen: writes the manual page, the shell completions and the agent skill of
// this build into a folder, from the help text, the command parser and the exit codes, so
// that what is installed always says what the program does.
//
//     halyward-docgen <page template> <output folder> <date>

#include "documents.hpp"
#include "grammar.hpp"

#include "halyward/commands/skills.hpp"

#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <string>

namespace fs = std::filesystem;
using namespace halyward::docgen;

namespace {

std::string readFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw std::runtime_error("can't read " + path.string());
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void writeFile(const fs::path& path, const std::string& text) {
    fs::create_directories(path.parent_path());
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << text;
    out.close();
    if (!out) throw std::runtime_error("can't write " + path.string());
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fputs("usage: halyward-docgen <page template> <output folder> <date>\n", stderr);
        return 1;
    }
    try {
        const Grammar grammar = readGrammar();
        const fs::path out = argv[2];
        writeFile(out / "halyward.1", manPage(grammar, readFile(argv[1]), argv[3]));
        writeFile(out / "completions" / "halyward.bash", bashCompletion(grammar));
        writeFile(out / "completions" / "_halyward", zshCompletion(grammar));
        writeFile(out / "completions" / "halyward.fish", fishCompletion(grammar));
        writeFile(out / "skills" / "halyward" / "SKILL.md", halyward::AgentSkills::skillText());
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "halyward-docgen: %s\n", failure.what());
        return 1;
    }
    return 0;
}
