#include "vexa/io/JsonData.h"

#include <rapidjson/error/en.h>

#include <new>
#include <string_view>

#include "vexa/common/InterfaceBox.h"
#include "vexa/io/JsonText.h"
#include "vexa/util/TextPosition.h"

namespace vexa {
namespace ujson {
namespace {

std::size_t NumberBegin(std::string_view text, std::size_t end) {
    while (end > 0 && IsOfNumber(text[end - 1])) --end;
    return end;
}

}  // namespace

// Builds the tree from the parser's events. The open lists are kept as pointers: a list is only
// appended to while no list below it is open.
class value_builder : public NumbersAsDoubles<value_builder> {
public:
    value_builder(const std::string& text, const TextStream& stream, value& root)
        : m_text(text), m_stream(stream), m_root(root) {}

    bool TooMany() const { return m_count > kValueLimit; }

    bool Null() { return Add(value(), End() - 4); }
    bool Bool(bool flag) { return Add(value(flag), End() - (flag ? 4 : 5)); }
    bool Double(double number) { return Add(value(number), NumberBegin(m_text, End())); }
    bool String(const char* text, rapidjson::SizeType length, bool) {
        return Add(value(std::string(text, length)), StringBegin(m_text, End()));
    }
    bool Key(const char* text, rapidjson::SizeType length, bool) {
        m_key.assign(text, length);
        return true;
    }
    // A list is announced while the parser still stands on its bracket.
    bool StartObject() { return Add(value(value::kind::Object), End()); }
    bool StartArray() { return Add(value(value::kind::Array), End()); }
    bool EndObject(rapidjson::SizeType) { return Close(); }
    bool EndArray(rapidjson::SizeType) { return Close(); }

private:
    std::size_t End() const { return m_stream.Tell(); }

    bool Add(value v, std::size_t offset) {
        if (++m_count > kValueLimit) return false;
        v.m_offset = offset;
        value& placed = Place(std::move(v));
        if (placed.is_object() || placed.is_array()) m_open.push_back(&placed);
        return true;
    }

    value& Place(value v) {
        if (m_open.empty()) return m_root = std::move(v);
        value& list = *m_open.back();
        if (list.is_array()) return list.to_array().emplace_back(std::move(v));
        return list.to_object().emplace_back(std::move(m_key), std::move(v)).second;
    }

    bool Close() {
        m_open.pop_back();
        return true;
    }

    std::string_view m_text;
    const TextStream& m_stream;
    value& m_root;
    std::vector<value*> m_open;
    std::string m_key;
    std::size_t m_count = 0;
};

}  // namespace ujson

namespace vxio {
JsonData::JsonData() = default;
JsonData::~JsonData() = default;
JsonData::JsonData(JsonData&&) noexcept = default;
JsonData& JsonData::operator=(JsonData&&) noexcept = default;

int JsonData::Load(const std::string& path) {
    FilePtr file = InterfaceBox::Instance().GetFileService().ReadFile(path);
    if (!file) return Fail("the file cannot be read");
    try {
        std::string text(file->GetData(), file->GetSize());
        file.reset();
        if (LoadText(std::move(text)) != 0) return -1;
        m_path = InterfaceBox::Instance().GetFileService().AbsolutePath(path);
        return 0;
    } catch (const std::bad_alloc&) {
        return Fail("out of memory");
    }
}

int JsonData::LoadText(std::string text) {
    m_source = std::move(text);
    m_path.clear();
    m_error.clear();
    m_root = nullptr;
    m_lines.reset();
    if (ujson::IsWideText(m_source))
        return Fail("the text is UTF-16 or UTF-32; JSON is read as UTF-8");
    const std::size_t nul = m_source.find('\0');
    if (nul != m_source.npos) return Fail(DescribeAt(m_source, nul, "a NUL byte"));
    try {
        return Parse();
    } catch (const std::bad_alloc&) {
        return Fail("out of memory");
    }
}

int JsonData::Parse() {
    ujson::TextStream stream(m_source);
    auto root = std::make_unique<ujson::value>();
    ujson::value_builder builder(m_source, stream, *root);
    const rapidjson::ParseResult result = ujson::ReadEvents(stream, builder);
    if (builder.TooMany()) return Fail("the document has too many values");
    if (!result) {
        return Fail(DescribeAt(m_source, result.Offset(),
                               AsReason(rapidjson::GetParseError_En(result.Code()))));
    }
    m_root = std::move(root);
    return 0;
}

int JsonData::Fail(std::string reason) {
    m_error = std::move(reason);
    m_source.clear();
    m_root = nullptr;
    return -1;
}

ujson::value* JsonData::GetRoot() {
    return m_root.get();
}

std::size_t JsonData::LineOf(std::size_t offset) const {
    if (!m_lines) m_lines.emplace(m_source);
    return m_lines->LineOf(offset);
}

}  // namespace vxio
}  // namespace vexa
