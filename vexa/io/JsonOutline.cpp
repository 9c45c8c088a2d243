#include "vexa/io/JsonOutline.h"

#include <new>
#include <utility>

#include "vexa/common/InterfaceBox.h"
#include "vexa/io/JsonText.h"

namespace vexa::vxio {

namespace {

// What an outline keeps for its next use, in bytes and in entries.
constexpr std::size_t kKept = 1U << 20U;

template <class Container>
void Empty(Container& container) {
    container.clear();
    if (container.capacity() > kKept / sizeof(container[0])) container = Container();
}

}  // namespace

// Takes the parser's events, or the values of a document in the same order.
class JsonOutline::Builder : public ujson::NumbersAsDoubles<Builder> {
public:
    explicit Builder(std::vector<Entry>& entries) : m_entries(entries) {}

    bool Null() { return AddScalar(); }
    bool Bool(bool) { return AddScalar(); }
    bool Double(double) { return AddScalar(); }
    bool String(const char* text, rapidjson::SizeType length, bool) {
        if (IsFull()) return false;
        Entry& entry = Add();
        entry.isString = true;
        entry.text = {text, length};
        return true;
    }
    bool Key(const char* text, rapidjson::SizeType length, bool) {
        Name({text, length});
        return true;
    }
    bool StartObject() { return StartList(false); }
    bool StartArray() { return StartList(true); }
    bool EndObject(rapidjson::SizeType) { return EndList(); }
    bool EndArray(rapidjson::SizeType) { return EndList(); }

    // Of the member that is added next.
    void Name(std::string_view name) { m_name = name; }

    Entry& Add() {
        Entry entry;
        entry.parent = m_list;
        entry.end = static_cast<std::uint32_t>(m_entries.size() + 1);
        if (!m_entries.empty()) TakeName(m_entries[m_list], entry);
        return m_entries.emplace_back(entry);
    }
    // Adds a list; what is added until it is closed is in it.
    Entry& Open(bool isArray) {
        Entry& list = Add();
        list.isArray = isArray;
        m_list = static_cast<std::uint32_t>(m_entries.size() - 1);
        return list;
    }
    void Close() {
        Entry& list = m_entries[m_list];
        list.end = static_cast<std::uint32_t>(m_entries.size());
        m_list = list.parent;
    }

private:
    bool IsFull() const { return m_entries.size() == ujson::kValueLimit; }
    bool AddScalar() {
        if (IsFull()) return false;
        Add();
        return true;
    }
    bool StartList(bool isArray) {
        if (IsFull()) return false;
        Open(isArray);
        return true;
    }
    bool EndList() {
        Close();
        return true;
    }
    void TakeName(const Entry& list, Entry& entry) const {
        entry.isMember = !list.isArray;
        entry.isNamed = entry.isMember || list.isNamed;
        entry.name = entry.isMember ? m_name : list.name;
    }

    std::vector<Entry>& m_entries;
    std::uint32_t m_list = 0;  // the innermost open one
    std::string_view m_name;   // of the member to come
};

bool JsonOutline::Load(const std::string& path) {
    Clear();
    m_file = InterfaceBox::Instance().GetFileService().ReadFile(path);
    if (!m_file) return Fail("the file cannot be read");
    try {
        m_text.assign(m_file->GetData(), m_file->GetSize());
        if (Parse()) return true;
        m_entries.clear();
        m_refused = true;
        return false;
    } catch (const std::bad_alloc&) {
        return Fail("out of memory");
    }
}

bool JsonOutline::Parse() {
    if (ujson::IsWideText(m_text) || m_text.find('\0') != std::string::npos) return false;
    constexpr unsigned kOptions = ujson::kReadOptions | rapidjson::kParseInsituFlag;
    const bool marked = m_text.starts_with(ujson::kUtf8Mark);
    rapidjson::InsituStringStream stream(m_text.data() + (marked ? ujson::kUtf8Mark.size() : 0));
    Builder builder(m_entries);
    return !rapidjson::Reader().Parse<kOptions>(stream, builder).IsError();
}

void JsonOutline::Outline(ujson::value& root) {
    struct Level {
        ujson::value* list;
        std::size_t next;
    };
    Clear();
    Builder builder(m_entries);
    std::vector<Level> open;  // not recursive: depth comes from the file
    const auto add = [&](ujson::value& value) {
        const bool isList = value.is_object() || value.is_array();
        Entry& entry = isList ? builder.Open(value.is_array()) : builder.Add();
        entry.isString = value.is_string();
        entry.value = &value;
        if (isList) open.push_back({&value, 0});
    };
    add(root);
    while (!open.empty()) {
        auto& [list, next] = open.back();
        ujson::object& members = list->to_object();
        ujson::array& elements = list->to_array();
        if (next == members.size() + elements.size()) {
            builder.Close();
            open.pop_back();
        } else if (list->is_object()) {
            auto& [name, value] = members[next++];
            builder.Name(name);
            add(value);
        } else {
            add(elements[next++]);
        }
    }
}

void JsonOutline::Clear() {
    m_file.reset();
    Empty(m_text);
    Empty(m_entries);
    m_error.clear();
    m_refused = false;
    m_lines.reset();
}

bool JsonOutline::Fail(std::string reason) {
    Clear();
    m_error = std::move(reason);
    return false;
}

// What is wrong is worked out when somebody asks: many files are only tried.
const std::string& JsonOutline::GetError() const {
    if (std::exchange(m_refused, false)) {
        JsonData document;
        document.LoadText({m_file->GetData(), m_file->GetSize()});
        m_error = document.GetError();
    }
    return m_error;
}

std::size_t JsonOutline::OffsetOf(const Entry& text) const {
    return static_cast<std::size_t>(text.text.data() - m_text.data());
}

std::size_t JsonOutline::LineOf(std::size_t offset) const {
    if (!m_lines) m_lines.emplace(std::string_view(m_file->GetData(), m_file->GetSize()));
    return m_lines->LineOf(offset);
}

}  // namespace vexa::vxio
