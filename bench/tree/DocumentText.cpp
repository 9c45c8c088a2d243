// The formats whose files name many others: XML and JSON by rules.

#include <array>

#include "bench/tree/Texts.h"

namespace bench {

namespace {

// How a format names other files, and what else stands beside.
struct Form {
    std::string root;
    std::string fileList;  // an element of XML, or the list's member in JSON
    std::string fileMember;
    std::string fileRest;
    std::string textureList;
    std::string textureMember;
    std::string textureRest;
    bool fromRoot = false;
};

const std::array<Form, 3> kXmlForms = {{
    {"Scene", "Include", "file", R"( layer="1" visible="true" locked="false")", "Item_0", "surface",
     R"( x="12.5" y="-3.25" z="101.75" yaw="45" scale="1.5")", true},
    {"scene", "include", "file", R"( scale="1 1 1" visible="true")", "texture", "file",
     R"( width="512" height="256" wrap="repeat" filter="linear")"},
    {"map", "tileset", "source", R"( firstgid="257" opacity="1")", "image", "source",
     R"( width="512" height="256" trans="ff00ff")"},
}};

const std::array<Form, 3> kJsonForms = {{
    {R"("version": "1.4", "author": "art", "scale": 1.5)", "templates", "template",
     R"("visible": true, "tags": ["near", "static"])", "layers", "image",
     R"("opacity": 0.75, "blend": "normal", "x": -3.25, "y": 101.5)"},
    {R"("asset": {"version": "2.0", "generator": "exporter 4.2"}, "scene": 0)", "buffers", "uri",
     R"("byteLength": 182736)", "images", "uri", R"("mimeType": "image/png", "bufferView": null)"},
    {R"("type": "map", "orientation": "orthogonal", "width": 64, "height": 64)", "tilesets",
     "source", R"("firstgid": 257)", "layers", "image",
     R"("type": "imagelayer", "opacity": 0.75, "x": 12, "y": -3, "visible": true)"},
}};

std::string PathText(const Form& form, const std::string& key) {
    return form.fromRoot ? '/' + key : Relative(key);
}

class XmlText {
public:
    XmlText(const Form& form, const std::string& name) : m_form(form) {
        m_text.bytes = R"(<?xml version="1.0" encoding="UTF-8"?>)"
                       "\n<" +
                       form.root;
        m_text.bytes += R"( name=")" + name + R"(" revision="17">)" + '\n';
        m_text.values = 2;
    }
    void Add(const std::string& element, const std::string& member, const std::string& rest,
             const std::string& key) {
        const std::string number = std::to_string(++m_elements);
        m_text.bytes += "  <" + element + R"( id="o)" + number + R"(" )" + member + "=\"" +
                        PathText(m_form, key) + '"' + rest + "/>\n";
        m_text.values += 2;
        for (std::size_t at = 0; (at = rest.find('=', at)) != std::string::npos; ++at)
            ++m_text.values;
    }
    Contents End() {
        m_text.bytes += "</" + m_form.root + ">\n";
        return std::move(m_text);
    }

private:
    const Form& m_form;
    Contents m_text;
    int m_elements = 0;
};

Contents Xml(const Form& form, const std::string& name, const Names& names) {
    XmlText text(form, name);
    for (const std::string& key : names.files)
        text.Add(form.fileList, form.fileMember, form.fileRest, key);
    for (const std::string& key : names.textures)
        text.Add(form.textureList, form.textureMember, form.textureRest, key);
    for (const std::string& key : names.missing)
        text.Add(form.textureList, form.textureMember, form.textureRest, key);
    return text.End();
}

// Strings that are no names of members stand behind ": " or in a list.
std::uint64_t StringsIn(const std::string& pieces) {
    std::uint64_t count = 0;
    for (const std::string before : {": \"", "[\"", ", \"static\""}) {
        for (std::size_t at = 0; (at = pieces.find(before, at)) != std::string::npos; ++at) ++count;
    }
    return count;
}

void AddList(const Form& form, const std::string& list, const std::string& member,
             const std::string& rest, const std::vector<std::string>& keys, std::string& bytes) {
    bytes += ",\n  \"" + list + "\": [";
    int number = 0;
    for (const std::string& key : keys) {
        bytes += number == 0 ? "\n" : ",\n";
        bytes += R"(    {"name": "n)" + std::to_string(++number) + R"(", ")" + member + R"(": ")" +
                 PathText(form, key) + R"(", )" + rest + '}';
    }
    bytes += "\n  ]";
}

Contents Json(const Form& form, const std::string& name, const Names& names) {
    std::string bytes = "{\n  \"name\": \"" + name + "\", " + form.root;
    AddList(form, form.fileList, form.fileMember, form.fileRest, names.files, bytes);
    std::vector<std::string> textures = names.textures;
    textures.insert(textures.end(), names.missing.begin(), names.missing.end());
    AddList(form, form.textureList, form.textureMember, form.textureRest, textures, bytes);
    bytes += "\n}\n";
    const std::uint64_t strings = StringsIn(bytes);
    return {std::move(bytes), strings};
}

}  // namespace

std::string Relative(const std::string& key) {
    return "../../../" + key;
}

Contents DocumentText(const File& file, const Names& names) {
    const std::string name = kKindNames[static_cast<std::size_t>(file.kind)] + std::string("_") +
                             std::to_string(file.index);
    const auto form = static_cast<std::size_t>(file.kind);
    if (file.kind < Kind::Sheet) return Xml(kXmlForms[form], name, names);
    return Json(kJsonForms[form - static_cast<std::size_t>(Kind::Sheet)], name, names);
}

}  // namespace bench
