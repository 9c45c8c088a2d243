#include "vxdependency/store/FillRecords.h"

#include <algorithm>
#include <boost/sort/spreadsort/integer_sort.hpp>
#include <tuple>

namespace vexa::vxdependency {
namespace {

constexpr unsigned kIdShift = 32;
constexpr unsigned kKindShift = 30;
constexpr std::uint64_t kIndexMask = (std::uint64_t{1} << kKindShift) - 1;

}  // namespace

// One operation on a record, and when it comes.
struct FillRecords::Step {
    std::uint32_t file;  // its place in the order of storing
    Kind phase;
    RecordOperation operation;
    std::string text;

    auto When() const { return std::tuple(file, phase == Kind::Stamp, phase); }
};

FillRecords::FillRecords(const std::vector<File>& files, const IFileNames& keys,
                         const std::vector<std::string_view>& entries, const std::string& directory)
    : m_files(files), m_keys(keys), m_entries(entries), m_directory(directory) {
    ListUsers();
    AddRecords();
}

std::span<const std::uint32_t> FillRecords::ReferencesOf(const File& file) {
    return {file.references, file.filled->references};
}

std::string_view FillRecords::NameOf(std::uint32_t number) const {
    const std::size_t files = m_keys.Size();
    return number < files ? m_keys.KeyOf(number) : m_entries[number - files];
}

// Counts the users of each entry, and then puts each file in its place among them.
void FillRecords::ListUsers() {
    m_firstUser.resize(m_keys.Size() + m_entries.size() + 1);
    for (const File& file : m_files) {
        for (const std::uint32_t entry : ReferencesOf(file)) ++m_firstUser[entry];
    }
    std::uint32_t end = 0;
    for (std::uint32_t& place : m_firstUser) place = end += place;
    m_users.resize(end);
    for (auto file = m_files.rbegin(); file != m_files.rend(); ++file) {
        for (const std::uint32_t entry : ReferencesOf(*file)) {
            m_users[--m_firstUser[entry]] = file->filled->number;
        }
    }
}

void FillRecords::AddRecords() {
    m_order.reserve(2 * m_files.size() + m_firstUser.size());
    std::string text;
    for (std::size_t i = 0; i < m_files.size(); ++i) {
        const FilledFile& file = *m_files[i].filled;
        if (file.references > 0) {
            Add(IdOf(text.assign(NameOf(file.number))), Kind::Forward, i);
        }
        if (file.stamped) {
            text.assign(m_directory).append(NameOf(file.number));
            Add(IdOf(text += '!'), Kind::Stamp, i);
        }
    }
    for (std::size_t entry = 0; entry + 1 < m_firstUser.size(); ++entry) {
        if (m_firstUser[entry] == m_firstUser[entry + 1]) continue;
        text.assign(NameOf(static_cast<std::uint32_t>(entry)));
        Add(IdOf(text += '#'), Kind::Inverse, entry);
    }
    boost::sort::spreadsort::integer_sort(m_order.begin(), m_order.end());
}

void FillRecords::Add(RecordId id, Kind kind, std::size_t index) {
    m_order.push_back(std::uint64_t{InTableOrder(id)} << kIdShift |
                      std::uint64_t{static_cast<std::uint8_t>(kind)} << kKindShift | index);
}

FillRecords::Record FillRecords::At(std::size_t place) const {
    const std::uint64_t packed = m_order[place];
    return {InTableOrder(static_cast<RecordId>(packed >> kIdShift)),
            static_cast<Kind>(packed >> kKindShift & 3),
            static_cast<std::uint32_t>(packed & kIndexMask)};
}

std::size_t FillRecords::EndOfId(std::size_t place) const {
    const std::uint64_t id = m_order[place] >> kIdShift;
    while (place < m_order.size() && m_order[place] >> kIdShift == id) ++place;
    return place;
}

// Makes lists of entries from their numbers. First all names are found, then they are copied: the
// names of one list lie anywhere in memory, which is waited for once and not name by name.
class FillRecords::ListMaker {
public:
    explicit ListMaker(const FillRecords& records) : m_records(records) {}

    void Append(const Record& record, std::string& bytes) {
        m_names.clear();
        if (record.kind == Kind::Forward) {
            AppendNames(ReferencesOf(m_records.m_files[record.index]));
        } else {
            AppendNames(m_records.UsersOf(record.index));
        }
        for (const std::string_view name : m_names) bytes.append(name).push_back('#');
    }

private:
    void AppendNames(std::span<const std::uint32_t> numbers) {
        for (const std::uint32_t number : numbers) m_names.push_back(m_records.NameOf(number));
    }

    const FillRecords& m_records;
    std::vector<std::string_view> m_names;
};

void FillRecords::AppendValue(const Record& record, ListMaker& lists, std::string& bytes) const {
    if (record.kind != Kind::Stamp) return lists.Append(record, bytes);
    const std::int64_t stamp = m_keys.WriteTime(m_files[record.index].filled->number);
    bytes.append(reinterpret_cast<const char*>(&stamp), sizeof stamp);
}

FillRecords::Values FillRecords::ValuesOf(std::size_t begin, std::size_t end) const {
    Values values;
    values.ends.reserve(end - begin);
    ListMaker lists(*this);
    for (std::size_t place = begin; place < end; ++place) {
        AppendValue(At(place), lists, values.bytes);
        values.ends.push_back(values.bytes.size());
    }
    return values;
}

std::span<const std::uint32_t> FillRecords::UsersOf(std::uint32_t entry) const {
    return std::span(m_users).subspan(m_firstUser[entry],
                                      m_firstUser[entry + 1] - m_firstUser[entry]);
}

std::string FillRecords::ValueOf(const Record& record) const {
    ListMaker lists(*this);
    std::string bytes;
    AppendValue(record, lists, bytes);
    return bytes;
}

void FillRecords::Replay(std::size_t begin, std::size_t end, RecordState& state) const {
    std::vector<Step> steps;
    for (std::size_t place = begin; place < end; ++place) AppendSteps(At(place), steps);
    std::ranges::stable_sort(steps, {}, &Step::When);
    bool isStamp = false;
    for (const Step& step : steps) {
        // A list begins anew where a stamp has been. The scan tells how often that is so.
        if (isStamp && step.phase == Kind::Inverse) state.Apply(RecordOperation::Delete, {});
        state.Apply(step.operation, step.text);
        isStamp = step.phase == Kind::Stamp;
    }
}

void FillRecords::AppendSteps(const Record& record, std::vector<Step>& steps) const {
    if (record.kind != Kind::Inverse) {
        steps.push_back({record.index, record.kind, RecordOperation::Replace, ValueOf(record)});
        return;
    }
    for (const std::uint32_t user : UsersOf(record.index)) {
        steps.push_back(
            {PlaceOf(user), record.kind, RecordOperation::AddEntry, std::string(NameOf(user))});
    }
}

// Few records are replayed, and of many trees none.
std::uint32_t FillRecords::PlaceOf(std::uint32_t file) const {
    if (m_places.empty()) {
        m_places.resize(m_keys.Size());
        for (std::size_t i = 0; i < m_files.size(); ++i) {
            m_places[m_files[i].filled->number] = static_cast<std::uint32_t>(i);
        }
    }
    return m_places[file];
}

std::string FillRecords::TextOf(const Record& record) const {
    if (record.kind == Kind::Inverse) return InverseText(std::string(NameOf(record.index)));
    const std::string key(NameOf(m_files[record.index].filled->number));
    return record.kind == Kind::Stamp ? StampText(m_directory + key) : key;
}

}  // namespace vexa::vxdependency
