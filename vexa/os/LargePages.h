#pragma once

#include <cstddef>

namespace vexa::os {

// Memory for tables that are looked into at random. Large ones lie in the large pages of the
// machine where it has some to give: among the small pages of a table of many megabytes, each look
// has to find its page first, which takes as long as the look itself. Any thread.
void* AllocateLarge(std::size_t bytes);  // std::bad_alloc when there is none
void FreeLarge(void* memory, std::size_t bytes) noexcept;

// The same for containers of the standard library.
template <class Element>
struct LargePages {
    using value_type = Element;

    LargePages() = default;
    template <class Other>
    // NOLINTNEXTLINE(google-explicit-constructor): containers convert their allocators
    LargePages(const LargePages<Other>&) noexcept {}

    Element* allocate(std::size_t count) {
        return static_cast<Element*>(AllocateLarge(count * sizeof(Element)));
    }
    void deallocate(Element* memory, std::size_t count) noexcept {
        FreeLarge(memory, count * sizeof(Element));
    }
    bool operator==(const LargePages&) const { return true; }
};

}  // namespace vexa::os
