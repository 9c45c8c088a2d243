#include "vexa/io/ChangeQueue.h"

#include <algorithm>
#include <utility>

namespace vexa::vxio {

std::string WatchedPlace::Path() const {
    if (name.empty()) return directory;
    std::string path = directory + '/' + name;
    std::replace(path.begin() + static_cast<std::ptrdiff_t>(directory.size()), path.end(), '\\',
                 '/');
    return path;
}

void ChangeQueue::Push(std::int32_t action, const WatchedPlace& place) {
    const std::lock_guard lock(m_guard);
    if (action == ChangeAction::Removed) {
        m_told.clear();
    } else if (!m_told.insert(place.Path()).second) {
        return;  // whoever reads the first sees the entry as it is by then
    }
    Append(action, place, {});
}

void ChangeQueue::PushRename(const WatchedPlace& from, const WatchedPlace& to,
                             Clock::time_point now) {
    const std::lock_guard lock(m_guard);
    m_told.clear();
    if (JoinRenames(from, to)) return;
    Append(ChangeAction::OldName, from, now + kHoldRenames);
    Append(ChangeAction::NewName, to, {});
}

// Makes one rename of this one and the one before it, when that one led to its old name: read one
// by one, the name between would be that of nothing. What it named before is gone in any case.
bool ChangeQueue::JoinRenames(const WatchedPlace& from, const WatchedPlace& to) {
    if (m_waiting.size() < 2 || m_waiting.back().action != ChangeAction::NewName ||
        m_waiting.back().place != from) {
        return false;
    }
    const Waiting oldName = m_waiting[m_waiting.size() - 2];
    m_waiting.resize(m_waiting.size() - 2);
    Append(ChangeAction::Removed, from, {});
    if (oldName.place == to) {
        Append(ChangeAction::Modified, to, {});
    } else {
        Append(ChangeAction::OldName, oldName.place, oldName.due);
        Append(ChangeAction::NewName, to, {});
    }
    return true;
}

void ChangeQueue::Append(std::int32_t action, const WatchedPlace& place, Clock::time_point due) {
    if (m_waiting.size() >= kLimit) LoseWithGuard("nobody has read a million changes");
    m_waiting.push_back({action, place, due});
}

void ChangeQueue::LoseWithGuard(const std::string& reason) {
    m_waiting.clear();
    m_told.clear();
    if (m_loss.empty()) m_loss = reason;
}

void ChangeQueue::Lose(const std::string& reason) {
    const std::lock_guard lock(m_guard);
    if (m_loss.empty()) m_loss = reason;
}

void ChangeQueue::Release() {
    const std::lock_guard lock(m_guard);
    for (Waiting& change : m_waiting) change.due = {};
}

void ChangeQueue::Take(std::vector<DirectoryChangeParam>& out, Clock::time_point now) {
    const std::lock_guard lock(m_guard);
    while (!m_waiting.empty() && m_waiting.front().due <= now) {
        Waiting& change = m_waiting.front();
        out.push_back(
            {change.action, std::move(change.place.directory), std::move(change.place.name), {}});
        m_waiting.pop_front();
    }
    m_told.clear();
}

std::string ChangeQueue::TakeLoss() {
    const std::lock_guard lock(m_guard);
    return std::exchange(m_loss, {});
}

}  // namespace vexa::vxio
