#include "vexa/lua/LuaHoldings.h"

#include <cstdint>
#include <unordered_map>

#include "vexa/lua/Guarded.h"
#include "vexa/lua/LuaRegistry.h"

namespace vexa {

namespace {

using Number = std::uint64_t;  // what a value holds; never used again in the same state

struct Holdings {
    std::unordered_map<Number, Holding> byNumber;
    Number last = 0;
};

// The finalizer of the value that owns the holdings. It is the first that was made, so that it is
// the last to be finalized.
int Close(lua_State* L) {
    auto** const owner = static_cast<Holdings**>(lua_touserdata(L, 1));
    delete std::exchange(*owner, nullptr);
    return 0;
}

void PushOwner(lua_State* L) {
    auto** const owner = static_cast<Holdings**>(lua_newuserdatauv(L, sizeof(void*), 0));
    *owner = nullptr;
    lua_createtable(L, 0, 1);
    lua_pushcfunction(L, Close);
    lua_setfield(L, -2, "__gc");
    lua_setmetatable(L, -2);
    if (!Guarded("script", [&] { *owner = new Holdings(); })) luaL_error(L, "not enough memory");
}

// The holdings of the state; null when there are none, or the state has closed.
Holdings* HoldingsOf(lua_State* L) {
    PushIfThere(L, LuaKept::Holdings);
    auto** const owner = static_cast<Holdings**>(lua_touserdata(L, -1));
    lua_pop(L, 1);
    return owner ? *owner : nullptr;
}

}  // namespace

Holding& NewHolding(lua_State* L) {
    PushKept(L, LuaKept::Holdings, PushOwner);
    lua_pop(L, 1);
    Holdings* const holdings = HoldingsOf(L);
    if (!holdings) luaL_error(L, "the state has closed");
    auto* const number = static_cast<Number*>(lua_newuserdatauv(L, sizeof(Number), 0));
    *number = ++holdings->last;
    Holding* holding = nullptr;
    if (!Guarded("script", [&] { holding = &holdings->byNumber[*number]; })) {
        luaL_error(L, "not enough memory");
    }
    return *holding;
}

Holding* HoldingAt(lua_State* L, int index) {
    const auto* const number = static_cast<const Number*>(lua_touserdata(L, index));
    Holdings* const holdings = HoldingsOf(L);
    if (!number || !holdings) return nullptr;
    const auto found = holdings->byNumber.find(*number);
    return found == holdings->byNumber.end() ? nullptr : &found->second;
}

void DropHolding(lua_State* L, int index) {
    const auto* const number = static_cast<const Number*>(lua_touserdata(L, index));
    Holdings* const holdings = HoldingsOf(L);
    if (!number || !holdings) return;
    // What goes with it may be large; the holdings are whole again before.
    const auto dropped = holdings->byNumber.extract(*number);
}

}  // namespace vexa
