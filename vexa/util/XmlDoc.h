#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace vexa {

// An element of a document, for going through all of it: a handle that shares nothing, to be used
// while the document lives and gets no further elements.
class XmlElement {
public:
    XmlElement() = default;

    explicit operator bool() const { return m_node != nullptr; }

    std::string_view Name() const;
    // The attribute's value as XmlDoc::GetAttribute tells it; null when it is absent.
    const char* Attribute(const std::string& name) const;

    // Null when there is none.
    XmlElement FirstChild() const;
    XmlElement NextSibling() const;  // of a root: the next root
    // What stands behind the start of this element in the document: the first child, or what
    // follows where this one ends.
    XmlElement Next() const;

private:
    friend class XmlDoc;
    explicit XmlElement(void* node) : m_node(node) {}

    void* m_node = nullptr;  // the parser's handle
};

// An XML document, or a view of one node of it. Copies are views of the same document, which lives
// as long as one of them. One document must not be used by two threads at once.
//
// The document keeps the bytes of the file as they were read and knows for every attribute value
// where it stands in them, so that saving replaces just those bytes.
//
// `path` arguments name a descendant by element names joined with "/"; "" is the node itself.
class XmlDoc {
public:
    XmlDoc();
    ~XmlDoc();
    XmlDoc(const XmlDoc&);
    XmlDoc& operator=(const XmlDoc&);
    XmlDoc(XmlDoc&&) noexcept;
    XmlDoc& operator=(XmlDoc&&) noexcept;

    // Starts a document that has just an empty root element.
    void CreateEmptyDocument(const std::string& rootName);

    // Reads a file through the file service, in any encoding that its BOM or its declaration tells
    // (UTF-8, UTF-16, UTF-32, Latin-1). False when it cannot be read or is not well-formed;
    // GetError then says why, and the document is empty. Afterwards the view is on the first root
    // element. More is accepted than XML allows: several root elements, a declaration that is not
    // at the beginning, "<" in attribute values, "--" in comments, one name for two attributes,
    // undeclared entities (kept as they stand). External entities are never fetched.
    bool OpenFile(const std::string& path);

    // As OpenFile, from memory.
    bool OpenText(std::string text);

    // Why the last OpenFile or Save failed, "line 3, column 7: mismatched end tag"; "" if it did
    // not.
    const std::string& GetError() const;

    // The number of root elements, and a view on one of them (null view when out of range).
    std::size_t GetRootCount() const;
    XmlDoc GetRoot(std::size_t index) const;

    // The element that the view is on, null for a null view, and a view on an element of this
    // document.
    XmlElement GetElement() const { return XmlElement(m_node); }
    XmlDoc ViewOf(XmlElement element) const { return XmlDoc(m_document, element.m_node); }

    // True for a view on no node, as SetChildDocument gives when there is no such child.
    bool IsNull() const;

    // The element's name; false, with `out` empty, when there is no such node.
    bool GetName(std::string& out, const std::string& path) const;

    // The number of child elements (texts and comments do not count).
    std::size_t GetChildCount(const std::string& path) const;

    // A view on the index-th child element. Asking in ascending order is constant time each.
    XmlDoc SetChildDocument(const std::string& path, std::size_t index) const;

    // The attribute's value in UTF-8, character references resolved; `fallback` when it is absent,
    // and false. The first of several attributes of one name counts.
    bool GetAttribute(const std::string& path, const std::string& attribute, std::string& out,
                      const std::string& fallback) const;

    // Sets an attribute, adding it when it is absent. False when there is no such node, the name is
    // no XML name of ASCII characters, or the document cannot hold the value: control characters
    // other than tabs and line ends, and in other encodings than UTF-8 what is no UTF-8.
    bool SetAttribute(const std::string& path, const std::string& attribute,
                      const std::string& value);

    // Adds an element behind the other children and returns a view on it; a null view when there is
    // no such node, or the name is no XML name of ASCII characters.
    XmlDoc AddDocument(const std::string& path, const std::string& name);

    // Writes the document to a file, by a path in any form, at once and as a whole: a crash leaves
    // the old file or the new one. The new one has the bytes that were read, except for values that
    // were changed and for what was added, which takes after its neighbours; a file that has
    // these bytes already is not touched. False when nothing is open or the file cannot be
    // written; GetError then says why.
    bool Save(const std::string& path);

    // Where the attribute's value stands in the document's text: the offset of its first byte after
    // the quote, npos when the attribute is absent. In a document that is not UTF-8 the offset is
    // that in its text after conversion to UTF-8.
    static constexpr std::size_t npos = static_cast<std::size_t>(-1);
    std::size_t GetAttributeOffset(const std::string& path, const std::string& attribute) const;

    // The line, from 1, on which an offset stands.
    std::size_t LineOf(std::size_t offset) const;

    // The bytes of the file as they were read; "" for a document that was not read.
    const std::string& GetSource() const;

private:
    struct Document;

    // The child at which the last SetChildDocument stopped, so that the next one goes on from
    // there.
    struct Cursor {
        void* parent = nullptr;
        void* child = nullptr;
        std::size_t index = 0;
        std::size_t count = npos;   // of the parent's child elements, once somebody asked
        std::size_t additions = 0;  // to the document, when all this was true
    };

    XmlDoc(std::shared_ptr<Document> document, void* node);
    bool Parse();
    bool Fail(std::string reason);
    bool Refuse(std::size_t offset, const char* reason);
    Cursor& CursorOf(void* parent) const;

    std::shared_ptr<Document> m_document;  // null for a view on nothing that was never opened
    void* m_node = nullptr;                // the parser's handle of the node
    mutable Cursor m_cursor;
};

}  // namespace vexa
