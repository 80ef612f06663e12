#include "halyward/commands/command_router.hpp"

#include "halyward/base/error.hpp"
#include "halyward/commands/command_parser.hpp"
#include "halyward/commands/help_text.hpp"
#include "halyward/commands/internal/command_run.hpp"
#include "halyward/system/paths.hpp"

#include <exception>

namespace halyward {

namespace {

using namespace commands;

// The word after "help" among the positional words of `arguments` ("app" for `halyward
// help app`); empty when there is none. The parser drops the words after "help", so the
// topic is read from the argument list as typed, skipping flags and option values.
std::string_view helpTopic(const std::vector<std::string>& arguments) {
    std::vector<std::string_view> words;
    for (std::size_t i = 0; i < arguments.size() && words.size() < 2; ++i) {
        const std::string_view argument = arguments[i];
        if (argument == "--") break;
        if (!argument.starts_with("--")) {
            words.push_back(argument);
        } else if (argument != "--json" && argument != "--yes" &&
                   argument.find('=') == std::string_view::npos) {
            ++i;  // an option's value
        }
    }
    return words.size() == 2 && words[0] == "help" ? words[1] : std::string_view();
}

// Hands each command to the function of its family (app_commands.cpp, hotkey_commands.cpp
// and so on); the router itself decides nothing.
CommandOutput runCommand(const CommandRun& run) {
    const Command& command = run.invocation.command;
    switch (command.kind()) {
        case Command::Kind::help:
            return success(std::string(helpTopic(run.arguments) == "app" ? HelpText::appText()
                                                                         : HelpText::text()));
        case Command::Kind::version:
            return success(std::string("halyward ") + HalywardVersion::current,
                           JSONObject{{"version", HalywardVersion::current}});
        case Command::Kind::appAdd: return appAdd(run, *command.asAppAdd());
        case Command::Kind::appRemove: return appRemove(run, command.asAppRemove()->name);
        case Command::Kind::appList: return appList(run);
        case Command::Kind::hotkeySet: return hotkeySet(run, *command.asHotkeySet());
        case Command::Kind::hotkeyUnset: return hotkeyUnset(run, command.asHotkeyUnset()->chord);
        case Command::Kind::hotkeyList: return hotkeyList(run);
        case Command::Kind::ruleAdd: return ruleAdd(run, *command.asRuleAdd());
        case Command::Kind::ruleRemove: return ruleRemove(run, command.asRuleRemove()->target);
        case Command::Kind::layoutList: return layoutList(run);
        case Command::Kind::configShow: return configShow(run);
        case Command::Kind::doctor: return doctor(run);
        case Command::Kind::skillPaths: return skillPaths(run);
        case Command::Kind::skillInstall:
            return skillInstall(run, command.asSkillInstall()->folder);
        case Command::Kind::skillUninstall:
            return skillUninstall(run, command.asSkillUninstall()->folder);
        case Command::Kind::ping:
        case Command::Kind::tile:
        case Command::Kind::layoutSave:
        case Command::Kind::layoutApply:
        case Command::Kind::apply: return windowCommand(run);
    }
    throw HalywardError::failed("Halyward does not know how to run this command.");
}

CommandOutput failedOutput(std::string message) {
    if (message.empty()) message = "Halyward failed for a reason it could not name.";
    return {ExitCode::failed, std::move(message), JSONObject{{"code", "failed"}}};
}

}  // namespace

CommandRouter::CommandRouter(CommandContext context) : context_(std::move(context)) {}

std::string CommandRouter::configFile(const Invocation& invocation) const {
    if (invocation.configPath) return *invocation.configPath;
    if (!context_.configPath.empty()) return context_.configPath;
    return HalywardPaths::configFile(context_.home);
}

bool CommandRouter::wantsJSON(const std::vector<std::string>& arguments) {
    for (const std::string& argument : arguments) {
        if (argument == "--") return false;
        if (argument == "--json") return true;
    }
    return false;
}

CommandOutput CommandRouter::run(const std::vector<std::string>& arguments) const {
    Invocation invocation;
    try {
        invocation = CommandParser::parse(arguments);
    } catch (const HalywardError& error) {
        return CommandOutput::fromError(error);
    } catch (const std::exception& error) {
        return failedOutput(error.what());
    }
    return run(invocation, arguments);
}

CommandOutput CommandRouter::run(const Invocation& invocation,
                                 const std::vector<std::string>& arguments) const {
    try {
        if (invocation.command.removesSomething() && !invocation.yes) {
            const bool confirmed =
                context_.interactive && context_.confirm && context_.confirm(confirmQuestion);
            if (!confirmed) throw HalywardError::cancelled("Pass --yes to confirm.");
        }
        return dispatch(invocation, arguments);
    } catch (const HalywardError& error) {
        return CommandOutput::fromError(error);
    } catch (const std::exception& error) {
        return failedOutput(error.what());
    } catch (...) {
        return failedOutput({});
    }
}

CommandOutput CommandRouter::dispatch(const Invocation& invocation,
                                      const std::vector<std::string>& arguments) const {
    return runCommand(CommandRun(context_, invocation, arguments, configFile(invocation)));
}

}  // namespace halyward
