#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace bench {

struct Totals {
    long files = 0;
    long parsed = 0;
    long failed = 0;
    long values = 0;  // see Contents of the made trees
};

// Bytes of a file, with room for a NUL behind them. A parser may overwrite them.
struct Buffer {
    std::vector<char> bytes = std::vector<char>(1 << 16);
    std::size_t size = 0;

    std::string_view Text() const { return {bytes.data(), size}; }
};

// Parses files as the library does, with the same parsers, and counts what they hold.
class FileParsers {
public:
    // The extensions are those of the project's rules and of the formats that need none.
    explicit FileParsers(const std::string& project);

    using Parser = bool (*)(Buffer& buffer, Totals& totals);
    // The parser for a file name; null for none.
    Parser For(std::string_view name) const;

private:
    void AddRules(const std::string& file);

    std::unordered_map<std::string, Parser> m_byExtension;
};

}  // namespace bench
