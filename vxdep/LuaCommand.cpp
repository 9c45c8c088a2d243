#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>
#include <lua.hpp>
#include <memory>

#include "vexa/common/Log.h"
#include "vexa/threading/CommandQueue.h"
#include "vxdep/Commands.h"
#include "vxdep/Failure.h"
#include "vxdep/Platform.h"
#include "vxdep/Project.h"
#include "vxdependency/binding/DependencyModule.h"
#include "vxdependency/manager/DependencyManager.h"
#include "vxdependency/scanner/DependencyScanner.h"

namespace vxdep {

namespace {

using Arguments = std::vector<std::string>;  // the script, and what it is given

struct CloseState {
    void operator()(lua_State* L) const { lua_close(L); }
};
using State = std::unique_ptr<lua_State, CloseState>;

// Adds where an error came from; values that are no message are named by their type.
int AddTraceback(lua_State* L) {
    const char* message = lua_tostring(L, 1);
    if (!message && luaL_callmeta(L, 1, "__tostring")) message = lua_tostring(L, -1);
    if (!message) {
        message = lua_pushfstring(L, "the error is a %s value", luaL_typename(L, 1));
    }
    luaL_traceback(L, L, message, 1);
    return 1;
}

// Throws Failure with the error that a protected call left.
void Require(lua_State* L, int status) {
    if (status == LUA_OK) return;
    const char* const message = lua_tostring(L, -1);
    throw Failure(message ? message : "the script failed without a message");
}

// "arg" holds what lua5.4 puts there: the script's name at 0, its arguments from 1.
void SetArguments(lua_State* L, const Arguments& arguments) {
    lua_createtable(L, static_cast<int>(arguments.size()), 1);
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        lua_pushlstring(L, arguments[i].data(), arguments[i].size());
        lua_rawseti(L, -2, static_cast<lua_Integer>(i));
    }
    lua_setglobal(L, "arg");
}

// Lets `require` find what lies beside the script, whatever the working directory is.
void SearchBeside(lua_State* L, const char* folder) {
    lua_getglobal(L, "package");
    lua_getfield(L, -1, "path");
    lua_pushfstring(L, "%s/?.lua;%s", folder, lua_tostring(L, -1));
    lua_setfield(L, -3, "path");
    lua_pop(L, 2);
}

struct Script {
    Arguments arguments;
    std::string folder;
};

// Results in the script as a function, and its arguments. Raises Lua errors: nothing in it may own
// anything.
int Load(lua_State* L) {
    const auto& script = *static_cast<const Script*>(lua_touserdata(L, 1));
    const Arguments& arguments = script.arguments;
    luaL_openlibs(L);
    SetArguments(L, arguments);
    SearchBeside(L, script.folder.c_str());
    vexa::initdependency(L);
    // By the name that was given, which its messages begin with.
    if (luaL_loadfile(L, arguments.front().c_str()) != LUA_OK) return lua_error(L);
    luaL_checkstack(L, static_cast<int>(arguments.size()), "too many arguments");
    for (std::size_t i = 1; i < arguments.size(); ++i) {
        lua_pushlstring(L, arguments[i].data(), arguments[i].size());
    }
    return static_cast<int>(arguments.size());
}

State Load(Script& script) {
    State state(luaL_newstate());
    if (!state) throw Failure("not enough memory for a script");
    lua_pushcfunction(state.get(), Load);
    lua_pushlightuserdata(state.get(), &script);
    Require(state.get(), lua_pcall(state.get(), 1, LUA_MULTRET, 0));
    return state;
}

// Runs what Load left on the stack.
void Run(lua_State* L) {
    const int arguments = lua_gettop(L) - 1;
    if (!lua_checkstack(L, LUA_MINSTACK)) throw Failure("not enough memory for a script");
    lua_pushcfunction(L, AddTraceback);
    lua_insert(L, 1);
    Require(L, lua_pcall(L, arguments, 0, 1));
}

// A scan that the script began would be cut off by the end of the program.
void FinishScan() {
    vexa::CDependencyManager& manager = Project::Manager();
    CatchInterrupts();
    while (manager.GetScanner()->IsScanning()) {
        vexa::vxThread<0>::Handle.wait_and_run(std::chrono::milliseconds(100));
        if (WasInterrupted()) manager.PauseScan();
    }
    if (WasInterrupted()) throw Failure("interrupted: the files read so far are kept");
    const std::string error = manager.GetScanner()->GetStatistics().error;
    if (!error.empty()) throw Failure("the scan was not completed: " + error);
}

// What a script printed is an answer like that of other commands: a reader that goes away wants no
// more, any other failure is one. Why it failed is not known any more: Lua's print does not look.
void FlushOutput() {
    std::fflush(stdout);
    if (!std::ferror(stdout) || ReaderOfStandardOutputIsGone()) return;
    throw Failure("standard output cannot be written");
}

ExitCode RunScript(const GlobalOptions& options, const Arguments& arguments) {
    Script script{arguments, std::filesystem::absolute(arguments.front()).parent_path().string()};
    const Project project(options);
    const State state = Load(script);
    project.Open();
    project.LoadGenerators();
    Project::WarnIfNeverScanned();
    Run(state.get());
    FinishScan();
    vexa::FlushLog();
    FlushOutput();
    return ExitCode::Done;
}

// The parser does not know what follows the command.
std::string Help(const CLI::App* command, const std::string& name, CLI::AppFormatMode mode) {
    std::string text = CLI::Formatter().make_help(command, name, mode);
    const std::string_view usage = "[OPTIONS]";
    const std::size_t found = text.find(usage);
    return found == std::string::npos ? text
                                      : text.insert(found + usage.size(), " SCRIPT [ARG...]");
}

}  // namespace

void AddLuaCommand(CLI::App& app, const GlobalOptions& options, Action& action) {
    CLI::App* const command = app.add_subcommand("lua", "Run a Lua script on the project");
    // What follows the script is for the script, also when it looks like an option of ours.
    command->prefix_command()->fallthrough(false);
    command->formatter_fn(Help);
    command->footer(
        "Runs a Lua 5.4 script in the project's folder, so that its resources "
        "are\n"
        "\"res/...\". It finds its arguments in \"arg\" and \"...\", and says\n"
        "  local manager = require(\"vexa.vxdependency\").CDependencyManager.get_singleton_ptr()\n"
        "  for _, user in ipairs(manager:get_dependency(\"textures/stone.tga\", true)) do\n"
        "    print(user:text())\n"
        "  end\n"
        "An error is told with a traceback; the exit status is 1, or what the script gives to "
        "os.exit.\n"
        "docs/lua.md tells of the methods, examples/scripts holds scripts to begin with.");
    command->callback([&options, &action, command] {
        const Arguments arguments = command->remaining();
        if (arguments.empty()) throw CLI::RequiredError("SCRIPT");
        if (arguments.front().starts_with('-')) throw CLI::ExtrasError({arguments.front()});
        action = [&options, arguments] { return RunScript(options, arguments); };
    });
}

}  // namespace vxdep
