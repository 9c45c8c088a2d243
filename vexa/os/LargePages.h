#pragma once

#include <cstddef>
#include <vector>

namespace vexa::os {

// Memory for tables that are looked into at random. Large ones lie in the large pages of the
// machine where it has some to give: among the small pages of a table of many megabytes, each look
// has to find its page first, which takes as long as the look itself. Any thread; std::bad_alloc
// when there is no memory.
void* AllocateLargePages(std::size_t size);
void FreeLargePages(void* memory) noexcept;

template <class Value>
struct LargePages {
    using value_type = Value;

    LargePages() = default;
    template <class Other>
    LargePages(const LargePages<Other>&) {}

    Value* allocate(std::size_t count) {
        return static_cast<Value*>(AllocateLargePages(count * sizeof(Value)));
    }
    void deallocate(Value* memory, std::size_t) noexcept { FreeLargePages(memory); }

    friend bool operator==(const LargePages&, const LargePages&) { return true; }
};

template <class Value>
using LargeTable = std::vector<Value, LargePages<Value>>;

}  // namespace vexa::os
