#pragma once

#include <functional>
#include <string>
#include <unordered_set>
#include <vector>

#include "vexa/common/FileService.h"
#include "vxdependency/scanner/AppliedChange.h"

namespace vexa {
class StepGate;
}  // namespace vexa

// Brings the store up to date with some places of the tree: first all of them are looked at, then
// what was found is applied. What counts is how the tree is now; how it came to be so does not.
// Files that the thread takes for known (KnownFiles) count as there, whatever the disk says.
// Used by one thread; the manager and the store are safe for it.
class TreeUpdate {
public:
    // What of a folder is read.
    enum class Below { Everything, WhatDiffers };

    // What lies at or below one of the keys `leftOut` is not looked at.
    explicit TreeUpdate(vexa::StepGate& gate, std::vector<std::string> leftOut = {})
        : m_gate(gate), m_leftOut(leftOut.begin(), leftOut.end()) {}

    // Looks at what is at a key ("" is the whole tree) and below it. A file is read in any case;
    // of a folder all files below it, or those that differ from what the store knows of them. What
    // the store knows and is not there any more is forgotten.
    void Look(const std::string& key, Below below);

    // Applies it: `progress` is told of percent and, when all is stored, `applied` of each file
    // that changed. False when the store could not take it.
    bool Apply(const std::function<void(const AppliedChange&)>& applied,
               const std::function<void(int)>& progress);

private:
    void LookBelow(const std::string& key, Below below);
    void LookAtNothing(const std::string& key);
    void Read(const std::string& key);
    void Gone(const std::string& key);
    static bool IsBelow(const std::string& key, const std::unordered_set<std::string>& folders);
    std::vector<std::string> Affected() const;
    bool Forget();
    std::vector<AppliedChange> Removals() const;
    AppliedChange ReadNow(const std::string& key) const;

    vexa::StepGate& m_gate;
    const std::unordered_set<std::string> m_leftOut;
    std::vector<std::string> m_changed;
    std::vector<std::string> m_gone;
    std::unordered_set<std::string> m_seen;      // of both
    std::unordered_set<std::string> m_lookedAt;  // folders of which everything is read
};
