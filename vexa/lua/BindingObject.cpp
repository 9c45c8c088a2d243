#include "vexa/lua/BindingObject.h"

#include "vexa/lua/AddressText.h"

namespace vexa::binding {

AutoRef<Object> Tuple::Of(std::vector<std::string> list) {
    std::vector<AutoRef<Object>> entries;
    entries.reserve(list.size());
    for (std::string& entry : list) entries.push_back(MakeRef<Str>(std::move(entry)));
    return MakeRef<Tuple>(std::move(entries));
}

std::string Tuple::Text() const {
    return AddressText(TypeName(), this).data();
}

}  // namespace vexa::binding
