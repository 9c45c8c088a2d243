#pragma once

#include <string>
#include <utility>
#include <vector>

#include "vexa/db/VXDatabase.h"
#include "vxdependency/store/RecordId.h"

namespace vexa::vxdependency {

class GeneralDependency;

// What of the store cannot be relied on when something is to happen to the records of some files,
// because two texts of one id share a record (docs/store.md): the one may have taken the place of
// the other, and goes with it.
struct SharedRecords {
    using List = std::vector<std::string>;

    // Who refers to a resource, one of the files or another, whose inverse list shares a record of
    // the files: the resource and the user.
    std::vector<std::pair<std::string, std::string>> users;
    // Other files whose list shares a record of the files.
    List lists;
    // If there are such resources: all files whose list shares any record, so that only they
    // themselves tell whether they refer to one of them.
    List unreadLists;
};

// Goes through the names of all files; only when the inverse list of a resource is concerned, also
// through their lists. Sees the state of the last commit, after what the calling thread's batch
// holds was flushed. A store that cannot be read is logged and counts as empty.
SharedRecords FindSharedRecords(GeneralDependency& store, const std::vector<std::string>& keys);

// Keeps in the store which records two texts share, so that queries need not look for them. False
// when it cannot be written.
bool NoteSharedIds(GeneralDependency& store, std::vector<RecordId> ids);

// The records of which that was noted. Those of files that came since the last scan are not.
class SharedIds {
public:
    // As they stand in the store; none without a transaction.
    SharedIds(VXDatabase& database, MDB_txn* transaction);
    bool Contain(RecordId id) const;

private:
    std::vector<RecordId> m_ids;
};

}  // namespace vexa::vxdependency
