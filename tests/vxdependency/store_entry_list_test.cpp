#include <gtest/gtest.h>

#include <random>

#include "tests/vxdependency/store_model.h"
#include "vxdependency/store/EntryList.h"

namespace vexa::vxdependency::test {
namespace {

struct Mix {
    const char* name;
    unsigned adds;        // of ten changes
    unsigned separators;  // of a thousand entries
};

class EntryListAgainstText : public ::testing::TestWithParam<Mix> {
protected:
    // Short texts of few letters, so that many end with one another; "" too.
    std::string Entry() {
        std::string entry;
        for (auto length = m_random() % 7; length > 0; --length) {
            entry += "xyz"[m_random() % 3];
        }
        if (m_random() % 1000 < GetParam().separators) entry.insert(entry.size() / 2, "#");
        return entry;
    }
    void Change() {
        const std::string entry = Entry();
        SCOPED_TRACE("entry '" + entry + "' in '" + m_text + "'");
        const std::size_t found = StoreModel::Find(m_text, entry);
        ASSERT_EQ(m_list.Contains(entry), found != std::string::npos);
        if (m_random() % 10 < GetParam().adds) {
            m_list.Add(entry);
            if (found == std::string::npos) m_text += entry + "#";
        } else if (m_random() % 4 != 0) {
            m_list.RemoveFirstMatch(entry);
            StoreModel::EraseFirst(m_text, entry);
        } else {
            m_list.Erase(entry);
            for (std::size_t at; (at = StoreModel::Find(m_text, entry)) != std::string::npos;) {
                m_text.erase(at, entry.size() + 1);
            }
        }
        ASSERT_EQ(m_list.Text(), m_text);
        ASSERT_EQ(m_list.IsEmpty(), m_text.empty());
    }

    std::mt19937 m_random{7};
    EntryList m_list;
    std::string m_text;
};

TEST_P(EntryListAgainstText, IsTheSameToTheByte) {
    for (int i = 0; i < 6000; ++i) {
        ASSERT_NO_FATAL_FAILURE(Change()) << i;
    }
}

TEST_P(EntryListAgainstText, ManyAtOnceAreMissedAsOneByOne) {
    for (int i = 0; i < 6000; ++i) {
        ASSERT_NO_FATAL_FAILURE(Change()) << i;
        std::vector<std::string> entries(1 + m_random() % 5);
        for (std::string& entry : entries) {
            entry = Entry();
            std::erase(entry, '#');
        }
        EntryList expected(m_text);
        for (const std::string& entry : entries) expected.Add(entry);
        std::string text = m_text;
        for (const std::string_view entry :
             EntryList::Missing(m_text, {entries.begin(), entries.end()})) {
            text.append(entry).push_back('#');
        }
        ASSERT_EQ(text, expected.Text());
    }
}

INSTANTIATE_TEST_SUITE_P(Mixes, EntryListAgainstText,
                         ::testing::Values(Mix{"growing", 8, 0}, Mix{"steady", 5, 0},
                                           Mix{"shrinking", 3, 0}, Mix{"separators", 7, 3}),
                         [](const auto& mix) { return std::string(mix.param.name); });

}  // namespace
}  // namespace vexa::vxdependency::test
