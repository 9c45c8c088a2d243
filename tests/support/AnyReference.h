#pragma once

#include <rapidcheck.h>

#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "vexa/common/FileService.h"
#include "vexa/io/Path.h"

namespace vexa::test {

// A key in a small tree, where different ones often lie in one folder or have one stem.
inline rc::Gen<std::string> AnyKey() {
    using Names = std::vector<std::string>;
    const auto folder = rc::gen::element<std::string>("a/", "res/", "c d/", "..e/");
    const auto name =
        rc::gen::element<std::string>("a.png", "a.tga", "b.DDS", "c.nfx", "geod.bson", "d.e.f",
                                      "r.rawanimation", "\xE4 x", ".g", "h#1.png");
    return rc::gen::map(rc::gen::pair(rc::gen::resize(3, rc::gen::container<Names>(folder)), name),
                        [](const auto& parts) {
                            std::string key;
                            for (const std::string& part : parts.first) key += part;
                            return key + parts.second;
                        });
}

// A text that may name the path, by some strategy.
inline rc::Gen<std::string> AnyText(const std::string& path) {
    const auto lead = rc::gen::element<std::string>("", "/", "./", "res/", "../", "\\res\\");
    const auto rest = rc::gen::element(path, GeneratorForm(path), vxio::GetStem(path),
                                       vxio::GetStem(path) + ".jpg", vxio::GetDirName(path));
    const auto selector = rc::gen::element<std::string>("", "#s", "?a/b|c");
    return rc::gen::map(rc::gen::tuple(lead, rest, selector), [](const auto& parts) {
        return std::get<0>(parts) + std::get<1>(parts) + std::get<2>(parts);
    });
}

}  // namespace vexa::test
