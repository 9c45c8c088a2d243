#pragma once

#include <cstdint>
#include <vector>

#include "bench/tree/Random.h"

namespace bench {

// Which textures the documents of a project name. The users of a texture fall with its rank as in
// real projects (Zipf's law): a few have very many, most have one or two.
class Popularity {
public:
    struct Plan {
        std::uint64_t textures;
        std::uint64_t documents;
        std::uint64_t references;  // of the documents to textures, about
        std::uint64_t mostUsers;   // that a texture has; several have just as many
    };
    Popularity(const Plan& plan, Random& random);

    // The textures of the next document, each once: about `count`.
    std::vector<std::uint64_t> NextDocument(std::size_t count);
    // Textures for anything else, each once; none of those with very many users.
    std::vector<std::uint64_t> AnyOf(std::size_t count);

    // The texture whose users come closest to so many, among those that only documents name.
    std::uint64_t DocumentsFavouriteOf(std::uint64_t users) const;

    // By texture.
    const std::vector<std::uint64_t>& Users() const { return m_users; }

private:
    // A texture that a fair part of the documents name; they are drawn so that the number is exact.
    struct Favourite {
        std::uint64_t texture;
        std::uint64_t left;
    };

    void Use(std::uint64_t texture, std::vector<std::uint64_t>& textures);
    void Fill(std::size_t count, std::vector<std::uint64_t>& textures);
    std::uint64_t Draw();

    Random& m_random;
    std::uint64_t m_documentsLeft;
    std::vector<Favourite> m_favourites;
    std::vector<std::uint64_t> m_others;  // textures
    std::vector<double> m_weights;        // of the others, added up
    std::vector<std::uint64_t> m_users;
};

}  // namespace bench
