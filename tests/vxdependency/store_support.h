#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>

#include "tests/support/TempDir.h"
#include "vxdependency/store/GeneralDependency.h"
#include "vxdependency/store/RecordId.h"
#include "vxdependency/store/RecordTable.h"

namespace vexa::vxdependency::test {

// An open, empty store. All tests of a process share its directory, as the store asks for the
// working directory once.
class StoreTest : public ::testing::Test {
protected:
    using List = GeneralDependency::List;

    StoreTest() {
        std::filesystem::current_path(Directory().Path());
        EXPECT_TRUE(m_store.Open()) << m_store.GetOpenError();
        EXPECT_TRUE(m_store.Clear());
    }
    ~StoreTest() override { m_store.Close(); }

    static const vexa::test::TempDir& Directory() {
        static const vexa::test::TempDir directory;
        return directory;
    }

    // The bytes of the record of a text.
    std::optional<std::string> Bytes(const std::string& text) {
        std::string value;
        const int status =
            ReadRecord(m_store.Database(), IdOf(text), value, ReadTransaction(m_store.Database()));
        EXPECT_NE(status, VXDatabase::kFailed);
        return status == 0 ? std::optional(value) : std::nullopt;
    }
    List Forward(const std::string& key) {
        List list;
        EXPECT_TRUE(m_store.GetDependency(key, list));
        return list;
    }
    List Inverse(const std::string& key) {
        List list;
        EXPECT_TRUE(m_store.GetInverseDependency(key, list));
        return list;
    }

    GeneralDependency& m_store = *GeneralDependency::Instance();
};

}  // namespace vexa::vxdependency::test
