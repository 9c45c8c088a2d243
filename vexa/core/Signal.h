#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <typeinfo>

#include "vexa/Export.h"

namespace vexa::vxcore {

using SignalId = std::uint32_t;

struct SignalUtility {
    // The id of a signal: the string id of its record's run-time type name.
    static VX_API SignalId MakeUniqueId(const char* typeName);

    template <class Signal>
    static SignalId IdOf() {
        static const SignalId id = MakeUniqueId(typeid(Signal).name());
        return id;
    }
};

// The receivers of one signal, in the order in which they were connected.
class VX_API DelegateList {
public:
    using Token = std::uint64_t;

    Token Add(std::function<void()> receiver);
    // Marks a receiver as removed; it is unlinked by the next Call. Unknown tokens are ignored.
    void Remove(Token token);
    // Calls every live receiver in list order; unlinks and destroys the removed ones on the way.
    // Receivers may add and remove receivers meanwhile; one added is called from the next Call on.
    void Call();
    bool Empty() const;

private:
    struct Delegate {
        Token token;
        std::function<void()> receiver;
        bool removed;
    };
    std::list<Delegate> m_delegates;
    Token m_next = 1;
    int m_depth = 0;
};

// The signals of one object. Not locked: everything happens on the editor thread.
class VX_API SignalManager {
public:
    SignalManager();
    ~SignalManager();
    SignalManager(const SignalManager&) = delete;
    SignalManager& operator=(const SignalManager&) = delete;

    // The receivers of a signal, or null when none was ever connected. Valid until the manager
    // goes.
    DelegateList* FindDelegate(SignalId id);

    template <class Signal>
    DelegateList::Token Connect(std::function<void()> receiver) {
        return Connect(SignalUtility::IdOf<Signal>(), std::move(receiver));
    }
    template <class Signal>
    void Disconnect(DelegateList::Token token) {
        if (DelegateList* list = FindDelegate(SignalUtility::IdOf<Signal>())) list->Remove(token);
    }
    template <class Signal>
    void Emit() {
        if (DelegateList* list = FindDelegate(SignalUtility::IdOf<Signal>())) list->Call();
    }

    DelegateList::Token Connect(SignalId id, std::function<void()> receiver);

private:
    struct Lists;
    std::unique_ptr<Lists> m_lists;
};

}  // namespace vexa::vxcore
