#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace vexa {

// What a rename does, or would do. Files and resources are keys.
struct RenamePlan {
    struct Move {
        std::string from;
        std::string to;
    };
    // A reference that gets another text.
    struct Edit {
        std::string file;      // under its name after the rename
        std::size_t line = 0;  // from 1; 0 in a binary file
        std::string rule;      // that found it, for a person
        std::string oldText;
        std::string newText;
    };
    // A reference that was recorded and will not be there afterwards.
    struct Loss {
        std::string file;      // under its name after the rename
        std::size_t line = 0;  // 0 where it is not known
        std::string text;      // "" where it is not known
        std::string resource;  // that it named
        std::string expected;  // the resource's name after the rename
        std::string reason;
        bool unkept = false;  // it is there, but the store cannot keep one of the names
    };
    // A reference that will be there and was not: a text that is not rewritten names another file.
    struct Gain {
        std::string file;
        std::string resource;
    };

    std::vector<Move> moves;  // of files and folders, in their order
    std::vector<Edit> edits;
    std::vector<Loss> notRewritten;
    std::vector<Gain> appearing;
    std::vector<std::string> problems;  // why it cannot be done, for a person
};

struct RenameOptions {
    bool dryRun = false;  // only plan
    // Told how many files of how many have been planned; false stops it. May be empty.
    std::function<bool(std::size_t done, std::size_t total)> progress;
};

// What taking a rename back came to.
struct UndoReport {
    std::string title;                    // of the rename: "a.png -> b.png"
    std::vector<RenamePlan::Move> moves;  // back
    std::vector<std::string> files;       // keys of the files that get their old contents back
    std::vector<std::string> problems;    // why it cannot be done, for a person
};

}  // namespace vexa
