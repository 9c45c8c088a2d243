// The saving side of the JSON document.

#include <new>

#include "vexa/common/InterfaceBox.h"
#include "vexa/io/JsonData.h"
#include "vexa/io/JsonText.h"
#include "vexa/io/JsonWalk.h"
#include "vexa/io/JsonWriter.h"
#include "vexa/util/TextSplices.h"

namespace vexa {
namespace ujson {
namespace {

// Compares the source's events with the values, so that values need not remember what they were.
// Strings of another text become splices; an event is refused when anything else differs.
class StringChanges : public NumbersAsDoubles<StringChanges> {
public:
    StringChanges(const std::string& source, const TextStream& stream, const value& root)
        : m_source(source), m_stream(stream), m_walk(root) {}

    std::vector<Splice> Take() { return std::move(m_splices); }

    bool Null() { return Next(value::kind::Null) != nullptr; }
    bool Bool(bool flag) {
        const value* const v = Next(value::kind::Boolean);
        return v && v->to_bool(!flag) == flag;
    }
    bool Double(double number) {
        const value* const v = Next(value::kind::Number);
        return v && v->to_double(0) == number;
    }
    bool String(const char* text, rapidjson::SizeType length, bool) {
        const value* const v = Next(value::kind::String);
        if (v && v->text() != std::string_view(text, length)) Replace(v->text());
        return v;
    }
    bool Key(const char* text, rapidjson::SizeType length, bool) {
        const std::string* const name = m_walk.NextName();
        return name && *name == std::string_view(text, length);
    }
    bool StartObject() { return Enter(value::kind::Object); }
    bool StartArray() { return Enter(value::kind::Array); }
    bool EndObject(rapidjson::SizeType) { return Leave(); }
    bool EndArray(rapidjson::SizeType) { return Leave(); }

private:
    const value* Next(value::kind type) {
        const value* const v = m_walk.Next();
        return v && v->type() == type ? v : nullptr;
    }

    // The parser stands behind the old literal.
    void Replace(std::string_view text) {
        const std::size_t end = m_stream.Tell() - 1;
        const std::size_t begin = StringBegin(m_source, end + 1) + 1;
        const std::string_view old = m_source.substr(begin, end - begin);
        m_splices.push_back({begin, old.size(), EscapedString(text, old)});
    }

    bool Enter(value::kind type) {
        const value* const list = Next(type);
        if (list) m_walk.Enter(*list);
        return list;
    }
    bool Leave() {
        if (m_walk.Next()) return false;
        m_walk.Leave();
        return true;
    }

    std::string_view m_source;
    const TextStream& m_stream;
    ValueWalk m_walk;
    std::vector<Splice> m_splices;
};

}  // namespace
}  // namespace ujson

namespace vxio {

std::string JsonData::ToText(const ujson::to_string_options& options) const {
    if (!m_root) return "";
    ujson::TextStream stream(m_source);
    ujson::StringChanges changes(m_source, stream, *m_root);
    if (!ujson::ReadEvents(stream, changes)) {
        return ujson::WrittenDocument(*m_root, m_source, options);
    }
    return ApplySplices(m_source, TextEncoding::Utf8, m_source, changes.Take());
}

int JsonData::Save(const std::string& path, const ujson::to_string_options& options) {
    m_error.clear();
    IFileService& files = InterfaceBox::Instance().GetFileService();
    const std::string target = files.AbsolutePath(path);
    if (!m_root) {
        m_error = target + ": cannot be saved: no document is loaded";
        return -1;
    }
    try {
        const std::string text = ToText(options);
        if (text == m_source && target == m_path) return 0;
        return files.Save(target, text, m_error) ? 0 : -1;
    } catch (const std::bad_alloc&) {
        m_error = target + ": cannot be saved: out of memory";
        return -1;
    }
}

}  // namespace vxio
}  // namespace vexa
