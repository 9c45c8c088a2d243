#include "vexa/core/Signal.h"

#include <algorithm>
#include <unordered_map>
#include <utility>

#include "vexa/core/StringId.h"

namespace vexa::vxcore {
namespace {

class DepthGuard {
public:
    explicit DepthGuard(int& depth) : m_depth(depth) { ++m_depth; }
    ~DepthGuard() { --m_depth; }
    DepthGuard(const DepthGuard&) = delete;
    DepthGuard& operator=(const DepthGuard&) = delete;

private:
    int& m_depth;
};

}  // namespace

SignalId SignalUtility::MakeUniqueId(const char* typeName) {
    return static_cast<SignalId>(GetStringIDFunc(StringIDType::Class)(typeName));
}

DelegateList::Token DelegateList::Add(std::function<void()> receiver) {
    m_delegates.push_back({m_next, std::move(receiver), false});
    return m_next++;
}

void DelegateList::Remove(Token token) {
    for (Delegate& delegate : m_delegates)
        if (delegate.token == token) delegate.removed = true;
}

void DelegateList::Call() {
    const DepthGuard guard(m_depth);
    const Token end = m_next;
    for (auto it = m_delegates.begin(); it != m_delegates.end() && it->token < end;) {
        if (!it->removed) it->receiver();
        // Only the outermost call unlinks: the ones around it may stand on the same receiver.
        if (it->removed && m_depth == 1)
            it = m_delegates.erase(it);
        else
            ++it;
    }
}

bool DelegateList::Empty() const {
    return std::all_of(m_delegates.begin(), m_delegates.end(),
                       [](const Delegate& delegate) { return delegate.removed; });
}

struct SignalManager::Lists {
    std::unordered_map<SignalId, DelegateList> bySignal;
};

SignalManager::SignalManager() : m_lists(std::make_unique<Lists>()) {}
SignalManager::~SignalManager() = default;

DelegateList* SignalManager::FindDelegate(SignalId id) {
    const auto found = m_lists->bySignal.find(id);
    return found == m_lists->bySignal.end() ? nullptr : &found->second;
}

DelegateList::Token SignalManager::Connect(SignalId id, std::function<void()> receiver) {
    return m_lists->bySignal[id].Add(std::move(receiver));
}

}  // namespace vexa::vxcore
