#include <gmock/gmock.h>

#include <lua.hpp>
#include <memory>

#include "tests/support/LogCapture.h"
#include "tests/support/Project.h"
#include "vexa/lua/LuaMethod.h"
#include "vxdependency/binding/DependencyModule.h"
#include "vxdependency/manager/DependencyManager.h"

namespace vexa::test {
namespace {

using testing::AnyOf;
using testing::ElementsAre;
using testing::HasSubstr;

// Lua's memory: refuses a number of requests in a row, from one of them on.
struct Memory {
    int requests = 0;
    int firstRefused = -1;
    int refusals = 0;
    // Lua answers a refusal with a full collection and asks again: so it collects at each request.
    bool collectAlways = false;

    bool Refuse() {
        if (collectAlways) return ++requests % 2 == 1;
        if (firstRefused < 0) return false;
        const int request = requests++;
        return request >= firstRefused && request - firstRefused < refusals;
    }
    static void* Allocate(void* memory, void* block, std::size_t oldSize, std::size_t size) {
        if (size == 0) return std::free(block), nullptr;
        const bool grows = !block || size > oldSize;
        return grows && static_cast<Memory*>(memory)->Refuse() ? nullptr
                                                               : std::realloc(block, size);
    }
};

// A native class that counts its objects.
class Thing : public ScriptObject<Thing> {
public:
    static inline int alive = 0;
    Thing() { ++alive; }
    ~Thing() override { --alive; }
    static const char* ClsName() { return "Thing"; }
    static ScriptObjectBase* New() { return new Thing(); }
    bool Refuse() { throw std::runtime_error("refused"); }
    binding::AutoRef<binding::Object> List(const std::string& path, bool fail) {
        if (fail) throw std::bad_alloc();
        return binding::Tuple::Of({path, path + "2"});
    }
};

int DeclareThings(lua_State* L) {
    vxlua_initmodule(L, "things");
    vxlua_beginmodule(L, "things");
    vxlua_cclass(L, Thing::ClsName(), Thing::LuaName());
    vxlua_function(L, "__gc", vxlua_collectluaobject);
    vxlua_function(L, "__clear", vxlua_clearluaobject);
    vxlua_function(L, "__tostring", vxlua_luaobjecttostr);
    vxlua_function(L, "new", [](lua_State* state) {
        return vxlua_newluaobject(state, Thing::ClsName(), Thing::New), 1;
    });
    vxlua_function(L, "refuse", LuaMethod<&Thing::Refuse>::Call);
    vxlua_function(L, "list", LuaMethod<&Thing::List>::Call);
    vxlua_endmodule(L);
    return 0;
}

class State : public std::unique_ptr<lua_State, void (*)(lua_State*)> {
public:
    explicit State(Memory* memory = nullptr)
        : unique_ptr(memory ? lua_newstate(Memory::Allocate, memory) : luaL_newstate(), lua_close) {
        luaL_openlibs(get());
    }
    operator lua_State*() const { return get(); }  // NOLINT(google-explicit-constructor)

    bool Declare(lua_CFunction declare) const {
        lua_pushcfunction(get(), declare);
        return lua_pcall(get(), 0, 0, 0) == LUA_OK || (lua_pop(get(), 1), false);
    }
    // What a text results in, or the error that ends it.
    std::string Run(const std::string& text) const {
        if (luaL_loadstring(get(), text.c_str()) == LUA_OK) lua_pcall(get(), 0, 1, 0);
        const char* const result = lua_tostring(get(), -1);
        std::string copy = result ? result : luaL_typename(get(), -1);
        lua_pop(get(), 1);
        EXPECT_EQ(lua_gettop(get()), 0) << text;
        return copy;
    }
};

struct Harbour : Project {
    Harbour()
        : Project(
              R"({"scene": {"name_list": [{"element": "Ref", "attribute": "path", "type": 2}]}})") {
        Touch("textures/stone.tga", "textures/wood.tga");
        Write("props/barrel.scene", R"(<S><Ref path="textures/wood.tga"/></S>)");
        Write("levels/harbour.scene",
              R"(<S><Ref path="props/barrel.scene"/><Ref path="textures/stone.tga"/></S>)");
    }
};

TEST(LuaManager, EveryCallEndsAsItShouldHoweverOftenTheCollectorRuns) {
    const Harbour project;
    const LogCapture log;
    for (const bool collectAlways : {false, true}) {
        Memory memory;
        const State state(&memory);
        ASSERT_TRUE(state.Declare(initdependency) && state.Declare(initdependency));
        memory.collectAlways = collectAlways;
        EXPECT_EQ(state.Run("return dofile '" VX_SOURCE_DIR "/tests/vxdependency/lua_calls.lua'"),
                  "done");
    }
}

// Runs `script` with each of its requests for memory refused in turn: that one alone, after which
// all goes well again, or all from there on until the state has closed.
void RunShortOfMemory(lua_CFunction declare, const std::string& script) {
    for (const bool recovers : {true, false}) {
        Memory memory;
        for (int refused = 0; memory.requests >= refused; ++refused) {
            memory = {};
            const State state(&memory);
            memory = {0, refused, recovers ? 2 : 1 << 30};
            if (state.Declare(declare)) {
                EXPECT_THAT(state.Run(script), AnyOf("done", HasSubstr("memory")));
            }
            if (!recovers) continue;
            memory.firstRefused = -1;
            EXPECT_TRUE(state.Declare(declare));
            EXPECT_EQ(state.Run(script), "done") << "after request " << refused << " was refused";
        }
        EXPECT_GT(memory.requests, 50);
    }
}

TEST(LuaManager, RunsOutOfMemoryWithoutHarm) {
    const Harbour project;
    const LogCapture log;
    RunShortOfMemory(initdependency, R"(
        local class = require("vexa.vxdependency").CDependencyManager
        local manager = class.get_singleton_ptr()
        local list = manager:get_all_dependency("levels/harbour.scene")
        local text = tostring(manager) .. tostring(list) .. tostring(list[1]) .. list[1]
        for _, entry in pairs(list) do text = text .. manager:type() .. entry:text() end
        manager:remove(list:totable()[1])
        return #class:mro() + #list == 4 and "done" or text)");
}

TEST(LuaObjects, AreNeitherLostNorKeptWhenMemoryRunsOut) {
    const LogCapture log;
    RunShortOfMemory(DeclareThings, R"(
        local things = {}
        for i = 1, 3 do things[i] = require("things").Thing.new() end
        things[2] = nil
        collectgarbage()
        return things[1]:list("a", false)[2]:text() == "a2" and "done" or tostring(things[3]))");
    EXPECT_EQ(Thing::alive, 0);
}

TEST(LuaObjects, OutliveTheNativeObjectAndAreTheSameEachTime) {
    auto thing = std::make_unique<Thing>();
    State one;
    const State two;
    for (lua_State* const L : {one.get(), two.get()}) {
        DeclareThings(L);
        for (int i = 0; i < 2; ++i) vxlua_pushluaobject(L, thing.get());
        EXPECT_TRUE(lua_rawequal(L, -1, -2));
        lua_setglobal(L, "thing");
        lua_pop(L, 1);
    }
    EXPECT_EQ(two.Run("thing:__clear() thing:__clear() return tostring(thing)"), "Thing(released)");
    vxlua_pushluaobject(two, thing.get());
    EXPECT_EQ(vxlua_toluaobject(two, -1), thing.get()) << "a script may get again what it let go";
    one.reset();
    EXPECT_EQ(Thing::alive, 1) << "what a script did not make it does not delete";
    thing.reset();
    EXPECT_FALSE(vxlua_isluaobject(two, -1, "Thing"));
    lua_setglobal(two, "thing");
    EXPECT_THAT(two.Run("return thing:refuse()"), HasSubstr("invalid released object 'self'"));
}

TEST(LuaObjects, FailuresOfTheNativeSideAreLoggedAndResultInNothing) {
    LogCapture log;
    State state;
    DeclareThings(state);
    EXPECT_EQ(state.Run("thing = require('things').Thing.new() return tostring(thing:refuse())"),
              "false");
    EXPECT_THAT(log.TakeTexts(), ElementsAre("Thing: refused"));
    EXPECT_EQ(state.Run("return #thing:list('a', true) .. #thing:list('b', false)"), "02");
    state.reset();
    EXPECT_EQ(Thing::alive, 0);
}

TEST(LuaArguments, AQuietCountCheckOnlyAnswers) {
    bool (*const checks[])(lua_State*, int, bool) = {vxlua_checkargs0, vxlua_checkargs1,
                                                     vxlua_checkargs2, vxlua_checkargs3,
                                                     vxlua_checkargs4, vxlua_checkargs5};
    for (int i = 0; i < 6 * 7; ++i) EXPECT_EQ(checks[i / 7](State(), i % 7, true), i / 7 == i % 7);
}

TEST(LuaManager, BoxesWhatAFolderRefersTo) {
    const Harbour project;
    const auto users = CDependencyManager::GetSingleton().Py_GetFolderDependency("levels", false);
    EXPECT_EQ(dynamic_cast<const binding::Tuple&>(*users).At(1)->Text(),
              "String(textures/stone.tga)");
}

}  // namespace
}  // namespace vexa::test
