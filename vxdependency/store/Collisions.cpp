#include <algorithm>
#include <boost/sort/spreadsort/integer_sort.hpp>
#include <cstdint>
#include <iterator>

#include "vxdependency/store/FileRecords.h"
#include "vxdependency/store/GraphReader.h"
#include "vxdependency/store/RecordId.h"

namespace vexa::vxdependency {
namespace {

using Texts = std::vector<std::string>;
using Pairs = std::vector<std::pair<std::string, std::string>>;

// A record of a file: its id, and number and kind by which its text is made when it is needed.
using Record = std::uint64_t;

Record RecordOf(RecordId id, std::size_t file, FileRecord kind) {
    return Record{id} << 32U | (file * kRecordsPerFile + static_cast<std::size_t>(kind));
}

RecordId IdIn(Record record) {
    return static_cast<RecordId>(record >> 32U);
}

std::vector<Record> RecordsOf(std::size_t count, const KeySource& keyAt) {
    std::vector<Record> records;
    records.reserve(kRecordsPerFile * count);
    FileRecords of;
    for (std::size_t i = 0; i < count; ++i) {
        of.ForEach(keyAt(i),
                   [&](RecordId id, FileRecord kind) { records.push_back(RecordOf(id, i, kind)); });
    }
    boost::sort::spreadsort::integer_sort(records.begin(), records.end());
    return records;
}

std::string TextOf(Record record, const KeySource& keyAt) {
    const auto number = static_cast<std::uint32_t>(record);
    return FileRecords().TextOf(keyAt(number / kRecordsPerFile),
                                static_cast<FileRecord>(number % kRecordsPerFile));
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
    return FindCollisions(keys.size(),
                          [&keys](std::size_t i) { return std::string_view(keys[i]); });
}

Pairs FindCollisions(std::size_t count, const KeySource& keyAt) {
    const std::vector<Record> records = RecordsOf(count, keyAt);
    Pairs pairs;
    for (auto first = records.begin(); first != records.end();) {
        const auto last = std::find_if(
            first, records.end(), [first](Record record) { return IdIn(record) != IdIn(*first); });
        if (last - first > 1) {
            Texts texts;
            for (auto it = first; it != last; ++it) texts.push_back(TextOf(*it, keyAt));
            AddPairs(std::move(texts), pairs);
        }
        first = last;
    }
    std::sort(pairs.begin(), pairs.end());
    return pairs;
}

}  // namespace vexa::vxdependency
