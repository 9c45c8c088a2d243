#include "vxdependency/generators/DependencySpr.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "vexa/common/InterfaceBox.h"
#include "vexa/util/TextPosition.h"
#include "vxdependency/generators/ReferenceCollector.h"
#include "vxdependency/generators/ReferenceObserver.h"

namespace vexa {

namespace {

constexpr std::size_t kLongestLine = 284;
constexpr std::string_view kLineBreaks = "\r\n";

// Goes through the lines of a text.
class LineReader {
public:
    explicit LineReader(std::string_view text) : m_text(text) {}

    // Reads the next line, cut at the longest that a sprite has, as a zero-terminated text.
    void Read(char (&line)[kLongestLine + 1]) {
        m_start = m_next;
        const std::size_t end = std::min(m_text.find_first_of(kLineBreaks, m_next), m_text.size());
        const std::size_t length = m_text.substr(m_next, end - m_next).copy(line, kLongestLine);
        line[length] = '\0';
        m_next = std::min(m_text.find_first_not_of(kLineBreaks, end), m_text.size());
    }

    // Where the line that was read last begins.
    std::size_t Start() const { return m_start; }
    bool AtEnd() const { return m_next == m_text.size(); }

private:
    std::string_view m_text;
    std::size_t m_start = 0;
    std::size_t m_next = 0;
};

}  // namespace

bool CDependencySpr::GenerateDependency(const std::string& file, List& dependencies, List&) {
    const FilePtr contents = InterfaceBox::Instance().GetFileService().ReadFile(file);
    if (!contents) return false;
    const std::string_view text(contents->GetData(), contents->GetSize());

    LineReader reader(text);
    char line[kLongestLine + 1];
    for (int i = 0; i < 4; ++i) reader.Read(line);
    // The line is read as a number, too, by which nothing goes: it counts no lines and picks none.
    [[maybe_unused]] const long number = std::strtol(line, nullptr, 10);
    if (reader.AtEnd()) return false;

    const std::string_view fourth(line);
    std::string image(fourth.substr(0, fourth.find(' ')));
    const ReferenceSite site([&] {
        return ReferencePlace{reader.Start(), PositionOf(text, reader.Start()).line, "image"};
    });
    ReportPaths(file, image, {&image, 1}, site);
    dependencies.push_back(std::move(image));
    return true;
}

bool CDependencySpr::RemoveReference(const std::string&, const std::string&) {
    return true;
}

bool CDependencySpr::RenameReference(const std::string&, const std::string&, const std::string&) {
    return true;
}

const RuleData* CDependencySpr::FindRuleEntry(const std::string&, const std::string&) {
    return nullptr;
}

}  // namespace vexa
