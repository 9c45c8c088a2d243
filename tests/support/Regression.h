#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

namespace vexa::test {

// Holds a reader to the folders "accepted" and "refused" of tests/regression/NAME.
template <class Accepts>
void ExpectPastInputs(const std::string& name, const Accepts& accepts) {
    std::set<std::string> folders;
    for (const auto& entry :
         std::filesystem::recursive_directory_iterator(VX_SOURCE_DIR "/tests/regression/" + name)) {
        if (!entry.is_regular_file()) continue;
        std::ifstream stream(entry.path(), std::ios::binary);
        const std::string folder = entry.path().parent_path().filename();
        EXPECT_EQ(accepts(std::string{std::istreambuf_iterator<char>(stream), {}}),
                  folder == "accepted")
            << entry.path();
        folders.insert(folder);
    }
    EXPECT_EQ(folders, (std::set<std::string>{"accepted", "refused"}));
}

}  // namespace vexa::test
