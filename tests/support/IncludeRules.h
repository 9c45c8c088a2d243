#pragma once

#include <algorithm>
#include <string>
#include <vector>

namespace vexa::test {

// How includes are found, rule by rule and character by character: slow, and plain to see.
inline std::vector<std::string> IncludesByRules(const std::string& text) {
    constexpr const char* kSpace = " \t\n\v\f\r";
    bool comment = false, include = false, inName = false;
    std::string buffer;
    std::vector<std::string> names;
    for (std::size_t begin = 0; begin <= text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        const std::string line = text.substr(begin, end - begin);
        begin = end + 1;
        for (std::size_t i = 0; i < line.size(); ++i) {
            const char c = line[i];
            const char next = i + 1 < line.size() ? line[i + 1] : '\0';
            if (!inName && (c == ' ' || c == '\t')) continue;
            if (include && inName && c != '"') {
                buffer += c;
                continue;
            }
            if (c == '*' && next == '/' && comment) {
                comment = false;  // the "/" is looked at next
                continue;
            }
            if (comment) continue;
            if (c == '/') {
                if (next == '/') break;
                if (next == '*') comment = true, ++i;
            } else if (c == '#') {
                while (i + 1 < line.size() && (line[i + 1] == ' ' || line[i + 1] == '\t')) ++i;
                if (line.compare(i + 1, 7, "include") == 0) include = true, i += 7;
            } else if (c == '"' && include && inName) {
                include = inName = false;
                buffer.erase(0, std::min(buffer.find_first_not_of(kSpace), buffer.size()));
                buffer.resize(buffer.find_last_not_of(kSpace) + 1);
                names.push_back(buffer);
                buffer.clear();
            } else if ((c == '"' || c == '<') && include) {
                inName = true;
            }
        }
    }
    return names;
}

}  // namespace vexa::test
