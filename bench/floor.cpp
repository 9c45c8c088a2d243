// The floor under every scan: walks a tree on one thread, and reads and parses each file of the
// given extensions with the parser that the library uses, XML or JSON by its first byte; nothing is
// resolved or stored.
// bench_floor DIR EXTENSION...

#include <fcntl.h>
#include <fts.h>
#include <rapidjson/document.h>
#include <rapidjson/reader.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace {

struct Totals {
    long files = 0;
    long parsed = 0;
    long values = 0;  // attributes, strings
};

void ParseXml(std::vector<char>& bytes, Totals& totals) {
    pugi::xml_document document;
    if (!document.load_buffer_inplace(bytes.data(), bytes.size())) return;
    ++totals.parsed;
    struct Counter : pugi::xml_tree_walker {
        bool for_each(pugi::xml_node& node) override {
            for (const pugi::xml_attribute attribute : node.attributes()) {
                count += attribute.value()[0] != '\0';
            }
            return true;
        }
        long count = 0;
    } counter;
    document.traverse(counter);
    totals.values += counter.count;
}

// A document, like the one of the other parser, and a walk over it.
void ParseJson(std::vector<char>& bytes, Totals& totals) {
    rapidjson::Document document;
    constexpr unsigned kOptions = rapidjson::kParseIterativeFlag | rapidjson::kParseCommentsFlag;
    document.Parse<kOptions>(bytes.data(), bytes.size());
    if (document.HasParseError()) return;
    ++totals.parsed;
    struct Counter : rapidjson::BaseReaderHandler<rapidjson::UTF8<>, Counter> {
        bool String(const char*, rapidjson::SizeType length, bool) {
            count += length != 0;
            return true;
        }
        long count = 0;
    } counter;
    document.Accept(counter);
    totals.values += counter.count;
}

void Parse(const char* path, off_t size, std::vector<char>& buffer, Totals& totals) {
    const int file = open(path, O_RDONLY | O_CLOEXEC);
    if (file < 0) return;
    buffer.resize(static_cast<std::size_t>(size));
    const ssize_t got = read(file, buffer.data(), buffer.size());
    close(file);
    if (got <= 0) return;
    buffer.resize(static_cast<std::size_t>(got));
    if (buffer[0] == '{' || buffer[0] == '[') {
        ParseJson(buffer, totals);
    } else {
        ParseXml(buffer, totals);
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: bench_floor DIR EXTENSION...\n");
        return 2;
    }
    const std::unordered_set<std::string_view> extensions(argv + 2, argv + argc);
    char* const roots[] = {argv[1], nullptr};
    FTS* const walk = fts_open(roots, FTS_PHYSICAL | FTS_NOCHDIR, nullptr);
    if (!walk) {
        std::perror(argv[1]);
        return 1;
    }
    Totals totals;
    std::vector<char> buffer;
    while (const FTSENT* entry = fts_read(walk)) {
        if (entry->fts_info != FTS_F) continue;
        ++totals.files;
        const char* const dot = std::strrchr(entry->fts_name, '.');
        if (dot && extensions.count(dot + 1) != 0) {
            Parse(entry->fts_path, entry->fts_statp->st_size, buffer, totals);
        }
    }
    fts_close(walk);
    std::printf("%ld files, %ld parsed, %ld values\n", totals.files, totals.parsed, totals.values);
    return 0;
}
