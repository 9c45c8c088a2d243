#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "vexa/io/JsonData.h"

namespace vexa::ujson {

// Goes through a value and what is below it, in order; where to go down is the caller's choice. Not
// recursive, since depth comes from input. The values must stay unchanged meanwhile.
class ValueWalk {
public:
    explicit ValueWalk(const value& root) : m_root(&root) {}

    // The lists that were entered and not left.
    std::size_t Depth() const { return m_open.size(); }

    // The name of the value that comes next; null when that is no member.
    const std::string* NextName() const {
        if (m_open.empty() || AtEnd() || !List().is_object()) return nullptr;
        return &List().to_object()[m_open.back().next].first;
    }

    // The next value of the innermost list; null behind its last. At first, the root.
    const value* Next() {
        if (m_open.empty()) return std::exchange(m_root, nullptr);
        if (AtEnd()) return nullptr;
        const std::size_t index = m_open.back().next++;
        return List().is_object() ? &List().to_object()[index].second : &List().to_array()[index];
    }

    // Goes down into a list that Next gave.
    void Enter(const value& list) { m_open.push_back({&list, 0}); }

    // Goes back up, and returns the list that it leaves.
    const value& Leave() {
        const value& list = List();
        m_open.pop_back();
        return list;
    }

private:
    struct Level {
        const value* list;
        std::size_t next;
    };

    const value& List() const { return *m_open.back().list; }
    bool AtEnd() const {
        const value& list = List();
        return m_open.back().next ==
               (list.is_object() ? list.to_object().size() : list.to_array().size());
    }

    const value* m_root;
    std::vector<Level> m_open;
};

}  // namespace vexa::ujson
