// The floor under every scan: walks a project's resource tree on one thread, and reads and parses
// each file that the library reads, with the parsers of the library; nothing is resolved or stored.
// Prints as JSON what it met:
//
//   bench_floor PROJECT

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "bench/floor/FileParsers.h"

namespace bench {

namespace {

class Walk {
public:
    explicit Walk(const FileParsers& parsers) : m_parsers(parsers) {}

    // Takes the handle over.
    void Folder(int handle) {
        DIR* const folder = fdopendir(handle);
        if (!folder) return Fail("a folder");
        while (const dirent* entry = readdir(folder)) {
            if (entry->d_type == DT_DIR) {
                Below(dirfd(folder), entry->d_name);
            } else if (entry->d_type == DT_REG) {
                File(dirfd(folder), entry->d_name);
            }
        }
        closedir(folder);
    }

    const Totals& Sums() const { return m_totals; }

private:
    void Below(int folder, const char* name) {
        if (std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0) return;
        Folder(openat(folder, name, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    }

    void File(int folder, const char* name) {
        ++m_totals.files;
        const FileParsers::Parser parser = m_parsers.For(name);
        if (!parser) return;
        if (!Read(folder, name)) return Fail(name);
        ++(parser(m_buffer, m_totals) ? m_totals.parsed : m_totals.failed);
    }

    // A read that does not fill the buffer has met the file's end.
    bool Read(int folder, const char* name) {
        const int file = openat(folder, name, O_RDONLY | O_CLOEXEC);
        if (file < 0) return false;
        ssize_t got = 0;
        m_buffer.size = 0;
        for (;;) {
            const std::size_t room = m_buffer.bytes.size() - 1 - m_buffer.size;
            got = read(file, m_buffer.bytes.data() + m_buffer.size, room);
            if (got > 0) m_buffer.size += static_cast<std::size_t>(got);
            if (got < static_cast<ssize_t>(room)) break;
            m_buffer.bytes.resize(m_buffer.bytes.size() * 2);
        }
        close(file);
        m_buffer.bytes[m_buffer.size] = '\0';
        return got >= 0;
    }

    [[noreturn]] static void Fail(const char* what) {
        std::perror(what);
        std::exit(1);
    }

    const FileParsers& m_parsers;
    Buffer m_buffer;
    Totals m_totals;
};

}  // namespace

}  // namespace bench

int main(int count, char** arguments) {
    if (count != 2) {
        std::fputs("usage: bench_floor PROJECT\n", stderr);
        return 2;
    }
    const std::string project = arguments[1];
    const bench::FileParsers parsers(project);
    bench::Walk walk(parsers);
    walk.Folder(open((project + "/res").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const bench::Totals& sums = walk.Sums();
    std::printf("{\"files\": %ld, \"parsed\": %ld, \"failed\": %ld, \"values\": %ld}\n", sums.files,
                sums.parsed, sums.failed, sums.values);
    return 0;
}
