#include "vxdependency/scanner/EntryLook.h"

#include "vexa/io/Path.h"

EntryLook::EntryLook(const std::string& path) {
    _finddata64i32_t data;
    const std::intptr_t handle = _findfirst64i32(path.c_str(), &data);
    if (handle == -1) return;
    // A name with "*" or "?" in it that is not there finds others.
    m_exists = data.name == vexa::vxio::GetFileName(path);
    m_descended = vexa::os::IsDescended(data.attrib, data.name);
    m_state = vexa::os::StateOfFound(handle);
    _findclose(handle);
}
