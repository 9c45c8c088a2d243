#pragma once

#include <optional>
#include <string>

namespace vexa {

// The two configuration files of the built-in package.
struct Configuration {
    std::string xmlPath;
    std::string jsonPath;

    // Where they lie now; the files need not exist.
    static Configuration Locate();

    // The first of the two that does not exist; "" when both do.
    std::string FirstMissing() const;

    // Creates the generators that the files describe, then those that need no description. Returns
    // what is wrong with a file that cannot be used, "" when nothing is.
    // std::out_of_range ("invalid vector subscript") when an element of a rule list is too short.
    std::string CreateGenerators() const;

    // A text that changes whenever the same resource file may be read differently: when the
    // content of a file changes, or our way of reading. Nothing when a file cannot be parsed.
    std::optional<std::string> Fingerprint() const;
};

}  // namespace vexa
