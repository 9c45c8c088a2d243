#include "vexa/util/XmlDoc.h"

#include <new>
#include <pugixml.hpp>
#include <string_view>
#include <utility>

#include "vexa/common/InterfaceBox.h"
#include "vexa/util/TextEncoding.h"
#include "vexa/util/TextPosition.h"
#include "vexa/util/XmlDocument.h"

namespace vexa {
namespace {

// Only elements and attributes are asked for: no nodes for texts, comments and the like.
constexpr unsigned kParseOptions =
    pugi::parse_escapes | pugi::parse_wconv_attribute | pugi::parse_embed_pcdata;

pugi::xml_node SkipToElement(pugi::xml_node node) {
    while (node && node.type() != pugi::node_element) node = node.next_sibling();
    return node;
}

pugi::xml_node FirstElement(pugi::xml_node parent) {
    return SkipToElement(parent.first_child());
}
pugi::xml_node NextElement(pugi::xml_node element) {
    return SkipToElement(element.next_sibling());
}

std::size_t CountElements(pugi::xml_node parent) {
    std::size_t count = 0;
    for (auto child = FirstElement(parent); child; child = NextElement(child)) ++count;
    return count;
}

pugi::xml_node ChildOfName(pugi::xml_node parent, std::string_view name) {
    pugi::xml_node child = FirstElement(parent);
    while (child && child.name() != name) child = NextElement(child);
    return child;
}

const std::string& NoText() {
    static const std::string& text = *new std::string;  // views may outlive `main`
    return text;
}

}  // namespace

namespace xml {

pugi::xml_node Node(void* handle) {
    return pugi::xml_node(static_cast<pugi::xml_node_struct*>(handle));
}

pugi::xml_node Descend(pugi::xml_node node, std::string_view path) {
    while (node && !path.empty()) {
        const std::size_t end = path.find('/');
        node = ChildOfName(node, path.substr(0, end));
        path = end == path.npos ? std::string_view() : path.substr(end + 1);
    }
    return node;
}

}  // namespace xml

using xml::Descend;
using xml::Node;

std::string_view XmlElement::Name() const {
    return Node(m_node).name();
}

const char* XmlElement::Attribute(const std::string& name) const {
    const pugi::xml_attribute found = Node(m_node).attribute(name.c_str());
    return found ? found.value() : nullptr;
}

XmlElement XmlElement::FirstChild() const {
    return XmlElement(FirstElement(Node(m_node)).internal_object());
}

XmlElement XmlElement::NextSibling() const {
    return XmlElement(NextElement(Node(m_node)).internal_object());
}

XmlElement XmlElement::Next() const {
    pugi::xml_node at = Node(m_node);
    if (const pugi::xml_node child = FirstElement(at)) return XmlElement(child.internal_object());
    while (at) {
        if (const pugi::xml_node next = NextElement(at)) return XmlElement(next.internal_object());
        at = at.parent();
    }
    return {};
}

XmlDoc::XmlDoc() = default;
XmlDoc::~XmlDoc() = default;
XmlDoc::XmlDoc(const XmlDoc&) = default;
XmlDoc& XmlDoc::operator=(const XmlDoc&) = default;
XmlDoc::XmlDoc(XmlDoc&& other) noexcept {
    *this = std::move(other);
}

XmlDoc& XmlDoc::operator=(XmlDoc&& other) noexcept {
    std::swap(m_document, other.m_document);
    std::swap(m_node, other.m_node);
    std::swap(m_cursor, other.m_cursor);
    return *this;
}

XmlDoc::XmlDoc(std::shared_ptr<Document> document, void* node)
    : m_document(std::move(document)), m_node(node) {}

void XmlDoc::CreateEmptyDocument(const std::string& rootName) {
    auto document = std::make_shared<Document>();
    const pugi::xml_node root = document->dom.append_child(rootName.c_str());
    document->made.insert(root.internal_object());
    *this = XmlDoc(std::move(document), root.internal_object());
}

bool XmlDoc::OpenFile(const std::string& path) {
    FilePtr file = InterfaceBox::Instance().GetFileService().ReadFile(path);
    if (!file) return Fail("the file cannot be read");
    try {
        std::string text(file->GetData(), file->GetSize());
        file.reset();
        return OpenText(std::move(text));
    } catch (const std::bad_alloc&) {
        return Fail("out of memory");
    }
}

bool XmlDoc::OpenText(std::string text) {
    *this = XmlDoc(std::make_shared<Document>(), nullptr);
    m_document->source = std::move(text);
    try {
        return Parse();
    } catch (const std::bad_alloc&) {
        return Fail("out of memory");
    }
}

bool XmlDoc::Parse() {
    Document& document = *m_document;
    document.encoding = DetectXmlEncoding(document.source);
    document.text = DecodeToUtf8(document.source, document.encoding);
    const pugi::xml_parse_result result = document.dom.load_buffer_inplace(
        document.text.data(), document.text.size(), kParseOptions, pugi::encoding_utf8);
    if (!result) return Refuse(static_cast<std::size_t>(result.offset), result.description());
    m_node = FirstElement(document.dom).internal_object();
    return true;
}

bool XmlDoc::Fail(std::string reason) {
    *this = XmlDoc(std::make_shared<Document>(), nullptr);
    m_document->error = std::move(reason);
    return false;
}

// What is wrong is worked out when somebody asks: many files are only tried.
bool XmlDoc::Refuse(std::size_t offset, const char* reason) {
    const std::shared_ptr<Document> refused = m_document;
    Fail("");
    m_document->refusal =
        Document::Refusal{std::move(refused->source), refused->encoding, offset, reason};
    return false;
}

const std::string& XmlDoc::GetError() const {
    if (!m_document) return NoText();
    if (std::optional<Document::Refusal>& refusal = m_document->refusal) {
        m_document->error = refusal->Describe();
        refusal.reset();
    }
    return m_document->error;
}

std::string XmlDoc::Document::Refusal::Describe() const {
    const std::string_view why = reason;
    if (encoding == TextEncoding::Utf8) return DescribeAt(source, offset, AsReason(why));
    return DescribeAt(DecodeToUtf8(source, encoding), offset, AsReason(why));
}

std::size_t XmlDoc::GetRootCount() const {
    return m_document ? CountElements(m_document->dom) : 0;
}

XmlDoc XmlDoc::GetRoot(std::size_t index) const {
    if (!m_document) return {};
    const XmlDoc whole(m_document, m_document->dom.internal_object());
    return whole.SetChildDocument("", index);
}

bool XmlDoc::IsNull() const {
    return m_node == nullptr;
}

bool XmlDoc::GetName(std::string& out, const std::string& path) const {
    const pugi::xml_node node = Descend(Node(m_node), path);
    out = node.name();
    return !node.empty();
}

XmlDoc::Cursor& XmlDoc::CursorOf(void* parent) const {
    const std::size_t additions = m_document ? m_document->additions : 0;
    if (m_cursor.parent != parent || m_cursor.additions != additions) {
        m_cursor = Cursor();
        m_cursor.parent = parent;
        m_cursor.additions = additions;
    }
    return m_cursor;
}

std::size_t XmlDoc::GetChildCount(const std::string& path) const {
    const pugi::xml_node parent = Descend(Node(m_node), path);
    Cursor& cursor = CursorOf(parent.internal_object());
    if (cursor.count == npos) cursor.count = CountElements(parent);
    return cursor.count;
}

XmlDoc XmlDoc::SetChildDocument(const std::string& path, std::size_t index) const {
    const pugi::xml_node parent = Descend(Node(m_node), path);
    Cursor& cursor = CursorOf(parent.internal_object());
    const bool onward = cursor.child && cursor.index <= index;
    if (!onward) cursor.index = 0;
    pugi::xml_node child = onward ? Node(cursor.child) : FirstElement(parent);
    for (; child && cursor.index < index; ++cursor.index) child = NextElement(child);
    cursor.child = child.internal_object();
    return XmlDoc(m_document, cursor.child);
}

bool XmlDoc::GetAttribute(const std::string& path, const std::string& attribute, std::string& out,
                          const std::string& fallback) const {
    const pugi::xml_attribute found = Descend(Node(m_node), path).attribute(attribute.c_str());
    out = found ? found.value() : fallback;
    return !found.empty();
}

std::size_t XmlDoc::GetAttributeOffset(const std::string& path,
                                       const std::string& attribute) const {
    const pugi::xml_attribute found = Descend(Node(m_node), path).attribute(attribute.c_str());
    if (!found) return npos;
    return m_document->OffsetOf(found);
}

std::size_t XmlDoc::LineOf(std::size_t offset) const {
    if (!m_document) return 1;
    std::optional<LineIndex>& lines = m_document->lines;
    if (!lines)
        lines = m_document->WithOriginalText([](std::string_view text) { return LineIndex(text); });
    return lines->LineOf(offset);
}

const std::string& XmlDoc::GetSource() const {
    return m_document ? m_document->source : NoText();
}

}  // namespace vexa
