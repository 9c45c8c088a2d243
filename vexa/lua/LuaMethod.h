#pragma once

#include <array>
#include <lua.hpp>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

#include "vexa/lua/Guarded.h"
#include "vexa/lua/LuaBinding.h"

namespace vexa {

// An argument of a native operation on its way from the stack. It owns nothing, so that a Lua error
// may pass over it.
template <class Parameter>
struct LuaArgument;

template <>
struct LuaArgument<const std::string&> {
    static constexpr char kTypeName[] = "string";
    static bool IsAt(lua_State* L, int index) { return vxlua_isstring(L, index); }
    void Read(lua_State* L, int index) { text = vxlua_tostring(L, index); }
    std::string Native() const { return std::string(text); }

    std::string_view text;
};

template <>
struct LuaArgument<bool> {
    static constexpr char kTypeName[] = "boolean";
    static bool IsAt(lua_State* L, int index) { return vxlua_isboolean(L, index); }
    void Read(lua_State* L, int index) { value = lua_toboolean(L, index) != 0; }
    bool Native() const { return value; }

    bool value;
};

// LuaMethod<&T::Operation>::Call is the script method of a native operation that takes texts and
// booleans, and results in nothing, a boolean or a boxed value. Arguments are checked in this
// order: self, their number, their types by position (self is 1). The operation runs only when all
// are right. When it throws, that is logged, and the result is false or an empty tuple.
template <auto Operation>
struct LuaMethod;

template <class T, class Result, class... Parameters, Result (T::*Operation)(Parameters...)>
struct LuaMethod<Operation> {
    static int Call(lua_State* L) {
        T* const self = Self(L);
        CheckCount(L);
        Arguments arguments;
        static_assert(std::is_trivially_destructible_v<Arguments>);
        Read(L, arguments, Positions());
        if constexpr (std::is_void_v<Result>) {
            Guarded(T::ClsName(), [&] { Invoke(self, arguments); });
            return 0;
        } else if constexpr (std::is_same_v<Result, bool>) {
            bool result = false;
            Guarded(T::ClsName(), [&] { result = Invoke(self, arguments); });
            lua_pushboolean(L, result);
            return 1;
        } else {
            auto& result = vxlua_newbox(L);
            const bool ready = Guarded(T::ClsName(), [&] { result = binding::Tuple::Of({}); });
            if (!ready) luaL_error(L, "not enough memory");
            Guarded(T::ClsName(), [&] { result = Invoke(self, arguments); });
            return 1;
        }
    }

private:
    using Arguments = std::tuple<LuaArgument<Parameters>...>;
    using Positions = std::index_sequence_for<Parameters...>;

    static T* Self(lua_State* L) {
        if (!vxlua_isluaobject(L, 1, T::ClsName())) {
            luaL_error(L, "invalid %s 'self', %s needed.", vxlua_typename(L, 1), T::ClsName());
        }
        return static_cast<T*>(vxlua_toluaobject(L, 1));
    }

    static void CheckCount(lua_State* L) {
        constexpr std::array checks = {vxlua_checkargs0, vxlua_checkargs1, vxlua_checkargs2,
                                       vxlua_checkargs3, vxlua_checkargs4, vxlua_checkargs5};
        static_assert(sizeof...(Parameters) < checks.size());
        checks[sizeof...(Parameters)](L, lua_gettop(L) - 1, false);
    }

    template <class Argument>
    static void ReadOne(lua_State* L, Argument& argument, int index) {
        if (!Argument::IsAt(L, index)) {
            luaL_error(L, "invalid argument %s in %d, %s needed.", vxlua_typename(L, index), index,
                       Argument::kTypeName);
        }
        argument.Read(L, index);
    }

    template <std::size_t... I>
    static void Read([[maybe_unused]] lua_State* L, [[maybe_unused]] Arguments& arguments,
                     std::index_sequence<I...>) {
        (ReadOne(L, std::get<I>(arguments), static_cast<int>(I) + 2), ...);
    }

    static Result Invoke(T* self, const Arguments& arguments) {
        return std::apply(
            [self](const auto&... argument) { return (self->*Operation)(argument.Native()...); },
            arguments);
    }
};

}  // namespace vexa
