#include "vxdependency/generators/IncludeScan.h"

#include <algorithm>
#include <array>
#include <utility>

namespace vexa {

namespace {

constexpr std::string_view kWord = "include";
constexpr std::string_view kBlanks = " \t";
constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";

// The characters that may mean something outside of comments and names.
constexpr auto kMarks = [] {
    std::array<bool, 256> marks{};
    for (const unsigned char mark : std::string_view("/#\"<")) marks[mark] = true;
    return marks;
}();

class Scan {
public:
    explicit Scan(std::string_view text) : m_text(text) {}

    std::vector<IncludeName> Run() {
        while (FindMark()) TakeMark();
        return std::move(m_found);
    }

private:
    bool FindMark() {
        while (m_at < m_text.size() && !kMarks[static_cast<unsigned char>(m_text[m_at])]) ++m_at;
        return m_at < m_text.size();
    }

    void TakeMark() {
        const char mark = m_text[m_at++];
        if (mark == '/') {
            SkipComment();
        } else if (mark == '#') {
            TakeDirective();
        } else if (m_expectsName) {
            TakeName();
        }
    }

    // Goes on at `position`, or at the end.
    void MoveTo(std::size_t position) { m_at = std::min(position, m_text.size()); }

    void SkipComment() {
        const std::string_view rest = m_text.substr(m_at);
        if (rest.starts_with('/')) {
            MoveTo(m_text.find('\n', m_at));
        } else if (rest.starts_with('*')) {
            SkipBlockComment();
        }
    }

    // Goes on at the "/" of the "*/", since that may begin the next comment. Looks for the "/":
    // comments are full of "*".
    void SkipBlockComment() {
        const std::size_t body = m_at + 1;
        std::size_t slash = m_text.find('/', body + 1);
        while (slash != m_text.npos && m_text[slash - 1] != '*') {
            slash = m_text.find('/', slash + 1);
        }
        MoveTo(slash);
    }

    void TakeDirective() {
        MoveTo(m_text.find_first_not_of(kBlanks, m_at));
        if (!m_text.substr(m_at).starts_with(kWord)) return;
        m_at += kWord.size();
        m_expectsName = true;
    }

    void TakeName() {
        const std::size_t begin = m_at;
        const std::size_t end = m_text.find('"', begin);
        if (end != m_text.npos) {
            AddName(begin, end);
            m_expectsName = false;
        }
        MoveTo(end == m_text.npos ? end : end + 1);
    }

    void AddName(std::size_t begin, std::size_t end) {
        const std::size_t first = std::min(m_text.find_first_not_of(kWhiteSpace, begin), end);
        std::string name(m_text.substr(first, end - first));
        name.resize(name.find_last_not_of(kWhiteSpace) + 1);  // npos + 1 is 0
        std::erase(name, '\n');
        m_found.push_back({std::move(name), first, LineOf(first)});
    }

    // To be asked in ascending order.
    std::size_t LineOf(std::size_t offset) {
        const std::string_view passed = m_text.substr(m_lineKnownAt, offset - m_lineKnownAt);
        m_line += static_cast<std::size_t>(std::count(passed.begin(), passed.end(), '\n'));
        m_lineKnownAt = offset;
        return m_line;
    }

    std::string_view m_text;
    std::size_t m_at = 0;
    bool m_expectsName = false;
    std::size_t m_line = 1;
    std::size_t m_lineKnownAt = 0;
    std::vector<IncludeName> m_found;
};

}  // namespace

std::vector<IncludeName> ScanIncludes(std::string_view text) {
    return Scan(text).Run();
}

}  // namespace vexa
