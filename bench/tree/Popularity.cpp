#include "bench/tree/Popularity.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

namespace bench {

namespace {

constexpr double kExponent = 1.15;

// A texture that one document of so many names is a favourite.
constexpr std::uint64_t kFavouriteShare = 64;

double UsersAt(std::uint64_t rank, double scale, const Popularity::Plan& plan) {
    const double users = scale * std::pow(static_cast<double>(rank + 1), -kExponent);
    return std::min(users, static_cast<double>(plan.mostUsers));
}

double SumOfUsers(double scale, const Popularity::Plan& plan) {
    double sum = 0;
    for (std::uint64_t rank = 0; rank < plan.textures; ++rank) sum += UsersAt(rank, scale, plan);
    return sum;
}

// The scale at which all users add up to the references.
double ScaleFor(const Popularity::Plan& plan) {
    double low = 0;
    double high = static_cast<double>(plan.references) * 1000;
    for (int i = 0; i < 60; ++i) {
        const double middle = (low + high) / 2;
        const bool enough = SumOfUsers(middle, plan) >= static_cast<double>(plan.references);
        (enough ? high : low) = middle;
    }
    return high;
}

std::vector<std::uint64_t> Shuffled(std::uint64_t count, Random& random) {
    std::vector<std::uint64_t> numbers(count);
    std::iota(numbers.begin(), numbers.end(), 0);
    for (std::uint64_t i = count; i > 1; --i) std::swap(numbers[i - 1], numbers[random.Below(i)]);
    return numbers;
}

}  // namespace

Popularity::Popularity(const Plan& plan, Random& random)
    : m_random(random), m_documentsLeft(plan.documents), m_users(plan.textures) {
    const double scale = ScaleFor(plan);
    std::vector<std::uint64_t> byRank = Shuffled(plan.textures, random);
    std::uint64_t rank = 0;
    for (; rank < plan.textures; ++rank) {
        const auto users = static_cast<std::uint64_t>(UsersAt(rank, scale, plan));
        if (users < plan.documents / kFavouriteShare) break;
        m_favourites.push_back({byRank[rank], users});
    }
    double sum = 0;
    for (; rank < plan.textures; ++rank) {
        m_others.push_back(byRank[rank]);
        m_weights.push_back(sum += UsersAt(rank, scale, plan));
    }
}

void Popularity::Use(std::uint64_t texture, std::vector<std::uint64_t>& textures) {
    ++m_users[texture];
    textures.push_back(texture);
}

std::uint64_t Popularity::Draw() {
    constexpr std::uint64_t kSteps = std::uint64_t{1} << 52;
    const double at = m_weights.back() * static_cast<double>(m_random.Below(kSteps)) / kSteps;
    const auto found = std::upper_bound(m_weights.begin(), m_weights.end(), at);
    return m_others[static_cast<std::size_t>(found - m_weights.begin())];
}

void Popularity::Fill(std::size_t count, std::vector<std::uint64_t>& textures) {
    while (textures.size() < count) {
        const std::uint64_t texture = Draw();
        if (std::ranges::find(textures, texture) == textures.end()) Use(texture, textures);
    }
}

std::vector<std::uint64_t> Popularity::AnyOf(std::size_t count) {
    std::vector<std::uint64_t> textures;
    Fill(count, textures);
    return textures;
}

std::uint64_t Popularity::DocumentsFavouriteOf(std::uint64_t users) const {
    const auto distance = [&](const Favourite& favourite) {
        const std::uint64_t has = m_users[favourite.texture];
        return std::max(has, users) - std::min(has, users);
    };
    return std::ranges::min_element(m_favourites, {}, distance)->texture;
}

std::vector<std::uint64_t> Popularity::NextDocument(std::size_t count) {
    std::vector<std::uint64_t> textures;
    for (Favourite& favourite : m_favourites) {
        if (m_random.Below(m_documentsLeft) >= favourite.left) continue;
        --favourite.left;
        Use(favourite.texture, textures);
    }
    --m_documentsLeft;
    Fill(count, textures);
    return textures;
}

}  // namespace bench
