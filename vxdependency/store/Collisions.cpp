#include <algorithm>
#include <cstdint>
#include <iterator>

#include "vexa/common/InterfaceBox.h"
#include "vxdependency/store/GraphReader.h"
#include "vxdependency/store/RecordId.h"

namespace vexa::vxdependency {
namespace {

using Texts = std::vector<std::string>;
using Pairs = std::vector<std::pair<std::string, std::string>>;

// The kinds of record that a file has.
enum class Kind : std::uint8_t { Forward, Inverse, Stamp };

// A record of a file; its text is made when it is needed, since there are three for each file.
struct Record {
    RecordId id;
    std::uint32_t file;
    Kind kind;
};

std::string TextOf(const std::string& key, Kind kind) {
    switch (kind) {
        case Kind::Forward:
            return key;
        case Kind::Inverse:
            return InverseText(key);
        case Kind::Stamp:
            break;
    }
    return StampText(InterfaceBox::Instance().GetFileService().AbsolutePath(key));
}

std::vector<Record> RecordsOf(std::size_t count, const KeySource& keyAt) {
    std::vector<Record> records;
    records.reserve(3 * count);
    for (std::size_t i = 0; i < count; ++i) {
        const std::string key = keyAt(i);
        for (const Kind kind : {Kind::Forward, Kind::Inverse, Kind::Stamp}) {
            records.push_back({IdOf(TextOf(key, kind)), static_cast<std::uint32_t>(i), kind});
        }
    }
    std::sort(records.begin(), records.end(),
              [](const Record& left, const Record& right) { return left.id < right.id; });
    return records;
}

void AddPairs(Texts texts, Pairs& pairs) {
    std::sort(texts.begin(), texts.end());
    texts.erase(std::unique(texts.begin(), texts.end()), texts.end());
    for (auto left = texts.begin(); left != texts.end(); ++left) {
        for (auto right = std::next(left); right != texts.end(); ++right) {
            pairs.emplace_back(*left, *right);
        }
    }
}

}  // namespace

Pairs FindCollisions(const Texts& keys) {
    return FindCollisions(keys.size(), [&keys](std::size_t i) { return keys[i]; });
}

Pairs FindCollisions(std::size_t count, const KeySource& keyAt) {
    const std::vector<Record> records = RecordsOf(count, keyAt);
    Pairs pairs;
    for (auto first = records.begin(); first != records.end();) {
        const auto last = std::find_if(
            first, records.end(), [first](const Record& record) { return record.id != first->id; });
        if (last - first > 1) {
            Texts texts;
            for (auto it = first; it != last; ++it) {
                texts.push_back(TextOf(keyAt(it->file), it->kind));
            }
            AddPairs(std::move(texts), pairs);
        }
        first = last;
    }
    std::sort(pairs.begin(), pairs.end());
    return pairs;
}

}  // namespace vexa::vxdependency
