// The changing side of the XML document.

#include <algorithm>
#include <functional>

#include "vexa/common/InterfaceBox.h"
#include "vexa/util/XmlDocument.h"
#include "vexa/util/XmlWriter.h"

namespace vexa {
namespace {

constexpr std::string_view kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";

bool IsLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool IsName(std::string_view name) {
    const auto starts = [](char c) { return IsLetter(c) || c == '_' || c == ':'; };
    const auto follows = [&](char c) {
        return starts(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
    };
    return !name.empty() && starts(name[0]) && std::ranges::all_of(name, follows);
}

bool IsCharacter(char c) {
    return static_cast<unsigned char>(c) >= 0x20 || c == '\t' || c == '\n' || c == '\r';
}

bool CanHold(TextEncoding encoding, std::string_view value) {
    return std::ranges::all_of(value, IsCharacter) &&
           (encoding == TextEncoding::Utf8 || IsUtf8(value));
}

}  // namespace

std::size_t XmlDoc::Document::OffsetOf(const char* parsed) const {
    const char* const begin = text.data();
    const std::less<const char*> before;
    if (before(parsed, begin) || !before(parsed, begin + text.size())) return npos;
    return static_cast<std::size_t>(parsed - begin);
}

std::size_t XmlDoc::Document::OffsetOf(pugi::xml_attribute attribute) const {
    const auto found = set.find(attribute.internal_object());
    return found == set.end() ? OffsetOf(attribute.value()) : found->second.offset;
}

std::string XmlDoc::Document::Bytes() const {
    if (!source.empty()) {
        return WithOriginalText([this](std::string_view original) {
            return ApplySplices(source, encoding, original, Splices(original));
        });
    }
    const xml::ChildLayout layout{"\n", "\n", "  ", "/>", '"'};
    return std::string(kDeclaration) + xml::WrittenElement(dom.first_child(), layout) + '\n';
}

std::vector<Splice> XmlDoc::Document::Splices(std::string_view original) const {
    std::vector<Splice> splices;
    for (pugi::xml_node_struct* const element : changed) {
        SpliceAttributes(original, xml::Node(element), splices);
        SpliceChildren(original, xml::Node(element), splices);
    }
    return splices;
}

void XmlDoc::Document::SpliceAttributes(std::string_view original, pugi::xml_node element,
                                        std::vector<Splice>& splices) const {
    Splice added{OffsetOf(element.name()) + std::string_view(element.name()).size(), 0, ""};
    char quote = '"';
    for (const pugi::xml_attribute attribute : element.attributes()) {
        const std::size_t offset = OffsetOf(attribute);
        if (offset == npos) {
            added.text += xml::WrittenAttribute(attribute.name(), attribute.value(), quote);
            continue;
        }
        const std::size_t end = xml::ValueEnd(original, offset);
        quote = original[offset - 1];
        added.offset = end + 1;
        const auto before = set.find(attribute.internal_object());
        if (before == set.end() || before->second.value == attribute.value()) continue;
        splices.push_back({offset, end - offset, xml::EscapedValue(attribute.value(), quote)});
    }
    if (!added.text.empty()) splices.push_back(std::move(added));
}

void XmlDoc::Document::SpliceChildren(std::string_view original, pugi::xml_node element,
                                      std::vector<Splice>& splices) const {
    std::vector<pugi::xml_node> added;
    pugi::xml_node last = element.last_child();
    for (; last && made.contains(last.internal_object()); last = last.previous_sibling()) {
        added.push_back(last);
    }
    if (added.empty()) return;
    while (last && last.type() != pugi::node_element) last = last.previous_sibling();

    const xml::ElementExtent extent = xml::ExtentOf(original, OffsetOf(element.name()));
    const xml::ChildLayout layout =
        xml::LayoutBelow(original, extent, last ? OffsetOf(last.name()) - 1 : npos);
    std::string elements;
    for (auto child = added.rbegin(); child != added.rend(); ++child) {
        elements += xml::WrittenElement(*child, layout);
    }
    splices.push_back(
        xml::Insertion(original, extent, element.name(), layout, std::move(elements)));
}

bool XmlDoc::SetAttribute(const std::string& path, const std::string& attribute,
                          const std::string& value) {
    pugi::xml_node node = xml::Descend(xml::Node(m_node), path);
    if (!node || !IsName(attribute) || !CanHold(m_document->encoding, value)) return false;
    Document& document = *m_document;
    pugi::xml_attribute found = node.attribute(attribute.c_str());
    if (!found) {
        found = node.append_attribute(attribute.c_str());
        document.set[found.internal_object()] = {};
    } else {
        document.set.try_emplace(found.internal_object(),
                                 Document::Attribute{document.OffsetOf(found), found.value()});
    }
    if (!document.made.contains(node.internal_object())) {
        document.changed.insert(node.internal_object());
    }
    return found.set_value(value.c_str());
}

XmlDoc XmlDoc::AddDocument(const std::string& path, const std::string& name) {
    pugi::xml_node parent = xml::Descend(xml::Node(m_node), path);
    if (!parent || !IsName(name)) return {};
    Document& document = *m_document;
    const pugi::xml_node child = parent.append_child(name.c_str());
    document.made.insert(child.internal_object());
    ++document.additions;
    if (!document.made.contains(parent.internal_object())) {
        document.changed.insert(parent.internal_object());
    }
    return XmlDoc(m_document, child.internal_object());
}

bool XmlDoc::Save(const std::string& path) {
    if (!m_document || !m_document->dom.first_child()) return false;
    m_document->error.clear();
    IFileService& files = InterfaceBox::Instance().GetFileService();
    return files.Save(path, m_document->Bytes(), m_document->error);
}

}  // namespace vexa
