// The manager's methods for scripts.

#include "vexa/lua/LuaMethod.h"
#include "vxdependency/manager/DependencyManager.h"

namespace vexa {

namespace {

using binding::AutoRef;
using binding::Object;
using binding::Tuple;

template <auto Operation>
constexpr vxlua_Function Method = LuaMethod<Operation>::Call;

int New(lua_State* L) {
    vxlua_checkargs0(L, lua_gettop(L), false);
    vxlua_newluaobject(L, CDependencyManager::ClsName(),
                       []() -> ScriptObjectBase* { return new CDependencyManager(); });
    return 1;
}

int GetSingletonPtr(lua_State* L) {
    CDependencyManager* manager = nullptr;
    Guarded(CDependencyManager::ClsName(),
            [&] { manager = CDependencyManager::GetSingletonPtr(); });
    if (!manager) luaL_error(L, "there is no manager; the log tells why");
    vxlua_pushluaobject(L, manager);
    return 1;
}

}  // namespace

AutoRef<Object> CDependencyManager::Py_GenerateDependency(const std::string& path) {
    return Tuple::Of(GenerateDependency(path, ""));
}

AutoRef<Object> CDependencyManager::Py_GetDependency(const std::string& path, bool inverse) {
    return Tuple::Of(GetDependency(path, inverse));
}

AutoRef<Object> CDependencyManager::Py_GetAllDependency(const std::string& path) {
    List all;
    List missing;
    GetAllDependency(path, all, missing);
    all.insert(all.end(), missing.begin(), missing.end());
    return Tuple::Of(std::move(all));
}

AutoRef<Object> CDependencyManager::Py_GetFolderDependency(const std::string& path, bool inverse) {
    return Tuple::Of(GetFolderDependency(path, inverse));
}

void CDependencyManager::InitializeLuaClass(lua_State* L) {
    using M = CDependencyManager;
    vxlua_function(L, "new", New);
    vxlua_function(L, "get_singleton_ptr", vexa::GetSingletonPtr);
    vxlua_function(L, "generate_dependency", Method<&M::Py_GenerateDependency>);
    vxlua_function(L, "get_dependency", Method<&M::Py_GetDependency>);
    vxlua_function(L, "get_all_dependency", Method<&M::Py_GetAllDependency>);
    vxlua_function(L, "begin_scan", Method<&M::BeginScan>);
    vxlua_function(L, "pause_scan", Method<&M::PauseScan>);
    vxlua_function(L, "rename", Method<&M::Rename>);
    vxlua_function(L, "rename_folder", Method<&M::RenameFolder>);
    vxlua_function(L, "remove", Method<&M::Remove>);
}

}  // namespace vexa
