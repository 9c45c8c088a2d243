#pragma once

#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <vector>

namespace vexa::vxdependency::test {

// The store's rules, written down naively on a map of texts to values. Operations are called as the
// store's are and return what those do.
class StoreModel {
public:
    using List = std::vector<std::string>;

    std::map<std::string, std::string> records;

    bool AddDependency(const std::string& key, const List& values, int mode) {
        return Merge(key, values, ListOf(key), mode);
    }
    bool SetDependency(const std::string& key, const List& values, int mode) {
        return Merge(key, values, "", mode);
    }
    bool RemoveDependency(const std::string& key, const List& values, int mode) {
        if (records.count(key) == 0) return false;
        const auto before = records;
        std::string forward = ListOf(key);
        for (const std::string& value : values) {
            if (mode & 1) EraseFirst(forward, value);
            if ((mode & 2) == 0) continue;
            std::string inverse = ListOf(value + "#");
            EraseFirst(inverse, key);
            Store(value + "#", inverse);
        }
        if (Store(key, forward)) return true;
        records = before;
        return false;
    }
    bool RemoveDependency(const std::string& key, int mode) {
        return RemoveDependency(key, Get(key), mode);
    }
    bool RemoveInverseDependency(const std::string& key, const std::string& value) {
        return RemoveDependency(key + "#", List{value}, 1);
    }
    bool EraseForward(const std::string& key) { return records.erase(key), true; }
    bool RenameKey(const std::string& from, const std::string& to) {
        const List values = Get(from);
        return Atomically(
            [&] { return RemoveDependency(from, values, 3) && AddDependency(to, values, 3); });
    }
    bool RenameValue(const std::string& key, const std::string& from, const std::string& to) {
        return Atomically(
            [&] { return RemoveDependency(key, List{from}, 3) && AddDependency(key, {to}, 3); });
    }
    bool EraseInverseEntry(const std::string& key, const std::string& value) {
        if (records.count(key + "#") == 0) return true;
        std::string list = ListOf(key + "#");
        for (std::size_t at; (at = Find(list, value)) != std::string::npos;) {
            list.erase(at, value.size() + 1);
        }
        Store(key + "#", list);
        return true;
    }
    bool SetTimeStamp(const std::string& path, std::int64_t time) {
        records[path + "!"] = std::string(reinterpret_cast<const char*>(&time), sizeof time);
        return true;
    }
    std::int64_t GetTimeStamp(const std::string& path) const {
        std::int64_t time = -1;
        const auto record = records.find(path + "!");
        if (record != records.end() && record->second.size() == sizeof time) {
            std::memcpy(&time, record->second.data(), sizeof time);
        }
        return time;
    }
    List Get(const std::string& key) const {
        List list;
        const std::string text = ListOf(key);
        for (std::size_t from = 0, to; (to = text.find('#', from)) != std::string::npos;
             from = to + 1) {
            list.push_back(text.substr(from, to - from));
        }
        return list;
    }

    // Where an entry stands in a list.
    static std::size_t Find(const std::string& text, const std::string& entry) {
        std::size_t at = text.find(entry + "#");
        while (at != std::string::npos && at > 0 && text[at - 1] != '#') {
            at = text.find(entry + "#", at + 1);
        }
        return at;
    }
    // Takes the first match out, if an entry begins there.
    static void EraseFirst(std::string& text, const std::string& entry) {
        const std::size_t at = text.find(entry + "#");
        if (at != std::string::npos && at == Find(text, entry)) text.erase(at, entry.size() + 1);
    }

private:
    std::string ListOf(const std::string& text) const {
        const auto record = records.find(text);
        const bool isList =
            record != records.end() && !record->second.empty() && record->second.back() == '#';
        return isList ? record->second : "";
    }
    bool Merge(const std::string& key, const List& values, std::string forward, int mode) {
        for (const std::string& value : values) {
            if ((mode & 1) && Find(forward, value) == std::string::npos) forward += value + "#";
            if ((mode & 2) == 0) continue;
            std::string inverse = ListOf(value + "#");
            if (Find(inverse, key) == std::string::npos) records[value + "#"] = inverse + key + "#";
        }
        records[key] = forward;
        return true;
    }
    bool Store(const std::string& text, const std::string& list) {
        if (list.empty()) return records.erase(text) > 0;
        records[text] = list;
        return true;
    }
    template <class Steps>
    bool Atomically(const Steps& steps) {
        const auto before = records;
        if (steps()) return true;
        records = before;
        return false;
    }
};

}  // namespace vexa::vxdependency::test
