#include <gmock/gmock.h>
#include <rapidcheck.h>

#include <algorithm>
#include <map>
#include <optional>
#include <set>

#include "tests/vxdependency/store_support.h"
#include "vxdependency/store/Findings.h"

namespace vexa::vxdependency {
namespace {

using List = std::vector<std::string>;

Findings Awaiting(const std::set<std::string>& paths) {
    Findings findings;
    for (const std::string& path : paths) findings.awaited.push_back(AwaitedIdOf(path));
    std::ranges::sort(findings.awaited);
    return findings;
}

class FindingsInStore : public test::StoreTest {};

TEST(Findings, SurviveEncodingAndAreRefusedWhenCut) {
    Findings findings = Awaiting({"a", "b/c"});
    findings.missing = {{40, 0, "reference", "a.skel"}, {7, 3, "Ref path", "b c.tga"}};
    const std::string bytes = findings.Encode();
    Findings read;
    ASSERT_TRUE(Findings::Decode(bytes, read));
    EXPECT_EQ(read.missing, findings.missing);
    EXPECT_EQ(read.awaited, findings.awaited);
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        const bool whole = Findings::Decode(std::string_view(bytes).substr(0, length), read);
        EXPECT_EQ(whole, length == bytes.size() - 8 || length == bytes.size() - 16) << length;
    }
}

// Whatever is set, in batches or not: those who await a path are those whose last findings say so.
TEST_F(FindingsInStore, AreFoundByWhatTheyAwait) {
    EXPECT_TRUE(rc::check([&store = m_store] {
        RC_ASSERT(store.Clear());
        std::map<std::string, std::set<std::string>> model;
        const auto name = rc::gen::element<std::string>("a", "b", "c/d", "e");
        for (int step = *rc::gen::inRange(1, 12); step > 0; --step) {
            const auto key = *name;
            const auto paths = *rc::gen::container<List>(name);
            model[key] = {paths.begin(), paths.end()};
            std::optional<StoreBatch> batch;
            if (*rc::gen::arbitrary<bool>()) batch.emplace(&store);
            RC_ASSERT(store.SetFindings(key, Awaiting(model[key])));
        }
        for (const std::string path : {"a", "b", "c/d", "e"}) {
            List expected;
            for (const auto& [key, paths] : model) {
                if (paths.count(path) != 0) expected.push_back(key);
            }
            List found;
            RC_ASSERT(store.FindAwaiting({path}, found));
            RC_ASSERT(found == expected);
        }
        std::size_t records = 0;
        store.ForEachFindings("", [&](std::string_view, const Findings&) { return ++records; });
        RC_ASSERT(records == static_cast<std::size_t>(std::ranges::count_if(
                                 model, [](const auto& entry) { return !entry.second.empty(); })));
    }));
}

}  // namespace
}  // namespace vexa::vxdependency
