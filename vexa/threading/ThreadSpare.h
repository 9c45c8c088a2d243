#pragma once

#include <cstddef>
#include <deque>

namespace vexa {

// An object of the calling thread that is used over and over, so that what it has allocated serves
// the next use as well. Uses may nest; each has an object of its own. When one ends, the object's
// Clear is called, which should let go of what is too large to be kept as long as the thread lives.
template <class Object>
class ThreadSpare {
public:
    ThreadSpare() : m_object(Take()) {}
    ~ThreadSpare() {
        m_object.Clear();
        --s_used;
    }
    ThreadSpare(const ThreadSpare&) = delete;
    ThreadSpare& operator=(const ThreadSpare&) = delete;

    Object& operator*() const { return m_object; }
    Object* operator->() const { return &m_object; }

private:
    static Object& Take() {
        thread_local std::deque<Object> objects;  // which stay where they are
        if (s_used == objects.size()) objects.emplace_back();
        return objects[s_used++];
    }

    inline static thread_local std::size_t s_used = 0;
    Object& m_object;
};

}  // namespace vexa
