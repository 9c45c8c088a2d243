#include "vexa/io/JsonWriter.h"

#include <rapidjson/document.h>
#include <rapidjson/prettywriter.h>

#include <algorithm>
#include <cmath>

#include "vexa/io/JsonText.h"
#include "vexa/io/JsonWalk.h"

namespace vexa::ujson {
namespace {

// Blanks must not outgrow by far what is written: deeper lines start at the margin.
constexpr std::size_t kIndentedLevels = 64;
constexpr std::size_t kWidestIndent = 16;

// Integers up to here are doubles without loss.
constexpr double kExactInteger = 9007199254740992.0;

// The library's output: a text in which one character is spelled in another way.
class TextSink {
public:
    using Ch = char;

    TextSink(char special, std::string_view spelling) : m_special(special), m_spelling(spelling) {}

    void Put(char c) { c == m_special ? m_text.append(m_spelling) : m_text.append(1, c); }
    void Flush() {}

    std::string& Text() { return m_text; }

private:
    std::string m_text;
    char m_special;
    std::string_view m_spelling;
};

rapidjson::SizeType LengthOf(std::string_view text) {
    return static_cast<rapidjson::SizeType>(text.size());
}

bool EscapesSlashes(std::string_view literal) {
    bool escapes = false;
    for (std::size_t i = 0; i < literal.size(); ++i) {
        if (literal[i] == '/') return false;
        if (literal[i] == '\\') escapes |= literal[++i] == '/';
    }
    return escapes;
}

struct Indent {
    char blank;
    unsigned count;
};

// That of the first line that has any and is not within a comment, as far as its start tells.
Indent IndentOf(std::string_view source, unsigned fallback) {
    for (std::size_t feed = source.find('\n'); feed != source.npos;
         feed = source.find('\n', feed + 1)) {
        const std::string_view line = source.substr(feed + 1);
        const std::size_t size = line.find_first_not_of(" \t");
        if (size == 0 || size == line.npos) continue;
        if (std::string_view("\r\n/*").find(line[size]) != source.npos) continue;
        const std::size_t run = std::min(size, line.find_first_not_of(line[0]));
        return {line[0], static_cast<unsigned>(std::min(run, kWidestIndent))};
    }
    return {' ', fallback};
}

// How the source spells a number at an offset; "" when it does not have this number there.
std::string_view SpellingOf(double number, std::string_view source, std::size_t offset) {
    if (offset >= source.size()) return {};
    const std::string_view rest = source.substr(offset);
    const auto end = std::ranges::find_if_not(rest, IsOfNumber);
    const std::string_view spelling(rest.begin(), end);
    rapidjson::Document parsed;
    parsed.Parse(spelling.data(), spelling.size());
    const bool same = !parsed.HasParseError() && parsed.GetDouble() == number;
    return same ? spelling : std::string_view();
}

class DocumentWriter {
public:
    DocumentWriter(const value& root, std::string_view source, Indent indent)
        : m_walk(root),
          m_source(source),
          m_indent(indent),
          m_sink('\n', source.find("\r\n") == source.npos ? "\n" : "\r\n"),
          m_writer(m_sink) {}

    std::string Written() {
        if (m_source.starts_with(kUtf8Mark)) m_sink.Text() = kUtf8Mark;
        Write(*m_walk.Next());
        while (m_walk.Depth() > 0) {
            if (const std::string* const name = m_walk.NextName())
                m_writer.Key(name->data(), LengthOf(*name));
            const value* const next = m_walk.Next();
            next ? Write(*next) : Close();
        }
        if (m_source.ends_with('\n')) m_sink.Put('\n');
        return std::move(m_sink.Text());
    }

private:
    void Write(const value& v) {
        switch (v.type()) {
            case value::kind::Null:
                m_writer.Null();
                break;
            case value::kind::Boolean:
                m_writer.Bool(v.to_bool(false));
                break;
            case value::kind::Number:
                WriteNumber(v.to_double(0), v.offset());
                break;
            case value::kind::String:
                m_writer.String(v.text().data(), LengthOf(v.text()));
                break;
            case value::kind::Array:
            case value::kind::Object:
                Open(v);
                break;
        }
    }

    void WriteNumber(double number, std::size_t offset) {
        const std::string_view spelling = SpellingOf(number, m_source, offset);
        if (!spelling.empty()) {
            m_writer.RawValue(spelling.data(), spelling.size(), rapidjson::kNumberType);
        } else if (std::trunc(number) == number && std::abs(number) <= kExactInteger) {
            m_writer.Int64(static_cast<std::int64_t>(number));
        } else {
            m_writer.Double(number);
        }
    }

    void Open(const value& list) {
        list.is_object() ? m_writer.StartObject() : m_writer.StartArray();
        m_walk.Enter(list);
        SetIndent();
    }

    void Close() {
        const bool object = m_walk.Leave().is_object();
        SetIndent();
        object ? m_writer.EndObject() : m_writer.EndArray();
    }

    void SetIndent() {
        m_writer.SetIndent(m_indent.blank, m_walk.Depth() <= kIndentedLevels ? m_indent.count : 0);
    }

    ValueWalk m_walk;
    std::string_view m_source;
    Indent m_indent;
    TextSink m_sink;
    rapidjson::PrettyWriter<TextSink> m_writer;
};

}  // namespace

std::string EscapedString(std::string_view text, std::string_view old) {
    TextSink sink('/', EscapesSlashes(old) ? "\\/" : "/");
    rapidjson::Writer<TextSink>(sink).String(text.data(), LengthOf(text));
    return sink.Text().substr(1, sink.Text().size() - 2);
}

std::string WrittenDocument(const value& root, std::string_view source,
                            const to_string_options& options) {
    return DocumentWriter(root, source, IndentOf(source, options.indent)).Written();
}

}  // namespace vexa::ujson
