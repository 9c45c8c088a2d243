#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>

#include "vexa/common/InterfaceBox.h"

namespace vexa {

// What paths were found to be, until all of it is forgotten. Threads that plan a rename ask for a
// dozen paths a file, so that they would wait for one another at a single lock. Any thread may call.
class FileStates {
public:
    std::optional<FileState> Find(const std::string& path);

    // How often all was forgotten: what was looked at before then is not kept.
    std::uint64_t Age() const { return m_age; }
    void Keep(const std::string& path, const FileState& state, std::uint64_t age);
    void ForgetAll();

private:
    struct Part {
        std::mutex guard;
        std::unordered_map<std::string, FileState> states;
    };
    Part& PartOf(const std::string& path);

    std::array<Part, 64> m_parts;
    std::atomic<std::uint64_t> m_age{0};
};

}  // namespace vexa
