#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "vexa/common/InterfaceBox.h"
#include "vxdependency/store/RecordId.h"

namespace vexa::vxdependency {

// The records that each file has in the dependency table.
enum class FileRecord : std::uint8_t { Forward, Inverse, Stamp };
constexpr std::uint32_t kRecordsPerFile = 3;

// Makes their texts, for a million files one after another. One thread at a time.
class FileRecords {
public:
    const std::string& TextOf(std::string_view key, FileRecord kind) {
        if (kind == FileRecord::Stamp) {
            m_text.assign(m_root).append(1, '/').append(key).push_back('!');
        } else {
            m_text.assign(key);
            if (kind == FileRecord::Inverse) m_text += '#';
        }
        return m_text;
    }

    // Calls `visit` with each record's id and kind.
    template <class Visit>
    void ForEach(std::string_view key, const Visit& visit) {
        for (const FileRecord kind :
             {FileRecord::Forward, FileRecord::Inverse, FileRecord::Stamp}) {
            visit(IdOf(TextOf(key, kind)), kind);
        }
    }

private:
    const std::string& m_root = InterfaceBox::Instance().GetResourceRoot();
    std::string m_text;
};

}  // namespace vexa::vxdependency
